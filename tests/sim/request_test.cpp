// SPDX-License-Identifier: Apache-2.0

// The vendor requests, one by one.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/descriptors.h"
#include "device/vendor_request.h"
#include "host.h"

namespace kxsim {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Eq;
using testing::Optional;

auto bytes(std::initializer_list<uint8_t> list) {
  return Optional(ElementsAreArray(list));
}

std::vector<uint8_t> words(std::initializer_list<int> list) {
  std::vector<uint8_t> out;
  for (const int word : list)
    out.insert(out.end(), {static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8)});
  return out;
}

TEST(Requests, DescriptorsTellFamilyAndSpeed) {
  for (const auto& model : all_models()) {
    const CameraOptions options(model);
    const auto device = device_descriptor(options);
    ASSERT_EQ(device.size(), 18U);
    EXPECT_EQ(device[8] | device[9] << 8, 0xA7B7);
    EXPECT_EQ(device[10] | device[11] << 8, static_cast<int>(model.product_id));
    const auto configuration = configuration_descriptor(options);
    ASSERT_EQ(configuration[2], configuration.size());
    EXPECT_EQ(configuration[20], model.newer_bridge() ? 0x81 : 0x82);
    EXPECT_EQ(configuration[22] | configuration[23] << 8, model.newer_bridge() ? 1024 : 512);
  }
  const auto generic = device_descriptor(parse_camera_options("0x3500,generic"));
  EXPECT_EQ(generic[10] | generic[11] << 8, 0x3FF0);
}

TEST(Requests, Identity) {
  Host host("0x392B,serial=ABCDEFGHIJKL,name=left,features=0x0105,fw=0x8312,generic");
  EXPECT_THAT(host.ask(kFirmwareVersion), bytes({0, 0, 0x83, 0x12}));
  EXPECT_THAT(host.ask(kFeatures), bytes({0x05, 0x01}));
  EXPECT_THAT(host.ask(kTrueProductId), bytes({0x2B, 0x39}));
  EXPECT_THAT(host.ask(kEepromRead, 0x1D00), bytes({'A'}));
  EXPECT_THAT(host.ask(kEepromRead, 0x1D0B), bytes({'L'}));
  EXPECT_THAT(host.ask(kEepromRead, 0x1D50), bytes({4}));
  EXPECT_THAT(host.ask(kEepromRead, 0x1D54), bytes({'t'}));
  EXPECT_THAT(host.ask(kFirmwareVersion, 0, 0, 2), bytes({0, 0})) << "never more than the host asks for";
}

TEST(Requests, ABlankEepromIsErased) {
  Host host("0x3500,blank");
  for (const uint16_t address : {0x0000, 0x1D20, 0x1D50, 0x1D70, 0x1E00, 0x1E01, 0x1F00, 0x1FFF}) {
    EXPECT_THAT(host.ask(kEepromRead, address), bytes({0xFF})) << address;
  }
  EXPECT_EQ(host.ask(kEepromRead, 0x2000), std::nullopt);
}

TEST(Requests, Registers) {
  Host host("0x392B");
  EXPECT_TRUE(host.tell(kSensorWrite, 0x301A, 0x1234));
  EXPECT_THAT(host.ask(kSensorRead, 0x301A), bytes({0x12, 0x34}));
  EXPECT_TRUE(host.tell(kIspWrite, 0x0C, 0xBEEF));
  EXPECT_THAT(host.ask(kIspRead, 0x0C), bytes({0xBE, 0xEF}));
  EXPECT_TRUE(host.tell(kParameterWrite, 3, 77));
  EXPECT_THAT(host.camera.inspect([](const Bridge& bridge) { return bridge.parameter(3); }), Optional(77));

  Host narrow("0x392B,bytes,fw=0x82FF");
  EXPECT_TRUE(narrow.tell(kSensorWrite, 0x10, 0x1234));
  EXPECT_THAT(narrow.ask(kSensorRead, 0x10), bytes({0x34}));
  EXPECT_FALSE(narrow.tell(kIspWrite, 0x0C, 1)) << "this firmware has no image processor";
}

TEST(Requests, EepromWrites) {
  Host host("0x3500");
  EXPECT_TRUE(host.tell(kEepromWrite, 0x1D70, 0xAB));
  EXPECT_EQ(host.camera.eeprom(0x1D70), 0xAB);
  EXPECT_FALSE(host.tell(kEepromWrite, 0x2000, 0));
  Host locked("0x3500,wp");
  EXPECT_FALSE(locked.tell(kEepromWrite, 0x1D70, 0xAB));
  EXPECT_EQ(locked.camera.eeprom(0x1D70), 0xFF);
}

