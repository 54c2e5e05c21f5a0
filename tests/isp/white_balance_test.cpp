// SPDX-License-Identifier: Apache-2.0
#include <string_view>

#include "context_fixture.h"
#include "frame_fixture.h"
#include "naive_pixel.h"

// White balance as a program sees it: a frame is processed, and the gains are read.

namespace kxcam::test {
namespace {

struct BayerOrder {
  uint32_t color_mode;
  std::string_view cell;
};
constexpr BayerOrder kBayerOrders[] = {{kRGGB, "RGGB"}, {kBGGR, "BGGR"}, {kGRBG, "GRBG"}, {kGBRG, "GBRG"}};

struct Gains {
  double r = 0;
  double g = 0;
  double b = 0;
  bool operator==(const Gains&) const = default;
};
void PrintTo(const Gains& gains, std::ostream* out) {
  *out << gains.r << ", " << gains.g << ", " << gains.b;
}
constexpr Gains kUnchanged = {2.5, 2.5, 2.5};

double cut(double gain) {
  return static_cast<int>(gain * 100) / 100.0;
}

enum Measure : uint8_t { kOnePush, kPoints };

class WhiteBalance : public ContextTest {
 protected:
  static Gains gains_now() {
    Gains gains;
    EXPECT_EQ(CameraGetWBGain(kCamera, &gains.r, &gains.g, &gains.b), 0U);
    return gains;
  }

  /// The red of the picture's first pixel, or the level of a grey one.
  static int develop(std::vector<uint8_t> frame, int width, int height, int format = KXCAM_FORMAT_COLOR) {
    std::vector<uint8_t> out(3 * frame.size());
    EXPECT_EQ(CameraISP(kCamera, frame.data(), out.data(), width, height, format), 0U);
    return out[0];
  }
  static int develop(const Mosaic& mosaic, int format = KXCAM_FORMAT_COLOR) {
    return develop(mosaic.samples, mosaic.width, mosaic.height, format);
  }

