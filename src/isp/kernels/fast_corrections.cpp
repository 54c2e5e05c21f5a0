// SPDX-License-Identifier: Apache-2.0
#include "isp/kernels/fast_corrections.h"

#include <algorithm>
#include <span>

#include "isp/defects.h"

namespace kxcam {
namespace {

/// A row is despeckled as soon as the second row below it is flat.
constexpr int32_t kReach = 2;
/// The row that is despeckled and those up to its second neighbours.
constexpr int32_t kSlots = 2 * kReach + 1;

bool covers(std::span<const double> table, int64_t first, int64_t count) {
  return first >= 0 && first + count <= std::ssize(table);
}

size_t stride_of(const RowCorrections& corrections) {
  return (static_cast<size_t>(corrections.frame.width()) + 63) / 64 * 64 + 2 * kRowMargin;
}

}  // namespace

bool RowCorrector::can(const RowCorrections& corrections) {
  const FlatField* field = corrections.field;
  const int32_t width = corrections.frame.width();
  return field == nullptr || (covers(field->column_table_a(), corrections.x0, width) &&
                              covers(field->column_table_b(), corrections.x0, width) &&
                              covers(field->row_table(), corrections.y0, corrections.frame.height()));
}

size_t RowCorrector::memory_size(const RowCorrections& corrections) {
  return kSlots * stride_of(corrections);
}

RowCorrector::RowCorrector(const RowKernels& kernels, const RowCorrections& corrections, uint8_t* memory)
    : kernels_(kernels),
      corrections_(corrections),
      first_slot_(memory + kRowMargin),
      stride_(stride_of(corrections)) {}

uint8_t* RowCorrector::slot(int32_t y) const {
  return first_slot_ + static_cast<size_t>(y % kSlots) * stride_;
}

const uint8_t* RowCorrector::next_row() {
  const int32_t height = corrections_.frame.height();
  const int32_t y = final_++;
  for (; flat_ <= std::min(y + kReach, height - 1); ++flat_) flatten(flat_);
  if (corrections_.despeckled && y >= kSpeckleMargin && y <= height - kSpeckleMargin) despeckle(y);
  const uint8_t* row = slot(y);
  if (corrections_.keep) std::copy_n(row, corrections_.frame.width(), corrections_.frame.row(y).data());
  return row;
}

void RowCorrector::flatten(int32_t y) const {
  const auto raw = corrections_.frame.row(y);
  const FlatField* field = corrections_.field;
  if (field == nullptr) {
    std::ranges::copy(raw, slot(y));
    return;
  }
  const int parity = y & 1;
  const auto x0 = static_cast<size_t>(corrections_.x0);
  const size_t row = static_cast<size_t>(corrections_.y0) + static_cast<size_t>(y);
  RowGains gains{};
  gains.gain = 1.0 - field->row_table()[row];
  gains.columns = (parity == 0 ? field->column_table_a() : field->column_table_b()).data() + x0;
  gains.fixed_bits = field->fixed_bits();
  if (gains.fixed_bits != 0) {
    gains.fixed_row = field->fixed_rows()[row];
    for (size_t i = 0; i < 2; ++i)
      gains.fixed_columns[i] = field->fixed_columns(parity, (x0 + i) & 1).data() + (x0 + i) / 2;
  }
  kernels_.flatten(raw.data(), corrections_.frame.width(), gains, slot(y));
}

void RowCorrector::despeckle(int32_t y) {
  speckles_ = kernels_.despeckle(speckles_, slot(y - kReach), slot(y), slot(y + kReach), kSpeckleMargin,
                                 corrections_.frame.width() - kSpeckleMargin + 1);
}

void correct_rows(const RowKernels& kernels, const RowCorrections& corrections, uint8_t* memory) {
  RowCorrections kept = corrections;
  kept.keep = true;
  RowCorrector corrector(kernels, kept, memory);
  for (int32_t y = 0; y < kept.frame.height(); ++y) corrector.next_row();
}

}  // namespace kxcam
