// SPDX-License-Identifier: Apache-2.0
#include "core/stored_geometry.h"

#include <string_view>

#include "core/properties.h"
#include "core/resolution.h"
#include "core/roi.h"

namespace kxcam {

namespace {

int property(int camera, std::string_view key) {
  int value = 0;
  get_property(camera, key, &value);
  return value;
}

bool select_preset(int camera, int preset) {
  return set_resolution(camera, preset, nullptr, nullptr, nullptr);
}

bool select_region(int camera) {
  return set_ROI(camera, property(camera, "roi_offset_x"), property(camera, "roi_offset_y"),
                 property(camera, "roi_width"), property(camera, "roi_height"));
}

}  // namespace

void restore_geometry(int camera) {
  if (property(camera, "enable_roi") == 0) {
    select_preset(camera, property(camera, "resolution_index"));
  } else if (!select_region(camera)) {
    select_preset(camera, 0);
  }
}

}  // namespace kxcam
