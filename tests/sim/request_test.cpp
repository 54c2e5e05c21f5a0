// SPDX-License-Identifier: Apache-2.0

// The vendor requests, as no traffic of the library shows them: refusals, limits, what a reset leaves.

#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/vendor_request.h"
#include "host.h"

namespace kxsim {
namespace {

using testing::Each;
using testing::ElementsAreArray;
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

TEST(Requests, AreAnswered) {
  struct Row {
    const char* camera;
    uint8_t code;
    uint16_t index;
    uint16_t value;
    std::optional<std::vector<uint8_t>> reply;  ///< nothing: refused
  };
  using B = std::vector<uint8_t>;
  const Row rows[] = {
      {"392B,fw=0x8312", kFirmwareVersion, 0, 0, B{0, 0, 0x83, 0x12}},
      {"392B,features=0x105", kFeatures, 0, 0, B{0x05, 0x01}},
      {"0500", kFeatures, 0, 0, std::nullopt},
      {"392B,generic", kTrueProductId, 0, 0, B{0x2B, 0x39}},
      {"392B,name=left", kEepromRead, 0x1D54, 0, B{'t'}},
      {"3500", kEepromRead, 0x2000, 0, std::nullopt},
      {"3500,blank", kEepromRead, 0x1F00, 0, B{0xFF}},
      {"392B,bytes", kSensorRead, 0x11, 0, B{0}},
      {"392B,fw=0x82FF", kIspRead, 0, 0, std::nullopt},
      {"3500", kSetGpio, 0x83, 0x81, B{1}},
      {"3500", kResolutionQuery, 1, 0, B{3}},
      {"369B", kResolutionQuery, 3, 1, words({360, 270, 2})},
      {"3500", kResolutionSelect, 3, 3, std::nullopt},
      {"3B10", kLineSettings, 2, 1, std::nullopt},
      {"0500", kStartStream, 0, 0, std::nullopt},
      {"3500", kFlashRead, 0xFFFF, 0, B(10, 0xFF)},
  };
  for (const Row& row : rows) {
    Host host(row.camera);
    EXPECT_EQ(host.ask(row.code, row.index, row.value), row.reply) << row.camera << ' ' << int{row.code};
    EXPECT_EQ(host.camera.counters().unknown, 0U);
  }
}

TEST(Requests, UnknownOnesAreCounted) {
  Host host("3500");
  for (const uint8_t code : {0x00, 0x9F, 0xAE, 0xB8, 0xFF}) {
    EXPECT_EQ(host.ask(code), std::nullopt);
    EXPECT_FALSE(host.tell(code, 0, 0));
  }
  EXPECT_EQ(host.camera.counters().unknown, 10U);
  EXPECT_TRUE(host.tell(kSensorWrite, 0x3012, 1)) << "a register of another sensor";
  EXPECT_TRUE(host.tell(kIspWrite, 0x77, 1));
  EXPECT_TRUE(host.tell(kParameterWrite, 3, 1));
  EXPECT_TRUE(host.ask(kSensorRead, 0x4000));
  EXPECT_EQ(host.camera.counters().unknown, 14U);
  host.tell(kSensorWrite, 0x09, 1);
  host.tell(kIspWrite, 0x0A, 1);
  EXPECT_EQ(host.camera.counters().unknown, 14U);
}

TEST(Requests, TheEepromTakesBytesUnlessProtected) {
  Host host("3500");
  EXPECT_TRUE(host.tell(kEepromWrite, 0x1D70, 0xAB));
  EXPECT_EQ(host.camera.eeprom(0x1D70), 0xAB);
  EXPECT_FALSE(host.tell(kEepromWrite, 0x2000, 0));
  Host locked("3500,wp");
  EXPECT_FALSE(locked.tell(kEepromWrite, 0x1D70, 0xAB));
  EXPECT_EQ(locked.camera.eeprom(0x1D70), 0xFF);
}

TEST(Requests, FlashOnlyClearsBitsUntilErased) {
  Host host("369B,blank");
  const std::vector<uint8_t> first(4096, 0xF0);
  EXPECT_TRUE(host.tell(kFlashWrite, 0x600, 0, first));
  EXPECT_TRUE(host.tell(kFlashWrite, 0x601, 0, std::vector<uint8_t>(300, 0x3C)));
  const auto read = host.ask(kFlashRead, 0x600, 0, 1024).value();
  EXPECT_EQ((std::vector{read[255], read[256], read[256 + 299], read[256 + 300]}),
            (std::vector<uint8_t>{0xF0, 0x30, 0x30, 0xF0}));
  EXPECT_TRUE(host.tell(kFlashPrepare, 4, 1));
  EXPECT_THAT(host.ask(kFlashRead, 0x600, 0, 2), bytes({0xF0, 0xF0})) << "another block";
  EXPECT_TRUE(host.tell(kFlashPrepare, 6, 1));
  EXPECT_THAT(host.ask(kFlashRead, 0x600, 0, 4096), Optional(Each(0xFF)));
  EXPECT_FALSE(host.tell(kFlashPrepare, 5, 1));
  EXPECT_FALSE(host.tell(kFlashWrite, 0xFFFF, 0, first)) << "beyond the last page";
}

TEST(Requests, RegionOfInterest) {
  Host host("3500");
  const auto set = [&](uint16_t x, uint16_t y, int w, int h) {
    EXPECT_TRUE(host.tell(kRegionOfInterest, y, x, words({w, h})));
    return host.ask(kRegionOfInterest, y, x);
  };
  EXPECT_THAT(set(2592 - 64, 1944 - 32, 64, 32), bytes({1})) << "up to the very edge";
  EXPECT_THAT(set(2592 - 62, 0, 64, 32), bytes({0}));
  EXPECT_THAT(set(0, 0, 0, 32), bytes({0}));
  EXPECT_THAT(set(0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF), bytes({0}));
  EXPECT_EQ(host.camera.readout().x, 2592 - 64) << "a refused region changes nothing";
  EXPECT_EQ(host.camera.frame_bytes(), 64U * 32);
  EXPECT_FALSE(host.tell(kRegionOfInterest, 0, 0, {1, 2, 3}));
}

TEST(Requests, HoldingTheCpuSilencesTheFirmware) {
  Host host("0500");
  EXPECT_TRUE(host.tell(kFx2Memory, 0, 0xE600, {1}));
  EXPECT_EQ(host.ask(kFirmwareVersion), std::nullopt);
  EXPECT_TRUE(host.tell(kFx2Memory, 0, 0xE600, {0}));
  EXPECT_NE(host.ask(kFirmwareVersion), std::nullopt);
}

TEST(Requests, AResetClearsWhatIsVolatileAndOnlyThat) {
  Host host("392B,blank");
  host.tell(kSensorWrite, 0x11, 5);
  host.tell(kIspWrite, 5, 5);
  host.ask(kResolutionSelect, 3, 2);
  host.ask(kSetGpio, 1, 1);
  host.ask(kTriggerMode, 0, 1);
  host.ask(kStartStream);
  host.tell(kEepromWrite, 0x1D70, 1);
  host.tell(kFlashWrite, 0x400, 0, {2});
  EXPECT_TRUE(host.camera.bus_reset());
  EXPECT_EQ(host.camera.sensor_register(0x11) + host.camera.isp_register(5) + host.camera.gpio(), 0);
  EXPECT_EQ(host.camera.readout().width, 5472);
  EXPECT_FALSE(host.camera.waits_for_trigger() || host.camera.streaming());
  EXPECT_EQ(host.camera.eeprom(0x1D70), 1);
  EXPECT_THAT(host.ask(kFlashRead, 0x400, 0, 1), bytes({2}));
}

/// What registers make of the time between frames, in milliseconds, at a rate of 10 a second.
TEST(Timing, FollowsTheRegisters) {
  struct Row {
    const char* camera;
    uint8_t code;
    std::vector<std::pair<uint16_t, uint16_t>> writes;
    double ms;
  };
  const Row rows[] = {
      {"3500", kIspWrite, {{8, 1}, {9, 50}}, 200},                        // a fixed rate of 5.0
      {"3500", kIspWrite, {{8, 1}, {9, 500}}, 100},                       // more than the sensor has
      {"3500", kIspWrite, {{8, 0}, {9, 50}}, 100},                        // not switched on
      {"3500", kSensorWrite, {{0x06, 45 + 700}}, 100 + 700 * 0.0363125},  // a delay of 700 lines
      {"3500", kSensorWrite, {{0x06, 45}}, 100},
      {"3510", kSensorWrite, {{0x300A, 1944 + 100 + 1000}}, 100 + 1000 * 0.01602},
      {"3B10", kSensorWrite, {{0xC8, 4608 + 80 + 9000}}, 109},
      {"3E60", kSensorWrite, {{0x04, 0xF000 | (112 + 500)}}, 100 + 500 * 16 * 105 / 114e3},
      {"3860", kIspWrite, {{0x14, 2227 + 1000}, {0x1E, 0}}, 107.8},  // a longer frame
      {"3500", kSensorWrite, {{0x09, 8000}}, 8000 * 0.0363125},      // a long exposure
  };
  for (const Row& row : rows) {
    Host host(row.camera);
    for (const auto& [address, value] : row.writes) EXPECT_TRUE(host.tell(row.code, address, value));
    const auto period = host.camera.inspect([](const Bridge& bridge) { return bridge.frame_period(); });
    EXPECT_NEAR(static_cast<double>(period.count()) / 1e6, row.ms, 0.2)
        << row.camera << ' ' << row.writes.front().second;
    EXPECT_EQ(host.camera.counters().unknown, 0U);
  }
}

TEST(Timing, TriggerUnitStrobeAndLineScan) {
  Host host("3600,features=1,fps=0");
  for (const auto& [address, value] : {std::pair{12, 5}, {6, 300}, {4, 0x8001}, {13, 7}, {14, 9}})
    EXPECT_TRUE(host.tell(kIspWrite, static_cast<uint16_t>(address), static_cast<uint16_t>(value)));
  using std::chrono::microseconds;
  EXPECT_EQ(host.camera.inspect([](const Bridge& b) { return b.trigger_delay(); }), microseconds(50));
  EXPECT_EQ(host.camera.inspect([](const Bridge& b) { return b.strobe(); }),
            (Strobe{.active_high = true, .delay = microseconds(70), .duration = microseconds(90)}));
  host.tell(kIspWrite, 4, 0x0001);
  EXPECT_EQ(host.camera.inspect([](const Bridge& b) { return b.strobe(); }), std::nullopt);

  Host scan("3B10,fps=0");
  scan.ask(kResolutionQuery, 4, 3);
  scan.ask(kLineSettings, 3, 1);
  scan.ask(kLineSettings, 4, 256);
  scan.ask(kTriggerMode, 0, 1);
  scan.ask(kStartStream);
  for (int pulse = 0; pulse < 3; ++pulse) scan.camera.trigger();
  EXPECT_EQ(scan.read(2 << 20, std::chrono::milliseconds(20)).status, std::nullopt) << "768 of 1024 lines";
  scan.camera.trigger();
  const auto frame = scan.read(2 << 20).bytes;
  ASSERT_EQ(frame.size(), 1280U * 1024);
  EXPECT_EQ(scan.camera.readout().scan, true);
}

TEST(Timing, PulsesShorterThanTheDebouncerTimeAreNone) {
  Host host("3600,features=1,fps=0");
  host.tell(kIspWrite, 6, 300);
  host.ask(kTriggerMode, 0, 1);
  host.ask(kStartStream);
  host.camera.trigger(std::chrono::microseconds(299));
  EXPECT_EQ(host.read(1 << 20, std::chrono::milliseconds(20)).status, std::nullopt);
  host.camera.trigger(std::chrono::microseconds(300));
  EXPECT_GT(host.read(1 << 20).bytes.size(), 0U);
}

TEST(Timing, TheBridgesOwnExposureLoopFindsItsTarget) {
  for (const char* camera : {"3600,features=2,fps=0,noise=0", "3C30,fps=0,noise=0"}) {
    Host host(camera);
    host.camera.set_scene(make_uniform({1, 1, 1}));
    EXPECT_GE(host.ask(kIspRead, 0).value().at(0), 1) << "a version that has it";
    host.tell(kIspWrite, 0x1A, 128 << 4);
    host.tell(kIspWrite, 0x19, 1);
    host.ask(kStartStream);
    Host::Read frame;
    for (int n = 0; n < 8; ++n) frame = host.read(8 << 20);
    EXPECT_NEAR(frame.bytes.at(frame.bytes.size() / 2), 128, 6) << camera;
    host.tell(kIspWrite, 0x19, 0);
    host.tell(kIspWrite, 0x0A, 10);
    for (int n = 0; n < 3; ++n) frame = host.read(8 << 20);
    EXPECT_LT(frame.bytes.at(frame.bytes.size() / 2), 5) << "the register counts again";
  }
}

}  // namespace
}  // namespace kxsim
