// SPDX-License-Identifier: Apache-2.0
// The fast pipeline against the plain one, bit for bit, at every level that this processor has.
#include "isp/develop.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "core/registry/model_table.h"
#include "frame_fixture.h"
#include "isp/kernels/fast_picture.h"
#include "kxcam/kxcam.h"

namespace kxcam::test {
namespace {

constexpr uint32_t kModes[] = {kRGGB, kBGGR, kGRBG, kGBRG, kMono8};

constexpr int kFormats[] = {
    KXCAM_FORMAT_GREY,
    KXCAM_FORMAT_COLOR,
    KXCAM_FORMAT_COLOR | KXCAM_FORMAT_BGR,
    KXCAM_FORMAT_COLOR | KXCAM_FORMAT_32BIT,
    KXCAM_FORMAT_COLOR | KXCAM_FORMAT_BGR | KXCAM_FORMAT_32BIT,
};

std::vector<CpuLevel> fast_levels() {
  std::vector<CpuLevel> levels;
  for (const CpuLevel level : kCpuLevels) {
    if (level != CpuLevel::kScalar && is_available(level)) levels.push_back(level);
  }
  return levels;
}

struct Case {
  uint32_t mode;
  int format;
  int width;
  int height;
  int orientation;       ///< bits: mirror x, mirror y, rotate
  size_t in_offset = 0;  ///< of the raw frame and of the picture in their buffers
  size_t out_offset = 0;
};

std::ostream& operator<<(std::ostream& out, const Case& c) {
  return out << "mode " << c.mode << ", format " << c.format << ", " << c.width << " x " << c.height
             << ", orientation " << c.orientation << ", offsets " << c.in_offset << " and " << c.out_offset;
}

constexpr size_t kMargin = 128;

struct Result {
  int32_t mean;
  std::vector<uint8_t> bytes;  ///< the picture between guard bytes
};

Result run(CpuLevel level, const Case& c, const FrameSettings& settings, std::span<const uint8_t> samples) {
  // Of the exact size, so that the address sanitizer sees any read beyond the end.
  std::vector<uint8_t> frame(c.in_offset);
  frame.insert(frame.end(), samples.begin(), samples.end());
  const size_t bytes_per_pixel = c.format == KXCAM_FORMAT_GREY          ? 1
                                 : (c.format & KXCAM_FORMAT_32BIT) != 0 ? 4
                                                                        : 3;
  Result result;
  result.bytes.assign(kMargin + c.out_offset + samples.size() * bytes_per_pixel + kMargin, kGuard);
  const ImageView raw({frame.begin() + static_cast<ptrdiff_t>(c.in_offset), frame.end()}, c.width, c.height);
  WorkMemory memory;  // of the exact size, too
  result.mean =
      develop(level, c.mode, settings, raw, result.bytes.data() + kMargin + c.out_offset, c.format, memory);
  return result;
}

IndexMap map_of(const Case& c) {
  return {c.width, c.height, (c.orientation & 1) != 0, (c.orientation & 2) != 0, (c.orientation & 4) != 0};
}

class EveryLevel : public testing::Test {
 protected:
  void SetUp() override {
    if (levels_.empty()) GTEST_SKIP() << "no fast level here";
  }

  void expect_same(const Case& c, FrameSettings settings, std::span<const uint8_t> samples) {
    settings.index_map = map_of(c);
    const Result wanted = run(CpuLevel::kScalar, c, settings, samples);
    for (const CpuLevel level : levels_) {
      const Result got = run(level, c, settings, samples);
      ASSERT_EQ(got.mean, wanted.mean) << name_of(level) << ", " << c;
      if (got.bytes == wanted.bytes) continue;  // far sooner than to look byte by byte
      const auto [at, _] = std::ranges::mismatch(got.bytes, wanted.bytes);
      FAIL() << name_of(level) << ", " << c << ": differs from byte " << at - got.bytes.begin() << " of "
             << got.bytes.size();
    }
  }

