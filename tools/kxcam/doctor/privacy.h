// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace kxcam::doctor {

/// A word and what stands for it in a text that others will read.
struct PrivateWord {
  std::string word;
  std::string replacement;
};

/// The home folder, the user's name and the host's name, as far as there are such.
std::vector<PrivateWord> private_words();

/// The text with each of the words replaced wherever it stands by itself: neither letter nor digit beside it.
std::string without(const std::vector<PrivateWord>& words, std::string text);

}  // namespace kxcam::doctor
