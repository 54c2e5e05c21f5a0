// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

// Time for the library under test, which is linked with its delays, its clock and the start and end of its
// reader threads replaced by those of virtual_time.cpp. Time passes only while every thread sleeps, and
// exactly one thread runs at any moment: a life of a camera takes no longer than it computes, and every run
// of an input is the same.
namespace kxcam {

/// Lets `ms` milliseconds pass for the calling thread, and others run meanwhile.
void pass_time(int64_t ms);

/// Milliseconds since the process began.
int64_t virtual_now();

/// Whether reader threads exist.
bool any_reader();

/// Makes the next start of a reader fail as a system without threads to give does.
void refuse_next_reader(bool refuse);

}  // namespace kxcam
