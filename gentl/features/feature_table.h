// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "camera.h"
#include "feature.h"

namespace kxcam::gentl {

/// The features of a camera while they are put together.
class FeatureTable {
 public:
  explicit FeatureTable(Camera& camera) : camera_(camera) {}

  Camera& camera() { return camera_; }
  void add(Feature feature) { features_.push_back(std::move(feature)); }

  /// A feature that is a control of the library's, if the camera offers it. What the row leaves open comes
  /// from the control: the description, the unit, reading, writing and the range.
  void add_control(const char* control, Feature row);
  /// The same for one that some cameras have for reading only.
  void add_control_if_taken(const char* control, Feature row);
  /// The controls that have no feature yet, under names of their own.
  void add_other_controls();
  /// No feature for this one.
  void pass_over(const char* control) { covered_.insert(control); }

  std::vector<Feature> take() { return std::move(features_); }

 private:
  void add_other(const kxcam_control& control);

  Camera& camera_;
  std::vector<Feature> features_;
  std::set<std::string, std::less<>> covered_;
};

std::optional<kxcam_control> find_control(std::string_view name);

// Every file of this folder adds one category.
void add_device_control(FeatureTable& table);
void add_image_format_control(FeatureTable& table);
void add_acquisition_control(FeatureTable& table);
void add_analog_control(FeatureTable& table);
void add_line_control(FeatureTable& table);
void add_user_sets(FeatureTable& table);
void add_statistics(FeatureTable& table);

}  // namespace kxcam::gentl
