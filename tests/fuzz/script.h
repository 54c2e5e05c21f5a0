// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
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

/// Hands out mishaps. A byte from 0x80 on is a run of up to 509 calls that go well; one from 0x60 on lets
/// calls go well up to the next one of a kind; any other is a mishap. Behind the end all go well.
class Script {
 public:
  /// Kinds of calls are vendor requests, and besides:
  enum Kind : uint8_t { kOther = 0, kStream = 0xA0, kFlash = 0xBF };

  Script() = default;
  explicit Script(std::span<const uint8_t> bytes) : input_(bytes) {}

  Mishap next(uint8_t kind);

  /// A code of libusb below 0.
  int error_code() { return -1 - input_.byte() % 13; }
  /// At most `most`.
  size_t length(size_t most) { return static_cast<size_t>(input_.int32()) % (most + 1); }
  std::span<const uint8_t> forgery(size_t most);

 private:
  Input input_;
  int calls_that_go_well_ = 0;
  std::optional<uint8_t> awaited_;
};

}  // namespace kxcam
