// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <numeric>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "frames.h"

namespace kxsim {
namespace {

constexpr int kSide = 256;
constexpr Readout kAll{0, 0, kSide, kSide, 1};

SensorDescription noisy(uint64_t seed) {
  return {.width = kSide, .height = kSide, .color_mode = ColorMode::kMono12, .seed = seed};
}

Light grey(float level) {
  return {level, level, level};
}

struct Statistics {
  double mean;
  double variance;
};

Statistics statistics_of(const std::vector<int>& values) {
  const auto count = static_cast<double>(values.size());
  const double mean = std::accumulate(values.begin(), values.end(), 0.0) / count;
  double squares = 0;
  for (const int value : values) squares += (value - mean) * (value - mean);
  return {mean, squares / count};
}

TEST(SensorNoise, IsReproducibleAndDiffersBetweenFramesAndSeeds) {
  const auto scene = make_chart(1.0);
  SensorDescription description = noisy(5);
  description.fixed_pattern = 0.02;
  description.dead_pixels = 9;
  Sensor first(description, scene);
  Sensor second(description, scene);
  const std::vector<int> frame = frame_of(first, kAll, {1.3, 2}, 7, true);
  EXPECT_NE(frame_of(first, kAll, {1.3, 2}, 8, true), frame);
  EXPECT_EQ(frame_of(first, kAll, {1.3, 2}, 7, true), frame);
  // Another camera of the same make that has shown other frames before.
  frame_of(second, {10, 10, 33, 7, 2}, {}, 1, true);
  EXPECT_EQ(frame_of(second, kAll, {1.3, 2}, 7, true), frame);

  description.seed = 6;
  Sensor other(description, scene);
  EXPECT_NE(frame_of(other, kAll, {1.3, 2}, 7, true), frame);
}

TEST(SensorNoise, IsTheSameOnEveryMachine) {
  SensorDescription description = noisy(99);
  description.fixed_pattern = 0.02;
  description.dead_pixels = 12;
  Sensor sensor(description, make_uniform(grey(0.4F)));
  uint64_t hash = 0xCBF29CE484222325;
  for (const int value : frame_of(sensor, kAll, {1.5, 1.25}, 3, true)) {
    hash = (hash ^ static_cast<uint64_t>(value)) * 0x100000001B3;
  }
  EXPECT_EQ(hash, 12239313931345991247U);
}

TEST(SensorNoise, KeepsTheMeanAndGrowsWithTheSignal) {
  double last_variance = 0;
  for (const float level : {0.1F, 0.3F, 0.6F, 0.9F}) {
    Sensor sensor(noisy(3), make_uniform(grey(level)));
    const Statistics s = statistics_of(frame_of(sensor, kAll, {}, 1, true));
    const double electrons = level * 8500;
    const double samples_per_electron = 0.4095;
    EXPECT_NEAR(s.mean, electrons * samples_per_electron, 0.5) << level;
    const double expected = (electrons + 20 * 20) * samples_per_electron * samples_per_electron;
    EXPECT_NEAR(s.variance / expected, 1, 0.04) << level;
    EXPECT_GT(s.variance, last_variance);
    last_variance = s.variance;
  }
}

TEST(SensorNoise, IsAmplifiedByGainButNotByExposure) {
  Sensor sensor(noisy(3), make_uniform(grey(0.1F)));
  const Statistics exposed = statistics_of(frame_of(sensor, kAll, {4, 1}, 1, true));
  const Statistics amplified = statistics_of(frame_of(sensor, kAll, {1, 4}, 1, true));
  EXPECT_NEAR(exposed.mean, amplified.mean, 2);
  EXPECT_GT(amplified.variance, 3 * exposed.variance);
}

TEST(SensorNoise, HasNoStripesAndDoesNotStandStill) {
  Sensor sensor(noisy(4), make_uniform(grey(0.5F)));
  const std::vector<int> a = frame_of(sensor, kAll, {}, 1, true);
  const std::vector<int> b = frame_of(sensor, kAll, {}, 2, true);
  const Statistics s = statistics_of(a);
  double between_frames = 0;
  double between_rows = 0;
  for (size_t i = kSide; i < a.size(); ++i) {
    between_frames += (a[i] - s.mean) * (b[i] - s.mean);
    between_rows += (a[i] - s.mean) * (a[i - kSide] - s.mean);
  }
  const double all = s.variance * static_cast<double>(a.size());
  EXPECT_LT(std::abs(between_frames / all), 0.03);
  EXPECT_LT(std::abs(between_rows / all), 0.03);
}

TEST(SensorFixedPattern, IsTheSameInEveryFrameAndAsStrongAsAsked) {
  SensorDescription description = noisy(11);
  description.noise = false;
  description.fixed_pattern = 0.03;
  Sensor sensor(description, make_uniform(grey(0.6F)));
  const std::vector<int> frame = frame_of(sensor, kAll, {}, 1, true);
  EXPECT_EQ(frame_of(sensor, kAll, {}, 2, true), frame);

  // A product of a gain for the column (one for even, one for odd rows) and one for the row.
  const auto ratio = [&](int x, int y) {
    return static_cast<double>(frame[y * kSide + x]) / frame[y * kSide + x + 1];
  };
  for (int x = 0; x + 1 < kSide; ++x) {
    EXPECT_NEAR(ratio(x, 0), ratio(x, 100), 0.002) << x;
    EXPECT_NEAR(ratio(x, 1), ratio(x, 201), 0.002) << x;
  }
  const Statistics s = statistics_of(frame);
  EXPECT_NEAR(std::sqrt(s.variance) / s.mean, std::sqrt(2 * 0.03 * 0.03), 0.006);
}

TEST(SensorStuckPixels, StayWhereTheyAre) {
  SensorDescription description = noisy(21);
  description.dead_pixels = 40;
  Sensor sensor(description, make_uniform(grey(0.5F)));
  const auto stuck = sensor.stuck_pixels();
  ASSERT_EQ(stuck.size(), 40U);
  EXPECT_GT(std::ranges::count(stuck, true, &StuckPixel::hot), 5);
  EXPECT_GT(std::ranges::count(stuck, false, &StuckPixel::hot), 5);

  for (const uint64_t number : {1, 2}) {
    std::vector<int> frame = frame_of(sensor, kAll, {}, number, true);
    for (const StuckPixel& pixel : stuck) {
      int& value = frame[pixel.y * kSide + pixel.x];
      EXPECT_EQ(value, pixel.hot ? 4095 : 0);
      value = 1740;
    }
    // The others are within six sigma of their level.
    EXPECT_THAT(frame, ::testing::Each(::testing::AllOf(::testing::Gt(1560), ::testing::Lt(1920))));
  }
}

TEST(SensorStuckPixels, AreFoundInAnyReadoutAndAreAtMostAllPixels) {
  SensorDescription description = quiet(32, 24, ColorMode::kRggb);
  description.dead_pixels = 1'000'000;
  Sensor all_stuck(description, make_uniform(grey(0.5F)));
  EXPECT_EQ(all_stuck.stuck_pixels().size(), 32U * 24U);

  description.dead_pixels = -1;
  EXPECT_TRUE(Sensor(description, make_uniform(grey(0.5F))).stuck_pixels().empty());

  description.dead_pixels = 300;
  Sensor sensor(description, make_uniform(grey(0.5F)));
  const std::vector<int> full = frame_of(sensor, {0, 0, 32, 24, 1});
  const std::vector<int> skipped = frame_of(sensor, {4, 2, 12, 10, 2});
  for (int y = 0; y < 10; ++y) {
    for (int x = 0; x < 12; ++x) {
      const int site_x = 4 + x / 2 * 4 + x % 2;
      const int site_y = 2 + y / 2 * 4 + y % 2;
      const int expected = site_y < 24 && site_x < 32 ? full[site_y * 32 + site_x] : 0;
      EXPECT_EQ(skipped[y * 12 + x], expected) << x << ',' << y;
    }
  }
}

}  // namespace
}  // namespace kxsim
