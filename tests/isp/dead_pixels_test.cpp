// SPDX-License-Identifier: Apache-2.0
#include <numeric>

#include <gtest/gtest.h>

#include "core/picture/isp.h"
#include "guarded_frame.h"
#include "isp/defects.h"

namespace kxcam::test {
namespace {

constexpr SensorSize kSensor = {720, 540};

TEST(FramePlacement, FollowsTheRegionOfInterestThenTheReadoutMode) {
  struct Case {
    int width;
    int height;
    int mode;
    int x0;
    int y0;
    Readout readout;
    bool roi;
  };
  // The region, where there is one, begins at (40, 30).
  constexpr Case kCases[] = {
      {720, 540, 1, 0, 0, Readout::kFullSensor, false},
      {720, 540, 1, 0, 0, Readout::kFullSensor, true},
      {100, 50, 1, 40, 30, Readout::kWindow, true},
      {358, 268, 1, 2, 2, Readout::kBinned, false},
      {359, 269, 255, 1, 1, Readout::kBinned, false},
      {358, 268, 0, 181, 136, Readout::kWindow, false},
      {360, 268, 1, 180, 136, Readout::kWindow, false},  // exactly half is not smaller
      {358, 270, 1, 181, 135, Readout::kWindow, false},
      {719, 537, 1, 0, 1, Readout::kWindow, false},
      {1440, 270, 1, -360, 135, Readout::kWindow, false},
      {1, 2'000'000'000, 1, 359, -999'999'730, Readout::kWindow, false},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(testing::Message() << c.width << " x " << c.height << ", mode " << c.mode);
    std::optional<RegionInForce> region;
    if (c.roi) region = {.window = {}, .offset_x = 40, .offset_y = 30};
    const FramePlacement placement =
        place_frame(kSensor, region, static_cast<uint8_t>(c.mode), c.width, c.height);
    EXPECT_EQ(placement.readout, c.readout);
    EXPECT_EQ(placement.x0, c.x0);
    EXPECT_EQ(placement.y0, c.y0);
  }
}

constexpr int kNumberedWidth = 8;
constexpr int kNumberedHeight = 6;
constexpr int kNone = -1;

/// A frame in which every sample is its own number.
std::vector<uint8_t> numbered() {
  std::vector<uint8_t> samples(kNumberedWidth * kNumberedHeight);
  std::iota(samples.begin(), samples.end(), uint8_t{0});
  return samples;
}

/// A dead pixel, and the number of the sample that is replaced: one past a row it is the first of the next.
using Row = std::array<int, 3>;

void check(const FramePlacement& placement, std::initializer_list<Row> rows) {
  for (const auto& [x, y, index] : rows) {
    GuardedFrame frame(kNumberedWidth, kNumberedHeight, numbered());
    const DeadPixel pixel = {static_cast<uint16_t>(x), static_cast<uint16_t>(y)};
    replace_dead_pixels(frame.view(), placement, std::array{pixel});
    auto expected = numbered();
    if (index != kNone) expected.at(static_cast<size_t>(index)) = static_cast<uint8_t>(index - 2);
    EXPECT_EQ(frame.samples(), expected) << x << ", " << y;
    EXPECT_TRUE(frame.guards_intact());
  }
}

TEST(DeadPixels, AreReplacedWhereTheReadoutPutsThem) {
  // clang-format off
  check({Readout::kFullSensor, 0, 0}, {Row{2, 0, 2}, {7, 5, 47}, {1, 0, kNone}, {0, 3, kNone}, {8, 0, 8}, {8, 5, kNone},
                                       {9, 0, kNone}, {3, 6, kNone}, {2, 7, kNone}, {0xFFFF, 0xFFFF, kNone}});
  check({Readout::kWindow, 10, 20}, {Row{13, 21, 11}, {17, 25, 47}, {12, 21, kNone}, {13, 20, kNone}, {18, 25, kNone},
                                     {17, 26, kNone}, {0, 0, kNone}, {0xFFFF, 22, kNone}});
  check({Readout::kWindow, -3, -2}, {Row{0, 0, 19}, {4, 3, 47}, {5, 3, kNone}});
  check({Readout::kBinned, 2, 4}, {Row{8, 6, 11}, {9, 7, 20}, {7, 6, 11}, {8, 5, 11}, {16, 14, 47}, {6, 6, kNone},
                                   {8, 4, kNone}, {17, 14, kNone}, {16, 16, kNone}, {0, 0, kNone}, {0xFFFF, 0xFFFF, kNone}});
  // clang-format on
}

TEST(DeadPixels, TakeARepairedNeighbourInTheOrderOfTheList) {
  GuardedFrame frame(kNumberedWidth, kNumberedHeight, numbered());
  replace_dead_pixels(frame.view(), {},
                      std::array{DeadPixel{2, 1}, DeadPixel{4, 1}, DeadPixel{7, 1}, DeadPixel{5, 1}});
  EXPECT_EQ(frame.at(2, 1), 8);
  EXPECT_EQ(frame.at(4, 1), 8);
  EXPECT_EQ(frame.at(7, 1), 13);  // before its neighbour was repaired
  EXPECT_EQ(frame.at(5, 1), 11);
}

}  // namespace
}  // namespace kxcam::test
