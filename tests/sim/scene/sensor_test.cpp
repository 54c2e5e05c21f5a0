// SPDX-License-Identifier: Apache-2.0

// What a sensor makes of a scene.

#include "scene/sensor.h"

#include <cmath>
#include <limits>
#include <vector>

#include <gmock/gmock.h>

#include "scene/scene.h"

namespace kxsim {
namespace {

using ::testing::Each;
using enum ColorMode;

constexpr int kHighest = std::numeric_limits<int>::max();
constexpr int kLowest = std::numeric_limits<int>::min();

SensorDescription quiet(int width, int height, ColorMode mode) {
  return {.width = width, .height = height, .color_mode = mode, .noise = false};
}

std::shared_ptr<const Scene> grey(float level) {
  return make_uniform({level, level, level});
}

/// One frame, a value for each sample.
std::vector<int> frame_of(Sensor& sensor, ColorMode mode, const Readout& readout,
                          const Exposure& exposure = {}, uint64_t number = 0) {
  const auto size = static_cast<size_t>(sample_bytes(mode));
  std::vector<uint8_t> bytes(static_cast<size_t>(readout.width) * static_cast<size_t>(readout.height) * size,
                             0xCD);
  sensor.expose(readout, exposure, number, bytes);
  std::vector<int> values;
  for (size_t i = 0; i < bytes.size(); i += size)
    values.push_back(size == 2 ? bytes[i] | bytes[i + 1] << 8 : bytes[i]);
  return values;
}

/// Golden frames: a wrong bit anywhere between the scene and the bytes shows.
TEST(Sensor, MakesTheSameFramesEverywhere) {
  struct Row {
    const char* name;
    SensorDescription sensor;
    std::shared_ptr<const Scene> scene;
    Exposure exposure;
    uint64_t hash;
  };
  SensorDescription imperfect{.width = 256, .height = 256, .color_mode = kMono12, .seed = 99};
  imperfect.fixed_pattern = 0.02;
  imperfect.dead_pixels = 12;
  const Row rows[] = {
      {"noise, pattern and dead pixels", imperfect, grey(0.4F), {1.5, 1.25}, 12239313931345991247U},
      {"the chart in colour", quiet(96, 72, kGrbg), make_chart(4.0 / 3, {1, 1, 1}), {}, 2523821162294308199U},
      {"the chart in grey, by its own lamp",
       quiet(96, 72, kMono8),
       make_chart(4.0 / 3),
       {},
       14559161265373451731U},
  };
  for (const Row& row : rows) {
    Sensor sensor(row.sensor, row.scene);
    uint64_t hash = 0xCBF29CE484222325;
    for (const int value : frame_of(sensor, row.sensor.color_mode,
                                    {0, 0, row.sensor.width, row.sensor.height, 1}, row.exposure, 3)) {
      hash = (hash ^ static_cast<uint64_t>(value)) * 0x100000001B3;
    }
    EXPECT_EQ(hash, row.hash) << row.name;
  }
}

TEST(Sensor, SeesEachColourAtItsSitesOfTheCell) {
  const Light lights[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  for (const auto& [mode, order] :
       {std::pair{kRggb, "RGGB"}, {kBggr, "BGGR"}, {kGrbg, "GRBG"}, {kGbrg, "GBRG"}}) {
    for (size_t color = 0; color < 3; ++color) {
      Sensor sensor(quiet(8, 6, mode), make_uniform(lights[color]));
      const auto frame = frame_of(sensor, mode, {0, 0, 8, 6, 1});
      for (size_t i = 0; i < frame.size(); ++i) {
        const bool lit = order[i / 8 % 2 * 2 + i % 2] == "RGB"[color];
        EXPECT_EQ(frame[i], lit ? 217 : 0) << order << ' ' << color << ' ' << i;
      }
    }
  }
}

TEST(Sensor, IsLinearUpToSaturation) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  struct Row {
    ColorMode mode;
    float light;
    double exposure;
    double gain;
    int level;
  };
  constexpr Row kRows[] = {
      {kMono8, 1, 1, 1, 217},        {kMono12, 1, 1, 1, 3481},     {kMono12, 9, 1, 1, 4095},
      {kRggb, 0.2F, 0, 1, 0},        {kRggb, 0.2F, 1, 0, 0},       {kRggb, 0.2F, 1, 1, 43},
      {kRggb, 0.2F, 2, 1, 87},       {kRggb, 0.2F, 1, 2, 87},      {kRggb, 0.2F, 5.8, 1, 251},
      {kRggb, 0.2F, 6, 1, 255},      {kRggb, 0.2F, 1e3, 0.5, 191},  // the full well
      {kRggb, 1, kInfinity, 1, 255}, {kRggb, 1, 1e300, 1, 255},    {kRggb, 1, -1, 1, 0},
      {kRggb, 1, kNan, 1, 0},        {kRggb, 1, 1, kNan, 0},       {kRggb, 1e30F, 1, 1, 255},
      {kRggb, -5, 1, 1, 0},
  };
  for (const Row& row : kRows) {
    Sensor sensor(quiet(4, 4, row.mode), grey(row.light));
    EXPECT_THAT(frame_of(sensor, row.mode, {0, 0, 4, 4, 1}, {row.exposure, row.gain}), Each(row.level))
        << row.light << ' ' << row.exposure << ' ' << row.gain;
  }
  EXPECT_THROW(Sensor(quiet(0, 4, kRggb), grey(1)), std::invalid_argument);
  EXPECT_THROW(Sensor(quiet(100'000, 4, kRggb), grey(1)), std::invalid_argument);
  EXPECT_THROW(Sensor(quiet(4, 4, kRggb), nullptr), std::invalid_argument);
}

/// Light that is different at every site and in every channel.
class Slope final : public Scene {
 public:
  Light at(float u, float v, float /*size_u*/, float /*size_v*/) const override {
    return {0.1F + 0.4F * u + 0.5F * v, 0.2F + 0.3F * u * v, 0.9F - 0.5F * u - 0.3F * v};
  }
};

TEST(Sensor, EveryReadoutIsAPartOfTheFullFrame) {
  constexpr Readout kWindows[] = {{10, 6, 20, 9, 1},       {7, 30, 33, 18, 1},
                                  {8, 4, 14, 10, 2},       {0, 0, 32, 24, 2},
                                  {2, 2, 10, 8, 3},        {-3, -2, 72, 57, 1},
                                  {64, 0, 9, 9, 1},        {4, 4, 20, 20, 0},
                                  {6, 8, 30, 20, 1, true}, {kLowest, kHighest, 9, 9, kHighest}};
  for (const ColorMode mode : {kGrbg, kMono12}) {
    SensorDescription description = quiet(64, 48, mode);
    description.fixed_pattern = 0.05;
    description.dead_pixels = 300;
    Sensor sensor(description, std::make_shared<Slope>());
    for (const Readout& window : kWindows) {
      // Windows first, so that rows are looked at one after the other and not as a whole.
      const auto part = frame_of(sensor, mode, window);
      const auto full = frame_of(sensor, mode, {0, 0, 64, 48, 1});
      const int64_t step = std::max(window.step, 1);
      for (int i = 0; i < window.width * window.height; ++i) {
        const int x = i % window.width;
        const int y = window.scan ? i / window.width % 2 : i / window.width;
        const int64_t site_x = window.x + x / 2 * 2 * step + x % 2;
        const int64_t site_y = window.y + y / 2 * 2 * step + y % 2;
        const bool inside = site_x >= 0 && site_x < 64 && site_y >= 0 && site_y < 48;
        ASSERT_EQ(part[i], inside ? full[site_y * 64 + site_x] : 0) << i;
      }
    }
  }
}

TEST(Sensor, FillsTheRoomThereIsAndNoMore) {
  Sensor sensor(quiet(64, 48, kMono12), grey(0.9F));
  constexpr std::tuple<Readout, size_t, ptrdiff_t> kRows[] = {{{0, 0, 16, 4, 1}, 158, 128},
                                                              {{0, 0, 16, 4, 1}, 47, 46},
                                                              {{0, 0, kHighest, kHighest, 1}, 10'000, 10'000},
                                                              {{0, 0, 16, -4, 1}, 100, 0}};
  for (const auto& [readout, room, written] : kRows) {
    std::vector<uint8_t> bytes(room, 0xA5);
    sensor.expose(readout, {}, 0, bytes);
    EXPECT_EQ(std::ranges::count(bytes, 0xA5), static_cast<ptrdiff_t>(room) - written);
  }
}

}  // namespace
}  // namespace kxsim
