// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "core/registry/contexts.h"
#include "device/conf_file.h"
#include "pictures.h"
#include "report.h"
#include "stage.h"

namespace kxcam::soak {

struct SoakOptions {
  int seconds = 60;
  uint64_t seed = 1;
  int cameras = 3;             ///< 1..3
  int quiet_every_s = 10;      ///< between two quiet points
  int slowness = 1;            ///< factor on the limits of calls
  int memory_growth_mib = 64;  ///< between the end of the warm-up and the end of the run
};

/// Runs everything against everything for a while, and stops at quiet points to see that the books of library
/// and cameras agree, that every camera can be brought back, and that nothing has grown.
class Soak {
 public:
  /// Throws std::runtime_error when the cameras cannot be opened.
  explicit Soak(const SoakOptions& options);
  ~Soak();
  Soak(const Soak&) = delete;
  Soak& operator=(const Soak&) = delete;

  void run();
  const Report& report() const { return report_; }
  const Stage& stage() const { return stage_; }

 private:
  using Clock = std::chrono::steady_clock;

  void plug_in();
  void store_settings();
  void start_threads();
  void end_threads();

  void quiet_point(bool reopen);
  void calm_down();
  std::vector<CameraBooks> read_books();
  std::vector<std::string> differences();
  void check_books();
  void end_calm();
  void open_all();
  void close_all();
  void revive(size_t index);
  bool gives_pictures(size_t index, int time_out_ms);
  void check_usage();
  void update_report();
  double elapsed_s() const;

  const SoakOptions options_;
  const Clock::time_point start_ = Clock::now();
  const kxsim::TemporaryConfFile configuration_;
  Stage stage_;
  Report report_;
  std::vector<ContextRef> contexts_;  // by index
  std::vector<std::unique_ptr<PictureTaker>> takers_;
  std::vector<uint64_t> lost_in_calm_;  // by camera: frames that no one was to read
  std::vector<std::thread> threads_;
};

}  // namespace kxcam::soak
