// SPDX-License-Identifier: Apache-2.0
#include "core/persistence/parameter_sets.h"

#include <algorithm>
#include <array>
#include <functional>
#include <string_view>
#include <variant>

#include "core/acquisition/image_query.h"
#include "core/acquisition/orientation.h"
#include "core/acquisition/readout.h"
#include "core/control/auto_exposure.h"
#include "core/control/exposure.h"
#include "core/control/frame_timing.h"
#include "core/control/registers.h"
#include "core/control/trigger.h"
#include "core/persistence/parameter_block.h"
#include "core/persistence/stored_tables.h"
#include "core/picture/picture_settings.h"
#include "core/picture/white_balance_settings.h"

namespace kxcam {

namespace {

constexpr int kSlots = 2;
constexpr int kLastPreset = 254;

int slot_in_use(int slot) {
  return slot < kSlots ? slot : 0;
}

template <size_t N>
bool all(const std::array<bool, N>& results) {
  return std::ranges::all_of(results, std::identity());
}

void save_flash_tables(CameraContext& camera, libusb_device_handle* handle) {
  if ((camera.parameter.isp_flags & kFixedPatternOff) == 0) {
    if (keeps_fixed_pattern(camera)) {
      write_fixed_pattern(camera, handle);
    } else {
      camera.parameter.isp_flags.set_bits(kFixedPatternOff, true);
    }
  }
  if (camera.model().COLOR_MODE == kMono12) write_user_lut(camera, handle);
}

void load_flash_tables(CameraContext& camera, libusb_device_handle* handle) {
  if (keeps_fixed_pattern(camera)) {
    read_fixed_pattern(camera, handle);
  } else {
    camera.parameter.isp_flags.set_bits(kFixedPatternOff, true);
  }
  if (camera.model().COLOR_MODE == kMono12) read_user_lut(camera, handle);
}

/// The matrix takes effect with the saturation.
bool load_matrix(CameraContext& camera) {
  std::array<double, 9> ccm{};
  const bool read = ReadCcm(camera, ccm);
  set_ccm(camera, ccm);
  return read;
}

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

template <class T>
void store_low_bits(Relaxed<T>& member, int value) {
  member = static_cast<T>(value);
}

void copy_properties(const CameraParameter& from, CameraParameter& to) {
  for (const Property& property : kProperties) {
    std::visit([&](auto member) { to.*member = from.*member; }, property.member);
  }
}

/// Hands every setting to its setter, whatever becomes of the others. Some setters undo or need what others
/// did, so the order matters; the elements of a braced list are evaluated in theirs.
bool apply_settings(CameraContext& camera, const CameraParameter& record) {
  const uint16_t flags = record.isp_flags;
  const auto on = [flags](IspFlag flag) { return (flags & flag) != 0; };
  const std::array results = {
      set_contrast(camera, record.contrast),
      set_gamma(camera, record.gamma),
      set_delay(camera, record.delay),
      set_exposure(camera, record.exposure),
      set_gain(camera, record.gain),
      set_time_out(camera, record.time_out),
      set_aec(camera, on(kAutoExposure)),
      set_agc(camera, on(kAutoGain)),
      set_mirror_x(camera, on(kMirrorX)),
      set_mirror_y(camera, on(kMirrorY)),
      set_highspeed(camera, on(kHighSpeed)),
      set_wb_gain(camera, record.wb_gain_r, record.wb_gain_g, record.wb_gain_b),
      set_black_level(camera, record.black_level),
      set_ae_target(camera, record.ae_target),
      set_saturation(camera, record.saturation),
      set_enhancement(camera, on(kEnhancement)),
      set_global_reset(camera, !on(kGlobalResetOff)),
      set_interpolation(camera, record.interpolation),
      set_resolution_mode(camera, record.resolution_mode),
      set_line_height(camera, record.line_height),
      set_line_trigger(camera, record.line_trigger),
      set_snap_num(camera, record.snap_num),
      set_fpn(camera, (camera.parameter.isp_flags & kFixedPatternOff) == 0),
      set_denoise(camera, !on(kDespeckleOff)),
      set_frame_rate(camera, !on(kFrameRateFree), record.frame_rate),
      set_advanced_gain(camera, record.advanced_gain),
      set_snap_mode(camera, record.snap_mode),
      set_trigger_polarity(camera, record.trigger_polarity),
      enable_strobe(camera, !on(kStrobeOff)),
      set_strobe_polarity(camera, record.strobe_polarity),
      set_trigger_delay(camera, record.trigger_delay),
      set_strobe_delay(camera, record.strobe_delay),
      set_strobe_duration(camera, record.strobe_duration),
  };
  set_debouncer_time(camera, record.debouncer_time);
  return all(results);
}

void restore_readout(CameraContext& camera) {
  CameraParameter& live = camera.parameter;
  if (live.enable_roi != 0) {
    set_ROI(camera, live.roi_offset_x, live.roi_offset_y, live.roi_width, live.roi_height);
    return;
  }
  if (live.resolution_index > kLastPreset) live.resolution_index = 0;
  set_resolution(camera, live.resolution_index, nullptr, nullptr, nullptr);
}

}  // namespace

bool save_parameter(CameraContext& camera, int slot) {
  const DeviceHandle handle = find_device(camera);
  if (handle == nullptr) return false;
  SaveParameter(camera, camera.parameter, slot_in_use(slot));
  std::array<double, 9> ccm{};
  get_ccm(camera, ccm);
  WriteCcm(camera, ccm);
  save_flash_tables(camera, handle.get());
  return true;
}

bool load_parameter(CameraContext& camera, int slot) {
  const DeviceHandle handle = find_device(camera);
  if (handle == nullptr) return false;
  CameraParameter record;
  const bool loaded = LoadParameter(camera, record, slot_in_use(slot));
  const bool matrix_loaded = load_matrix(camera);
  camera.parameter.isp_flags = record.isp_flags;
  load_flash_tables(camera, handle.get());
  copy_properties(record, camera.parameter);
  const bool applied = apply_settings(camera, record);
  return loaded && matrix_loaded && applied;
}

bool set_parameter(CameraContext& camera) {
  if (find_device(camera) == nullptr) return false;
  const CameraParameter& live = camera.parameter;
  const uint16_t flags = live.isp_flags;
  const auto on = [flags](IspFlag flag) { return (flags & flag) != 0; };
  const std::array results = {
      set_highspeed(camera, on(kHighSpeed)),
      set_global_reset(camera, !on(kGlobalResetOff)),
      set_delay(camera, live.delay),
      set_exposure(camera, live.exposure),
      set_gain(camera, live.gain),
      // Again: on some sensors the gain's writes disturb the exposure.
      set_exposure(camera, live.exposure),
      set_aec(camera, on(kAutoExposure)),
      set_agc(camera, on(kAutoGain)),
      set_resolution_mode(camera, live.resolution_mode),
      set_line_height(camera, live.line_height),
      set_line_trigger(camera, live.line_trigger),
      set_snap_num(camera, live.snap_num),
      set_advanced_gain(camera, live.advanced_gain),
  };
  set_snap_mode(camera, live.snap_mode);
  restore_readout(camera);
  return all(results);
}

void restore_remaining_settings(CameraContext& camera) {
  const CameraParameter& live = camera.parameter;
  const uint16_t flags = live.isp_flags;
  set_ae_target(camera, live.ae_target);
  set_frame_rate(camera, (flags & kFrameRateFree) == 0, live.frame_rate);
  set_trigger_polarity(camera, live.trigger_polarity);
  enable_strobe(camera, (flags & kStrobeOff) == 0);
  set_strobe_polarity(camera, live.strobe_polarity);
  write_unit_times(camera);
}

bool set_property(CameraContext& camera, std::string_view key, int value) {
  const Property* property = find_property(key);
  if (property == nullptr) return false;
  std::visit([&](auto member) { store_low_bits(camera.parameter.*member, value); }, property->member);
  return true;
}

bool get_property(const CameraContext& camera, std::string_view key, int* value) {
  const Property* property = find_property(key);
  if (property == nullptr) return false;
  *value = std::visit([&](auto member) { return int{(camera.parameter.*member).load()}; }, property->member);
  return true;
}

void restore_geometry(CameraContext& camera) {
  const CameraParameter& live = camera.parameter;
  if (live.enable_roi == 0) {
    set_resolution(camera, live.resolution_index, nullptr, nullptr, nullptr);
  } else if (!set_ROI(camera, live.roi_offset_x, live.roi_offset_y, live.roi_width, live.roi_height)) {
    set_resolution(camera, 0, nullptr, nullptr, nullptr);
  }
}

}  // namespace kxcam
