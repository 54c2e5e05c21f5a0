// SPDX-License-Identifier: Apache-2.0
#include "core/persistence/properties.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <variant>

#include "core/acquisition/readout.h"
#include "core/registry/camera_context.h"

namespace kxcam {

namespace {

using ByteMember = Relaxed<uint8_t> CameraParameter::*;
using WordMember = Relaxed<uint16_t> CameraParameter::*;

struct Property {
  std::string_view key;
  std::variant<ByteMember, WordMember> member;
};

constexpr std::array<Property, 7> kProperties = {{
    {"image_format", &CameraParameter::image_format},
    {"resolution_index", &CameraParameter::resolution_index},
    {"enable_roi", &CameraParameter::enable_roi},
    {"roi_offset_x", &CameraParameter::roi_offset_x},
    {"roi_offset_y", &CameraParameter::roi_offset_y},
    {"roi_width", &CameraParameter::roi_width},
    {"roi_height", &CameraParameter::roi_height},
}};

const Property* find_property(std::string_view key) {
  const auto found = std::ranges::find(kProperties, key, &Property::key);
  return found == kProperties.end() ? nullptr : &*found;
}

void store(Relaxed<uint8_t>& member, int value) {
  member = static_cast<uint8_t>(value);
}

void store(Relaxed<uint16_t>& member, int value) {
  member = static_cast<uint16_t>(value);
}

}  // namespace

bool set_property(CameraContext& camera, std::string_view key, int value) {
  const Property* property = find_property(key);
  if (property == nullptr) return false;
  std::visit([&](auto member) { store(camera.parameter.*member, value); }, property->member);
  return true;
}

bool get_property(const CameraContext& camera, std::string_view key, int* value) {
  const Property* property = find_property(key);
  if (property == nullptr) return false;
  *value =
      std::visit([&](auto member) -> int { return (camera.parameter.*member).load(); }, property->member);
  return true;
}

namespace {

int property(const CameraContext& camera, std::string_view key) {
  int value = 0;
  get_property(camera, key, &value);
  return value;
}

bool select_preset(CameraContext& camera, int preset) {
  return set_resolution(camera, preset, nullptr, nullptr, nullptr);
}

bool select_region(CameraContext& camera) {
  return set_ROI(camera, property(camera, "roi_offset_x"), property(camera, "roi_offset_y"),
                 property(camera, "roi_width"), property(camera, "roi_height"));
}

}  // namespace

void restore_geometry(CameraContext& camera) {
  if (property(camera, "enable_roi") == 0) {
    select_preset(camera, property(camera, "resolution_index"));
  } else if (!select_region(camera)) {
    select_preset(camera, 0);
  }
}

}  // namespace kxcam
