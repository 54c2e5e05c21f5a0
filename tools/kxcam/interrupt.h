// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

/// From now on SIGINT and SIGTERM are noted instead of ending the program, so that an open camera is
/// closed; a second signal ends it at once. A closed pipe is an error of write(2), not a signal.
void watch_for_interrupts();

/// True once one of the signals has come.
bool interrupted();

}  // namespace kxcam
