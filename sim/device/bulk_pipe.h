// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <optional>
#include <vector>

#include "device/fault_plan.h"
#include "device/transfer.h"

namespace kxsim {

/// A frame as the bridge sends it.
struct WireFrame {
  std::vector<uint8_t> bytes;
  size_t segment = 0;  ///< a short packet after every so many bytes; 0 = only at the end
  bool ended = true;   ///< false: no short packet at the end
};

/// The bulk IN endpoint: cuts frames into the host's reads as packets on a bus would fall. Holds at most
/// one frame. Not thread-safe.
class BulkPipe {
 public:
  explicit BulkPipe(size_t packet_size) : packet_size_(packet_size) {}

  void read(Transfer& transfer, std::optional<BulkFault::Action> fault);
  /// Finishes the read as cancelled; false when it is not pending.
  bool cancel(Transfer& transfer);
  /// Ends all reads, and forgets frame and halt.
  void reset(TransferStatus status);
  void clear_halt();

  bool wants_frame() const { return !reads_.empty() && !frame_; }
  bool holds_frame() const { return frame_.has_value(); }
  /// Reads wait for bytes of the frame that is here.
  bool waits_for_bytes() const { return frame_ && !reads_.empty(); }
  bool has_reads() const { return !reads_.empty(); }
  /// Bytes of the frame that the host has.
  size_t sent() const { return sent_; }
  /// Bytes of the frame that there must be to finish the first read.
  size_t wanted() const;
  /// So much of the frame is here; all of it if nobody says so.
  void arrive(size_t bytes);
  /// Takes bytes out of the frame.
  void lose(size_t place, size_t bytes);
  /// A frame is here of which the host has nothing yet.
  bool holds_untouched_frame() const { return frame_ && sent_ == 0; }
  void send(WireFrame frame, size_t arrived = std::numeric_limits<size_t>::max());
  void drop_frame();
  /// Ends the frame where it is: a host that has part of it gets no more than a short packet.
  void cut_frame();

  /// What became of the frames that were handed to send(). Those neither sent nor withdrawn are still here.
  struct Counters {
    uint64_t sent = 0;       ///< completely
    uint64_t withdrawn = 0;  ///< gone before the host had all of them
    uint64_t unended = 0;    ///< of those sent: without the short packet, so that the next one may run on
    uint64_t cut_reads = 0;  ///< reads that the host gave up with part of a frame in them
  };
  const Counters& counters() const { return counters_; }
  /// Storage of a frame gone by, for the next one.
  std::vector<uint8_t> take_spare() { return std::move(spare_); }

 private:
  struct Read {
    Transfer* transfer;
    std::optional<BulkFault::Action> fault;
  };

  void pump();
  bool serve_first();
  bool fail_first(BulkFault::Action fault);
  bool move_bytes(Transfer& transfer);
  bool end_segment(Transfer& transfer);
  void copy(Transfer& transfer, size_t length);
  size_t segment_end() const;
  void finish_first(TransferStatus status);
  void frame_done();
  void forget_frame();

  size_t packet_size_;
  std::deque<Read> reads_;
  bool halted_ = false;
  std::optional<WireFrame> frame_;
  size_t sent_ = 0;           // bytes of frame_
  size_t arrived_ = 0;        // of the sensor's
  size_t segment_start_ = 0;  // where the current segment of frame_ began
  Counters counters_;
  std::vector<uint8_t> spare_;
};

}  // namespace kxsim
