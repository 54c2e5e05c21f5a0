// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

namespace kxcam {

struct CameraContext;

/// A sensor register of mode bits. Code 8 when the sensor does not answer (4 without a device).
std::optional<uint32_t> read_mode_bits(CameraContext& camera, uint32_t reg);

/// Sets or clears bits of such a register; false when it could not be read, and only then.
bool switch_mode_bits(CameraContext& camera, uint32_t reg, uint32_t bits, bool on);

/// The same for a polarity: false also when the register could not be written.
bool switch_polarity_bit(CameraContext& camera, uint32_t reg, uint32_t bit, bool on);

}  // namespace kxcam