  const std::vector<CpuLevel> levels_ = fast_levels();
};

TEST_F(EveryLevel, AgreesOnSmallFramesInEveryOrientation) {
  const std::vector<uint8_t> samples = noise(140 * 70, 1);
  const std::array settings = {distinct_settings({}, false), distinct_settings({}, true)};
  const auto check = [&](int width, int height) {
    for (const uint32_t mode : kModes) {
      for (const int format : kFormats) {
        for (int orientation = 0; orientation < 8 && !HasFatalFailure(); ++orientation) {
          expect_same({mode, format, width, height, orientation},
                      settings[static_cast<size_t>(width + height + orientation) % 2],
                      std::span(samples).first(width * height));
        }
      }
    }
  };
  for (int width = 1; width <= 19; ++width) {
    for (int height = 1; height <= 5; ++height) check(width, height);
  }
#ifdef SANITIZED  // each takes forty times as long
  const std::vector<int> widths = {31, 33, 64, 66, 129};
  const std::vector<int> heights = {3, 17, 65};
#else
  const std::vector<int> widths = {31, 32, 33, 63, 64, 65, 66, 127, 128, 129, 130};
  const std::vector<int> heights = {3, 4, 17, 64, 65};
#endif
  for (const int width : widths) {
    for (const int height : heights) check(width, height);
  }
}

/// Draws whatever the pipeline can be given.
class Draw {
 public:
  explicit Draw(uint32_t seed) : random_(seed) {}

  int number(int least, int greatest) { return std::uniform_int_distribution(least, greatest)(random_); }
  double real(double least, double greatest) {
    return std::uniform_real_distribution(least, greatest)(random_);
  }

  std::vector<uint8_t> frame(size_t size) {
    std::vector<uint8_t> samples(size);
    const int kind = number(0, 2);
    for (size_t i = 0; i < size; ++i) {
      if (kind == 0) samples[i] = static_cast<uint8_t>(random_());
      if (kind == 1) samples[i] = static_cast<uint8_t>(number(0, 1) * 255 - number(0, 1));  // both ends
      if (kind == 2) samples[i] = static_cast<uint8_t>(i / 7 + number(0, 2));
    }
    return samples;
  }

  FrameSettings settings() {
    auto curves = std::make_shared<ToneCurves>();
    for (Curve* curve :
         {&curves->final_curve_r, &curves->final_curve_g, &curves->final_curve_b, &curves->mono_curve}) {
      for (uint8_t& value : *curve) value = static_cast<uint8_t>(random_());
    }
    auto matrix = std::make_shared<ColorMatrix>();
    init_saturation_matrix(matrix->color_matrix_table, 1.0, matrix_elements());
    init_saturation_matrix(matrix->grey_matrix_table, number(0, 3) == 0 ? 1.3 : 0.0, matrix_elements());
    FrameSettings settings;
    settings.curves = std::move(curves);
    settings.matrix = std::move(matrix);
    settings.apply_matrix = number(0, 3) != 0;
    return settings;
  }

 private:
  std::array<double, 9> matrix_elements() {
    const int kind = number(0, 4);
    std::array<double, 9> elements{};
    for (size_t i = 0; i < elements.size(); ++i) {
      const bool on_diagonal = i % 4 == 0;
      if (kind == 0) elements[i] = on_diagonal ? real(0, 2) : real(-1, 0);
      if (kind == 1) elements[i] = number(-300, 300) / 100.0;
      if (kind == 2) elements[i] = on_diagonal ? number(0, 199) / 100.0 : number(-99, 0) / 100.0;
      if (kind == 3) elements[i] = real(-40, 40);
      if (kind == 4) elements[i] = std::ldexp(real(-1, 1), number(-40, 40));
    }
    return elements;
  }

