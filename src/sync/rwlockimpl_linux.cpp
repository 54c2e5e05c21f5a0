// SPDX-License-Identifier: Apache-2.0
#include "sync/empty_locks.h"

namespace kxcam {

void CRWLockImpl::lock_read() {}
void CRWLockImpl::unlock_read() {}
void CRWLockImpl::lock_write() {}
void CRWLockImpl::unlock_write() {}

}  // namespace kxcam
