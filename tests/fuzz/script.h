// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

#include "input.h"

namespace kxcam {

/// What a device does instead of what it was asked for.
enum class Mishap : uint8_t {
  kNone,
  kError,    ///< an error code of the script
  kTimeout,  ///< no answer, for as long as the library waits
  kNothing,  ///< success without a byte
  kShort,    ///< fewer bytes, as many as the script says
  kForged,   ///< other bytes, those of the script
  kTooMuch,  ///< all the room there is, filled
  kUnplugged,
};

/// Hands out mishaps: a byte below 0x80 is one, any other a run of up to 512 calls that go well. Behind the
/// end all go well.
class Script {
 public:
  Script() = default;
  explicit Script(std::span<const uint8_t> bytes) : input_(bytes) {}

  Mishap next();

  /// A code of libusb below 0.
  int error_code() { return -1 - input_.byte() % 13; }
  /// At most `most`.
  size_t length(size_t most) { return static_cast<size_t>(input_.int32()) % (most + 1); }
  std::span<const uint8_t> forgery(size_t most);

 private:
  Input input_;
  int calls_that_go_well_ = 0;
};

}  // namespace kxcam
