// SPDX-License-Identifier: Apache-2.0
#include "core/persistence/parameter_block.h"

#include <array>
#include <cmath>

#include "camera_bus.h"

namespace kxcam::test {
namespace {

using ParameterBlock = CameraBus;
using Block = std::array<uint8_t, kSetSize>;

/// A value in every field that shows which bytes of it are kept, and in what order.
CameraParameter distinct_record() {
  CameraParameter record;
  record.gain = 0x1234;
  record.exposure = 0x54321;
  record.gamma = 0.355;
  record.contrast = 1.999;
  record.isp_flags = 0xA55A;
  record.wb_gain_r = 2.5678;
  record.wb_gain_g = 1.0;
  record.wb_gain_b = 0.999;
  record.black_level = 20;
  record.ae_target = 270;
  record.saturation = 1.5;
  record.interpolation = 7;
  record.resolution_mode = 3;
  record.delay = 0x10203;
  record.advanced_gain = 0x1AB;
  record.image_format = 9;
  record.resolution_index = 4;
  record.enable_roi = 1;
  record.roi_offset_x = 0x0102;
  record.roi_offset_y = 0x0304;
  record.roi_width = 0x0506;
  record.roi_height = 0x0708;
  record.time_out = 1000;
  record.snap_mode = 2;
  record.line_height = 0x0A0B;
  record.line_trigger = 1;
  record.snap_num = 0x0C0D;
  record.frame_rate = 25.55;
  record.trigger_polarity = 0;
  record.strobe_polarity = 1;
  record.trigger_delay = 12345;
  record.strobe_delay = 99;
  record.strobe_duration = 70000;
  record.debouncer_time = 0x10FF;
  return record;
}

/// What the record above is in the EEPROM, worked out by hand.
constexpr Block kDistinctBlock = {
    0x12, 0x34,              // gain
    0x43, 0x21,              // exposure, low bits
    0x00, 35,                // gamma 0.35
    0x00, 199,               // contrast 1.99
    0xA5, 0x5A,              // switches
    0x01, 0x00,              // red gain 2.56
    0x00, 100,               // green gain
    0x00, 99,                // blue gain 0.99
    0x00, 20,                // black level
    0x01, 0x0E,              // auto-exposure target
    0x00, 150,               // saturation
    7,    3,                 // interpolation, readout mode
    0x02, 0x03,              // delay, low bits
    0xAB,                    // advanced gain, low bits
    9,    4,    1,           // image format, resolution, region on
    0x01, 0x02, 0x03, 0x04,  // region
    0x05, 0x06, 0x07, 0x08,  //
    0x03, 0xE8,              // time-out
    2,                       // snap mode
    0x0A, 0x0B,              // line height
    0,    0,                 // reserved
    1,                       // line trigger
    0x0C, 0x0D,              // frames per trigger
    0x00, 0xFF,              // frame rate 25.5
    0,    1,                 // polarities
    0x04, 0xD2,              // trigger delay 1234 tens
    0x00, 0x09,              // strobe delay 9 tens
    0x1B, 0x58,              // strobe duration 7000 tens
    0x10, 0xFF,              // debouncer
    0xEE, 0xEE,              // not used: as before
    0x05,                    // exposure, high bits
    0xEE,                    // not used: as before
};

Block filled(uint8_t byte) {
  Block block;
  block.fill(byte);
  return block;
}

TEST_F(ParameterBlock, IsWrittenByteForByteInOrder) {
  const auto camera = open_registers("3600");
  program(*camera, kSet0, filled(0xEE));
  EXPECT_TRUE(SaveParameter(0, distinct_record(), 0));
  EXPECT_EQ(cells(*camera, kSet0, kSetSize), std::vector(kDistinctBlock.begin(), kDistinctBlock.end()));
  std::vector<uint16_t> order;
  for (uint16_t offset = 0; offset < kSetSize; ++offset) {
    if (offset != 0x3C && offset != 0x3D && offset != 0x3F) order.push_back(kSet0 + offset);
  }
  EXPECT_EQ(indices(*camera, kEepromWrite), order);
}

TEST_F(ParameterBlock, SlotsAboveThreeAndBelowOneAreSlotZero) {
  const auto camera = open_registers("3600");
  for (const auto& [slot, address] :
       {std::pair{-1, 0x1F00}, {0, 0x1F00}, {1, 0x1F40}, {2, 0x1F80}, {3, 0x1FC0}, {4, 0x1F00}}) {
    camera->clear_requests();
    CameraParameter record;
    LoadParameter(0, record, slot);
    EXPECT_EQ(indices(*camera, kEepromRead).front(), address) << slot;
    EXPECT_EQ(indices(*camera, kEepromRead).back(), address + 0x3E) << slot;
  }
}

TEST_F(ParameterBlock, IsReadBackWithItsAsymmetries) {
  const auto camera = open_registers("3600");
  program(*camera, kSet0, kDistinctBlock);
  CameraParameter record;
  EXPECT_TRUE(LoadParameter(0, record, 0));
  EXPECT_EQ(record.gain, 0x1234);
  EXPECT_EQ(record.exposure, 0x54321);
  EXPECT_DOUBLE_EQ(record.gamma, 0.35);
  EXPECT_DOUBLE_EQ(record.contrast, 1.99);
  EXPECT_EQ(record.isp_flags, 0xA55A);
  EXPECT_DOUBLE_EQ(record.wb_gain_r, 2.56);
  EXPECT_DOUBLE_EQ(record.wb_gain_g, 1.0);
  EXPECT_DOUBLE_EQ(record.wb_gain_b, 0.99);
  EXPECT_EQ(record.black_level, 20);
  EXPECT_EQ(record.ae_target, 250) << "less the black level";
  EXPECT_DOUBLE_EQ(record.saturation, 1.5);
  EXPECT_EQ(record.interpolation, 7);
  EXPECT_EQ(record.resolution_mode, 3);
  EXPECT_EQ(record.delay, 0x0203);
  EXPECT_EQ(record.advanced_gain, 0xAB);
  EXPECT_EQ(record.image_format, 9);
  EXPECT_EQ(record.resolution_index, 4);
  EXPECT_EQ(record.enable_roi, 1);
  EXPECT_EQ(record.roi_offset_x, 0x0102);
  EXPECT_EQ(record.roi_offset_y, 0x0304);
  EXPECT_EQ(record.roi_width, 0x0506);
  EXPECT_EQ(record.roi_height, 0x0708);
  EXPECT_EQ(record.time_out, 1000);
  EXPECT_EQ(record.snap_mode, 2);
  EXPECT_EQ(record.line_height, 0x0A0B);
  EXPECT_EQ(record.line_trigger, 1);
  EXPECT_EQ(record.snap_num, 0x0C0D);
  EXPECT_DOUBLE_EQ(record.frame_rate, 25.5);
  EXPECT_EQ(record.trigger_polarity, 0);
  EXPECT_EQ(record.strobe_polarity, 1);
  EXPECT_EQ(record.trigger_delay, 12340);
  EXPECT_EQ(record.strobe_delay, 90);
  EXPECT_EQ(record.strobe_duration, 70000);
  EXPECT_EQ(record.debouncer_time, 0x10FF);
}

TEST_F(ParameterBlock, ABlankOneLoadsAsWhatItCanMean) {
  const auto camera = open_registers("3600,blank");
  CameraParameter record;
  EXPECT_TRUE(LoadParameter(0, record, 0));
  EXPECT_EQ(record.exposure, 0xFFFF);
  EXPECT_DOUBLE_EQ(record.gamma, 655.35);
  EXPECT_EQ(record.isp_flags, 0xFFFF);
  EXPECT_EQ(record.ae_target, 0);
  EXPECT_EQ(record.delay, 0xFFFF);
  EXPECT_EQ(record.enable_roi, 0);
  EXPECT_EQ(record.time_out, 500);
  EXPECT_EQ(record.snap_mode, 1);
  EXPECT_EQ(record.snap_num, 1);
  EXPECT_DOUBLE_EQ(record.frame_rate, 10.0);
  EXPECT_EQ(record.trigger_delay, 0);
  EXPECT_EQ(record.strobe_delay, 0);
  EXPECT_EQ(record.strobe_duration, 0);
  EXPECT_EQ(record.debouncer_time, 0);
}

TEST_F(ParameterBlock, SingleValuesThatMeanSomethingElse) {
  const auto camera = open_registers("3600");
  const auto load_with = [&](uint16_t offset, std::vector<uint8_t> bytes) {
    program(*camera, kSet0, kDistinctBlock);
    program(*camera, kSet0 + offset, bytes);
    CameraParameter record;
    LoadParameter(0, record, 0);
    return record;
  };
  EXPECT_EQ(load_with(0x26, {0x01, 0xF3}).time_out, 500) << "499";
  EXPECT_EQ(load_with(0x26, {0xEA, 0x60}).time_out, 50000) << "60000";
  EXPECT_EQ(load_with(0x26, {0xFF, 0xFE}).time_out, 50000);
  EXPECT_EQ(load_with(0x26, {0xFF, 0xFF}).time_out, 500);
  EXPECT_EQ(load_with(0x28, {0}).snap_mode, 1);
  EXPECT_EQ(load_with(0x28, {3}).snap_mode, 1);
  EXPECT_EQ(load_with(0x29, {0, 0}).line_height, 1);
  EXPECT_EQ(load_with(0x1D, {2}).enable_roi, 0);
  EXPECT_EQ(load_with(0x2E, {0, 0}).snap_num, 0);
  EXPECT_EQ(load_with(0x3E, {0xFF}).exposure, 0x4321);
  EXPECT_EQ(load_with(0x3E, {0xFE}).exposure, 0xFE4321);
  EXPECT_EQ(load_with(0x12, {0, 20}).ae_target, 0) << "not above the black level";
  EXPECT_EQ(load_with(0x12, {0, 70}).ae_target, 50);
}

TEST_F(ParameterBlock, ReadFailuresShowUpToThePolarities) {
  const auto camera = open_registers("3600");
  program(*camera, kSet0, kDistinctBlock);
  struct Loaded {
    bool result;
    CameraParameter record;
    size_t requests;
  };
  const auto load_without = [&](uint64_t cell) {
    camera->clear_faults();
    camera->clear_requests();
    fail_request(*camera, kEepromRead, cell);
    Loaded loaded{};
    loaded.result = LoadParameter(0, loaded.record, 0);
    loaded.requests = camera->requests(kEepromRead).size();
    return loaded;
  };
  const Loaded first = load_without(1);
  EXPECT_FALSE(first.result);
  EXPECT_EQ(code(), KXCAM_ERROR_READ_REQUEST);
  EXPECT_EQ(first.record.gain, 0x34) << "the other byte is kept";
  EXPECT_EQ(first.record.trigger_polarity, 1) << "not asked for";
  EXPECT_EQ(first.requests, 61U + 1 - 2);
  EXPECT_EQ(first.record.debouncer_time, 0x10FF) << "what follows is";
  const Loaded polarity = load_without(0x33);
  EXPECT_FALSE(polarity.result);
  EXPECT_EQ(polarity.requests, 61U + 1 - 1);
  EXPECT_FALSE(load_without(0x34).result);
  EXPECT_TRUE(load_without(0x35).result) << "the times do not count";
  EXPECT_TRUE(load_without(61).result) << "nor do the exposure's high bits";
}

TEST_F(ParameterBlock, WriteFailuresShowExceptInTheExposuresHighBits) {
  const auto camera = open_registers("3600");
  const auto save_without = [&](uint64_t cell) {
    program(*camera, kSet0, filled(0xEE));
    camera->clear_faults();
    fail_request(*camera, kEepromWrite, cell);
    return SaveParameter(0, distinct_record(), 0);
  };
  EXPECT_FALSE(save_without(1));
  EXPECT_EQ(code(), KXCAM_ERROR_WRITE_REQUEST);
  EXPECT_EQ(camera->eeprom(kSet0 + 0x01), 0x34) << "the rest is written all the same";
  EXPECT_EQ(camera->eeprom(kSet0 + 0x32), 0xEE) << "but for the polarities";
  EXPECT_EQ(camera->eeprom(kSet0 + 0x33), 0xEE);
  EXPECT_EQ(camera->eeprom(kSet0 + 0x3B), 0xFF);
  EXPECT_FALSE(save_without(0x33));
  EXPECT_EQ(camera->eeprom(kSet0 + 0x33), 0xEE);
  EXPECT_FALSE(save_without(0x3C)) << "the last byte of the debouncer time";
  EXPECT_TRUE(save_without(61));
  EXPECT_EQ(camera->eeprom(kSet0 + 0x3E), 0xEE);
}

TEST_F(ParameterBlock, ValuesThatDoNotFitSaturate) {
  const auto camera = open_registers("3600");
  CameraParameter record;
  record.frame_rate = 1e300;
  record.gamma = -1.0;
  record.wb_gain_r = std::nan("");
  EXPECT_TRUE(SaveParameter(0, record, 0));
  EXPECT_EQ(cells(*camera, kSet0 + 0x30, 2), (std::vector<uint8_t>{0xFF, 0xFF}));
  EXPECT_EQ(cells(*camera, kSet0 + 0x04, 2), (std::vector<uint8_t>{0, 0}));
  EXPECT_EQ(cells(*camera, kSet0 + 0x0A, 2), (std::vector<uint8_t>{0, 0}));
}

using Ccm = std::array<double, 9>;

TEST_F(ParameterBlock, TheMatrixIsSignedHundredths) {
  const auto camera = open_registers("3600");
  EXPECT_TRUE(WriteCcm(0, Ccm{1.509, -0.259, 0.0, 1.0, 2.0, -3.0, 400.0, -400.0, 0.999}));
  EXPECT_EQ(cells(*camera, kMatrixBlock, 18),
            (std::vector<uint8_t>{0x00, 150, 0xFF, 0xE7, 0, 0, 0, 100, 0, 200, 0xFE, 0xD4, 0x7F, 0xFF, 0x80,
                                  0x00, 0, 99}));
  Ccm ccm{};
  EXPECT_TRUE(ReadCcm(0, ccm));
  const Ccm expected = {1.5, -0.25, 0.0, 1.0, 2.0, -3.0, 327.67, -327.68, 0.99};
  for (size_t i = 0; i < 9; ++i) EXPECT_DOUBLE_EQ(ccm[i], expected[i]) << i;
}

TEST_F(ParameterBlock, AMatrixWithAnImplausibleDiagonalIsTheIdentity) {
  const auto camera = open_registers("3600");
  const Ccm identity = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  for (const double diagonal : {0.05, 0.09, 5.01, -1.0}) {
    for (const size_t place : {0U, 4U, 8U}) {
      Ccm written = {2, 0, 0, 0, 2, 0, 0, 0, 2};
      written[place] = diagonal;
      WriteCcm(0, written);
      Ccm ccm{};
      EXPECT_TRUE(ReadCcm(0, ccm));
      EXPECT_EQ(ccm, identity) << diagonal << " at " << place;
    }
  }
  WriteCcm(0, Ccm{0.1, 0, 0, 0, 5.0, 0, 0, 0, 1.0});
  Ccm ccm{};
  EXPECT_TRUE(ReadCcm(0, ccm));
  EXPECT_DOUBLE_EQ(ccm[0], 0.1);

  fail_request(*camera, kEepromRead, 4);
  EXPECT_FALSE(ReadCcm(0, ccm));
  EXPECT_DOUBLE_EQ(ccm[4], 5.0) << "what could be read is kept";
}

}  // namespace
}  // namespace kxcam::test
