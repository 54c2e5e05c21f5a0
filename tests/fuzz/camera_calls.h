// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "input.h"

namespace kxcam {

class ScriptedBus;

/// One call of the public interface, or something that happens to the cables: which one and with what
/// arguments is up to the input. `camera` is the index that calls are for; some of them change it.
void make_call(Input& input, ScriptedBus& bus, int& camera);

}  // namespace kxcam
