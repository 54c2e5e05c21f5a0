// SPDX-License-Identifier: Apache-2.0
#include "isp/flat_field.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

#include "isp/saturating_cast.h"

namespace kxcam {
namespace {

constexpr uint8_t kSaturated = 255;

bool all_zero(std::span<const double> table) {
  return std::ranges::all_of(table, [](double entry) { return entry == 0.0; });
}

void replace_first(std::vector<double>& table, std::span<const double> entries) {
  assert(entries.size() <= table.size());
  std::ranges::copy(entries, table.begin());
}

float rounded(double entry) {
  return static_cast<float>(entry);
}

double entry_at(std::span<const double> table, int64_t i) {
  return i >= 0 && i < std::ssize(table) ? table[static_cast<size_t>(i)] : 0.0;
}

}  // namespace

FlatField::FlatField(const SensorSize& sensor)
    : column_table_a_(static_cast<size_t>(sensor.width)),
      column_table_b_(static_cast<size_t>(sensor.width)),
      row_table_(static_cast<size_t>(sensor.height)),
      rounded_table_a_(column_table_a_.size()),
      rounded_table_b_(column_table_b_.size()) {}

void FlatField::set_columns(std::span<const double> even_rows, std::span<const double> odd_rows) {
  replace_first(column_table_a_, even_rows);
  replace_first(column_table_b_, odd_rows);
  std::ranges::transform(column_table_a_, rounded_table_a_.begin(), rounded);
  std::ranges::transform(column_table_b_, rounded_table_b_.begin(), rounded);
  find_out_if_flat();
}

void FlatField::set_rows(std::span<const double> rows) {
  replace_first(row_table_, rows);
  find_out_if_flat();
}

void FlatField::clear_rows() {
  std::ranges::fill(row_table_, 0.0);
  find_out_if_flat();
}

void FlatField::find_out_if_flat() {
  flat_ = all_zero(column_table_a_) && all_zero(column_table_b_) && all_zero(row_table_);
}

void apply_flat_field(const MutableImageView& frame, const FlatField& field, int32_t x0, int32_t y0) {
  for (int32_t y = 0; y < frame.height(); ++y) {
    const double row_entry = entry_at(field.row_table(), int64_t{y0} + y);
    const auto columns = (y & 1) == 0 ? field.column_table_a() : field.column_table_b();
    int64_t column = x0;
    for (uint8_t& pixel : frame.row(y)) {
      const double gain = 1.0 - row_entry - entry_at(columns, column++);
      if (pixel != kSaturated) pixel = saturating_cast<uint8_t>(gain * pixel);
    }
  }
}

}  // namespace kxcam