  /// The gains after a frame, from 2.5 each, when the frame before had that mean level.
  Gains measured(Measure measure, const BayerOrder& order, const Mosaic& mosaic, int mean_level = 0) {
    const int width = mosaic.width;
    const int height = mosaic.height;
    open(order.color_mode, width, height);
    EXPECT_EQ(CameraSetWBGain(kCamera, 2.5, 2.5, 2.5), 0U);
    develop(std::vector<uint8_t>(mosaic.samples.size(), static_cast<uint8_t>(mean_level)), width, height);
    EXPECT_EQ(measure == kOnePush ? CameraOnePushWB(kCamera) : CameraSetAWB(kCamera, true), 0U);
    develop(mosaic, KXCAM_FORMAT_COLOR | KXCAM_FORMAT_UNCORRECTED);
    return gains_now();
  }
};

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
  const struct {
    int r, g, b;
    Gains gains;
  } rows[] = {{50, 100, 80, {2, 1, 1.25}}, {90, 90, 90, {1, 1, 1}},  {30, 200, 150, {6.66, 1, 1.33}},
              {30, 200, 0, kUnchanged},    {0, 200, 10, kUnchanged}, {20, 0, 10, kUnchanged}};
  for (const BayerOrder& order : kBayerOrders) {
    for (const auto& row : rows)
      EXPECT_EQ(measured(kOnePush, order, plain(order.cell, 32, 24, row.r, row.g, row.b)), row.gains);
  }
  EXPECT_EQ(measured(kOnePush, {kMono8, "MMMM"}, plain("MMMM", 32, 24, 0, 0, 9)), kUnchanged);
}

// Rows y0 .. 2 y0 - 1 and columns x0 .. 2 x0 - 1 count, as far as their cells lie in the frame.
TEST_F(WhiteBalance, OnePushMeasuresTheMiddleNinthOfAnySize) {
  const auto begin = [](int size) { return size / 3 % 2 == 0 ? size / 3 : size / 3 + 1; };
  for (const BayerOrder& order : kBayerOrders) {
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
      EXPECT_EQ(measured(kOnePush, order, mosaic),
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

constexpr std::pair<int, int> kSizes[] = {{40, 40}, {41, 40}, {40, 41}, {41, 41}, {39, 38},
                                          {37, 39}, {4, 400}, {400, 4}, {5, 400}, {6, 401},
                                          {400, 5}, {400, 6}, {401, 7}, {1, 1}};

TEST_F(WhiteBalance, PointsAreTheNearlyGreyCellsInsideTheFrame) {
  int changed = 0;
  for (const BayerOrder& order : kBayerOrders) {
    for (const auto& [width, height] : kSizes) {
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
      EXPECT_EQ(measured(kPoints, order, mosaic, 70), expected) << cells << " cells";
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
  constexpr Gains kFound = {1.2, 1, 1.2};
  // Luma 110, colour differences -5 and -8.
  const struct {
    int cells, r, g, b, mean_level;
    Gains gains;
  } rows[] = {{32, 100, 120, 100, 50, kFound},
              {31, 100, 120, 100, 50, kUnchanged},
              {64, 100, 120, 100, 79, kFound},
              {64, 100, 120, 100, 80, kUnchanged},
              {64, 120, 120, 120, 50, kUnchanged},
              {64, 105, 120, 100, 50, kUnchanged},  // red must be 16 below green
              {64, 100, 120, 0, 50, kUnchanged},
              // A saturated green has no share in luma, so it is as dark as it is coloured.
              {64, 228, 255, 228, 50, kUnchanged}};
  for (const auto& row : rows) {
    EXPECT_EQ(measured(kPoints, kBayerOrders[0], points(row.cells, row.r, row.g, row.b), row.mean_level),
              row.gains)
        << row.cells << " cells of " << row.r << ", " << row.g << ", " << row.b << " above "
        << row.mean_level;
  }
}

/// Points in a frame of that background.
Mosaic points_on(int background) {
  Mosaic mosaic = points(64, 100, 120, 100);
  for (uint8_t& sample : mosaic.samples) sample = sample == 0 ? static_cast<uint8_t>(background) : sample;
  return mosaic;
}

TEST_F(WhiteBalance, AutomaticMeasuresAfterAChangeOfTheMeanLevel) {
  const struct {
    int background;
    int change;  ///< of the mean level, from 20
    int least_frames;
    int most_frames;
  } rows[] = {{38, 31, 1, 6}, {37, 30, 7, 33}, {15, 11, 7, 33}, {14, 10, 70, 70}};
  for (const auto& row : rows) {
    open(kRGGB, 40, 40);
    EXPECT_EQ(CameraSetAWB(kCamera, true), 0U);
    for (int frame = 0; frame < 33; ++frame) develop(std::vector<uint8_t>(1600, 20), 40, 40);
    EXPECT_EQ(gains_now(), (Gains{1, 1, 1})) << "nothing in it is nearly grey";
    int frames = 0;
    while (gains_now().r == 1 && frames < 70) {
      develop(points_on(row.background));
      ++frames;
    }
    EXPECT_EQ(get(CameraGetAvg, kCamera), 20 + row.change);
    EXPECT_TRUE(frames >= row.least_frames && frames <= row.most_frames) << row.change << ": " << frames;
  }
  open(kMono8, 40, 40);
  EXPECT_TRUE(ok(CameraSetAWB(kCamera, true)) && ok(CameraOnePushWB(kCamera)));
  for (int frame = 0; frame < 40; ++frame) develop(points_on(frame));
  EXPECT_EQ(gains_now(), (Gains{1, 1, 1})) << "monochrome models have no balance";
}

TEST_F(WhiteBalance, AFrameGetsTheGainsThatItWasMeasuredFor) {
  for (const BayerOrder& order : kBayerOrders) {
    for (const int format : {KXCAM_FORMAT_COLOR, KXCAM_FORMAT_GREY}) {
      SCOPED_TRACE(testing::Message() << order.cell << ", format " << format);
      const Mosaic tinted = plain(order.cell, 24, 20, 100, 120, 100);
      // Grey is the luma of equal channels: its three products are cut one by one, so it may lose 2.
      const int tolerance = format == KXCAM_FORMAT_GREY ? 2 : 0;
      open(order.color_mode, 24, 20);
      ASSERT_EQ(CameraSetAWB(kCamera, true), 0U);
      EXPECT_NEAR(develop(tinted, format), 120, tolerance);
      EXPECT_EQ(gains_now(), (Gains{1.2, 1, 1.2}));
      ASSERT_TRUE(ok(CameraSetAWB(kCamera, false)) && ok(CameraSetWBGain(kCamera, 1, 1, 1)));
      develop(tinted, format);
      EXPECT_EQ(gains_now(), (Gains{1, 1, 1})) << "one request, one measurement";

      ASSERT_EQ(CameraOnePushWB(kCamera), 0U);
      develop(tinted, KXCAM_FORMAT_RAW);
      develop(tinted, 0);
      EXPECT_EQ(gains_now(), (Gains{1, 1, 1})) << "raw frames and no picture at all leave a request alone";
      EXPECT_NEAR(develop(tinted, format), 120, tolerance);
      EXPECT_EQ(gains_now(), (Gains{1.2, 1, 1.2}));
    }
  }
}

TEST_F(WhiteBalance, MeasuresTheCorrectedFrame) {
  open(kRGGB, 24, 20);
  std::vector<uint8_t> frame(24 * 20, 100);
  frame[8 * 24 + 12] = 250;  // a red speckle in the middle
  for (const int format : {KXCAM_FORMAT_COLOR | KXCAM_FORMAT_UNCORRECTED, KXCAM_FORMAT_COLOR + 0}) {
    ASSERT_EQ(CameraOnePushWB(kCamera), 0U);
    develop(frame, 24, 20, format);
    EXPECT_EQ(gains_now().r < 1.0, format != KXCAM_FORMAT_COLOR);
  }
}

}  // namespace
}  // namespace kxcam::test
