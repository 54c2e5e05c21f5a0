// SPDX-License-Identifier: Apache-2.0
#include "isp/flat_field.h"

#include <cmath>

#include <gtest/gtest.h>

#include "guarded_frame.h"

namespace kxcam::test {
namespace {

using Table = std::vector<double>;
using Levels = std::vector<uint8_t>;

FlatField field_of(const Table& even, const Table& odd, const Table& rows) {
  FlatField field({static_cast<int32_t>(even.size()), static_cast<int32_t>(rows.size())});
  field.set_columns(even, odd);
  field.set_rows(rows);
  return field;
}

Levels corrected(const FlatField& field, int width, int height, const Levels& levels, int x0, int y0) {
  GuardedFrame frame(width, height, levels);
  apply_flat_field(frame.view(), field, x0, y0);
  EXPECT_TRUE(frame.guards_intact());
  return frame.samples();
}

Levels corrected(double row, double column, const Levels& levels) {
  const Table columns(levels.size(), column);
  return corrected(field_of(columns, columns, {row}), static_cast<int>(levels.size()), 1, levels, 0, 0);
}

TEST(FlatField, ScalesTruncatesAndClamps) {
  EXPECT_EQ(corrected(0.125, 0.25, {0, 1, 101, 254, 255}), (Levels{0, 0, 63, 158, 255}));  // x 0.625
  EXPECT_EQ(corrected(0.0, -0.5, {1, 100, 169, 170, 171, 254}), (Levels{1, 150, 253, 255, 255, 255}));
  EXPECT_EQ(corrected(1.5, 0.0, {0, 1, 254, 255}), (Levels{0, 0, 0, 255}));
}

// Sums that round differently when the row and the column are added first, or are taken off the other
// way round: the first gives 10.999..., the second 174.999....
TEST(FlatField, TakesOffTheRowThenTheColumn) {
  EXPECT_EQ(corrected(-0.154, 0.154, {11}), (Levels{10}));
  EXPECT_EQ(corrected(0.1144, 0.0106, {200}), (Levels{174}));
}

TEST(FlatField, SurvivesAnyNumber) {
  constexpr double kInfinity = HUGE_VAL;
  EXPECT_EQ(corrected(std::nan(""), 0.0, {0, 100, 255}), (Levels{0, 0, 255}));
  EXPECT_EQ(corrected(-kInfinity, 0.0, {0, 1, 255}), (Levels{0, 255, 255}));
  EXPECT_EQ(corrected(kInfinity, -kInfinity, {7, 255}), (Levels{0, 255}));
  EXPECT_EQ(corrected(0.0, 1e300, {7}), (Levels{0}));
}

TEST(FlatField, PlacesTheFrameOnTheTablesAndTakesColumnsByTheParityOfTheFrame) {
  const FlatField field = field_of({0, 0.5, 0, 0.25}, {0, 0, 0.5, 0.75}, {0, 0.125, 0});
  // Sensor rows 1 and 2 are the frame's rows 0 (even) and 1 (odd).
  EXPECT_EQ(corrected(field, 2, 2, Levels(4, 80), 1, 1), (Levels{30, 70, 80, 40}));
  EXPECT_EQ(corrected(field, 2, 2, Levels(4, 80), 2, 0), (Levels{80, 60, 30, 10}));
}

TEST(FlatField, CountsAsZeroBeyondItsTables) {
  const FlatField field = field_of({0.5, 0.5}, {0.25, 0.25}, {-0.25, 0.25});
  EXPECT_EQ(corrected(field, 4, 4, Levels(16, 80), -1, -1), (Levels{80, 40, 40, 80,    //
                                                                    100, 80, 80, 100,  //
                                                                    60, 20, 20, 60,    //
                                                                    80, 60, 60, 80}));
  for (const auto& [x0, y0] : {std::pair{2, 2}, {-4, -4}, {65535, 65535}, {-1'000'000'000, 2'147'483'647}}) {
    EXPECT_EQ(corrected(field, 4, 4, Levels(16, 80), x0, y0), Levels(16, 80)) << x0;
  }
  EXPECT_EQ(corrected(FlatField(), 4, 4, Levels(16, 80), 0, 0), Levels(16, 80));
}

TEST(FlatField, KnowsWhetherItChangesAnything) {
  FlatField field({3, 2});
  EXPECT_TRUE(field.flat());
  field.set_columns(Table{0.0}, Table{0.0, 0.0, 0.1});
  EXPECT_FALSE(field.flat());
  field.set_columns(Table{}, Table{0.0, 0.0, -0.0});
  EXPECT_TRUE(field.flat());
  field.set_rows(Table{0.0, std::nan("")});
  EXPECT_FALSE(field.flat());
  field.clear_rows();
  EXPECT_TRUE(field.flat());
  EXPECT_TRUE(FlatField().flat());
}

}  // namespace
}  // namespace kxcam::test
