// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

/// Starts and stops the image stream of the newer bridges; the older ones stream always and are not asked.
/// The camera's answer does not matter. Codes 1, 3, 4.
bool start_video(int camera);
bool stop_video(int camera);

/// Drops the frames that wait in the ring and those that arrive within 200 ms, at most five. Codes 1, 3, 4.
bool clear_host_buffer(int camera);

/// Ends acquisition for good: the reader stops and queries fail until the camera is opened again.
bool abort_query(int camera);

/// Least time that a query waits, in ms, clamped to 500..50000.
bool set_time_out(int camera, int ms);
bool get_time_out(int camera, int* ms);

}  // namespace kxcam
