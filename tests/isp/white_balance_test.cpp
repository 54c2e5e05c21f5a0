// SPDX-License-Identifier: Apache-2.0
#include "isp/white_balance.h"

#include <string_view>

#include "context_fixture.h"
#include "core/picture/white_balance_settings.h"
#include "core/registry/camera_parameter.h"
#include "frame_fixture.h"
#include "naive_pixel.h"

namespace kxcam::test {
namespace {

struct Order {
  uint32_t color_mode;
  std::string_view cell;
};
constexpr Order kOrders[] = {{kRGGB, "RGGB"}, {kBGGR, "BGGR"}, {kGRBG, "GRBG"}, {kGBRG, "GBRG"}};

struct Gains {
  double r = 0;
  double g = 0;
  double b = 0;
  bool operator==(const Gains&) const = default;
};
void PrintTo(const Gains& gains, std::ostream* out) {
  *out << gains.r << ", " << gains.g << ", " << gains.b;
}

Gains gains_now() {
  Gains gains;
  EXPECT_TRUE(ok(CameraGetWBGain(kCamera, &gains.r, &gains.g, &gains.b)));
  return gains;
}

double cut(double gain) {
  return static_cast<int>(gain * 100) / 100.0;
}

class WhiteBalance : public ContextTest {
 protected:
  /// The gains that `measure` leaves; 2.5 each where it leaves them alone.
  template <class Measure>
  Gains measured(Measure measure, const Order& order, const Mosaic& mosaic, int mean_level = 0) {
    const ContextRef ctx = open(order.color_mode);
    EXPECT_TRUE(ok(CameraSetWBGain(kCamera, 2.5, 2.5, 2.5)));
    ctx->picture.mean_level = mean_level;
    measure(*ctx, ImageView(mosaic.samples, mosaic.width, mosaic.height));
    const Gains gains = gains_now();
    for (size_t i = 0; i < 256; ++i) {
      EXPECT_EQ(ctx->picture.curves.load()->final_curve_r[i], std::min(255, static_cast<int>(i * gains.r)));
      EXPECT_EQ(ctx->picture.curves.load()->final_curve_g[i], std::min(255, static_cast<int>(i * gains.g)));
      EXPECT_EQ(ctx->picture.curves.load()->final_curve_b[i], std::min(255, static_cast<int>(i * gains.b)));
    }
    vacate_slot(kCamera);
    return gains;
  }
};

constexpr Gains kUnchanged = {2.5, 2.5, 2.5};

/// A frame whose sites of each letter have one level.
Mosaic plain(std::string_view cell, int width, int height, int r, int g, int b) {
  Mosaic mosaic{cell, width, height,
                std::vector<uint8_t>(static_cast<size_t>(width) * static_cast<size_t>(height))};
  for (int i = 0; i < width * height; ++i) {
    const char letter = mosaic.letter(i % width, i / width);
    mosaic.samples[static_cast<size_t>(i)] = static_cast<uint8_t>(letter == 'R' ? r : letter == 'G' ? g : b);
  }
  return mosaic;
}

TEST_F(WhiteBalance, OnePushMakesTheMiddleGrey) {
  for (const Order& order : kOrders) {
    EXPECT_EQ(measured(ManualWhiteBalance, order, plain(order.cell, 32, 24, 50, 100, 80)),
              (Gains{2, 1, 1.25}));
    EXPECT_EQ(measured(ManualWhiteBalance, order, plain(order.cell, 32, 24, 90, 90, 90)), (Gains{1, 1, 1}));
    EXPECT_EQ(measured(ManualWhiteBalance, order, plain(order.cell, 32, 24, 30, 200, 150)),
              (Gains{6.66, 1, 1.33}));
    EXPECT_EQ(measured(ManualWhiteBalance, order, plain(order.cell, 32, 24, 30, 200, 0)), kUnchanged);
    EXPECT_EQ(measured(ManualWhiteBalance, order, plain(order.cell, 32, 24, 0, 200, 10)), kUnchanged);
    EXPECT_EQ(measured(ManualWhiteBalance, order, plain(order.cell, 32, 24, 20, 0, 10)), kUnchanged);
  }
  EXPECT_EQ(measured(ManualWhiteBalance, {kMono8, "MMMM"}, plain("MMMM", 32, 24, 0, 0, 9)), kUnchanged);
}

// Rows y0 .. 2 y0 - 1 and columns x0 .. 2 x0 - 1 count, as far as their cells lie in the frame.
TEST_F(WhiteBalance, OnePushMeasuresTheMiddleNinthOfAnySize) {
  const auto begin = [](int size) { return size / 3 % 2 == 0 ? size / 3 : size / 3 + 1; };
  for (const Order& order : kOrders) {
    for (int size = 0; size < 22 * 22; ++size) {
      const int width = 1 + size % 22;
      const int height = 1 + size / 22;
      const Mosaic mosaic{order.cell, width, height, noise(width * height, size)};
      double r = 0;
      double g = 0;
      double b = 0;
      for (int y = begin(height); y < 2 * begin(height); ++y) {
        for (int x = begin(width); x < 2 * begin(width); ++x) {
          if ((x | 1) >= width || (y | 1) >= height) continue;
          double& sum = mosaic.letter(x, y) == 'R' ? r : mosaic.letter(x, y) == 'G' ? g : b;
          sum += mosaic.at(x, y);
        }
      }
      const bool sufficient = r != 0 && g != 0 && b != 0;
      EXPECT_EQ(measured(ManualWhiteBalance, order, mosaic),
                (sufficient ? Gains{cut(g / 2 / r), 1, cut(g / 2 / b)} : kUnchanged))
          << width << " x " << height;
    }
  }
}

/// Whether a cell is nearly grey, from its definition in reals that are cut; levels below 255.
bool naive_nearly_grey(int r, int g, int b, int mean_level) {
  const auto part = [](int level, int per_mille) { return level * per_mille / 1000; };
  const int y = part(g, 587) + part(r, 299) + part(b, 114);
  const int cb = b / 2 - part(r, 169) - part(g, 331);
  const int cr = r / 2 - part(g, 419) - part(b, 81);
  const int c = std::abs(cb) + std::abs(cr);
  return c > y / 10 && c < y * 43 / 100 && std::abs(cb) <= 14 && std::abs(cr) <= 14 && y < 220 &&
         y > mean_level + 30 && g - r >= 16 && g - b >= 16;
}

/// Noise about nearly grey levels, so that some cells count and some do not.
Mosaic nearly_grey_noise(std::string_view cell, int width, int height) {
  Mosaic mosaic{cell, width, height, noise(width * height, width * 100 + height)};
  for (int i = 0; i < width * height; ++i) {
    uint8_t& sample = mosaic.samples[static_cast<size_t>(i)];
    const int base = mosaic.letter(i % width, i / width) == 'G' ? 125 : 105;
    sample = static_cast<uint8_t>(base + sample % 16 - 8);
  }
  return mosaic;
}

TEST_F(WhiteBalance, PointsAreTheNearlyGreyCellsInsideTheFrame) {
  int changed = 0;
  for (const Order& order : kOrders) {
    for (const auto& [width, height] : {std::pair{40, 40},
                                        {41, 40},
                                        {40, 41},
                                        {41, 41},
                                        {39, 38},
                                        {37, 39},
                                        {4, 400},
                                        {400, 4},
                                        {5, 400},
                                        {6, 401},
                                        {400, 5},
                                        {400, 6},
                                        {401, 7},
                                        {1, 1}}) {
      SCOPED_TRACE(testing::Message() << order.cell << " " << width << " x " << height);
      const Mosaic mosaic = nearly_grey_noise(order.cell, width, height);
      const int green_row = order.color_mode == kBGGR ? 1 : 0;
      double r = 0;
      double g = 0;
      double b = 0;
      int cells = 0;
      // The last cells that count end two pixels before the frame's end, or three for an even size.
      for (int y = 2; y + 2 < height; y += 2) {
        for (int x = 2; x + 2 < width; x += 2) {
          std::array<int, 3> rgb{};
          for (int k = 0; k < 4; ++k) {
            const char letter = mosaic.letter(k % 2, k / 2);
            if (letter == 'G' && k / 2 != green_row) continue;
            rgb.at(letter == 'R' ? 0 : letter == 'G' ? 1 : 2) = mosaic.at(x + k % 2, y + k / 2);
          }
          if (!naive_nearly_grey(rgb[0], rgb[1], rgb[2], 70)) continue;
          r += rgb[0];
          g += rgb[1];
          b += rgb[2];
          ++cells;
        }
      }
      const Gains expected = cells >= 32 ? Gains{cut(g / r), 1, cut(g / b)} : kUnchanged;
      EXPECT_EQ(measured(PointWhiteBalance, order, mosaic, 70), expected) << cells << " cells";
      changed += cells >= 32 ? 1 : 0;
    }
  }
  EXPECT_GE(changed, 20) << "the frames must be such that points are found";
}

/// A frame of `cells` nearly grey cells in black.
Mosaic points(int cells, int r, int g, int b) {
  Mosaic mosaic = plain("RGGB", 40, 40, r, g, b);
  for (int i = 0; i < 40 * 40; ++i) {
    const int x = i % 40 / 2 - 1;
    const int y = i / 40 / 2 - 1;
    const bool counted = x >= 0 && x < 16 && y >= 0 && 16 * y + x < cells;
    if (!counted) mosaic.samples[static_cast<size_t>(i)] = 0;
  }
  return mosaic;
}

TEST_F(WhiteBalance, PointsMustBeManyAndBrightAndTinted) {
  const auto gains = [&](const Mosaic& mosaic, int mean_level) {
    return measured(PointWhiteBalance, kOrders[0], mosaic, mean_level);
  };
  constexpr Gains kFound = {1.2, 1, 1.2};
  // Luma 110, colour differences -5 and -8.
  EXPECT_EQ(gains(points(32, 100, 120, 100), 50), kFound);
  EXPECT_EQ(gains(points(31, 100, 120, 100), 50), kUnchanged);
  EXPECT_EQ(gains(points(64, 100, 120, 100), 79), kFound);
  EXPECT_EQ(gains(points(64, 100, 120, 100), 80), kUnchanged);
  EXPECT_EQ(gains(points(64, 120, 120, 120), 50), kUnchanged);
  EXPECT_EQ(gains(points(64, 105, 120, 100), 50), kUnchanged) << "red must be 16 below green";
  EXPECT_EQ(gains(points(64, 100, 120, 0), 50), kUnchanged);
  // A saturated green has no share in luma, so it is as dark as it is coloured.
  EXPECT_EQ(gains(points(64, 228, 255, 228), 50), kUnchanged);
}

// A cell that far from grey does not count, so no frame leads here.
TEST_F(WhiteBalance, ABlueGainBeyondTheLimitLimitsRed) {
  const auto limits = [](double r, double b) {
    const WhiteBalanceGains gains = limited({.r = r, .g = 1.0, .b = b});
    return Gains{gains.r, gains.g, gains.b};
  };
  EXPECT_EQ(limits(3.0, 3.0), (Gains{3.0, 1, 3.0}));
  EXPECT_EQ(limits(3.01, 1.2), (Gains{3.0, 1, 1.2}));
  EXPECT_EQ(limits(1.2, 3.01), (Gains{3.0, 1, 3.01}));
}

TEST_F(WhiteBalance, AutomaticAsksAfterAChangeOfTheMeanLevel) {
  struct Case {
    uint32_t frames;
    int last;
    int mean;
    bool asks;
  };
  constexpr Case kCases[] = {
      {5, 100, 131, true},  {5, 131, 100, true},    {5, 100, 130, false}, {4, 100, 200, false},
      {33, 0, 255, false},  {32, 100, 111, true},   {32, 111, 100, true}, {32, 100, 110, false},
      {64, 100, 111, true}, {160, 100, 110, false}, {0, 0, 31, true},     {0xFFFFFFE0, 0, 11, true},
  };
  const ContextRef ctx = open(kBGGR);
  for (const bool on : {true, false}) {
    for (const Case& c : kCases) {
      ctx->parameter.isp_flags.set_bits(kAutoWhiteBalance, on);
      ctx->picture.auto_wb_request = false;
      ctx->stream.frames_delivered = c.frames;
      ctx->picture.wb_last_avg = c.last;
      ctx->picture.mean_level = c.mean;
      AutoWhiteBalance(*ctx);
      EXPECT_EQ(ctx->picture.auto_wb_request, on && c.asks)
          << c.frames << " frames, " << c.last << " to " << c.mean;
      EXPECT_EQ(ctx->picture.wb_last_avg, on && c.asks ? c.mean : c.last);
    }
  }
}

}  // namespace
}  // namespace kxcam::test
