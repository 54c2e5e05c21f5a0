// SPDX-License-Identifier: Apache-2.0

// What the exported calls of sensor control make of cameras that are not there.

#include <functional>

#include "sensor_test.h"

namespace kxcam::test {
namespace {

using Setter = std::function<uint32_t(int)>;

std::vector<Setter> setters() {
  return {[](int c) { return CameraSetExposure(c, 10); },
          [](int c) { return CameraSetGain(c, 10); },
          [](int c) { return CameraSetAdvancedGain(c, 1); },
          [](int c) { return CameraSetAEC(c, true); },
          [](int c) { return CameraSetAGC(c, true); },
          [](int c) { return CameraSetAETarget(c, 10); },
          [](int c) { return CameraSetAntiFlicker(c, 1); },
          [](int c) { return CameraSetFrameRate(c, true, 10); },
          [](int c) { return CameraSetHighspeed(c, true); },
          [](int c) { return CameraSetGlobalReset(c, true); },
          [](int c) { return CameraSetDelay(c, 1); },
          [](int c) { return CameraSetSnapMode(c, 2); },
          [](int c) { return CameraSetSnapNum(c, 2); },
          [](int c) { return CameraTriggerShot(c); },
          [](int c) { return CameraEnableStrobe(c, true); },
          [](int c) { return CameraSetTriggerPolarity(c, 1); },
          [](int c) { return CameraSetStrobePolarity(c, 1); },
          [](int c) { return CameraSetTriggerDelay(c, 1); },
          [](int c) { return CameraSetStrobeDelay(c, 1); },
          [](int c) { return CameraSetStrobeDuration(c, 1); },
          [](int c) { return CameraSetDebouncerTime(c, 1); }};
}

template <class Value>
using Getter = uint32_t (*)(int, Value*);

/// The output after a failed call that found it as it was given.
template <class Value>
Value after_failure(Getter<Value> getter, int camera, Value before) {
  Value value = before;
  EXPECT_EQ(getter(camera, &value), 1U);
  return value;
}

class Refusal : public SensorTest {};

TEST_F(Refusal, ACameraThatIsNotThere) {
  const std::pair<int, int> cameras[] = {
      {-1, KXCAM_ERROR_INDEX}, {256, KXCAM_ERROR_INDEX}, {kCamera, KXCAM_ERROR_NOT_OPEN}};
  for (const auto& [camera, code] : cameras) {
    for (const Setter& set : setters()) {
      EXPECT_EQ(code_of([&, number = camera] { return set(number) == 0; }), code);
    }
    for (const Getter<int> get :
         {CameraGetExposure, CameraGetAvg, CameraGetGain, CameraGetAdvancedGain, CameraGetAETarget,
          CameraGetAntiFlicker, CameraGetDelay, CameraGetSnapMode, CameraGetSnapNum, CameraGetStrobePolarity,
          CameraGetTriggerDelay, CameraGetStrobeDelay, CameraGetStrobeDuration, CameraGetDebouncerTime}) {
      EXPECT_EQ(after_failure(get, camera, 77), 77);
      EXPECT_EQ(get_last_error(), code);
    }
    for (const Getter<double> get : {CameraGetExposureUnit, CameraGetExposureTime}) {
      EXPECT_EQ(after_failure(get, camera, 7.5), 7.5);
    }
    for (const Getter<bool> get : {CameraGetAEC, CameraGetAGC, CameraGetHighspeed, CameraGetGlobalReset}) {
      EXPECT_FALSE(after_failure(get, camera, true)) << "switches become false";
    }
    for (const Getter<bool> get : {CameraGetStrobe, CameraGetTriggerPolarity}) {
      EXPECT_TRUE(after_failure(get, camera, true));
    }
  }
}

TEST_F(Refusal, AntiFlickerThatIsOffCountsAsAFailure) {
  open(0x0500);
  EXPECT_EQ(after_failure(CameraGetAntiFlicker, kCamera, 7), 7);
  int mode = 0;
  EXPECT_EQ(CameraSetAntiFlicker(kCamera, 2), 0U);
  EXPECT_EQ(CameraGetAntiFlicker(kCamera, &mode), 0U);
  EXPECT_EQ(mode, 2);
}

TEST_F(Refusal, AGeometryReappliesTheExposureWhateverBecomesOfThat) {
  open_model(0x3180).parameter.exposure = 5;
  EXPECT_EQ(CameraSetROI(kCamera, 0, 0, 640, 480), 0U);
  EXPECT_TRUE(requests().ends_with("w3012=5 w340=254"));
  open(0x0600);
  camera().inject({.requests = {{.code = 0xB6}}});
  EXPECT_EQ(CameraSetResolution(kCamera, 0, nullptr, nullptr), 0U);
}

}  // namespace
}  // namespace kxcam::test
