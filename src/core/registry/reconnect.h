// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

/// Brings back an open camera whose cable was pulled or that was reset, by its serial number and wherever it
/// is on the bus now. Settings, tables and index stay; the live settings are sent to the camera again, and
/// the stream starts with an empty ring.
///
/// Codes 1, 3; 4 for a camera that never had a device, and while the camera is not there: it then stays
/// open without a device, and the call may be repeated. Queries in other threads end with code 17 meanwhile,
/// other requests with 4 or 10 or 11; a picture that a query is being made of is delivered, as no buffer of
/// the ring moves. Throws std::system_error when there is no thread to be had, with the camera as if it were
/// not there.
bool reconnect(int camera);

}  // namespace kxcam
