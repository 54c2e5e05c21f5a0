// SPDX-License-Identifier: Apache-2.0
#include "scene/chart_layout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <string_view>
#include <utility>

#include "scene/lettering.h"
#include "scene/srgb.h"

namespace kxsim {
namespace {

constexpr Light grey(float reflectance) {
  return {reflectance, reflectance, reflectance};
}

constexpr Light kPaper = grey(0.92F);
constexpr Light kBlack = grey(0.03F);
constexpr Light kPanel = grey(0.018F);
constexpr Light kLabel = grey(0.06F);

struct Srgb {
  uint8_t r;
  uint8_t g;
  uint8_t b;
};

Light ink_of(const Srgb& colour) {
  const auto linear = [](uint8_t value) { return linear_from_srgb(static_cast<float>(value) / 255.0F); };
  return {linear(colour.r), linear(colour.g), linear(colour.b)};
}

/// Takes the marks of one section after another; each draws from its own top left corner.
class Sheet {
 public:
  void start_section(const Point& origin, float scale) {
    origin_ = origin;
    scale_ = scale;
  }
  void add(MarkPtr mark) { marks_.push_back({std::move(mark), origin_, scale_}); }
  float scale() const { return scale_; }
  std::vector<PlacedMark> take() { return std::move(marks_); }

