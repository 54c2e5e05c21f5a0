// SPDX-License-Identifier: Apache-2.0
#include "isp/kernels/work_rows.h"

#include <algorithm>

namespace kxcam {
namespace {

/// Rows of a turned frame are made this many at a time: one cache line of every raw row.
constexpr int kStripRows = 64;

/// How far ahead of its use a raw row is asked for. A corrector is two rows ahead itself.
constexpr int kPrefetchRows = 3;
constexpr int kPrefetchRowsToCorrect = 5;

/// Slots, a power of two, are taken in turn. Two strips, because the rows around the last one of a strip are
/// in both.
int slots(const OrientedFrame& frame) {
  return frame.turned ? 2 * kStripRows : 4;
}

size_t half_size(const OrientedFrame& frame) {
  const size_t samples = (static_cast<size_t>(frame.columns.size) + 1) / 2;
  return (samples + 63) / 64 * 64 + 2 * kRowMargin;
}

/// Odd in cache lines, so that one column of many rows does not fall into one set of the cache.
size_t slot_size(const OrientedFrame& frame) {
  return 2 * half_size(frame) + 64;
}

}  // namespace

OrientedFrame::OrientedFrame(const IndexMap& map) : columns(), rows(), turned(is_rotated(map)) {
  if (turned) {
    // A clockwise turn puts the first raw row into the last column.
    columns = {map.height(), map.row_step() < 0};
    rows = {map.width(), map.column_step() < 0};
  } else {
    columns = {map.width(), map.column_step() < 0};
    rows = {map.height(), map.row_step() < 0};
  }
}

BayerPhase OrientedFrame::turn(BayerPhase raw) const {
  const int red_column = turned ? raw.red_y : raw.red_x;
  const int red_row = turned ? raw.red_x : raw.red_y;
  return {columns.flipped(red_column) & 1, rows.flipped(red_row) & 1};
}

size_t WorkRowWindow::memory_size(const OrientedFrame& frame) {
  return slots(frame) * slot_size(frame);
}

WorkRowWindow::WorkRowWindow(const RowKernels& kernels, const ImageView& raw, const OrientedFrame& frame,
                             const Counted& counted, RowCorrector* corrector, uint8_t* memory)
    : kernels_(kernels),
      raw_(raw),
      frame_(frame),
      counted_(counted),
      corrector_(corrector),
      slot_mask_(slots(frame) - 1),
      first_slot_(memory + kRowMargin),
      half_(half_size(frame)),
      stride_(slot_size(frame)) {}

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
  const auto split = frame_.columns.mirrored ? kernels_.split_reversed : kernels_.split;
  const uint8_t* raw =
      corrector_ != nullptr ? corrector_->next_row() : raw_.row(frame_.rows.flipped(y)).data();
  sum_ += split(raw, raw_.width(), counted_[y & 1], slot(y), slot(y) + half_);
}

WorkRowWindow::Ahead WorkRowWindow::ahead_of(int y) const {
  const int last = frame_.rows.size - 1;
  const int ahead = corrector_ != nullptr ? kPrefetchRowsToCorrect : kPrefetchRows;
  if (!frame_.turned) return {raw_.row(frame_.rows.flipped(std::min(y + ahead, last))).data(), 64};
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
  const ptrdiff_t sample_step = frame_.columns.mirrored ? -raw_step : raw_step;
  const bool up = frame_.rows.mirrored;
  const uint8_t* raw = raw_.row(frame_.columns.flipped(0)).data() + frame_.rows.flipped(up ? last : first);
  uint8_t* rows = slot(up ? last : first);
  const ptrdiff_t rows_step = up ? -row_step : row_step;
  for (int parity = 0; parity < 2 && parity < frame_.columns.size; ++parity) {
    kernels_.transpose(raw + parity * sample_step, 2 * sample_step, samples_of(parity), count,
                       rows + parity * static_cast<ptrdiff_t>(half_), rows_step);
  }
  for (int y = first; y <= last; ++y) add_up(y);
}

void WorkRowWindow::add_up(int y) {
  for (int parity = 0; parity < 2; ++parity) {
    if ((counted_[y & 1] & (1 << parity)) == 0) continue;
    const int samples = samples_of(parity);
    sum_ += uint64_t{255} * samples - kernels_.sum(row(y).samples[parity], samples);
  }
}

}  // namespace kxcam
