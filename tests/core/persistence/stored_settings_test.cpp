// SPDX-License-Identifier: Apache-2.0
#include <functional>

#include "camera_bus.h"
#include "sync/clock.h"

// The settings that a camera keeps in its memory: their cells, what comes back, and what is left out when a
// cell cannot be read or written.

namespace kxcam::test {
namespace {

/// One stored setting of camera 0.
struct Setting {
  const char* name;
  std::function<uint32_t()> set;
  std::function<double()> get;
  uint16_t offset;  ///< in the set
  Bytes stored;
  double set_value;
  double loaded;
};

template <class T>
double value_of(uint32_t (*getter)(int, T*)) {
  T value{};
  EXPECT_EQ(getter(0, &value), 0U);
  return static_cast<double>(value);
}

template <class T, class U>
Setting setting(const char* name, uint32_t (*setter)(int, T), uint32_t (*getter)(int, U*),
                std::type_identity_t<T> value, uint16_t offset, Bytes stored, double loaded) {
  const auto set = [=] { return setter(0, value); };
  const auto get = [=] { return value_of(getter); };
  return {name, set, get, offset, std::move(stored), static_cast<double>(value), loaded};
}
template <class T, class U>
Setting setting(const char* name, uint32_t (*setter)(int, T), uint32_t (*getter)(int, U*),
                std::type_identity_t<T> value, uint16_t offset, Bytes stored) {
  return setting(name, setter, getter, value, offset, std::move(stored), static_cast<double>(value));
}

double frame_rate(bool rate) {
  bool fixed = false;
  double fps = 0;
  EXPECT_EQ(CameraGetFrameRate(0, &fixed, &fps), 0U);
  return rate ? fps : fixed ? 1 : 0;
}

double wb_gain(size_t channel) {
  std::array<double, 3> rgb{};
  EXPECT_EQ(CameraGetWBGain(0, &rgb[0], &rgb[1], &rgb[2]), 0U);
  return rgb.at(channel);
}

#define BOTH(noun) #noun, CameraSet##noun, CameraGet##noun

/// A value for each that shows which of its bytes are kept, and in what order; the switches share the word
/// that `kSwitches` is. Snap mode comes last, as trigger mode refuses others.
std::vector<Setting> all_settings() {
  std::vector<Setting> all = {
      setting(BOTH(Gain), 77, 0x00, {0, 77}),
      setting(BOTH(Exposure), 0x54321, 0x02, {0x43, 0x21}),
      setting(BOTH(Exposure), 0x54321, 0x3E, {0x05}),
      setting(BOTH(Gamma), 0.355, 0x04, {0, 35}, 0.35),
      setting(BOTH(Contrast), 1.999, 0x06, {0, 199}, 1.99),
      setting(BOTH(BlackLevel), 12, 0x10, {0, 12}),
      setting(BOTH(AETarget), 100, 0x12, {0, 100}, 88),  // less the black level
      setting(BOTH(Saturation), 1.5, 0x14, {0, 150}),
      setting(BOTH(Interpolation), 7, 0x16, {7}),
      setting(BOTH(ResolutionMode), 4, 0x17, {4}),
      setting(BOTH(Delay), 0x10203, 0x18, {0x02, 0x03}, 0x0203),
      setting(BOTH(AdvancedGain), 3, 0x1A, {3}),
      setting(BOTH(Timeout), 1000, 0x26, {0x03, 0xE8}),
      setting(BOTH(LineHeight), 0x0A0B, 0x29, {0x0A, 0x0B}),
      setting(BOTH(LineTrigger), 1, 0x2D, {1}),
      setting(BOTH(SnapNum), 0x0C0D, 0x2E, {0x0C, 0x0D}),
      setting(BOTH(TriggerPolarity), 0, 0x32, {0}),
      setting(BOTH(StrobePolarity), 0, 0x33, {0}),
      setting(BOTH(TriggerDelay), 12345, 0x34, {0x04, 0xD2}, 12340),
      setting(BOTH(StrobeDelay), 99, 0x36, {0, 9}, 90),
      setting(BOTH(StrobeDuration), 70000, 0x38, {0x1B, 0x58}),
      setting(BOTH(DebouncerTime), 0x10FF, 0x3A, {0x10, 0xFF}),
      {"FixedRate", [] { return 0U; }, [] { return frame_rate(false); }, 0x30, {0, 255}, 1, 1},
  };
  const auto set_rate = [] { return CameraSetFrameRate(0, true, 25.55); };
  all.push_back({"FrameRate", set_rate, [] { return frame_rate(true); }, 0x30, {0, 255}, 25.55, 25.5});
  const auto wb_gains = [] { return CameraSetWBGain(0, 2.5678, 1.25, 0.999); };
  all.push_back({"WBGain red", wb_gains, [] { return wb_gain(0); }, 0x0A, {1, 0}, 2.5678, 2.56});
  all.push_back({"WBGain green", wb_gains, [] { return wb_gain(1); }, 0x0C, {0, 125}, 1.25, 1.25});
  all.push_back({"WBGain blue", wb_gains, [] { return wb_gain(2); }, 0x0E, {0, 99}, 0.999, 0.99});
  constexpr uint8_t kSwitches[] = {0xEF, 0x6F};
  const auto add_switch = [&](const char* name, uint32_t (*set)(int, bool), uint32_t (*get)(int, bool*),
                              bool on) {
    all.push_back(setting(name, set, get, on, 0x08, {kSwitches[0], kSwitches[1]}));
  };
  add_switch(BOTH(MirrorX), true);
  add_switch(BOTH(MirrorY), true);
  add_switch(BOTH(AEC), true);
  add_switch(BOTH(AGC), true);
  add_switch(BOTH(AWB), true);
  add_switch(BOTH(Enhancement), true);
  add_switch(BOTH(Highspeed), true);
  add_switch(BOTH(Denoise), false);
  add_switch(BOTH(FPN), false);
  add_switch("Strobe", CameraEnableStrobe, CameraGetStrobe, false);
  add_switch(BOTH(GlobalReset), false);
  all.push_back(setting(BOTH(AntiFlicker), 2, 0x08, {kSwitches[0], kSwitches[1]}));
  all.push_back(setting(BOTH(SnapMode), 2, 0x28, {2}));
  return all;
}

class StoredSettings : public CameraBus {
 protected:
  std::shared_ptr<Camera> init(const std::string& description) {
    auto camera = plug(description);
    EXPECT_EQ(CameraInit(0), 0U);
    camera->clear_requests();
    return camera;
  }
};

TEST_F(StoredSettings, EachHasItsCellsAndOutlivesAPowerCycle) {
  const auto camera = init("3600,features=0x5");
  program(*camera, kSet0 + kSetSize, Bytes(kSetSize, 0xEE));
  const std::vector<Setting> settings = all_settings();
  EXPECT_EQ(CameraSetROI(0, 0x102, 0x0C, 0x104, 0x10A), 0U);
  for (const Setting& each : settings) EXPECT_EQ(each.set(), 0U) << each.name;
  for (const Setting& each : settings) EXPECT_EQ(each.get(), each.set_value) << each.name;
  camera->clear_requests();
  const uint64_t start = GetTickCount();
  EXPECT_EQ(CameraSaveParameter(0, 1), 0U);
  EXPECT_GE(GetTickCount() - start, 5 * camera->requests(kEepromWrite).size()) << "the memory needs a pause";

  const uint16_t set1 = kSet0 + kSetSize;
  for (const Setting& each : settings)
    EXPECT_EQ(cells(*camera, set1 + each.offset, each.stored.size()), each.stored) << each.name;
  EXPECT_EQ(cells(*camera, set1 + 0x1B, 11), (Bytes{0, 0, 1, 0x01, 0x02, 0, 0x0C, 0x01, 0x04, 0x01, 0x0A}))
      << "image format, resolution, region";
  EXPECT_EQ(cells(*camera, set1 + 0x2B, 2), (Bytes{0, 0})) << "reserved";
  std::vector<uint16_t> order;
  for (uint16_t offset = 0; offset < kSetSize; ++offset) {
    if (offset != 0x3C && offset != 0x3D && offset != 0x3F) order.push_back(set1 + offset);
  }
  for (uint16_t cell = 0; cell < 18; ++cell) order.push_back(kMatrixBlock + cell);
  EXPECT_EQ(indices(*camera, kEepromWrite), order);

  CameraFree(0);
  bus_.replug(camera);
  ASSERT_EQ(CameraInit(0), 0U);
  EXPECT_EQ(get(CameraGetGain, 0), 16) << "that is slot 0";
  EXPECT_EQ(CameraLoadParameter(0, 1), 0U);
  for (const Setting& each : settings) EXPECT_NEAR(each.get(), each.loaded, 1e-12) << each.name;
  EXPECT_EQ(camera->sensor_register(0x3204), 76) << "and has reached the sensor";
  EXPECT_EQ(camera->isp_register(9), 255);
  EXPECT_EQ(camera->isp_register(13), 9);
}

TEST_F(StoredSettings, APresetEndsTheRegion) {
  const auto camera = init("3600");
  EXPECT_EQ(CameraSetROI(0, 16, 32, 64, 48), 0U);
  for (const bool region : {true, false}) {
    EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
    EXPECT_EQ(cells(*camera, kSet0 + 0x1C, 2), (region ? Bytes{0, 1} : Bytes{1, 0}));
    EXPECT_EQ(CameraSetResolution(0, 1, nullptr, nullptr), 0U);
  }
}

TEST_F(StoredSettings, OnlyTwoSlotsCanBeReached) {
  const auto camera = open_registers("3600,blank");
  for (const auto& [slot, address] : {std::pair{2, 0x1F00}, {1, 0x1F40}, {-7, 0x1F00}, {3, 0x1F00}}) {
    program(*camera, kSet0, Bytes(0x100, 0xFF));
    EXPECT_EQ(CameraSaveParameter(0, slot), 0U);
    for (const uint16_t block : {0x1F00, 0x1F40, 0x1F80, 0x1FC0})
      EXPECT_EQ(camera->eeprom(block), block == address ? 0 : 0xFF) << slot;
    camera->clear_requests();
    CameraLoadParameter(0, slot);
    EXPECT_EQ(indices(*camera, kEepromRead).front(), address) << slot;
  }
}

TEST_F(StoredSettings, SavingDoesNotReportWhatTheCameraDidNotTake) {
  const auto camera = init("3600,wp");
  CameraSetGain(0, 42);
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  EXPECT_EQ(camera->eeprom(kSet0 + 1), 16);
  bus_.unplug(*camera);
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  EXPECT_EQ(CameraLoadParameter(0, 0), 1U);
  EXPECT_EQ(code_of(CameraSaveParameter, 1, 0), KXCAM_ERROR_NOT_OPEN);
  EXPECT_EQ(code_of(CameraLoadParameter, -1, 0), KXCAM_ERROR_INDEX);
}

TEST_F(StoredSettings, BytesThatMeanSomethingElse) {
  const auto camera = init("3600,features=0x5");
  const struct {
    uint16_t offset;
    Bytes bytes;
    double (*get)();
    double value;
    int error = 0;
  } rows[] = {
      {0x26, {0x01, 0xF3}, [] { return value_of(CameraGetTimeout); }, 500},
      {0x26, {0xEA, 0x60}, [] { return value_of(CameraGetTimeout); }, 50000},
      {0x26, {0xFF, 0xFE}, [] { return value_of(CameraGetTimeout); }, 50000},
      {0x26, {0xFF, 0xFF}, [] { return value_of(CameraGetTimeout); }, 500},
      {0x28, {0}, [] { return value_of(CameraGetSnapMode); }, 1},
      {0x28, {3}, [] { return value_of(CameraGetSnapMode); }, 1},
      {0x29, {0, 0}, [] { return value_of(CameraGetLineHeight); }, 1},
      {0x2E, {0, 0}, [] { return value_of(CameraGetSnapNum); }, 1},
      {0x2E, {0xFF, 0xFF}, [] { return value_of(CameraGetSnapNum); }, 1},
      {0x30, {0xFF, 0xFF}, [] { return frame_rate(true); }, 10.0},
      {0x34, {0xFF, 0xFF}, [] { return value_of(CameraGetTriggerDelay); }, 0},
      {0x36, {0xFF, 0xFF}, [] { return value_of(CameraGetStrobeDelay); }, 0},
      {0x38, {0xFF, 0xFF}, [] { return value_of(CameraGetStrobeDuration); }, 0},
      {0x3A, {0xFF, 0xFF}, [] { return value_of(CameraGetDebouncerTime); }, 0},
      {0x3E, {0xFF}, [] { return value_of(CameraGetExposure); }, 840},
      {0x3E, {0xFE}, [] { return value_of(CameraGetExposure); }, 0xFE0000 | 840},
      {0x10, {0, 20, 0, 20}, [] { return value_of(CameraGetAETarget); }, 0},
      {0x10, {0, 20, 0, 70}, [] { return value_of(CameraGetAETarget); }, 50},
      // Refused: the setting in force stays, and the rest loads.
      {0x00, {1, 16}, [] { return value_of(CameraGetGain); }, 33, KXCAM_ERROR_ARGUMENT},
      {0x04, {0xFF, 0xFF}, [] { return value_of(CameraGetGamma); }, 0.5, KXCAM_ERROR_ARGUMENT},
  };
  const Bytes factory = cells(*camera, kSet0, kSetSize);
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << std::hex << row.offset << ", " << int{row.bytes.front()});
    CameraSetGain(0, 33);
    CameraSetGamma(0, 0.5);
    program(*camera, kSet0, factory);
    program(*camera, kSet0 + row.offset, row.bytes);
    camera->set_eeprom(kSet0 + 0x1A, 9);
    EXPECT_EQ(code_of(CameraLoadParameter, 0, 0), row.error);
    EXPECT_DOUBLE_EQ(row.get(), row.value);
    EXPECT_EQ(get(CameraGetAdvancedGain, 0), 9);
  }
}

