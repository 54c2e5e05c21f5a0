// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

/// Marks where readers and the destruction of a camera would have to exclude each other. It excludes
/// nothing: a context stays alive through the references that running calls hold to it.
class CRWLockImpl {
 public:
  void lock_read();
  void unlock_read();
  void lock_write();
  void unlock_write();
};

/// Read mode for a scope.
class ReadLock {
 public:
  explicit ReadLock(CRWLockImpl& lock) : lock_(lock) { lock_.lock_read(); }
  ~ReadLock() { lock_.unlock_read(); }
  ReadLock(const ReadLock&) = delete;
  ReadLock& operator=(const ReadLock&) = delete;

 private:
  CRWLockImpl& lock_;
};

/// Write mode for a scope.
class WriteLock {
 public:
  explicit WriteLock(CRWLockImpl& lock) : lock_(lock) { lock_.lock_write(); }
  ~WriteLock() { lock_.unlock_write(); }
  WriteLock(const WriteLock&) = delete;
  WriteLock& operator=(const WriteLock&) = delete;

 private:
  CRWLockImpl& lock_;
};

}  // namespace kxcam
