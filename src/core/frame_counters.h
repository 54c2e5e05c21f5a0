// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "sync/relaxed.h"

namespace kxcam {

/// What became of the frames whose end arrived, since the ring was made.
///
/// invariant: such a frame is counted here once or waits in the ring. A frame of which the camera sent no
/// end, because it was reset or unplugged meanwhile, is counted with the one that its bytes ran into, or
/// not at all.
struct FrameCounters {
  // By the reader, which then fills the same buffer anew.
  Relaxed<uint64_t> short_frames = 0;  ///< fewer bytes than the geometry has
  Relaxed<uint64_t> long_frames = 0;   ///< more
  Relaxed<uint64_t> timed_out = 0;     ///< bytes of which arrived as the transfer was given up

  // By the ring and the queries.
  Relaxed<uint64_t> old_geometry = 0;   ///< passed over by a query: from before the geometry was changed
  Relaxed<uint64_t> flushed = 0;        ///< dropped by a flush, before a trigger shot or by a reconnect
  Relaxed<uint64_t> delivered = 0;      ///< handed to a program
  Relaxed<uint64_t> not_delivered = 0;  ///< taken by a query that failed then
};

}  // namespace kxcam