TEST_F(StoredSettings, ReadFailuresShowUpToThePolarities) {
  const auto camera = init("3600");
  constexpr size_t kAll = 61 + 18;
  const struct {
    uint64_t cell;
    int error;
    size_t reads;  ///< the failed one is tried twice
  } rows[] = {
      {1, KXCAM_ERROR_READ_REQUEST, kAll + 1 - 2},     // the polarities are not asked for
      {0x33, KXCAM_ERROR_READ_REQUEST, kAll + 1 - 1},  // nor the second one
      {0x34, KXCAM_ERROR_READ_REQUEST, kAll + 1},
      {0x35, 0, kAll + 1},  // the times do not count
      {61, 0, kAll + 1},    // nor do the exposure's high bits
      {62, KXCAM_ERROR_READ_REQUEST, kAll + 1},
  };
  camera->set_eeprom(kSet0, 0x12);
  for (const auto& row : rows) {
    camera->set_eeprom(kSet0, row.cell == 1 ? 0x12 : 0);
    camera->clear_requests();
    fail_request(*camera, kEepromRead, row.cell);
    EXPECT_EQ(code_of(CameraLoadParameter, 0, 0), row.error) << row.cell;
    EXPECT_EQ(camera->requests(kEepromRead).size(), row.reads) << row.cell;
    EXPECT_EQ(get(CameraGetGain, 0), 16) << "the byte that could be read is kept";
    camera->clear_faults();
  }
}

