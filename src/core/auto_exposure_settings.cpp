// SPDX-License-Identifier: Apache-2.0
#include "core/auto_exposure_settings.h"

#include <algorithm>

#include "core/contexts.h"
#include "core/feature_bits.h"
#include "core/isp_flags.h"
#include "core/last_error.h"
#include "core/sensor_family.h"
#include "usb/control_channel.h"

namespace kxcam {

namespace {

enum BridgeRegister : uint32_t {
  kVersion = 0x00,
  kAutoExposureControl = 0x19,
  kAutoExposureTarget = 0x1A,
};
constexpr uint32_t kLastVersionWithoutAutoExposure = 0x103;
constexpr uint32_t kControl50Hz = 0x10;
constexpr uint32_t kControl60Hz = 0x20;
constexpr int kTargetFractionBits = 4;
constexpr int kHighestTarget = 255;

bool bridge_has_loop(const CameraContext& camera) {
  return camera.family.bridge_auto_exposure || (camera.feature_bits & kBridgeAutoExposure) != 0;
}

uint32_t mains_bit(uint16_t isp_flags) {
  if ((isp_flags & kAntiFlicker50Hz) != 0) return kControl50Hz;
  return (isp_flags & kAntiFlicker60Hz) != 0 ? kControl60Hz : 0;
}

/// Only one of the two loops may move the exposure.
void switch_bridge_loop(CameraContext& camera, bool on) {
  const std::optional<uint32_t> version = isp_read(camera, kVersion);
  if (!version || *version <= kLastVersionWithoutAutoExposure) return;
  isp_write(camera, kAutoExposureControl, (on ? 1U : 0U) | mains_bit(camera.parameter.isp_flags));
  camera.parameter.isp_flags.set_bits(kSoftwareExposureAllowed, !on);
}

/// Lets a few frames of the old setting pass before the loop's next run.
void postpone_next_run(CameraContext& camera) {
  const auto frames = static_cast<int32_t>(camera.frames_delivered.load());
  camera.frames_delivered = static_cast<uint32_t>(frames / 4 + 2);
}

int get_switch(int camera, uint16_t flag) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return -1;
  return (context->parameter.isp_flags & flag) != 0 ? 1 : 0;
}

}  // namespace

bool set_aec(int camera, bool on) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  if (bridge_has_loop(*context)) switch_bridge_loop(*context, on);
  postpone_next_run(*context);
  context->parameter.isp_flags.set_bits(kAutoExposure, on);
  return true;
}

int get_aec(int camera) {
  return get_switch(camera, kAutoExposure);
}

bool set_agc(int camera, bool on) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  if (const auto prepare = context->family.prepare_auto_gain) prepare(*context);
  postpone_next_run(*context);
  context->parameter.isp_flags.set_bits(kAutoGain, on);
  return true;
}

int get_agc(int camera) {
  return get_switch(camera, kAutoGain);
}

bool set_ae_target(int camera, int target) {
  if (!check_index(camera)) return false;
  if (target < 0 || target > kHighestTarget) return fail(KXCAM_ERROR_ARGUMENT);
  const ContextRef context = context_at(camera);
  if (context == nullptr) return false;
  const int32_t level = CameraContext::ae_offset + target;
  context->parameter.ae_target = level;
  return !bridge_has_loop(*context) ||
         isp_write(*context, kAutoExposureTarget, static_cast<uint32_t>(level) << kTargetFractionBits);
}

int get_ae_target(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1 : std::max(context->parameter.ae_target - CameraContext::ae_offset, 0);
}

int get_avg(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1 : std::max(context->mean_level - CameraContext::ae_offset, 0);
}

bool set_anti_flicker(int camera, int mode) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  context->parameter.isp_flags.set_bits(kAntiFlicker50Hz, mode == 1);
  context->parameter.isp_flags.set_bits(kAntiFlicker60Hz, mode == 2);
  return true;
}

int get_anti_flicker(int camera) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return -1;
  const uint16_t flags = context->parameter.isp_flags;
  if ((flags & kAntiFlicker50Hz) != 0) return 1;
  return (flags & kAntiFlicker60Hz) != 0 ? 2 : 0;
}

}  // namespace kxcam
