// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "core/acquisition/frame_ring.h"
#include "device/simulated_camera.h"

namespace kxcam::soak {

/// The library's side: what became of the frames whose end arrived.
struct HostBook {
  uint64_t delivered = 0;
  uint64_t not_delivered = 0;
  uint64_t flushed = 0;
  uint64_t old_geometry = 0;
  uint64_t short_frames = 0;
  uint64_t long_frames = 0;
  uint64_t timed_out = 0;
  uint64_t waiting = 0;  ///< in the ring, or thrown away with it

  HostBook& operator+=(const HostBook& other);
  uint64_t total() const;
  bool operator==(const HostBook&) const = default;
};

HostBook read_book(FrameRing& ring);

/// The camera's side.
struct DeviceBook {
  uint64_t made = 0;
  uint64_t sent = 0;
  uint64_t unended =
      0;  ///< of those sent: their end never came, the host has them in the next one or not at all
  uint64_t withdrawn = 0;
  uint64_t stale = 0;
  uint64_t lost = 0;  ///< because the host did not read; the stale ones among them

  bool operator==(const DeviceBook&) const = default;
};

DeviceBook read_book(const kxsim::CameraCounters& counters);

}  // namespace kxcam::soak
