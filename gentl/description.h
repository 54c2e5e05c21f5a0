// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string>

#include "feature.h"

namespace kxcam::gentl {

/// What a description says of itself.
struct DescriptionTitle {
  std::string model;         ///< a name of letters, digits and underscores
  std::string tooltip;       ///< of the whole
  std::string product_guid;  ///< the same for all of that model
};

/// The GenApi description, schema version 1.1, of a port with these features.
std::string describe(const DescriptionTitle& title, std::span<const Feature> features);

std::string hexadecimal(uint64_t number);

/// Text as XML has it; what is not ASCII becomes a question mark, as some consumers read nothing else.
std::string xml_text(const std::string& text);

}  // namespace kxcam::gentl
