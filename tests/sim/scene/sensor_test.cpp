// SPDX-License-Identifier: Apache-2.0
#include "scene/sensor.h"

#include <array>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "frames.h"

namespace kxsim {
namespace {

using ::testing::Each;

TEST(Sensor, SeesEachColourAtItsSitesOfTheCell) {
  const std::map<ColorMode, std::string> orders = {{ColorMode::kRggb, "RGGB"},
                                                   {ColorMode::kBggr, "BGGR"},
                                                   {ColorMode::kGrbg, "GRBG"},
                                                   {ColorMode::kGbrg, "GBRG"}};
  const std::map<char, Light> lights = {{'R', {1, 0, 0}}, {'G', {0, 1, 0}}, {'B', {0, 0, 1}}};
  for (const auto& [mode, order] : orders) {
    for (const auto& [colour, light] : lights) {
      Sensor sensor(quiet(8, 6, mode), make_uniform(light));
      const std::vector<int> frame = frame_of(sensor, {0, 0, 8, 6, 1});
      for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 8; ++x) {
          const bool lit = order[(y % 2) * 2 + x % 2] == colour;
          EXPECT_EQ(frame[y * 8 + x], lit ? 217 : 0) << order << ' ' << colour << ' ' << x << ',' << y;
        }
      }
    }
  }
}

TEST(Sensor, SeesLumaWithoutColourFilters) {
  const auto level = [](ColorMode mode, Light light) {
    Sensor sensor(quiet(4, 4, mode), make_uniform(light));
    const std::vector<int> frame = frame_of(sensor, {0, 0, 4, 4, 1}, {}, 0, mode == ColorMode::kMono12);
    EXPECT_THAT(frame, Each(frame.front()));
    return frame.front();
  };
  EXPECT_EQ(level(ColorMode::kMono8, {1, 1, 1}), 217);
  EXPECT_EQ(level(ColorMode::kMono8, {1, 0, 0}), 46);
  EXPECT_EQ(level(ColorMode::kMono8, {0, 1, 0}), 155);
  EXPECT_EQ(level(ColorMode::kMono8, {0, 0, 1}), 16);
  EXPECT_EQ(level(ColorMode::kMono12, {1, 1, 1}), 3481);
  EXPECT_EQ(level(ColorMode::kMono12, {9, 9, 9}), 4095);
}

TEST(Sensor, IsLinearUpToSaturation) {
  Sensor sensor(quiet(4, 4, ColorMode::kRggb), make_uniform({0.2F, 0.2F, 0.2F}));
  const auto level = [&](double exposure, double gain) {
    return frame_of(sensor, {0, 0, 4, 4, 1}, {exposure, gain}).front();
  };
  EXPECT_EQ(level(0, 1), 0);
  EXPECT_EQ(level(1, 0), 0);
  EXPECT_EQ(level(1, 1), 43);
  EXPECT_EQ(level(2, 1), 87);
  EXPECT_EQ(level(1, 2), 87);
  EXPECT_EQ(level(1.5, 2), 130);
  EXPECT_EQ(level(5.8, 1), 251);
  EXPECT_EQ(level(6, 1), 255);
  EXPECT_EQ(level(1, 1000), 255);
  // A full well holds half as much again as full scale at gain 1, so a small gain does not reach it.
  EXPECT_EQ(level(1000, 0.5), 191);
}

TEST(Sensor, BearsAnyFactorAndLight) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  Sensor sensor(quiet(4, 4, ColorMode::kRggb), make_uniform({1, 1, 1}));
  const auto level = [&](const Exposure& exposure) {
    return frame_of(sensor, {0, 0, 4, 4, 1}, exposure).front();
  };
  EXPECT_EQ(level({kInfinity, kInfinity}), 255);
  EXPECT_EQ(level({1e300, 1}), 255);
  EXPECT_EQ(level({-1, 1}), 0);
  EXPECT_EQ(level({kNan, 1}), 0);
  EXPECT_EQ(level({1, kNan}), 0);
  sensor.set_scene(make_uniform({1e30F, 1e30F, 1e30F}));
  EXPECT_EQ(level({}), 255);
  sensor.set_scene(make_uniform({-5, -5, -5}));
  EXPECT_EQ(level({}), 0);
}

TEST(Sensor, ShowsANewScene) {
  Sensor sensor(quiet(4, 4, ColorMode::kRggb), make_uniform({1, 1, 1}));
  EXPECT_EQ(frame_of(sensor, {0, 0, 4, 4, 1}).back(), 217);
  sensor.set_scene(make_uniform({0.5F, 0.5F, 0.5F}));
  EXPECT_EQ(frame_of(sensor, {0, 0, 4, 4, 1}).back(), 108);
}

TEST(Sensor, RefusesWhatCannotBeBuilt) {
  const auto scene = make_uniform({1, 1, 1});
  EXPECT_THROW(Sensor(quiet(0, 4, ColorMode::kRggb), scene), std::invalid_argument);
  EXPECT_THROW(Sensor(quiet(4, -4, ColorMode::kRggb), scene), std::invalid_argument);
  EXPECT_THROW(Sensor(quiet(100'000, 4, ColorMode::kRggb), scene), std::invalid_argument);
  EXPECT_THROW(Sensor(quiet(4, 4, ColorMode::kRggb), nullptr), std::invalid_argument);
}

}  // namespace
}  // namespace kxsim
