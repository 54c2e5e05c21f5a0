// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

// Locks that exclude nothing. A context has them, and nothing relies on them: it is kept alive by the
// references that running calls hold, libusb keeps the requests of one handle apart, and what two threads
// share is Relaxed, Published or guarded by a mutex. docs/architecture.md lists the locks that lock.

// NOLINTBEGIN(readability-convert-member-functions-to-static): the shape of a lock
class CRWLockImpl {
 public:
  void lock_read() {}
  void unlock_read() {}
  void lock_write() {}
  void unlock_write() {}
};

class CMyLock {
 public:
  void lock() {}
  void unlock() {}
};
// NOLINTEND(readability-convert-member-functions-to-static)

}  // namespace kxcam
