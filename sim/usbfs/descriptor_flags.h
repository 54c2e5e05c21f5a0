// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace kxsim {

/// Which file descriptors are device nodes, to be asked before every ioctl and close of the program
/// without a lock. Descriptors beyond the table are looked up the slow way.
class DescriptorFlags {
 public:
  static void set(int descriptor, bool ours) {
    if (in_table(descriptor)) flags_[static_cast<size_t>(descriptor)] = ours;
    if (ours) any_ = true;
  }
  static bool maybe_ours(int descriptor) {
    if (descriptor < 0 || !any_) return false;
    return !in_table(descriptor) || flags_[static_cast<size_t>(descriptor)];
  }
  /// No descriptor is a device node any more.
  static void disable() { any_ = false; }

 private:
  static constexpr int kTableSize = 0x10000;
  static bool in_table(int descriptor) { return descriptor >= 0 && descriptor < kTableSize; }

  static inline std::array<std::atomic<bool>, kTableSize> flags_{};
  static inline std::atomic<bool> any_{false};
};

}  // namespace kxsim
