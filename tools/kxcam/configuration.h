// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace kxcam {

/// Path of the file in which the library looks up the devices it may open.
std::string configuration_file();

/// Throws Error when the library could not read that file. Asked before the first call into the
/// library, whose own message for it says nothing of the cure.
void require_configuration();

/// Advice to list a device of the cameras' vendor with that product id, four hexadecimal digits.
std::string configuration_row_to_add(std::string_view product_id);

}  // namespace kxcam
