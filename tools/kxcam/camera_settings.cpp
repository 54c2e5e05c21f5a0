// SPDX-License-Identifier: Apache-2.0
#include "camera_settings.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <fmt/format.h>

#include <kxcam/kxcam.h>

#include "diagnosis.h"
#include "error.h"

namespace kxcam {
namespace {

bool is_geometry(const Assignment& assignment) {
  return std::string_view(assignment.control->group) == "geometry";
}

// The camera rotates by 90 and 270 degrees itself; half a turn is both mirrors.
void rotate(const OpenCamera& camera, int angle) {
  const int index = camera.index();
  if (angle == 90 || angle == 270) camera.require("rotating", CameraSetRotate(index, angle));
  if (angle != 180) return;
  for (const char* mirror : {"mirror-x", "mirror-y"}) {
    const Control& control = find_control(mirror);
    write_control(camera, control, 1 - read_control(camera, control));
  }
}

using Region = std::array<int, 4>;  // x, y, width, height

bool takes(const OpenCamera& camera, const Region& roi) {
  return CameraSetROI(camera.index(), roi[0], roi[1], roi[2], roi[3]) == 0;
}

/// The interface does not report what a region's place and size have to be multiples of: finds out by trying.
/// 0 when no place but the edge will do.
int step_along(const OpenCamera& camera, std::size_t axis) {
  constexpr int kSize = 64;  // a multiple of every step
  for (const int step : {2, 4, 8, 16, 32}) {
    Region roi = {0, 0, kSize, kSize};
    roi[axis] = step;
    if (takes(camera, roi)) return step;
  }
  return 0;
}

std::string step_text(const OpenCamera& camera, std::size_t axis) {
  constexpr std::array kNames = {"X and W", "Y and H"};
  const int step = step_along(camera, axis);
  return step > 0 ? fmt::format("{} in multiples of {}", kNames[axis], step)
                  : fmt::format("{} as the whole sensor has them", kNames[axis]);
}

void set_region(const OpenCamera& camera, const Region& roi) {
  if (takes(camera, roi)) return;
  if (library_error() != KXCAM_ERROR_ARGUMENT) camera.require("setting the region of interest", 1);
  int width = 0;
  int height = 0;
  camera.require("reading the picture size", CameraGetResolution(camera.index(), 0, &width, &height));
  throw Error(ExitCode::kUsage,
              fmt::format("camera {} does not take the region {},{},{},{}", camera.index(), roi[0], roi[1],
                          roi[2], roi[3]),
              fmt::format("It must lie within {} x {} pixels, with {}, and {}.", width, height,
                          step_text(camera, 0), step_text(camera, 1)));
}

void apply_geometry(const CameraSettings& settings, const OpenCamera& camera) {
  for (const Assignment& assignment : settings.controls) {
    if (is_geometry(assignment)) write_control(camera, *assignment.control, assignment.value);
  }
  rotate(camera, settings.rotate);
  if (settings.resolution) {
    camera.require("setting the resolution",
                   CameraSetResolution(camera.index(), *settings.resolution, nullptr, nullptr));
  }
  // A region is given in coordinates of the picture as it is delivered, so it comes after mirrors and
  // rotation.
  if (const auto& roi = settings.roi; roi.size() == 4) set_region(camera, {roi[0], roi[1], roi[2], roi[3]});
}

}  // namespace

bool CameraSettings::changes_orientation() const {
  return rotate != 0 || std::ranges::any_of(controls, is_geometry);
}

// The duration of a line, and with it the exposure, depends on the geometry, so that comes first.
void apply(const CameraSettings& settings, const OpenCamera& camera) {
  apply_geometry(settings, camera);
  if (settings.auto_exposure) {
    write_control(camera, find_control("auto-exposure"), 1);
    write_control(camera, find_control("auto-gain"), 1);
  }
  for (const Assignment& assignment : settings.controls) {
    if (!is_geometry(assignment)) write_control(camera, *assignment.control, assignment.value);
  }
  if (settings.one_push) camera.require("measuring the white balance", CameraOnePushWB(camera.index()));
}

}  // namespace kxcam
