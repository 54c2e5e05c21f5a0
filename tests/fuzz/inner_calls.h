// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "input.h"

namespace kxcam {

/// One call of an operation that the public interface does not hand out, for the camera at an index.
void make_inner_call(Input& input, int camera);

}  // namespace kxcam
