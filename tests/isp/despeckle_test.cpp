// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "guarded_frame.h"
#include "isp/defects.h"

namespace kxcam::test {
namespace {

/// What becomes of a pixel whose neighbours two steps to the left, right, above and below are given.
int despeckled(int level, const std::array<int, 4>& neighbours) {
  GuardedFrame frame(20, 20, uint8_t{0});
  frame.at(10, 9) = static_cast<uint8_t>(level);
  frame.at(8, 9) = static_cast<uint8_t>(neighbours[0]);
  frame.at(12, 9) = static_cast<uint8_t>(neighbours[1]);
  frame.at(10, 7) = static_cast<uint8_t>(neighbours[2]);
  frame.at(10, 11) = static_cast<uint8_t>(neighbours[3]);
  // The nearer pixels are of other colours.
  for (const auto& [x, y] : {std::pair{9, 9}, {11, 9}, {10, 8}, {10, 10}}) frame.at(x, y) = 250;
  despeckle(frame.view());
  return frame.at(10, 9);
}

TEST(Despeckle, DarkensWhatStandsOutByMoreThanFifty) {
  EXPECT_EQ(despeckled(200, {90, 100, 90, 80}), 90);
  EXPECT_EQ(despeckled(150, {100, 100, 100, 100}), 150);
  EXPECT_EQ(despeckled(150, {99, 99, 99, 99}), 99);
  EXPECT_EQ(despeckled(150, {100, 100, 100, 99}), 99);  // the mean is cut
  EXPECT_EQ(despeckled(255, {0, 0, 0, 3}), 0);
  EXPECT_EQ(despeckled(101, {0, 0, 0, 0}), 0);
  EXPECT_EQ(despeckled(100, {0, 0, 0, 0}), 100);
  EXPECT_EQ(despeckled(0, {100, 100, 100, 100}), 0) << "dark pixels are left alone";
}

TEST(Despeckle, CountsRepairedNeighboursAsRepaired) {
  GuardedFrame frame(24, 24, uint8_t{10});
  for (const auto& [x, y] : {std::pair{8, 8}, {10, 8}, {15, 15}, {15, 17}}) frame.at(x, y) = 255;
  despeckle(frame.view());
  EXPECT_EQ(frame.at(8, 8), (10 + 255 + 10 + 10) / 4);
  EXPECT_EQ(frame.at(10, 8), (71 + 10 + 10 + 10) / 4);
  EXPECT_EQ(frame.at(15, 15), 71);
  EXPECT_EQ(frame.at(15, 17), 25);
}

TEST(Despeckle, LeavesTheMarginAlone) {
  for (int width = 1; width <= 15; ++width) {
    for (int height = 1; height <= 15; ++height) {
      for (int i = 0; i < width * height; ++i) {
        const int x = i % width;
        const int y = i / width;
        GuardedFrame frame(width, height, uint8_t{0});
        frame.at(x, y) = 255;
        despeckle(frame.view());
        const bool inside = x >= 6 && x < width - 5 && y >= 6 && y < height - 5;
        ASSERT_EQ(frame.at(x, y), inside ? 0 : 255) << x << ", " << y << " of " << width << " x " << height;
        ASSERT_TRUE(frame.guards_intact());
      }
    }
  }
}

}  // namespace
}  // namespace kxcam::test