TEST_F(StoredSettings, AWriteFailureLeavesOutThePolarities) {
  const auto camera = open_registers("3600");
  for (const auto& [cell, polarities] :
       {std::pair{1U, Bytes{0xEE, 0xEE}}, {0x33, {0xEE, 0xEE}}, {0x35, {1, 1}}}) {
    program(*camera, kSet0, Bytes(kSetSize, 0xEE));
    fail_request(*camera, kEepromWrite, cell);
    EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
    EXPECT_EQ(cells(*camera, kSet0 + 0x32, 2), polarities) << cell;
    EXPECT_EQ(camera->eeprom(kSet0 + 0x01), 16) << "the rest is written all the same";
    EXPECT_EQ(camera->eeprom(kSet0 + 0x3B), 0);
    camera->clear_faults();
  }
  CameraSetFrameRate(0, true, 1e300);
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  EXPECT_EQ(cells(*camera, kSet0 + 0x30, 2), (Bytes{0xFF, 0xFF})) << "what does not fit saturates";
}

TEST_F(StoredSettings, AMatrixIsSignedHundredthsWithAPlausibleDiagonal) {
  const auto camera = open_registers("3600");
  const auto word = [](Bytes& to, int value) {
    to.push_back(static_cast<uint8_t>(value >> 8));
    to.push_back(static_cast<uint8_t>(value));
  };
  const auto saved_after = [&](const std::array<int, 9>& hundredths) {
    Bytes bytes;
    for (const int value : hundredths) word(bytes, value);
    program(*camera, kMatrixBlock, bytes);
    CameraLoadParameter(0, 0);
    EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
    return cells(*camera, kMatrixBlock, 18) == bytes;
  };
  EXPECT_TRUE(saved_after({150, -25, 0, 100, 200, -300, 3200, -3200, 99}));
  EXPECT_TRUE(saved_after({10, 0, 0, 0, 500, 0, 0, 0, 100}));
  for (const int diagonal : {5, 9, 501, -100}) {
    EXPECT_FALSE(saved_after({diagonal, 0, 0, 0, 200, 0, 0, 0, 200}));
    EXPECT_FALSE(saved_after({200, 0, 0, 0, diagonal, 0, 0, 0, 200}));
    EXPECT_FALSE(saved_after({200, 0, 0, 0, 200, 0, 0, 0, diagonal}));
    EXPECT_EQ(cells(*camera, kMatrixBlock, 4), (Bytes{0, 100, 0, 0})) << "the identity instead";
  }
}

TEST_F(StoredSettings, TheLoadedMatrixIsInForceWithEnhancement) {
  const auto camera = plug("3600");
  program(*camera, kMatrixBlock, Bytes{0, 200, 0, 0, 0, 0, 0, 0, 0, 100, 0, 0, 0, 0, 0, 0, 0, 50});
  camera->set_eeprom(kSet0 + 0x09, 0x20);  // enhancement
  camera->set_frame_source(
      [](const kxsim::FrameRequest&, std::span<uint8_t> out) { std::ranges::fill(out, uint8_t{50}); });
  ASSERT_EQ(CameraInit(0), 0U);
  const Bytes picture = query(KXCAM_FORMAT_COLOR);
  ASSERT_FALSE(picture.empty());
  const auto middle = picture.begin() + (270 * 720 + 360) * 3;
  EXPECT_EQ(Bytes(middle, middle + 3), (Bytes{100, 50, 25}));
}

}  // namespace
}  // namespace kxcam::test
