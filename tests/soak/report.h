// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "frame_books.h"
#include "process_usage.h"
#include "stage.h"

namespace kxcam::soak {

/// A camera at a quiet point.
struct CameraBooks {
  std::string model;
  HostBook host;
  DeviceBook device;
};

/// What a run has come to.
struct Report {
  uint64_t seed = 0;
  double seconds = 0;
  std::vector<CameraBooks> cameras;
  uint64_t quiet_points = 0;
  uint64_t reopenings = 0;
  ProcessUsage first_usage;  ///< the most of each in the warm-up
  ProcessUsage last_usage;
};

/// A few lines for the eye.
void print_progress(const Report& report, const Stage& stage);
/// Everything; times in milliseconds.
void print_summary(const Report& report, const Stage& stage);
/// The same as JSON. Throws std::runtime_error when the file cannot be written.
void write_json(const std::filesystem::path& path, const Report& report, const Stage& stage);

}  // namespace kxcam::soak
