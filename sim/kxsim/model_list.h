// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kxsim {

/// All models as a table for people, with a heading.
std::string model_table_text();

/// All models as a JSON array of objects with the keys product_id, name, width, height, color (RGGB, BGGR,
/// GRBG, GBRG, MONO8 or MONO12), bridge (newer or older) and endpoint.
std::string model_table_json();

}  // namespace kxsim