 private:
  std::vector<PlacedMark> marks_;
  Point origin_;
  float scale_ = 1;
};

float length_of(std::string_view text, float dot) {
  return dot * static_cast<float>(text.size() * kLetterPitch - 1);
}

void add_centred_label(Sheet& sheet, const Point& top, float dot, std::string_view text) {
  sheet.add(lettering({top.x - length_of(text, dot) / 2, top.y}, dot, std::string(text), kLabel));
}

// Sections, with the room they take. The three columns are as wide as these; the rows of a column add up
// to the same height in all three.
constexpr float kMargin = 84;
constexpr float kGap = 22;
constexpr float kPad = 12;  // between the edge of a panel and what is on it
constexpr float kSideWidth = 350;
constexpr float kMiddleWidth = 425;
constexpr float kTopRow = 240;
constexpr float kSmallRow = 164;
constexpr float kLowRow = 234;
constexpr float kTitleRow = 109;
constexpr float kCheckerRow = 104;
constexpr float kGreyRow = 126;
constexpr float kFullWidth = 4000.0F / 3;

/// 350 x 240: natural colours, two rows of saturated ones, greys.
void add_colour_patches(Sheet& sheet) {
  constexpr int kColumns = 6;
  constexpr std::array<Srgb, 24> kPatches{{
      {110, 76, 62},   {205, 154, 130}, {88, 118, 162},  {84, 112, 62},   {130, 126, 184}, {94, 190, 176},
      {222, 124, 40},  {70, 88, 172},   {198, 82, 96},   {92, 60, 112},   {160, 194, 64},  {230, 166, 44},
      {50, 62, 152},   {68, 150, 74},   {182, 48, 56},   {238, 202, 30},  {190, 84, 152},  {26, 136, 168},
      {244, 244, 242}, {202, 202, 202}, {162, 162, 162}, {122, 122, 122}, {88, 88, 88},    {58, 58, 58},
  }};
  constexpr float kSpace = 6;
  constexpr float kPitchX = (kSideWidth - 2 * kPad + kSpace) / kColumns;
  constexpr float kPitchY = (kTopRow - 2 * kPad + kSpace) * kColumns / kPatches.size();
  sheet.add(box({0, 0, kSideWidth, kTopRow}, kPanel));
  for (size_t i = 0; i < kPatches.size(); ++i) {
    const float x = kPad + static_cast<float>(i % kColumns) * kPitchX;
    const size_t row = i / kColumns;
    const float y = kPad + static_cast<float>(row) * kPitchY;
    sheet.add(box({x, y, x + kPitchX - kSpace, y + kPitchY - kSpace}, ink_of(kPatches[i])));
  }
}

/// 350 x 164: an edge of full and one of low contrast, tilted by about five degrees either way.
void add_slanted_edges(Sheet& sheet) {
  constexpr float kSlope = 0.0875F;
  constexpr float kSquare = 98;
  const Area left{0, 0, kSmallRow, kSmallRow};
  const Area right{kSideWidth - kSmallRow, 0, kSideWidth, kSmallRow};
  sheet.add(box(left, kPaper));
  sheet.add(tilted_square(left.centre(), kSquare, kSlope, kBlack));
  sheet.add(box(right, grey(0.60F)));
  sheet.add(tilted_square(right.centre(), kSquare, -kSlope, grey(0.20F)));
}

/// 350 x 234
void add_colour_ramps(Sheet& sheet) {
  constexpr std::array<Srgb, 6> kColours{
      {{226, 44, 48}, {238, 206, 40}, {52, 176, 72}, {40, 178, 200}, {48, 80, 204}, {200, 60, 160}}};
  constexpr float kSpace = 6;
  constexpr float kPitch = (kLowRow - 2 * kPad + kSpace) / kColours.size();
  sheet.add(box({0, 0, kSideWidth, kLowRow}, kPanel));
  for (size_t i = 0; i < kColours.size(); ++i) {
    const float y = kPad + static_cast<float>(i) * kPitch;
    sheet.add(ramp({kPad, y, kSideWidth - kPad, y + kPitch - kSpace}, grey(0.005F), ink_of(kColours[i])));
  }
}

/// 425 x 109: what the picture shows, and which way is up.
void add_title(Sheet& sheet) {
  constexpr float kNameDot = 8.4F;
  constexpr float kLineDot = 2.9F;
  sheet.add(lettering({0, 0}, kNameDot, "KXCAM", kLabel));
  sheet.add(lettering({0, kTitleRow - kLineDot * kLetterHeight}, kLineDot, "IMAGING TEST CHART", kLabel));
  constexpr float kArrow = 92;
  constexpr float kRight = kMiddleWidth;
  constexpr float kCentre = kRight - kArrow / 2;
  sheet.add(triangle({{{kCentre, 0}, {kRight, 56}, {kRight - kArrow, 56}}}, kLabel));
  sheet.add(box({kCentre - 17, 52, kCentre + 17, kTitleRow}, kLabel));
}

/// 425 x 425
void add_stars(Sheet& sheet) {
  constexpr float kSide = kMiddleWidth;
  constexpr float kCorner = 47;
  sheet.add(box({0, 0, kSide, kSide}, kPaper));
  sheet.add(star({kSide / 2, kSide / 2}, 188, 72, kBlack));
  for (const float x : {kCorner, kSide - kCorner}) {
    for (const float y : {kCorner, kSide - kCorner}) sheet.add(star({x, y}, 35, 36, kBlack));
  }
}

/// 425 x 104: each group half as coarse as the one before.
void add_checkers(Sheet& sheet) {
  constexpr int kGroups = 4;
  constexpr float kWidth = (kMiddleWidth - (kGroups + 1) * kPad) / kGroups;
  sheet.add(box({0, 0, kMiddleWidth, kCheckerRow}, kPaper));
  float cell = kWidth / 8;
  const float top = (kCheckerRow - 7 * cell) / 2;
  for (int i = 0; i < kGroups; ++i) {
    const float x = kPad + static_cast<float>(i) * (kWidth + kPad);
    sheet.add(checkers({x, top, x + kWidth, kCheckerRow - top}, cell, kBlack));
    cell /= 2;
  }
}

/// 350 x 240: in columns of rising frequency lines of three directions.
void add_line_groups(Sheet& sheet) {
  constexpr std::array kFrequencies{60, 120, 240, 480, 720, 960};
  constexpr std::array kLines{Lines::kVertical, Lines::kHorizontal, Lines::kDiagonal};
  constexpr float kLabelDot = 1.6F;
  constexpr float kCell = 2500.0F / kFrequencies.front();  // begins and ends with a line of the coarsest
  constexpr float kSpace = (kSideWidth - 2 * kPad - kCell * kFrequencies.size()) / (kFrequencies.size() - 1);
  constexpr float kPitchY = kCell + 16;
  sheet.add(box({0, 0, kSideWidth, kTopRow}, kPaper));
  for (size_t column = 0; column < kFrequencies.size(); ++column) {
    const float x = kPad + static_cast<float>(column) * (kCell + kSpace);
    const float period = 1000.0F / (static_cast<float>(kFrequencies[column]) * sheet.scale());
    for (size_t row = 0; row < kLines.size(); ++row) {
      const float y = kPad + static_cast<float>(row) * kPitchY;
      sheet.add(line_group({x, y, x + kCell, y + kCell}, kLines[row], period, kBlack));
    }
    add_centred_label(sheet, {x + kCell / 2, 192}, kLabelDot, std::to_string(kFrequencies[column]));
  }
  add_centred_label(sheet, {kSideWidth / 2, 216}, kLabelDot, "LINE PAIRS / PICTURE HEIGHT");
}

/// 350 x 164
void add_circles(Sheet& sheet) {
  constexpr float kRadius = kSmallRow / 2 - kPad;
  const Area left{0, 0, kSmallRow, kSmallRow};
  const Area right{kSideWidth - kSmallRow, 0, kSideWidth, kSmallRow};
  sheet.add(box(left, kPaper));
  sheet.add(rings(left.centre(), kRadius, kRadius / 7.25F, kBlack));
  sheet.add(box(right, kPaper));
  sheet.add(zone_plate(right.centre(), kRadius, 2, kBlack));
}

/// A line of dots that fade into the `background`.
void add_fading_dots(Sheet& sheet, const Area& area, const Light& background, bool brighter) {
  constexpr std::array kContrasts{0.30F, 0.18F, 0.11F, 0.065F, 0.04F, 0.025F};
  constexpr float kRadius = 12;
  const float pitch = (area.right - area.left) / kContrasts.size();
  for (size_t i = 0; i < kContrasts.size(); ++i) {
    const float x = area.left + (static_cast<float>(i) + 0.5F) * pitch;
    const float sign = brighter ? 1.0F : -1.0F;
    sheet.add(disc({x, area.centre().y}, kRadius, grey(background.g + sign * kContrasts[i])));
  }
}

/// 350 x 234: lines that run together, and dots of falling contrast.
void add_wedges(Sheet& sheet) {
  constexpr float kBreadth = 92;
  constexpr int kCount = 9;
  constexpr float kNarrow = 0.1F;
  constexpr float kLeftWidth = kSideWidth - 3 * kPad - kBreadth;
  sheet.add(box({0, 0, kSideWidth, kLowRow}, kPaper));
  sheet.add(line_wedge({kPad, kPad, kPad + kLeftWidth, kPad + kBreadth}, Lines::kHorizontal, kCount, kNarrow,
                       kBlack));
  sheet.add(line_wedge({kSideWidth - kPad - kBreadth, kPad, kSideWidth - kPad, kLowRow - kPad},
                       Lines::kVertical, kCount, kNarrow, kBlack));

  const Area dots{kPad, 2 * kPad + kBreadth, kPad + kLeftWidth, kLowRow - kPad};
  sheet.add(box(dots, kBackground));
  const float middle = dots.centre().y;
  add_fading_dots(sheet, {dots.left, dots.top + 4, dots.right, middle}, kBackground, true);
  add_fading_dots(sheet, {dots.left, middle, dots.right, dots.bottom - 4}, kBackground, false);
}

/// `width` x 126: grey steps, and the same range without steps the other way round.
void add_greys(Sheet& sheet, float width) {
  constexpr int kSteps = 16;
  constexpr float kWhitest = 0.94F;
  constexpr float kSpace = 6;
  constexpr float kStepHeight = 58;
  sheet.add(box({0, 0, width, kGreyRow}, kPanel));
  sheet.add(ramp({kPad, kPad, width - kPad, kPad + kStepHeight}, grey(kWhitest), grey(0.004F), kSteps));
  sheet.add(
      ramp({kPad, kPad + kStepHeight + kSpace, width - kPad, kGreyRow - kPad}, grey(0), grey(kWhitest)));
}

/// A ruler with numbers along each side, arrows that touch the picture's edges, and corners that differ.
void add_border(Sheet& sheet, float width) {
  constexpr float kHeight = 1000;
  constexpr float kUnit = 100;
  constexpr float kTick = 20;
  constexpr float kDot = 1.6F;
  constexpr float kCorner = 64;
  const Light ink = kLabel;

  sheet.add(ruler({kCorner, 0, width - kCorner, kTick}, Edge::kTop, kUnit, ink));
  sheet.add(ruler({kCorner, kHeight - kTick, width - kCorner, kHeight}, Edge::kBottom, kUnit, ink));
  sheet.add(ruler({0, kCorner, kTick, kHeight - kCorner}, Edge::kLeft, kUnit, ink));
  sheet.add(ruler({width - kTick, kCorner, width, kHeight - kCorner}, Edge::kRight, kUnit, ink));
  const auto clear_of_arrow = [](float position, float side) { return std::abs(position - side / 2) > 30; };
  for (int i = 100; static_cast<float>(i) < width - kCorner; i += 100) {
    const auto x = static_cast<float>(i);
    if (clear_of_arrow(x, width)) add_centred_label(sheet, {x, kTick + 6}, kDot, std::to_string(i));
  }
  for (int i = 100; static_cast<float>(i) < kHeight - kCorner; i += 100) {
    const auto y = static_cast<float>(i);
    if (!clear_of_arrow(y, kHeight)) continue;
    sheet.add(lettering({kTick + 6, y - kDot * kLetterHeight / 2}, kDot, std::to_string(i), kLabel));
  }

  constexpr float kArrow = 15;
  const float x = width / 2;
  const float y = kHeight / 2;
  const std::array<std::array<Point, 3>, 4> arrows{
      {{{{x, 0}, {x + kArrow, 2 * kArrow}, {x - kArrow, 2 * kArrow}}},
       {{{x, kHeight}, {x - kArrow, kHeight - 2 * kArrow}, {x + kArrow, kHeight - 2 * kArrow}}},
       {{{0, y}, {2 * kArrow, y - kArrow}, {2 * kArrow, y + kArrow}}},
       {{{width, y}, {width - 2 * kArrow, y + kArrow}, {width - 2 * kArrow, y - kArrow}}}}};
  for (const auto& corners : arrows) {
    const Point& tip = corners[0];
    sheet.add(box({tip.x - 24, tip.y - 24, tip.x + 24, tip.y + 24}, kBackground));
    sheet.add(triangle(corners, kLabel));
  }

  constexpr float kRim = 5;
  const float right = width - kCorner;
  const float bottom = kHeight - kCorner;
  for (const Point& at : {Point{0, 0}, Point{right, 0}, Point{0, bottom}, Point{right, bottom}}) {
    sheet.add(box({at.x - kRim, at.y - kRim, at.x + kCorner + kRim, at.y + kCorner + kRim}, kPaper));
  }
  // Told apart by their brightness as well, for monochrome sensors.
  sheet.add(box({0, 0, kCorner, kCorner}, ink_of({214, 40, 44})));
  sheet.add(box({right, 0, width, kCorner}, ink_of({52, 176, 84})));
  sheet.add(box({0, bottom, kCorner, kHeight}, ink_of({20, 44, 156})));
  sheet.add(box({right, bottom, width, kHeight}, ink_of({244, 204, 24})));
}

}  // namespace

std::vector<PlacedMark> lay_out_chart(float width) {
  Sheet sheet;
  add_border(sheet, width);

  // A chart narrower than 4:3 is drawn smaller, a wider one gets more room between its columns.
  const float scale = std::min(width / kFullWidth, 1.0F);
  const float spare = (width - kFullWidth * scale) / 4;
  const float top = (1000 - 1000 * scale) / 2;
  const auto section = [&](float x, float y) { sheet.start_section({x, top + y * scale}, scale); };

  const float left = spare + kMargin * scale;
  const float middle = width / 2 - kMiddleWidth / 2 * scale;
  const float right = width - left - kSideWidth * scale;
  constexpr float kRow1 = kMargin;
  constexpr float kRow2 = kRow1 + kTopRow + kGap;
  constexpr float kRow3 = kRow2 + kSmallRow + kGap;
  constexpr float kGreys = kRow3 + kLowRow + kGap;

  section(left, kRow1);
  add_colour_patches(sheet);
  section(left, kRow2);
  add_slanted_edges(sheet);
  section(left, kRow3);
  add_colour_ramps(sheet);

  section(middle, kRow1);
  add_title(sheet);
  section(middle, kRow1 + kTitleRow + kGap);
  add_stars(sheet);
  section(middle, kGreys - kGap - kCheckerRow);
  add_checkers(sheet);

  section(right, kRow1);
  add_line_groups(sheet);
  section(right, kRow2);
  add_circles(sheet);
  section(right, kRow3);
  add_wedges(sheet);

  section(left, kGreys);
  add_greys(sheet, (width - 2 * left) / scale);
  return sheet.take();
}

}  // namespace kxsim
