// SPDX-License-Identifier: Apache-2.0

#include <map>
#include <string>

#include "camera_bus.h"
#include "core/persistence/properties.h"

namespace kxcam::test {
namespace {

class ParameterSets : public CameraBus {
 protected:
  using Settings = std::map<std::string, double>;

  template <class T>
  static double value_of(uint32_t (*getter)(int, T*)) {
    T value{};
    EXPECT_EQ(getter(0, &value), 0U);
    return static_cast<double>(value);
  }

  static double property(const char* key) {
    int value = -1;
    EXPECT_TRUE(get_property(0, key, &value));
    return value;
  }

  static Settings all_settings() {
    double r = 0;
    double g = 0;
    double b = 0;
    EXPECT_EQ(CameraGetWBGain(0, &r, &g, &b), 0U);
    bool fixed = false;
    double fps = 0;
    EXPECT_EQ(CameraGetFrameRate(0, &fixed, &fps), 0U);
    return {{"gamma", value_of(CameraGetGamma)},
            {"contrast", value_of(CameraGetContrast)},
            {"saturation", value_of(CameraGetSaturation)},
            {"gain", value_of(CameraGetGain)},
            {"advanced_gain", value_of(CameraGetAdvancedGain)},
            {"exposure", value_of(CameraGetExposure)},
            {"black_level", value_of(CameraGetBlackLevel)},
            {"ae_target", value_of(CameraGetAETarget)},
            {"delay", value_of(CameraGetDelay)},
            {"time_out", value_of(CameraGetTimeout)},
            {"interpolation", value_of(CameraGetInterpolation)},
            {"resolution_mode", value_of(CameraGetResolutionMode)},
            {"line_height", value_of(CameraGetLineHeight)},
            {"line_trigger", value_of(CameraGetLineTrigger)},
            {"snap_num", value_of(CameraGetSnapNum)},
            {"snap_mode", value_of(CameraGetSnapMode)},
            {"wb_gain_r", r},
            {"wb_gain_g", g},
            {"wb_gain_b", b},
            {"fixed_rate", fixed ? 1 : 0},
            {"frame_rate", fps},
            {"trigger_polarity", value_of(CameraGetTriggerPolarity)},
            {"strobe_polarity", value_of(CameraGetStrobePolarity)},
            {"trigger_delay", value_of(CameraGetTriggerDelay)},
            {"strobe_delay", value_of(CameraGetStrobeDelay)},
            {"strobe_duration", value_of(CameraGetStrobeDuration)},
            {"debouncer_time", value_of(CameraGetDebouncerTime)},
            {"mirror_x", value_of(CameraGetMirrorX)},
            {"mirror_y", value_of(CameraGetMirrorY)},
            {"agc", value_of(CameraGetAGC)},
            {"aec", value_of(CameraGetAEC)},
            {"awb", value_of(CameraGetAWB)},
            {"anti_flicker", value_of(CameraGetAntiFlicker)},
            {"enhancement", value_of(CameraGetEnhancement)},
            {"highspeed", value_of(CameraGetHighspeed)},
            {"global_reset", value_of(CameraGetGlobalReset)},
            {"denoise", value_of(CameraGetDenoise)},
            {"fpn", value_of(CameraGetFPN)},
            {"strobe", value_of(CameraGetStrobe)},
            {"image_format", property("image_format")}};
  }

  /// A value of its own for every setting, none of them the default; snap mode last, as trigger mode
  /// refuses others.
  static Settings change_all() {
    CameraSetGamma(0, 0.75);
    CameraSetContrast(0, 1.25);
    CameraSetSaturation(0, 1.5);
    CameraSetGain(0, 77);
    CameraSetAdvancedGain(0, 3);
    CameraSetExposure(0, 70000);
    CameraSetBlackLevel(0, 12);
    CameraSetAETarget(0, 100);
    CameraSetDelay(0, 31);
    CameraSetTimeout(0, 1234);
    CameraSetInterpolation(0, 2);
    CameraSetResolutionMode(0, 4);
    CameraSetLineHeight(0, 300);
    CameraSetLineTrigger(0, 1);
    CameraSetSnapNum(0, 9);
    CameraSetWBGain(0, 1.25, 0.75, 2.5);
    CameraSetFrameRate(0, true, 7.5);
    CameraSetTriggerPolarity(0, 0);
    CameraSetStrobePolarity(0, 0);
    CameraSetTriggerDelay(0, 110);
    CameraSetStrobeDelay(0, 220);
    CameraSetStrobeDuration(0, 330);
    CameraSetDebouncerTime(0, 44);
    CameraSetMirrorX(0, true);
    CameraSetMirrorY(0, true);
    CameraSetAGC(0, true);
    CameraSetAEC(0, true);
    CameraSetAWB(0, true);
    CameraSetAntiFlicker(0, 2);
    CameraSetEnhancement(0, true);
    CameraSetHighspeed(0, true);
    CameraSetDenoise(0, false);
    CameraSetFPN(0, false);
    CameraEnableStrobe(0, false);
    CameraSetGlobalReset(0, false);
    set_property(0, "image_format", 5);
    CameraSetSnapMode(0, 2);
    return {{"gamma", 0.75},
            {"contrast", 1.25},
            {"saturation", 1.5},
            {"gain", 77},
            {"advanced_gain", 3},
            {"exposure", 70000},
            {"black_level", 12},
            {"ae_target", 100},
            {"delay", 31},
            {"time_out", 1234},
            {"interpolation", 2},
            {"resolution_mode", 4},
            {"line_height", 300},
            {"line_trigger", 1},
            {"snap_num", 9},
            {"snap_mode", 2},
            {"wb_gain_r", 1.25},
            {"wb_gain_g", 0.75},
            {"wb_gain_b", 2.5},
            {"fixed_rate", 1},
            {"frame_rate", 7.5},
            {"trigger_polarity", 0},
            {"strobe_polarity", 0},
            {"trigger_delay", 110},
            {"strobe_delay", 220},
            {"strobe_duration", 330},
            {"debouncer_time", 44},
            {"mirror_x", 1},
            {"mirror_y", 1},
            {"agc", 1},
            {"aec", 1},
            {"awb", 1},
            {"anti_flicker", 2},
            {"enhancement", 1},
            {"highspeed", 1},
            {"global_reset", 0},
            {"denoise", 0},
            {"fpn", 0},
            {"strobe", 0},
            {"image_format", 5}};
  }

