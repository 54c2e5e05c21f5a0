// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "kxcam/kxcam.h"

namespace kxcam {

/// Stores the cause of a failure in the exported `last_error`.
void set_last_error(kxcam_error code);

/// Stores the cause and returns false: `return fail(KXCAM_ERROR_ARGUMENT);`.
inline bool fail(kxcam_error code) {
  set_last_error(code);
  return false;
}

int get_last_error();

}  // namespace kxcam
