// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/registry/model_table.h"

namespace kxcam {

inline constexpr int32_t kLargestTransfer = 0x800000;
inline constexpr int32_t kTransferBlock = 1024;

/// Next multiple of a block above `bytes`: always room for one byte more than asked for, so that the short
/// packet at the end of a frame ends the transfer too.
constexpr int32_t blocks_above(int32_t bytes) {
  return bytes / kTransferBlock * kTransferBlock + kTransferBlock;
}

/// Bytes of the largest transfer that is asked for while a sensor of that size is read. A camera has one
/// transfer pending at a time. Every frame is asked for with one byte per pixel; what a 12-bit camera sends
/// beyond that takes another transfer.
constexpr int32_t largest_transfer(SensorSize sensor) {
  return std::min(blocks_above(sensor.pixels()), kLargestTransfer);
}

struct CameraContext;

/// Starts the thread that fills the context's ring while `running` is set. The context must outlive
/// the thread; join_reader() ends that obligation. Throws std::system_error.
void start_reader(CameraContext& context);

/// Waits for the reader to end, if there is one: at most one transfer after `running` was cleared.
void join_reader(CameraContext& context);

/// Body of the thread: collects bulk transfers into frames.
void reader(CameraContext& context);

/// Starts and stops the image stream of the newer bridges; the older ones stream always and are not asked.
/// The camera's answer does not matter. NO_DEVICE.
bool start_video(CameraContext& camera);
bool stop_video(CameraContext& camera);

}  // namespace kxcam
