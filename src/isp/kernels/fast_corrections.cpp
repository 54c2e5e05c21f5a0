// SPDX-License-Identifier: Apache-2.0
#include "isp/kernels/fast_corrections.h"

#include <cstddef>

#include "isp/speckle.h"

namespace kxcam {
namespace {

bool covers(std::span<const double> table, int64_t first, int64_t count) {
  return first >= 0 && first + count <= std::ssize(table);
}

}  // namespace

bool fast_corrections(const RowKernels& kernels, const MutableImageView& frame, const FlatField* field,
                      int32_t x0, int32_t y0, bool despeckled) {
  const int32_t width = frame.width();
  const int32_t height = frame.height();
  if (field != nullptr &&
      !(covers(field->column_table_a(), x0, width) && covers(field->column_table_b(), x0, width) &&
        covers(field->row_table(), y0, height))) {
    return false;
  }
  const auto row_of = [&](int32_t y) { return frame.row(y).data(); };
  const auto flatten = [&](int32_t y) {
    const bool even = (y & 1) == 0;
    const double gain = 1.0 - field->row_table()[static_cast<size_t>(y0) + static_cast<size_t>(y)];
    const double* columns = (even ? field->column_table_a() : field->column_table_b()).data() + x0;
    const float* rounded = (even ? field->rounded_table_a() : field->rounded_table_b()).data() + x0;
    kernels.flatten(row_of(y), width, gain, columns, rounded);
  };
  // A row is despeckled as soon as the second row below it is flat.
  constexpr int32_t kReach = 2;
  for (int32_t y = 0; y < height + kReach; ++y) {
    if (field != nullptr && y < height) flatten(y);
    const int32_t ready = y - kReach;
    if (!despeckled || ready < kSpeckleMargin || ready > height - kSpeckleMargin) continue;
    kernels.despeckle(row_of(ready - kReach), row_of(ready), row_of(ready + kReach), kSpeckleMargin,
                      width - kSpeckleMargin + 1);
  }
  return true;
}

}  // namespace kxcam
