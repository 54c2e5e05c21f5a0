// SPDX-License-Identifier: Apache-2.0

// The vendor requests, as no traffic of the library shows them: refusals, limits, what a reset leaves.

#include <gmock/gmock.h>

#include "device/vendor_request.h"
#include "host.h"

namespace kxsim {
namespace {

using std::chrono::microseconds;

Bytes words(std::initializer_list<int> list) {
  Bytes out;
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
    std::optional<Bytes> reply;  ///< nothing: refused
  };
  const Row rows[] = {
      {"392B,fw=0x8312", kFirmwareVersion, 0, 0, Bytes{0, 0, 0x83, 0x12}},
      {"392B,features=0x105", kFeatures, 0, 0, Bytes{0x05, 0x01}},
      {"0500", kFeatures, 0, 0, std::nullopt},
      {"392B,generic", kTrueProductId, 0, 0, Bytes{0x2B, 0x39}},
      {"392B,name=left", kEepromRead, 0x1D54, 0, Bytes{'t'}},
      {"3500", kEepromRead, 0x2000, 0, std::nullopt},
      {"3500,blank", kEepromRead, 0x1F00, 0, Bytes{0xFF}},
      {"392B,bytes", kSensorRead, 0x11, 0, Bytes{0}},
      {"392B,fw=0x82FF", kIspRead, 0, 0, std::nullopt},
      {"3500", kSetGpio, 0x83, 0x81, Bytes{1}},
      {"3500", kResolutionQuery, 1, 0, Bytes{3}},
      {"369B", kResolutionQuery, 3, 1, words({360, 270, 2})},
      {"3500", kResolutionSelect, 3, 3, std::nullopt},
      {"3B10", kLineSettings, 2, 1, std::nullopt},
      {"0500", kStartStream, 0, 0, std::nullopt},
      {"3500", kFlashRead, 0xFFFF, 0, Bytes(10, 0xFF)},
  };
  for (const Row& row : rows) {
    Host host(row.camera);
    EXPECT_EQ(host.ask(row.code, row.index, row.value), row.reply) << row.camera << ' ' << int{row.code};
    EXPECT_EQ(host.camera.counters().unknown, 0U);
  }
}

TEST(Requests, AreTakenOrRefused) {
  struct Row {
    const char* camera;
    uint8_t code;
    uint16_t index;
    uint16_t value;
    Bytes data;
    bool taken;
    uint64_t unknown = 0;
  };
  const Row rows[] = {
      {"3500", kEepromWrite, 0x1D70, 0xAB, {}, true},
      {"3500", kEepromWrite, 0x2000, 0, {}, false},
      {"3500,wp", kEepromWrite, 0x1D70, 0xAB, {}, false},
      {"369B", kFlashPrepare, 5, 1, {}, false},
      {"369B", kFlashWrite, 0xFFFF, 0, Bytes(4096), false},
      {"3500", kRegionOfInterest, 0, 0, {1, 2, 3}, false},
      {"3500", 0x9F, 0, 0, {}, false, 1},
      {"3500", 0xB8, 0, 0, {}, false, 1},
      {"3500", kSensorWrite, 0x09, 1, {}, true},
      {"3500", kSensorWrite, 0x3012, 1, {}, true, 1},  // of another sensor
      {"3500", kIspWrite, 0x0A, 1, {}, true},
      {"3500", kIspWrite, 0x77, 1, {}, true, 1},
      {"3500", kParameterWrite, 3, 1, {}, true, 1},
  };
  for (const Row& row : rows) {
    Host host(row.camera);
    EXPECT_EQ(host.tell(row.code, row.index, row.value, row.data), row.taken) << int{row.code};
    EXPECT_EQ(host.camera.counters().unknown, row.unknown) << int{row.code} << ' ' << row.index;
  }
}

TEST(Requests, FlashOnlyClearsBitsUntilErased) {
  Host host("369B,blank");
  const auto at = [&](uint16_t page, size_t place) {
    return host.ask(kFlashRead, page, 0, 1024).value()[place];
  };
  EXPECT_TRUE(host.tell(kFlashWrite, 0x600, 0, Bytes(4096, 0xF0)));
  EXPECT_TRUE(host.tell(kFlashWrite, 0x601, 0, Bytes(300, 0x3C)));
  EXPECT_EQ((Bytes{at(0x600, 255), at(0x601, 0), at(0x601, 299), at(0x601, 300)}),
            (Bytes{0xF0, 0x30, 0x30, 0xF0}));
  EXPECT_TRUE(host.tell(kFlashPrepare, 4, 1));
  EXPECT_EQ(at(0x600, 0), 0xF0) << "another block";
  EXPECT_TRUE(host.tell(kFlashPrepare, 6, 1));
  EXPECT_THAT(host.ask(kFlashRead, 0x600, 0, 4096), testing::Optional(testing::Each(0xFF)));
}

TEST(Requests, RegionOfInterest) {
  Host host("3500");
  struct Row {
    uint16_t x, y;
    int w, h;
    uint8_t accepted;
  };
  for (const Row& row : {Row{2592 - 64, 1944 - 32, 64, 32, 1},
                         {2592 - 62, 0, 64, 32, 0},
                         {0, 0, 0, 32, 0},
                         {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0}}) {
    EXPECT_TRUE(host.tell(kRegionOfInterest, row.y, row.x, words({row.w, row.h})));
    EXPECT_EQ(host.ask(kRegionOfInterest, row.y, row.x), Bytes{row.accepted}) << row.x << ' ' << row.w;
  }
  EXPECT_EQ(host.camera.readout().x, 2592 - 64) << "a refused region changes nothing";
  EXPECT_EQ(host.camera.frame_bytes(), 64U * 32);
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
  EXPECT_EQ(host.ask(kFlashRead, 0x400, 0, 1), Bytes{2});
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

TEST(Timing, TriggerUnitStrobeAndDebouncer) {
  Host host("3600,features=1,fps=0");
  for (const auto& [address, value] : {std::pair{12, 5}, {6, 300}, {4, 0x8001}, {13, 7}, {14, 9}})
    EXPECT_TRUE(host.tell(kIspWrite, static_cast<uint16_t>(address), static_cast<uint16_t>(value)));
  EXPECT_EQ(host.camera.inspect([](const Bridge& b) { return b.trigger_delay(); }), microseconds(50));
  EXPECT_EQ(host.camera.inspect([](const Bridge& b) { return b.strobe(); }),
            (Strobe{.active_high = true, .delay = microseconds(70), .duration = microseconds(90)}));
  host.tell(kIspWrite, 4, 0x0001);
  EXPECT_EQ(host.camera.inspect([](const Bridge& b) { return b.strobe(); }), std::nullopt);
  host.ask(kTriggerMode, 0, 1);
  host.ask(kStartStream);
  host.camera.trigger(microseconds(299));
  EXPECT_EQ(host.read_briefly(1 << 20), "nothing") << "a pulse shorter than the debouncer time is none";
  host.camera.trigger(microseconds(300));
  EXPECT_NE(host.read(1 << 20), "0");
}

TEST(Timing, ALineScanTakesAPulseForEachOfItsBlocks) {
  Host host("3B10,fps=0");
  host.ask(kResolutionQuery, 4, 3);
  host.ask(kLineSettings, 3, 1);
  host.ask(kLineSettings, 4, 256);
  host.ask(kTriggerMode, 0, 1);
  host.ask(kStartStream);
  for (int pulse = 0; pulse < 3; ++pulse) host.camera.trigger();
  EXPECT_EQ(host.read_briefly(2 << 20), "nothing") << "768 of 1024 lines";
  host.camera.trigger();
  EXPECT_EQ(host.read(2 << 20), std::to_string(1280 * 1024));
  EXPECT_TRUE(host.camera.readout().scan);
}

}  // namespace
}  // namespace kxsim
