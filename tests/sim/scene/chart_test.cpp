// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scene/scene.h"

namespace kxsim {
namespace {

constexpr Light kWhiteLamp{1, 1, 1};

Light at_pixel(const Scene& scene, int width, int height, int x, int y) {
  const auto w = static_cast<float>(width);
  const auto h = static_cast<float>(height);
  return scene.at((static_cast<float>(x) + 0.5F) / w, (static_cast<float>(y) + 0.5F) / h, 1 / w, 1 / h);
}

float luma(const Light& light) {
  return 0.2126F * light.r + 0.7152F * light.g + 0.0722F * light.b;
}

TEST(Chart, HasADifferentColourInEachCorner) {
  struct Size {
    int width;
    int height;
  };
  for (const Size& size :
       {Size{2592, 1944}, Size{400, 400}, Size{4096, 2160}, Size{640, 480}, Size{64, 48}}) {
    const auto chart = make_chart(static_cast<double>(size.width) / size.height, kWhiteLamp);
    const int inset = size.height / 40;
    const auto corner = [&](bool right, bool bottom) {
      return at_pixel(*chart, size.width, size.height, right ? size.width - 1 - inset : inset,
                      bottom ? size.height - 1 - inset : inset);
    };
    const Light red = corner(false, false);
    EXPECT_GT(red.r, 4 * std::max(red.g, red.b));
    const Light green = corner(true, false);
    EXPECT_GT(green.g, 3 * std::max(green.r, green.b));
    const Light blue = corner(false, true);
    EXPECT_GT(blue.b, 4 * std::max(blue.r, blue.g));
    const Light yellow = corner(true, true);
    EXPECT_GT(std::min(yellow.r, yellow.g), 4 * yellow.b);
    // A monochrome sensor has to tell them apart as well.
    EXPECT_GT(luma(yellow), 1.5F * luma(green));
    EXPECT_GT(luma(green), 1.5F * luma(red));
    EXPECT_GT(luma(red), 1.5F * luma(blue));
  }
}

TEST(Chart, IsSeenTheSameFromEverySensorSize) {
  // Pixels of 1/60 of the height are looked at mark by mark, the small ones through the index; a mark that
  // the index misses shows as a difference.
  constexpr int kCoarse = 60;
  constexpr int kFine = 8;
  const auto chart = make_chart(1.0, kWhiteLamp);
  double difference = 0;
  for (int y = 0; y < kCoarse; ++y) {
    for (int x = 0; x < kCoarse; ++x) {
      float mean = 0;
      for (int i = 0; i < kFine * kFine; ++i) {
        mean +=
            at_pixel(*chart, kCoarse * kFine, kCoarse * kFine, x * kFine + i % kFine, y * kFine + i / kFine)
                .g;
      }
      difference += std::abs(mean / (kFine * kFine) - at_pixel(*chart, kCoarse, kCoarse, x, y).g);
    }
  }
  EXPECT_LT(difference / (kCoarse * kCoarse), 0.03);
}

TEST(Chart, IsReflectedLightOfTheLamp) {
  constexpr int kSide = 300;
  const auto plain = make_chart(1.0, kWhiteLamp);
  const auto tinted = make_chart(1.0, {0.8F, 1.0F, 0.6F});
  float darkest = 1;
  float brightest = 0;
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      const Light white = at_pixel(*plain, kSide, kSide, x, y);
      const Light tint = at_pixel(*tinted, kSide, kSide, x, y);
      ASSERT_FLOAT_EQ(tint.r, white.r * 0.8F);
      ASSERT_FLOAT_EQ(tint.g, white.g);
      ASSERT_FLOAT_EQ(tint.b, white.b * 0.6F);
      darkest = std::min({darkest, white.r, white.g, white.b});
      brightest = std::max({brightest, white.r, white.g, white.b});
    }
  }
  EXPECT_GE(darkest, 0);
  EXPECT_LT(darkest, 0.02F);
  EXPECT_GT(brightest, 0.85F);
  EXPECT_LE(brightest, 1);
}

TEST(Chart, BearsAnyAspectAndSpot) {
  for (const double aspect : {0.0, -1.0, std::nan(""), 1e-9, 1e9}) {
    const auto chart = make_chart(aspect);
    for (const float size : {0.0F, 1e-9F, 0.001F, 1.0F, 100.0F}) {
      for (const float position : {-1.0F, 0.0F, 0.5F, 1.0F, 2.0F}) {
        const Light light = chart->at(position, position, size, size);
        EXPECT_TRUE(std::isfinite(light.r) && std::isfinite(light.g) && std::isfinite(light.b));
      }
    }
  }
}

}  // namespace
}  // namespace kxsim
