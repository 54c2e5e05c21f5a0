// SPDX-License-Identifier: Apache-2.0
#include "isp/kernels/work_rows.h"

#include <algorithm>

namespace kxcam {
namespace {

/// Rows of a turned frame are made this many at a time: one cache line of every raw row.
constexpr int kStripRows = 64;

/// How far ahead of its use a raw row is asked for.
constexpr int kPrefetchRows = 3;

/// Slots are taken in turn. Two strips, because the rows around the last one of a strip are in both.
int slots(const OrientedFrame& frame) {
  return frame.turned ? 2 * kStripRows : 4;
}

}  // namespace

size_t work_row_stride(int width) {
  const size_t lines = (static_cast<size_t>(width) + 2 * kRowMargin + 63) / 64;
  return 64 * (lines | 1);
}

size_t WorkRowWindow::memory_size(const OrientedFrame& frame) {
  return slots(frame) * work_row_stride(frame.columns.size);
}

WorkRowWindow::WorkRowWindow(const RowKernels& kernels, const ImageView& raw, const OrientedFrame& frame,
                             const Counted& counted, uint8_t* memory)
    : kernels_(kernels),
      raw_(raw),
      frame_(frame),
      counted_(counted),
      first_slot_(memory + kRowMargin),
      stride_(work_row_stride(frame.columns.size)) {}

uint8_t* WorkRowWindow::slot(int y) const {
  return first_slot_ + static_cast<size_t>(y % slots(frame_)) * stride_;
}

void WorkRowWindow::advance_to(int y) {
  while (loaded_ <= y) {
    if (frame_.turned) {
      load_strip(loaded_);
      loaded_ = std::min(loaded_ + kStripRows, frame_.rows.size);
    } else {
      load_row(loaded_);
      ++loaded_;
    }
  }
}

void WorkRowWindow::load_row(int y) {
  const auto load = frame_.columns.mirrored ? kernels_.reverse_row : kernels_.copy_row;
  sum_ += load(raw_.row(frame_.rows.flipped(y)).data(), raw_.width(), counted_[y & 1], slot(y));
}

WorkRowWindow::Ahead WorkRowWindow::ahead_of(int y) const {
  const int last = frame_.rows.size - 1;
  if (!frame_.turned) return {raw_.row(frame_.rows.flipped(std::min(y + kPrefetchRows, last))).data(), 64};
  // The next strip takes a line of every raw row, and this one's rows take turns in asking for them.
  // The line of its last column is new; its first one may share a line with this strip.
  const int column = frame_.rows.flipped(std::min((y / kStripRows + 2) * kStripRows - 1, last));
  const int lines = (frame_.columns.size + 63) / 64;
  const int first = std::min(y % kStripRows * lines, frame_.columns.size - 1);
  return {raw_.row(first).data() + column, raw_.width()};
}

void WorkRowWindow::load_strip(int first) {
  const int count = std::min(kStripRows, frame_.rows.size - first);
  const int last = first + count - 1;
  // Both mirrors are a matter of where to begin and which way to go.
  const auto row_step = static_cast<ptrdiff_t>(stride_);
  const auto raw_step = static_cast<ptrdiff_t>(raw_.width());
  const bool up = frame_.rows.mirrored;
  const uint8_t* raw = raw_.row(frame_.columns.flipped(0)).data() + frame_.rows.flipped(up ? last : first);
  kernels_.transpose(raw, frame_.columns.mirrored ? -raw_step : raw_step, frame_.columns.size, count,
                     slot(up ? last : first), up ? -row_step : row_step);
  for (int y = first; y <= last; ++y) add_up(y);
}

void WorkRowWindow::add_up(int y) {
  const int width = frame_.columns.size;
  const uint16_t counted = counted_[y & 1];
  const int samples = counted == kAllColumns ? width : (width + (counted == kEvenColumns ? 1 : 0)) / 2;
  sum_ += uint64_t{255} * samples - kernels_.sum(row(y), width, counted);
}

}  // namespace kxcam
