// SPDX-License-Identifier: Apache-2.0
#include "camera_settings.h"

#include <kxcam/kxcam.h>

#include "control.h"

namespace kxcam {
namespace {

// The camera turns by 90 and 270 degrees itself; half a turn is both mirrors.
void rotate(const OpenCamera& camera, int angle) {
  const int index = camera.index();
  if (angle == 90 || angle == 270) camera.require("rotating", CameraSetRotate(index, angle));
  if (angle != 180) return;
  bool mirror_x = false;
  bool mirror_y = false;
  camera.require("reading mirror X", CameraGetMirrorX(index, &mirror_x));
  camera.require("reading mirror Y", CameraGetMirrorY(index, &mirror_y));
  camera.require("setting mirror X", CameraSetMirrorX(index, !mirror_x));
  camera.require("setting mirror Y", CameraSetMirrorY(index, !mirror_y));
}

void apply_geometry(const CameraSettings& settings, const OpenCamera& camera) {
  const int index = camera.index();
  if (settings.mirror_x) camera.require("setting mirror X", CameraSetMirrorX(index, true));
  if (settings.mirror_y) camera.require("setting mirror Y", CameraSetMirrorY(index, true));
  rotate(camera, settings.rotate);
  if (settings.resolution) {
    camera.require("setting the resolution",
                   CameraSetResolution(index, *settings.resolution, nullptr, nullptr));
  }
  // A region is given in coordinates of the picture as it is delivered, so it comes after the turns.
  if (const auto& roi = settings.roi; roi.size() == 4) {
    camera.require("setting the region of interest", CameraSetROI(index, roi[0], roi[1], roi[2], roi[3]));
  }
}

void apply_tone(const CameraSettings& settings, const OpenCamera& camera) {
  const int index = camera.index();
  if (settings.gamma) camera.require("setting gamma", CameraSetGamma(index, *settings.gamma));
  if (settings.contrast) camera.require("setting contrast", CameraSetContrast(index, *settings.contrast));
  if (settings.saturation) {
    camera.require("setting saturation", CameraSetSaturation(index, *settings.saturation));
  }
  if (settings.black_level) {
    camera.require("setting the black level", CameraSetBlackLevel(index, *settings.black_level));
  }
  if (settings.enhancement) camera.require("setting enhancement", CameraSetEnhancement(index, true));
}

// The duration of a line depends on the geometry, so this comes after it.
void apply_exposure(const CameraSettings& settings, const OpenCamera& camera) {
  if (settings.gain) camera.require("setting the gain", CameraSetGain(camera.index(), *settings.gain));
  if (settings.exposure_ms) write_control(camera, find_control("exposure-ms"), *settings.exposure_ms);
  if (!settings.auto_exposure) return;
  camera.require("switching automatic exposure", CameraSetAEC(camera.index(), true));
  camera.require("switching automatic gain", CameraSetAGC(camera.index(), true));
}

constexpr const char* kGeometry = "Geometry";
constexpr const char* kTone = "Tone and colour (not for raw frames)";

void add_mirror_options(CLI::App& command, CameraSettings& settings) {
  command.add_flag("--mirror-x", settings.mirror_x, "Mirror left to right")->group(kGeometry);
  command.add_flag("--mirror-y", settings.mirror_y, "Mirror top to bottom")->group(kGeometry);
  command.add_option("--rotate", settings.rotate, "Turn clockwise, after mirroring")
      ->type_name("90|180|270")
      ->check(CLI::IsMember({90, 180, 270}).description(""))
      ->group(kGeometry);
}

void add_tone_options(CLI::App& command, CameraSettings& settings) {
  command.add_option("--gamma", settings.gamma, "0.3 to 2.0")
      ->type_name("G")
      ->check(CLI::Range(0.3, 2.0).description(""))
      ->group(kTone);
  command.add_option("--contrast", settings.contrast, "0.3 to 2.0")
      ->type_name("C")
      ->check(CLI::Range(0.3, 2.0).description(""))
      ->group(kTone);
  command.add_option("--saturation", settings.saturation, "0.0 to 2.0")
      ->type_name("S")
      ->check(CLI::Range(0.0, 2.0).description(""))
      ->group(kTone);
  command.add_option("--black-level", settings.black_level, "0 to 255")
      ->type_name("L")
      ->check(CLI::Range(0, 255).description(""))
      ->group(kTone);
  command.add_flag("--enhancement", settings.enhancement, "The camera's own colour matrix")->group(kTone);
  command.add_flag("--one-push", settings.one_push, "Measure the white balance once")->group(kTone);
}

}  // namespace

void add_settings_options(CLI::App& command, CameraSettings& settings) {
  auto* resolution =
      command.add_option("--resolution", settings.resolution, "Resolution preset, see `kxcam info`")
          ->type_name("PRESET")
          ->check(CLI::Validator(CLI::NonNegativeNumber).description(""))
          ->group(kGeometry);
  command.add_option("--roi", settings.roi, "Region of interest in pixels of the picture as delivered")
      ->type_name("X,Y,W,H")
      ->delimiter(',')
      ->expected(4)
      ->check(CLI::Validator(CLI::NonNegativeNumber).description(""))
      ->excludes(resolution)
      ->group(kGeometry);
  add_mirror_options(command, settings);

  const std::string exposure = "Exposure";
  auto* exposure_ms = command.add_option("--exposure-ms", settings.exposure_ms, "Exposure in milliseconds")
                          ->type_name("MS")
                          ->check(CLI::Range(0.0, 3'600'000.0).description(""))
                          ->group(exposure);
  auto* gain = command.add_option("--gain", settings.gain, "1 to 255")
                   ->type_name("G")
                   ->check(CLI::Range(1, 255).description(""))
                   ->group(exposure);
  command.add_flag("--auto", settings.auto_exposure, "Let exposure and gain follow the brightness")
      ->excludes(exposure_ms)
      ->excludes(gain)
      ->group(exposure);

  add_tone_options(command, settings);
  add_set_option(command, settings.controls);
}

void add_picture_options(CLI::App& command, CameraSettings& settings) {
  add_mirror_options(command, settings);
  add_tone_options(command, settings);
  add_set_option(command, settings.controls);
}

void apply(const CameraSettings& settings, const OpenCamera& camera) {
  apply_geometry(settings, camera);
  apply_tone(settings, camera);
  apply_exposure(settings, camera);
  write_assignments(camera, settings.controls);
  if (settings.one_push) camera.require("measuring the white balance", CameraOnePushWB(camera.index()));
}

}  // namespace kxcam
