// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

/// Marks where register access of one camera would have to be serialised. It excludes nothing:
/// libusb serialises the requests of one handle, and callers that need a longer sequence to be
/// undisturbed hold a lock of their own.
class CMyLock {
 public:
  void lock() {}    // NOLINT(readability-convert-member-functions-to-static): BasicLockable
  void unlock() {}  // NOLINT(readability-convert-member-functions-to-static)
};

}  // namespace kxcam
