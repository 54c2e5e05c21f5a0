// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "frames.h"

namespace kxsim {
namespace {

using ::testing::Each;

constexpr int kWidth = 64;
constexpr int kHeight = 48;
constexpr int kLowest = std::numeric_limits<int>::min();
constexpr int kHighest = std::numeric_limits<int>::max();

TEST(SensorReadout, IsAWindowOfTheFullFrame) {
  for (const ColorMode mode : {ColorMode::kGrbg, ColorMode::kMono8, ColorMode::kMono12}) {
    const bool two_bytes = mode == ColorMode::kMono12;
    SensorDescription description = quiet(kWidth, kHeight, mode);
    description.fixed_pattern = 0.05;
    Sensor sensor(description, std::make_shared<Slope>());
    // Windows first, so that rows are looked at one after the other and not as a whole.
    for (const Readout& window :
         {Readout{10, 6, 20, 9, 1}, Readout{7, 30, 33, 18, 1}, Readout{8, 4, 14, 10, 2},
          Readout{0, 0, 32, 24, 2}, Readout{2, 2, 10, 8, 3}}) {
      const std::vector<int> part = frame_of(sensor, window, {}, 0, two_bytes);
      const std::vector<int> full = frame_of(sensor, {0, 0, kWidth, kHeight, 1}, {}, 0, two_bytes);
      for (int y = 0; y < window.height; ++y) {
        for (int x = 0; x < window.width; ++x) {
          const int site_x = window.x + x / 2 * 2 * window.step + x % 2;
          const int site_y = window.y + y / 2 * 2 * window.step + y % 2;
          ASSERT_EQ(part[y * window.width + x], full[site_y * kWidth + site_x]) << x << ',' << y;
        }
      }
    }
  }
}

TEST(SensorReadout, IsDarkOutsideTheSensor) {
  Sensor sensor(quiet(kWidth, kHeight, ColorMode::kMono8), make_uniform({1, 1, 1}));
  const std::vector<int> frame = frame_of(sensor, {-3, -2, kWidth + 8, kHeight + 9, 1});
  for (int y = 0; y < kHeight + 9; ++y) {
    for (int x = 0; x < kWidth + 8; ++x) {
      const bool inside = x >= 3 && x < kWidth + 3 && y >= 2 && y < kHeight + 2;
      ASSERT_EQ(frame[y * (kWidth + 8) + x], inside ? 217 : 0) << x << ',' << y;
    }
  }
  for (const Readout& nowhere :
       {Readout{kWidth, 0, 9, 9, 1}, Readout{0, kHeight, 9, 9, 2}, Readout{kLowest, kLowest, 9, 9, 1},
        Readout{kHighest, kHighest, 9, 9, kHighest}}) {
    EXPECT_THAT(frame_of(sensor, nowhere), Each(0));
  }
}

TEST(SensorReadout, WritesNoFurtherThanItShould) {
  constexpr size_t kGuard = 64;
  constexpr uint8_t kUntouched = 0xA5;
  struct Case {
    Readout readout;
    size_t room;
    size_t written;
  };
  for (const ColorMode mode : {ColorMode::kRggb, ColorMode::kMono12}) {
    const size_t size = mode == ColorMode::kMono12 ? 2 : 1;
    SensorDescription description = quiet(kWidth, kHeight, mode);
    description.dead_pixels = 200;
    Sensor sensor(description, make_uniform({0.9F, 0.9F, 0.9F}));
    for (const Case& c : {Case{{0, 0, 16, 4, 1}, 16 * 4 * size, 16 * 4 * size},
                          Case{{0, 0, 16, 4, 1}, 16 * 4 * size + 30, 16 * 4 * size},
                          Case{{0, 0, 16, 4, 1}, 23 * size + size - 1, 23 * size},
                          Case{{0, 0, kWidth, kHeight, 1}, 1000 * size, 1000 * size},
                          Case{{0, 0, kHighest, kHighest, 1}, 5000 * size, 5000 * size},
                          Case{{kLowest, kLowest, kHighest, kHighest, kHighest}, 100 * size, 100 * size},
                          Case{{0, 0, 16, 4, 1}, 0, 0}, Case{{0, 0, 0, 4, 1}, 100, 0},
                          Case{{0, 0, 16, -4, 1}, 100, 0}, Case{{0, 0, -16, -4, 2}, 100, 0}}) {
      std::vector<uint8_t> bytes(c.room + 2 * kGuard, kUntouched);
      sensor.expose(c.readout, {}, 0, std::span(bytes).subspan(kGuard, c.room));
      const std::span<const uint8_t> seen(bytes);
      EXPECT_THAT(seen.first(kGuard), Each(kUntouched));
      EXPECT_THAT(seen.subspan(kGuard, c.written), Each(::testing::Ne(kUntouched)));
      EXPECT_THAT(seen.subspan(kGuard + c.written), Each(kUntouched));
    }
  }
}

TEST(SensorReadout, TakesAStepBelowOneAsOne) {
  Sensor sensor(quiet(kWidth, kHeight, ColorMode::kBggr), std::make_shared<Slope>());
  const std::vector<int> frame = frame_of(sensor, {4, 4, 20, 20, 1});
  EXPECT_EQ(frame_of(sensor, {4, 4, 20, 20, 0}), frame);
  EXPECT_EQ(frame_of(sensor, {4, 4, 20, 20, kLowest}), frame);
}

}  // namespace
}  // namespace kxsim
