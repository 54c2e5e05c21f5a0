// SPDX-License-Identifier: Apache-2.0
#include "printable.h"

#include <algorithm>

namespace kxcam {

std::string printable(std::string text) {
  std::ranges::replace_if(
      text, [](char c) { return c < ' ' || c > '~'; }, '?');
  return text;
}

}  // namespace kxcam