TEST(Requests, FlashOnlyClearsBitsUntilErased) {
  Host host("0x369B,blank");
  const std::vector<uint8_t> first(4096, 0xF0);
  const std::vector<uint8_t> second(300, 0x3C);
  EXPECT_TRUE(host.tell(kFlashWrite, 0x600, 0, first));
  EXPECT_TRUE(host.tell(kFlashWrite, 0x601, 0, second));
  const auto read = host.ask(kFlashRead, 0x600, 0, 1024);
  ASSERT_TRUE(read);
  EXPECT_EQ((*read)[255], 0xF0);
  EXPECT_EQ((*read)[256], 0x30);
  EXPECT_EQ((*read)[256 + 299], 0x30);
  EXPECT_EQ((*read)[256 + 300], 0xF0);
  EXPECT_TRUE(host.tell(kFlashPrepare, 4, 1));
  EXPECT_THAT(host.ask(kFlashRead, 0x600, 0, 4), bytes({0xF0, 0xF0, 0xF0, 0xF0})) << "another block";
  EXPECT_TRUE(host.tell(kFlashPrepare, 6, 1));
  EXPECT_THAT(host.ask(kFlashRead, 0x600, 0, 4096), Optional(Each(0xFF)));
  EXPECT_FALSE(host.tell(kFlashPrepare, 5, 1));
  EXPECT_FALSE(host.tell(kFlashWrite, 0xFFFF, 0, first)) << "beyond the last page";
  EXPECT_TRUE(host.tell(kFlashWrite, 0, 1, {0}));
  EXPECT_TRUE(host.camera.inspect([](const Bridge& bridge) { return bridge.firmware_erased(); }));
}

TEST(Requests, GpioLatchesLinesButNotTheTriggerPulse) {
  Host host("0x3500");
  EXPECT_THAT(host.ask(kSetGpio, 0x83, 0x81), bytes({1}));
  EXPECT_THAT(host.ask(kGetGpio), bytes({0x81}));
  EXPECT_THAT(host.ask(kSetGpio, 8, 8), bytes({1}));
  EXPECT_THAT(host.ask(kSetGpio, 0x01, 0x00), bytes({1}));
  EXPECT_EQ(host.camera.gpio(), 0x80);
}

TEST(Requests, ResolutionsOfEveryModel) {
  for (const auto& model : all_models()) {
    SCOPED_TRACE(model.product_id);
    char id[8];
    std::snprintf(id, sizeof id, "%04x", model.product_id);
    Host host(id);
    const auto [width, height] = std::pair(model.width, model.height);
    const int depth = model.product_id == 0x369B ? 2 : 1;
    EXPECT_THAT(host.ask(kResolutionQuery, 1), bytes({3}));
    EXPECT_EQ(host.ask(kResolutionQuery, 2), words({width, height}));
    EXPECT_EQ(host.ask(kResolutionQuery, 3, 0), words({width, height, depth}));
    EXPECT_EQ(host.ask(kResolutionSelect, 3, 1), words({width / 2 & ~1, height / 2 & ~1, depth}));
    EXPECT_EQ(host.camera.readout().step, 2);
    EXPECT_EQ(host.ask(kResolutionSelect, 3, 2), words({std::min(width, 640), std::min(height, 480), depth}));
    const auto window = host.camera.readout();
    EXPECT_TRUE(window.x % 2 == 0 && window.y % 2 == 0 && window.x + window.width <= width);
    EXPECT_EQ(host.camera.frame_bytes(), static_cast<size_t>(window.width) * window.height);
    EXPECT_EQ(host.ask(kResolutionSelect, 3, 3), std::nullopt);
    EXPECT_EQ(host.camera.readout().width, window.width) << "a refused preset changes nothing";
  }
}

TEST(Requests, RegionOfInterest) {
  Host host("0x3500");
  const auto set = [&](uint16_t x, uint16_t y, int w, int h) {
    EXPECT_TRUE(host.tell(kRegionOfInterest, y, x, words({w, h})));
    return host.ask(kRegionOfInterest, y, x);
  };
  EXPECT_THAT(set(2592 - 64, 1944 - 32, 64, 32), bytes({1})) << "up to the very edge";
  EXPECT_EQ(host.camera.readout().x, 2592 - 64);
  EXPECT_EQ(host.camera.readout().y, 1944 - 32);
  EXPECT_EQ(host.camera.frame_bytes(), 64U * 32);
  EXPECT_THAT(set(2592 - 62, 0, 64, 32), bytes({0}));
  EXPECT_THAT(set(0, 0, 0, 32), bytes({0}));
  EXPECT_THAT(set(0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF), bytes({0}));
  EXPECT_EQ(host.camera.frame_bytes(), 64U * 32) << "a refused region changes nothing";
  EXPECT_FALSE(host.tell(kRegionOfInterest, 0, 0, {1, 2, 3}));
}