  std::mt19937 random_;
};

TEST_F(EveryLevel, AgreesOnRandomInput) {
  Draw draw(2);
#ifdef SANITIZED
  constexpr int kDraws = 500;
#else
  constexpr int kDraws = 1500;
#endif
  for (int i = 0; i < kDraws; ++i) {
    const Case c = {kModes[draw.number(0, 4)],
                    kFormats[draw.number(0, 4)],
                    draw.number(1, 200),
                    draw.number(1, 90),
                    draw.number(0, 7),
                    static_cast<size_t>(draw.number(0, 70)),
                    static_cast<size_t>(draw.number(0, 70))};
    expect_same(c, draw.settings(), draw.frame(c.width * c.height));
    if (HasFatalFailure()) return;
  }
}

// Large pictures are written in another way than small ones.
TEST_F(EveryLevel, AgreesOnLargePictures) {
  Draw draw(3);
  for (const uint32_t mode : {uint32_t{kGRBG}, uint32_t{kMono8}}) {
    for (const int format : {KXCAM_FORMAT_GREY, KXCAM_FORMAT_COLOR}) {
      const Case c = {mode, format, 1237, 901, draw.number(0, 7), 3, static_cast<size_t>(draw.number(0, 70))};
      expect_same(c, draw.settings(), draw.frame(c.width * c.height));
    }
  }
}

FlatField random_field(Draw& draw, const SensorSize& sensor) {
  constexpr double kOdd[] = {1e300, -1e300, std::numeric_limits<double>::quiet_NaN(), 1.0, -0.0, -5e9};
  // Short decimals, as cameras store them, often give whole products.
  const bool stored = draw.number(0, 1) != 0;
  const auto entry = [&] {
    if (draw.number(0, 40) == 0) return kOdd[draw.number(0, 5)];
    return stored ? draw.number(-300, 300) * 0.001 : draw.real(-0.3, 0.3);
  };
  const auto table = [&](int32_t size) {
    std::vector<double> entries(static_cast<size_t>(size));
    std::ranges::generate(entries, entry);
    return entries;
  };
  FlatField field(sensor);
  field.set_columns(table(sensor.width), table(sensor.width));
  field.set_rows(table(sensor.height));
  return field;
}

/// Some tables and placements do not cover the frame.
RawCorrections random_corrections(Draw& draw, const SensorSize& sensor) {
  RawCorrections corrections;
  corrections.placement.x0 = draw.number(-1, 20);
  corrections.placement.y0 = draw.number(-1, 10);
  corrections.despeckled = draw.number(0, 3) != 0;
  if (draw.number(0, 3) != 0)
    corrections.flat_field = std::make_shared<const FlatField>(random_field(draw, sensor));
  return corrections;
}

TEST_F(EveryLevel, AgreesOnRawCorrections) {
  Draw draw(5);
  for (int i = 0; i < 600; ++i) {
    const int width = draw.number(1, 600);
    const int height = draw.number(1, 40);
    const RawCorrections corrections = random_corrections(draw, {draw.number(450, 720), draw.number(30, 60)});
    std::vector<uint8_t> frame = draw.frame(width * height);
    if (draw.number(0, 1) != 0) {
      // From hardly a bright pixel to many, some of which are repaired only when others have been.
      for (uint8_t& sample : frame) sample = static_cast<uint8_t>(sample % 32 + 80);
      const int hot = draw.number(0, width * height / (draw.number(0, 1) != 0 ? 5 : 100));
      for (int n = 0; n < hot; ++n)
        frame[draw.number(0, width * height - 1)] = static_cast<uint8_t>(draw.number(140, 255));
    }
    std::vector<uint8_t> wanted = frame;
    WorkMemory memory;
    correct(CpuLevel::kScalar, {wanted, width, height}, corrections, memory);
    for (const CpuLevel level : levels_) {
      std::vector<uint8_t> got = frame;
      correct(level, {got, width, height}, corrections, memory);
      ASSERT_EQ(got, wanted) << name_of(level) << ", " << width << " x " << height;
    }
  }
}

// Picture and frame are to be what correct() and develop() give, one after the other.
TEST_F(EveryLevel, AgreesOnPicturesMadeWhileTheirFrameIsCorrected) {
  Draw draw(6);
#ifdef SANITIZED
  constexpr int kDraws = 300;
#else
  constexpr int kDraws = 1200;
#endif
  for (int i = 0; i < kDraws; ++i) {
    const bool large = i % 200 == 0;
    const Case c = {kModes[draw.number(0, 4)], kFormats[draw.number(0, 4)],
                    large ? 1101 : draw.number(1, 200), large ? 999 : draw.number(1, 60),
                    draw.number(0, 3) != 0 ? draw.number(0, 1) : draw.number(0, 7)};
    FrameSettings settings = draw.settings();
    settings.index_map = map_of(c);
    RawCorrections corrections =
        random_corrections(draw, {draw.number(0, 9) == 0 ? 100 : c.width + 20, c.height + 10});
    if (draw.number(0, 3) == 0) {
      corrections.dead_pixels = std::make_shared<const DeadPixelList>(DeadPixelList{
          .dead_pixel_count = 3, .dead_pixels = {DeadPixel{9, 5}, DeadPixel{7, 5}, DeadPixel{11, 5}}});
    }
    const std::vector<uint8_t> frame = draw.frame(c.width * c.height);
    std::vector<uint8_t> corrected = frame;
    WorkMemory memory;
    correct(CpuLevel::kScalar, {corrected, c.width, c.height}, corrections, memory);
    const Result wanted = run(CpuLevel::kScalar, c, settings, corrected);
    const std::vector<uint8_t> picture(wanted.bytes.begin() + kMargin, wanted.bytes.end() - kMargin);
    for (const CpuLevel level : levels_) {
      for (const bool keep : {true, false}) {
        std::vector<uint8_t> raw = frame;
        GuardedOutput out(picture.size());
        WorkMemory own_memory;
        const int32_t mean = develop_corrected(level, c.mode, settings, {raw, c.width, c.height}, corrections,
                                               keep, out.data(), c.format, own_memory);
        ASSERT_EQ(mean, wanted.mean) << name_of(level) << ", " << c;
        ASSERT_EQ(out.picture(), picture) << name_of(level) << ", " << c;
        ASSERT_TRUE(out.guards_intact()) << name_of(level) << ", " << c;
        ASSERT_TRUE(!keep || raw == corrected) << name_of(level) << ", " << c;
      }
    }
  }
}

// Agreement would also follow from never being fast.
TEST(Develop, IsFastForOrdinarySettings) {
  if (!is_available(CpuLevel::kSsse3)) GTEST_SKIP() << "no fast level here";
  const std::vector<uint8_t> samples = noise(40 * 30, 4);
  const ImageView raw(samples, 40, 30);
  std::vector<uint8_t> out(40 * 30 * 3);
  WorkMemory memory;
  for (const bool apply_matrix : {false, true}) {
    const FrameSettings settings = distinct_settings(IndexMap(40, 30, false, false, false), apply_matrix);
    EXPECT_TRUE(
        fast_bayer_color(kSsse3Kernels, kPhaseBGGR, settings, {raw}, out.data(), KXCAM_FORMAT_COLOR, memory));
    EXPECT_TRUE(fast_bayer_grey(kSsse3Kernels, kPhaseBGGR, settings, {raw}, out.data(), memory));
  }
}

TEST(Develop, HasAFixedMatrixForEveryFactorOfTwoDecimals) {
  FixedMatrix fixed{};
  MatrixTable table;
  for (int hundredths = -1000; hundredths <= 1000; ++hundredths) {
    init_saturation_matrix(table, 1.0, {hundredths / 100.0, 0, 0, 0, 1, 0, 0, 0, 1});
    ASSERT_TRUE(build_fixed_matrix(table, false, fixed)) << hundredths;
  }
  init_saturation_matrix(table, 1.0, {60, -60, 60, 0, 1, 0, 0, 0, 1});
  EXPECT_FALSE(build_fixed_matrix(table, false, fixed)) << "these sums leave 16 bits";
}

TEST(CpuLevel, FallsBackToTheBestOne) {
  const CpuChoice best = choose_cpu_level("");
  EXPECT_FALSE(best.refused);
  for (const CpuLevel level : kCpuLevels) {
    const CpuChoice choice = choose_cpu_level(name_of(level));
    EXPECT_EQ(choice.refused, !is_available(level));
    EXPECT_EQ(choice.level, is_available(level) ? level : best.level);
    EXPECT_LE(choice.level, best.level);
  }
  EXPECT_TRUE(choose_cpu_level("altivec").refused);
  EXPECT_EQ(choose_cpu_level("altivec").level, best.level);
}

}  // namespace
}  // namespace kxcam::test
