// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

// Time for the library under test, which is linked with its delays, its clock and the start and end of its
// readers replaced by those of virtual_time.cpp. Time passes only while all of them sleep, and one of them
// runs at any moment: a life of a camera takes no longer than it computes, and every run of an input is the
// same.
namespace kxcam {

/// Lets `ms` milliseconds pass for the caller, and others run meanwhile.
void pass_time(int64_t ms);

/// Milliseconds since the process began.
int64_t virtual_now();

/// Whether a reader was started and not joined.
bool any_reader();

/// Makes the next start of a reader fail, as on a system that has no thread to give.
void refuse_next_reader(bool refuse);

}  // namespace kxcam