  static constexpr const char* kEverything = "3600,features=0x5";
};

TEST_F(ParameterSets, EverySettingOutlivesAPowerCycle) {
  const auto camera = plug(kEverything);
  ASSERT_EQ(CameraInit(0), 0U);
  Settings expected = change_all();
  ASSERT_EQ(all_settings(), expected);
  EXPECT_EQ(CameraSaveParameter(0, 1), 0U);
  CameraFree(0);
  bus_.replug(camera);

  ASSERT_EQ(CameraInit(0), 0U);
  int gain = 0;
  CameraGetGain(0, &gain);
  EXPECT_EQ(gain, 16) << "that is slot 0";
  EXPECT_EQ(CameraLoadParameter(0, 1), 0U);
  expected["ae_target"] = 88;  // less the black level
  const Settings loaded = all_settings();
  for (const auto& [name, value] : expected) EXPECT_NEAR(loaded.at(name), value, 1e-12) << name;
  EXPECT_EQ(camera->sensor_register(0x3204), 76) << "and has reached the sensor";
  EXPECT_EQ(camera->isp_register(9), 75);
  EXPECT_EQ(camera->isp_register(13), 22);
}

TEST_F(ParameterSets, OnlyTwoSlotsCanBeReached) {
  const auto camera = open_registers("3600,blank");
  CameraSetGain(0, 42);
  for (const auto& [slot, address] : {std::pair{2, 0x1F00}, {1, 0x1F40}, {-7, 0x1F00}, {3, 0x1F00}}) {
    program(*camera, kSet0, std::vector<uint8_t>(0x100, 0xFF));
    EXPECT_TRUE(ok(CameraSaveParameter(0, slot)));
    for (const uint16_t block : {0x1F00, 0x1F40, 0x1F80, 0x1FC0}) {
      EXPECT_EQ(camera->eeprom(block), block == address ? 0 : 0xFF) << slot;
    }
  }
}

TEST_F(ParameterSets, SavingDoesNotReportWhatTheCameraDidNotTake) {
  const auto camera = plug("3600,wp");
  ASSERT_EQ(CameraInit(0), 0U);
  CameraSetGain(0, 42);
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  EXPECT_EQ(camera->eeprom(kSet0 + 1), 16);
  bus_.unplug(*camera);
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  EXPECT_EQ(CameraLoadParameter(0, 0), 1U);
  EXPECT_EQ(CameraSaveParameter(1, 0), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_NOT_OPEN);
  EXPECT_EQ(CameraLoadParameter(-1, 0), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_INDEX);
}

TEST_F(ParameterSets, ARejectedValueLeavesThatSettingAloneAndTheRestLoads) {
  const auto camera = plug("3600");
  ASSERT_EQ(CameraInit(0), 0U);
  EXPECT_EQ(CameraLoadParameter(0, 0), 0U);
  EXPECT_EQ(CameraSetGain(0, 33), 0U);
  camera->set_eeprom(kSet0, 1);         // gain 272
  camera->set_eeprom(kSet0 + 0x11, 9);  // black level
  EXPECT_EQ(CameraLoadParameter(0, 0), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_ARGUMENT);
  int value = 0;
  EXPECT_EQ(CameraGetGain(0, &value), 0U);
  EXPECT_EQ(value, 33);
  EXPECT_EQ(CameraGetBlackLevel(0, &value), 0U);
  EXPECT_EQ(value, 9);
}

TEST_F(ParameterSets, TheLoadedMatrixIsInForceWithEnhancement) {
  const auto camera = plug("3600");
  program(*camera, kMatrixBlock,
          std::array<uint8_t, 18>{0, 200, 0, 0, 0, 0, 0, 0, 0, 100, 0, 0, 0, 0, 0, 0, 0, 50});
  camera->set_eeprom(kSet0 + 0x09, 0x20);  // enhancement
  ASSERT_EQ(CameraInit(0), 0U);
  EXPECT_EQ(CameraSaveParameter(0, 1), 0U);
  EXPECT_EQ(cells(*camera, kMatrixBlock, 2), (std::vector<uint8_t>{0, 200})) << "and is saved as it was";
  camera->set_frame_source(
      [](const kxsim::FrameRequest&, std::span<uint8_t> out) { std::ranges::fill(out, uint8_t{50}); });
  CameraClearHostBuffer(0);
  int size = buffer_size(KXCAM_FORMAT_COLOR);
  std::vector<uint8_t> image(static_cast<size_t>(size));
  ASSERT_EQ(CameraQueryImage(0, image.data(), &size, KXCAM_FORMAT_COLOR), 0U);
  const size_t middle = (270 * 720 + 360) * 3;
  EXPECT_EQ((std::vector<uint8_t>(image.begin() + middle, image.begin() + middle + 3)),
            (std::vector<uint8_t>{100, 50, 25}));
}

}  // namespace
}  // namespace kxcam::test
