// SPDX-License-Identifier: Apache-2.0
#include "controls.h"

#include <array>
#include <chrono>
#include <thread>

#include "kxcam/kxcam.h"
#include "settings.h"

namespace kxcam::soak {

namespace {

enum SnapMode { kFreeRun = 0, kTimed = 1, kTriggered = 2 };

constexpr int kLargestPreset = 0;
constexpr int kPresets = 3;

}  // namespace

void Controls::run() {
  while (!stage_.ending) {
    {
      const Gate::Pass pass(stage_.gate);
      act();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(random_.between(0, 12)));
  }
}

void Controls::act() {
  // Pictures come by shots only while the camera waits for them.
  if (triggered_ && random_.chance(70)) return shoot();
  const int choice = random_.between(1, 1000);
  if (choice <= 30) return change_geometry();
  if (choice <= 45) return change_snap_mode();
  if (choice <= 65) return turn();
  if (choice <= 75) return flush();
  if (choice <= 77) return load_settings();
  change_setting();
}

void Controls::change_setting() {
  const Setting& setting = random_.pick(random_.chance(50) ? setters() : getters());
  stage_.watch(setting.function, setting.patience, [&] { return setting.call(index_, random_); });
}

void Controls::change_geometry() {
  if (random_.chance(25)) {
    // The full sensor is by far the largest frame, and takes its time.
    const int preset = random_.chance(15) ? kLargestPreset : random_.between(1, kPresets);
    int width = 0;
    int height = 0;
    stage_.watch("CameraSetResolution", Patience::kRequest,
                 [&] { return CameraSetResolution(index_, preset, &width, &height); });
    return;
  }
  // Of these sizes, faults and presets none leaves a rest with the length of another one in a reader that
  // still expects that: to the reader it would be a frame.
  static constexpr std::array kWidths = {160, 192, 256, 320};
  static constexpr std::array kHeights = {144, 160, 192, 240};
  constexpr int kStep = 16;
  const int x = kStep * random_.between(0, 9);
  const int y = kStep * random_.between(0, 9);
  const int width = random_.pick(kWidths);
  const int height = random_.pick(kHeights);
  stage_.watch("CameraSetROI", Patience::kRequest, [&] { return CameraSetROI(index_, x, y, width, height); });
}

void Controls::change_snap_mode() {
  static constexpr std::array kModes = {kFreeRun, kTimed, kTimed, kTriggered};
  const SnapMode mode = random_.pick(kModes);
  stage_.watch("CameraSetSnapMode", Patience::kFrame, [&] { return CameraSetSnapMode(index_, mode); });
  triggered_ = mode == kTriggered;
}

void Controls::shoot() {
  stage_.watch("CameraTriggerShot", Patience::kRequest, [&] { return CameraTriggerShot(index_); });
  if (random_.chance(10)) change_snap_mode();
}

void Controls::turn() {
  static constexpr std::array kAngles = {90, 180, 270, 360, 45};
  const int angle = random_.pick(kAngles);
  stage_.watch("CameraSetRotate", Patience::kRequest, [&] { return CameraSetRotate(index_, angle); });
}

void Controls::flush() {
  stage_.watch("CameraClearHostBuffer", Patience::kFrame, [&] { return CameraClearHostBuffer(index_); });
}

void Controls::load_settings() {
  stage_.watch("CameraLoadParameter", Patience::kWholeCamera,
               [&] { return CameraLoadParameter(index_, random_.between(0, 1)); });
}

}  // namespace kxcam::soak
