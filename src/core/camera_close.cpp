// SPDX-License-Identifier: Apache-2.0
#include "core/camera_close.h"

#include <mutex>

#include "core/contexts.h"
#include "core/device_attachment.h"
#include "core/last_error.h"

namespace kxcam {

bool free_camera(int camera) {
  if (!check_index(camera)) return false;
  // The slot goes first: of two closes only one gets the context.
  const ContextRef context = vacate_slot(camera);
  if (context == nullptr) return fail(KXCAM_ERROR_NOT_OPEN);
  const WriteLock writing(context->context_lock);
  const std::lock_guard attachment(context->attachment_mutex);
  detach_device(*context);
  return true;
}

}  // namespace kxcam
