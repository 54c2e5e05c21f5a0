// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "grabber.h"
#include "recorder.h"
#include "requests.h"
#include "viewed_camera.h"

namespace kxcam::view {

/// A camera that is looked at: what the page shows of it and changes.
class Station {
 public:
  /// Throws Error.
  Station(const AttachedCamera& attached, const std::filesystem::path& directory);

  const ViewedCamera& camera() const { return camera_; }
  Grabber& grabber() { return grabber_; }
  Recorder& recorder() { return recorder_; }

  /// What does not change while the camera is open, and the list of its controls.
  nlohmann::json description() const;
  /// Value of every control by name, with the region; of those that are not offered none.
  nlohmann::json settings() const;
  /// What changes with every frame.
  nlohmann::json status() const;

  /// All throw Error or Refusal.
  void set_control(const std::string& name, double value);
  void set_region(const Rectangle& wanted);
  void select_preset(int preset);
  void measure_white_balance();
  void trigger();
  void store();
  std::string settings_text() const;
  /// Names of the settings that the camera has not.
  std::vector<std::string> load_settings(const std::string& text);

 private:
  struct Orientation {
    bool mirror_x;
    bool mirror_y;
    bool rotated;
    bool operator==(const Orientation&) const = default;
  };

  Orientation orientation() const;
  template <class Change>
  auto change(Change change);
  /// Moves the region to where it is after a change of the orientation; `full` is the picture of before.
  void follow(const Orientation& before, Rectangle full);
  Rectangle full_picture() const;
  bool try_region(const Rectangle& region);

  ViewedCamera camera_;
  Recorder recorder_;
  Grabber grabber_;
  mutable std::mutex mutex_;  ///< one change at a time
  Rectangle region_;          ///< in force, in coordinates of the full picture; all of it: none
  bool in_preset_ = false;    ///< one smaller than the sensor: of all of it, or of its middle
  std::atomic<uint64_t> changes_ = 0;
};

}  // namespace kxcam::view
