// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

#include "call_watch.h"
#include "random.h"

namespace kxcam::soak {

/// A function of the library with arguments of its own choice, right ones and a few wrong ones.
struct Setting {
  const char* function;
  uint32_t (*call)(int camera, Random& random);
  Patience patience = Patience::kRequest;
};

/// Everything that changes how pictures are taken or made, but geometry and snap mode.
std::span<const Setting> setters();
/// Everything that only asks.
std::span<const Setting> getters();

}  // namespace kxcam::soak
