// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <tuple>

#include "camera_bus.h"

// What CameraInit() and CameraFree() say to a camera, request by request.

namespace kxcam::test {
namespace {

using Requests = std::vector<std::tuple<int, int, int>>;
using RequestOrder = CameraBus;

void append_reads(Requests& to, int first, int last) {
  for (int address = first; address <= last; ++address) to.emplace_back(kEepromRead, address, 0);
}

void append(Requests& to, const Requests& from) {
  to.insert(to.end(), from.begin(), from.end());
}

TEST_F(RequestOrder, OfOpeningAndClosing) {
  const auto camera = plug("3600");
  program(*camera, 0x1E00, std::array<uint8_t, 6>{0, 1, 0, 10, 0, 20});
  ASSERT_EQ(CameraInit(0), 0U);
  Requests expected;
  append_reads(expected, 0x1D00, 0x1D0B);          // serial number
  append(expected, {{0xB3, 0, 0}, {0xA8, 0, 0}});  // firmware version, capabilities
  append_reads(expected, 0x1F00, 0x1F3B);          // settings
  append_reads(expected, 0x1F3E, 0x1F3E);
  append_reads(expected, 0x1D20, 0x1D31);  // colour matrix
  // clang-format off
  append(expected, {{0xC3, 0x400, 0}, {0xC3, 0x440, 0}, {0xC3, 0x480, 0},  // fixed pattern
                    {0xB6, 10, 8400}, {0xB6, 11, 0},                       // exposure: 840 lines of 10 us
                    {0xA6, 0x3204, 15}, {0xB2, 0, 0}, {0xAB, 4, 1},        // gain, high speed, readout mode
                    {0xB6, 5, 1}, {0xB7, 8, 0}, {0xB6, 8, 0},              // frames per trigger, frame rate
                    {0xA6, 0x3205, 0}, {0xB4, 0, 0}, {0xB6, 3, 1},         // advanced gain, trigger
                    {0xAC, 3, 0}});                                        // stored resolution
  // clang-format on
  append_reads(expected, 0x1E00, 0x1E05);          // dead pixels
  append(expected, {{0xAC, 3, 0}, {0xA2, 0, 0}});  // full sensor, start
  EXPECT_EQ(requests(*camera), expected);
  EXPECT_EQ(camera->counters().resets, 1U);

  camera->clear_requests();
  CameraFree(0);
  EXPECT_EQ(requests(*camera), (Requests{{0xA3, 0, 0}}));
}

TEST_F(RequestOrder, TheStoredGeometryIsTriedAndThenTheFullSensorTaken) {
  const auto camera = plug("3600");
  const auto geometry_requests = [&] {
    Requests found = requests(*camera);
    std::erase_if(found, [](const Request& request) {
      return std::get<0>(request) != 0xAC && std::get<0>(request) != 0xAD;
    });
    return found;
  };
  // Preset, region on, x, y, width and height as they are stored.
  const struct {
    Bytes stored;
    Requests asked;
  } rows[] = {
      {{0, 1, 0, 16, 0, 32, 0, 64, 0, 48}, {{0xAD, 32, 16}, {0xAD, 32, 16}, {0xAC, 3, 0}}},
      {{0, 2, 0, 16, 0, 32, 0, 64, 0, 48}, {{0xAC, 3, 0}, {0xAC, 3, 0}}},  // only 1 is on
      {{0, 1, 0, 17, 0, 32, 0, 64, 0, 48},
       {{0xAC, 3, 0}, {0xAC, 3, 0}}},  // refused before the camera is asked
      {{1, 0, 0, 16, 0, 32, 0, 64, 0, 48}, {{0xAC, 3, 1}, {0xAC, 3, 0}}},
  };
  for (const auto& row : rows) {
    program(*camera, kSet0 + 0x1C, row.stored);
    camera->clear_requests();
    ASSERT_EQ(CameraInit(0), 0U);
    EXPECT_EQ(geometry_requests(), row.asked);
    EXPECT_EQ(image_size(), std::pair(720, 540));
    CameraFree(0);
  }
}

TEST_F(RequestOrder, OpeningSucceedsWhateverTheStoredSettingsAre) {
  const auto camera = plug("3600,blank,fps=0");
  ASSERT_EQ(CameraInit(0), 0U);
  EXPECT_TRUE(get(CameraGetMirrorX, 0)) << "the switches of a blank camera are all on";
  EXPECT_EQ(get(CameraGetGamma, 0), 1.0) << "and values out of range passed over";
  EXPECT_EQ(image_size(), std::pair(540, 720)) << "rotated";
  EXPECT_FALSE(query_raw().empty());
  CameraFree(0);

  camera->inject({.requests = {{.action = Fault::kStall, .which = {13}, .code = kEepromRead}}});
  ASSERT_EQ(CameraInit(0), 0U) << "no settings can be read";
  EXPECT_FALSE(query_raw().empty());
  CameraFree(0);
  camera->clear_faults();

  camera->inject({.requests = {{.action = Fault::kGarbage, .which = {13}, .code = kEepromRead},
                               {.action = Fault::kGarbage, .code = 0xC3}}});
  for (int n = 0; n < 5; ++n) {
    ASSERT_EQ(CameraInit(0), 0U) << "or are noise";
    CameraFree(0);
  }
}

TEST_F(RequestOrder, OfApplyingLiveSettingsAgain) {
  const auto camera = open("3600");
  CameraSetROI(0, 16, 32, 64, 48);
  CameraSetExposure(0, 7);
  CameraSetDelay(0, 3);
  CameraSetGain(0, 99);
  camera->clear_requests();
  EXPECT_EQ(CameraReconnect(0), 0U);
  Requests found = requests(*camera);
  found.erase(found.begin(), std::ranges::find(found, Request{0xB2, 0, 0}));
  // clang-format off
  EXPECT_EQ(found, (Requests{{0xB2, 0, 0}, {0xB6, 10, 70}, {0xB6, 11, 0}, {0xA6, 0x3204, 98}, {0xB6, 10, 70}, {0xB6, 11, 0},
                             {0xAB, 4, 1}, {0xB6, 5, 1}, {0xA6, 0x3205, 0}, {0xB4, 0, 0}, {0xAD, 32, 16}, {0xAD, 32, 16},
                             {0xB7, 8, 0}, {0xB6, 8, 0}, {0xB6, 3, 1}, {0xA2, 0, 0}}));
  // clang-format on
}

}  // namespace
}  // namespace kxcam::test
