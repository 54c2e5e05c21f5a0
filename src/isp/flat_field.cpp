// SPDX-License-Identifier: Apache-2.0
#include "isp/flat_field.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <limits>

#include "isp/saturating_cast.h"

namespace kxcam {
namespace {

constexpr uint8_t kSaturated = 255;

/// A product of a sample has 9 bits less after the point, which leaves 8 at least: a shift by 8 less.
constexpr int kLeastFixedBits = 17;
constexpr int kMostFixedBits = 20;

/// Entries behind the last one that a vector may read.
constexpr size_t kFixedMargin = 33;

bool all_zero(std::span<const double> table) {
  return std::ranges::all_of(table, [](double entry) { return entry == 0.0; });
}

void replace_first(std::vector<double>& table, std::span<const double> entries) {
  assert(entries.size() <= table.size());
  std::ranges::copy(entries, table.begin());
}

double greatest_magnitude(std::span<const double> table) {
  double greatest = 0;
  for (const double entry : table) {
    if (!(std::abs(entry) <= greatest)) greatest = std::abs(entry);  // what is no number stays
    if (std::isnan(greatest)) break;
  }
  return greatest;
}

int16_t fixed(double entry, int bits) {
  return static_cast<int16_t>(std::floor(std::ldexp(-entry, bits)));
}

double entry_at(std::span<const double> table, int64_t i) {
  return i >= 0 && i < std::ssize(table) ? table[static_cast<size_t>(i)] : 0.0;
}

}  // namespace

FlatField::FlatField(const SensorSize& sensor)
    : column_table_a_(static_cast<size_t>(sensor.width)),
      column_table_b_(static_cast<size_t>(sensor.width)),
      row_table_(static_cast<size_t>(sensor.height)) {
  derive();
}

void FlatField::set_columns(std::span<const double> even_rows, std::span<const double> odd_rows) {
  replace_first(column_table_a_, even_rows);
  replace_first(column_table_b_, odd_rows);
  derive();
}

void FlatField::set_rows(std::span<const double> rows) {
  replace_first(row_table_, rows);
  derive();
}

void FlatField::clear_rows() {
  std::ranges::fill(row_table_, 0.0);
  derive();
}

void FlatField::derive() {
  flat_ = all_zero(column_table_a_) && all_zero(column_table_b_) && all_zero(row_table_);
  if (!flat_) derive_fixed();
}

void FlatField::derive_fixed() {
  double reach = greatest_magnitude(column_table_a_);
  if (const double other = greatest_magnitude(column_table_b_); !(other <= reach) && !std::isnan(reach))
    reach = other;
  reach += greatest_magnitude(row_table_);
  // Row and column each may be rounded down by 1.
  constexpr double kRoom = std::numeric_limits<int16_t>::max() - 2;
  fixed_bits_ = kMostFixedBits;
  while (fixed_bits_ >= kLeastFixedBits && !(std::ldexp(reach, fixed_bits_) <= kRoom)) --fixed_bits_;
  if (fixed_bits_ < kLeastFixedBits) {
    fixed_bits_ = 0;
    return;
  }
  const std::vector<double>* const tables[2] = {&column_table_a_, &column_table_b_};
  for (size_t parity = 0; parity < 2; ++parity) {
    const std::vector<double>& table = *tables[parity];
    for (size_t first = 0; first < 2; ++first) {
      std::vector<int16_t>& columns = fixed_columns_[parity][first];
      columns.clear();
      columns.reserve(table.size() / 2 + 1 + kFixedMargin);
      for (size_t i = first; i < table.size(); i += 2) columns.push_back(fixed(table[i], fixed_bits_));
      columns.resize(columns.size() + kFixedMargin);
    }
  }
  fixed_rows_.resize(row_table_.size());
  std::ranges::transform(row_table_, fixed_rows_.begin(),
                         [&](double entry) { return fixed(entry, fixed_bits_); });
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
