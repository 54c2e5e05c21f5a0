// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam::soak {

/// What this process holds at the moment.
struct ProcessUsage {
  int64_t resident_kib = 0;
  int64_t descriptors = 0;
  int64_t threads = 0;

  /// Makes each the larger one.
  void include(const ProcessUsage& other);
};

/// Throws std::runtime_error or std::filesystem::filesystem_error when /proc does not tell.
ProcessUsage process_usage();

}  // namespace kxcam::soak
