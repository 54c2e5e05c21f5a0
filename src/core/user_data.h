// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

// 63 bytes in the camera that are the application's own. A length of 0 or less succeeds without asking the
// camera, whether there is one or not. Codes of both: 1; 2 for more than 63 bytes; 3, 4; 10 or 11 when a byte
// fails: those before it are transferred.

bool read_user_data(int camera, char* buffer, int length);
bool write_user_data(int camera, const char* buffer, int length);

}  // namespace kxcam
