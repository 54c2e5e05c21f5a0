// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxsim {

/// Whether the program or library with the code at `address` uses of libudev what libusb does, and no more
/// than this front end has. So it is with libusb, under whatever name and in whatever library it was linked.
bool is_served_by_front(const void* address);

}  // namespace kxsim
