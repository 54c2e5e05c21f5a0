// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

struct CameraContext;

/// Starts and stops the image stream of the newer bridges; the older ones stream always and are not asked.
/// The camera's answer does not matter. NO_DEVICE.
bool start_video(CameraContext& camera);
bool stop_video(CameraContext& camera);

/// Drops the frames that wait in the ring and those that arrive within 200 ms, at most five. NO_DEVICE.
bool clear_host_buffer(CameraContext& camera);

/// Ends acquisition for good: the reader stops and queries fail until the camera is opened again.
void abort_query(CameraContext& camera);

/// Least time that a query waits, in ms, clamped to 500..50000.
bool set_time_out(CameraContext& camera, int ms);
int get_time_out(const CameraContext& camera);

}  // namespace kxcam
