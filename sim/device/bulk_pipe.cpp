// SPDX-License-Identifier: Apache-2.0
#include "device/bulk_pipe.h"

#include <algorithm>
#include <utility>

#include "device/dma_write.h"

namespace kxsim {

void BulkPipe::read(Transfer& transfer, std::optional<BulkFault::Action> fault) {
  reads_.push_back({&transfer, fault});
  pump();
}

bool BulkPipe::cancel(Transfer& transfer) {
  const auto found = std::ranges::find(reads_, &transfer, &Read::transfer);
  if (found == reads_.end()) return false;
  reads_.erase(found);
  if (transfer.transferred > 0) ++counters_.cut_reads;
  transfer.finished(TransferStatus::kCancelled);
  pump();
  return true;
}

void BulkPipe::reset(TransferStatus status) {
  drop_frame();
  halted_ = false;
  while (!reads_.empty()) finish_first(status);
}

void BulkPipe::clear_halt() {
  halted_ = false;
  pump();
}

size_t BulkPipe::wanted() const {
  const Transfer& transfer = *reads_.front().transfer;
  return std::min(segment_end(), sent_ + transfer.data.size() - transfer.transferred);
}

void BulkPipe::arrive(size_t bytes) {
  arrived_ = bytes;
  pump();
}

void BulkPipe::lose(size_t place, size_t bytes) {
  auto& all = frame_->bytes;
  const auto first = all.begin() + static_cast<ptrdiff_t>(std::min(place, all.size()));
  all.erase(first, first + static_cast<ptrdiff_t>(std::min<size_t>(bytes, all.end() - first)));
}

void BulkPipe::send(WireFrame frame, size_t arrived) {
  frame_ = std::move(frame);
  arrived_ = arrived;
  sent_ = 0;
  segment_start_ = 0;
  pump();
}

void BulkPipe::drop_frame() {
  if (frame_) ++counters_.withdrawn;
  forget_frame();
}

void BulkPipe::forget_frame() {
  if (frame_) spare_ = std::move(frame_->bytes);
  frame_.reset();
  sent_ = 0;
}

void BulkPipe::cut_frame() {
  if (sent_ == 0) return drop_frame();
  frame_->bytes.resize(sent_);
  frame_->ended = true;
  pump();
}

void BulkPipe::pump() {
  while (!reads_.empty() && serve_first()) {
  }
}

bool BulkPipe::serve_first() {
  const auto [transfer, fault] = reads_.front();
  if (halted_) {
    finish_first(TransferStatus::kStalled);
    return true;
  }
  if (fault) return fail_first(*fault);
  return frame_ && move_bytes(*transfer);
}

/// False when the read is left without an answer.
bool BulkPipe::fail_first(BulkFault::Action fault) {
  switch (fault) {
    case BulkFault::Action::kStall:
      halted_ = true;
      finish_first(TransferStatus::kStalled);
      return true;
    case BulkFault::Action::kOverflow:
      finish_first(TransferStatus::kOverflow);
      return true;
    case BulkFault::Action::kError:
      finish_first(TransferStatus::kError);
      return true;
    case BulkFault::Action::kTimeout:
    case BulkFault::Action::kUnplug:
      return false;
  }
  return false;
}

size_t BulkPipe::segment_end() const {
  const auto size = frame_->bytes.size();
  return frame_->segment == 0 ? size : std::min(size, segment_start_ + frame_->segment);
}

void BulkPipe::copy(Transfer& transfer, size_t length) {
  [[maybe_unused]] const DmaWrite dma;
  std::copy_n(frame_->bytes.begin() + static_cast<ptrdiff_t>(sent_), length,
              transfer.data.begin() + static_cast<ptrdiff_t>(transfer.transferred));
  transfer.transferred += length;
  sent_ += length;
}

/// Serves the read as far as it goes; false when it waits for more.
bool BulkPipe::move_bytes(Transfer& transfer) {
  const size_t left = segment_end() - sent_;
  const size_t room = transfer.data.size() - transfer.transferred;
  const size_t here = std::max(arrived_, sent_) - sent_;
  copy(transfer, std::min({left, room, here}));
  if (here < std::min(left, room)) return false;
  if (left <= room) return end_segment(transfer);
  if (room % packet_size_ != 0) {
    // The packet that did not fit is lost as a whole.
    sent_ = std::min(segment_end(), sent_ + packet_size_ - room % packet_size_);
    finish_first(TransferStatus::kOverflow);
  } else {
    finish_first(TransferStatus::kCompleted);
  }
  return true;
}

bool BulkPipe::end_segment(Transfer& transfer) {
  const bool last = sent_ == frame_->bytes.size();
  const bool full = transfer.transferred == transfer.data.size();
  if (last && !frame_->ended) {
    ++counters_.unended;
    frame_done();
    if (full) finish_first(TransferStatus::kCompleted);
    return full;
  }
  const bool zero_packet_owed = (sent_ - segment_start_) % packet_size_ == 0;
  if (full && zero_packet_owed && !transfer.data.empty()) {
    finish_first(TransferStatus::kCompleted);  // the zero-length packet answers the next read
    return true;
  }
  segment_start_ = sent_;
  if (last) frame_done();
  finish_first(TransferStatus::kCompleted);
  return true;
}

void BulkPipe::finish_first(TransferStatus status) {
  auto* const transfer = reads_.front().transfer;
  reads_.pop_front();
  transfer->finished(status);
}

void BulkPipe::frame_done() {
  ++counters_.sent;
  forget_frame();
}

}  // namespace kxsim
