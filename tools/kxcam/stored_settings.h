// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "controls.h"

namespace kxcam {

/// Of the two sets of settings that a camera keeps, the one that is loaded when it is opened.
inline constexpr int kSlotLoadedAtOpen = 0;
inline constexpr int kLastSlot = 1;

/// Whether a camera that was just opened came up with settings that nobody ever stored: the interface does
/// not say, but the settings whose every stored value is taken as it is then are all at their last one.
bool has_blank_settings(const OpenCamera& camera);

/// Sets all of `settings` that the camera has and returns the names of those that it has not.
/// Throws Error when it refuses one for another reason.
std::vector<std::string_view> write_settings(const OpenCamera& camera, std::span<const Assignment> settings);

/// Sets every control to the value it has in a camera fresh from the factory.
void write_neutral_settings(const OpenCamera& camera);

/// Stores the settings, loads them again and throws Error when the camera did not keep them.
void store_settings(const OpenCamera& camera, int slot);

/// Throws Error when the stored set cannot be loaded, or only in part.
void load_stored_settings(const OpenCamera& camera, int slot);

}  // namespace kxcam
