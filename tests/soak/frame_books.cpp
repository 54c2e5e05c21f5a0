// SPDX-License-Identifier: Apache-2.0
#include "frame_books.h"

namespace kxcam::soak {

HostBook& HostBook::operator+=(const HostBook& other) {
  delivered += other.delivered;
  not_delivered += other.not_delivered;
  flushed += other.flushed;
  old_geometry += other.old_geometry;
  short_frames += other.short_frames;
  long_frames += other.long_frames;
  timed_out += other.timed_out;
  waiting += other.waiting;
  return *this;
}

uint64_t HostBook::total() const {
  return delivered + not_delivered + flushed + old_geometry + short_frames + long_frames + timed_out +
         waiting;
}

HostBook read_book(FrameRing& ring) {
  const FrameCounters counters = ring.counters();
  return {.delivered = counters.delivered,
          .not_delivered = counters.not_delivered,
          .flushed = counters.flushed,
          .old_geometry = counters.old_geometry,
          .short_frames = counters.short_frames,
          .long_frames = counters.long_frames,
          .timed_out = counters.timed_out,
          .waiting = counters.waiting};
}

DeviceBook read_book(const kxsim::CameraCounters& counters) {
  // A frame without an end ends with the read, if that is given up with part of it.
  return {.made = counters.frames_made,
          .sent = counters.frames_sent,
          .unended = counters.frames_unended - counters.cut_reads,
          .withdrawn = counters.frames_withdrawn,
          .stale = counters.frames_stale,
          .lost = counters.frames_dropped};
}

}  // namespace kxcam::soak