TEST(Requests, SwitchesOfTheBridge) {
  Host host("0x3B10");
  EXPECT_THAT(host.ask(kHighSpeed, 0, 1), bytes({1}));
  EXPECT_THAT(host.ask(kLineSettings, 1, 500), bytes({1}));
  EXPECT_EQ(host.ask(kLineSettings, 2, 1), std::nullopt);
  EXPECT_THAT(host.ask(kTriggerMode, 0, 1), bytes({1}));
  EXPECT_TRUE(host.camera.waits_for_trigger());
  EXPECT_TRUE(
      host.camera.inspect([](const Bridge& b) { return b.high_speed() && b.line_setting(1) == 500; }));
}

TEST(Requests, HoldingTheCpuSilencesTheFirmware) {
  Host host("0x0500");
  EXPECT_TRUE(host.tell(kFx2Memory, 0, 0xE600, {1}));
  EXPECT_EQ(host.ask(kFirmwareVersion), std::nullopt);
  EXPECT_TRUE(host.tell(kFx2Memory, 0, 0x0100, {7, 8}));
  EXPECT_EQ(host.camera.inspect([](const Bridge& b) { return b.fx2_ram().at(0x0101); }), 8);
  EXPECT_TRUE(host.tell(kFx2Memory, 0, 0xE600, {0}));
  EXPECT_NE(host.ask(kFirmwareVersion), std::nullopt);
}

TEST(Requests, UnknownOnesAndThoseOfOtherFamiliesStall) {
  Host host("0x0500");
  for (const uint8_t code : {0x00, 0x9F, 0xAE, 0xB8, 0xC0, 0xFF}) {
    EXPECT_EQ(host.ask(code), std::nullopt);
    EXPECT_FALSE(host.tell(code, 0, 0));
  }
  EXPECT_EQ(host.ask(kStartStream), std::nullopt) << "the older bridge needs no start";
  EXPECT_EQ(host.ask(kFeatures), std::nullopt);
}

TEST(Requests, AResetClearsWhatIsVolatileAndOnlyThat) {
  Host host("0x392B,blank");
  host.tell(kSensorWrite, 5, 5);
  host.tell(kIspWrite, 5, 5);
  host.ask(kResolutionSelect, 3, 2);
  host.ask(kSetGpio, 1, 1);
  host.ask(kTriggerMode, 0, 1);
  host.ask(kStartStream);
  host.tell(kEepromWrite, 0x1D70, 1);
  host.tell(kFlashWrite, 0x400, 0, {2});
  EXPECT_TRUE(host.camera.bus_reset());
  EXPECT_EQ(host.camera.sensor_register(5), 0);
  EXPECT_EQ(host.camera.isp_register(5), 0);
  EXPECT_EQ(host.camera.readout().width, 5472);
  EXPECT_EQ(host.camera.gpio(), 0);
  EXPECT_FALSE(host.camera.waits_for_trigger());
  EXPECT_FALSE(host.camera.streaming());
  EXPECT_EQ(host.camera.eeprom(0x1D70), 1);
  EXPECT_THAT(host.ask(kFlashRead, 0x400, 0, 1), bytes({2}));
  EXPECT_EQ(host.camera.counters().resets, 1U);
}

TEST(Requests, TheLogKeepsEveryDetail) {
  Host host("0x3500");
  host.tell(kRegionOfInterest, 4, 2, {1, 2, 3, 4});
  host.ask(kGetGpio);
  const LoggedRequest out{
      .in = false, .code = 0xAD, .value = 2, .index = 4, .length = 4, .data = {1, 2, 3, 4}};
  const LoggedRequest in{.in = true, .code = 0xA5, .value = 0, .index = 0, .length = 10, .data = {}};
  EXPECT_THAT(host.camera.requests(), ElementsAre(out, in));
  EXPECT_THAT(host.camera.requests(kGetGpio), ElementsAre(in));
  EXPECT_EQ(host.camera.counters().requests, 2U);
}

}  // namespace
}  // namespace kxsim
