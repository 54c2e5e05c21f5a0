// SPDX-License-Identifier: Apache-2.0
#include "doctor/privacy.h"

#include <array>
#include <cctype>
#include <cstdlib>

#include <pwd.h>
#include <unistd.h>

namespace kxcam::doctor {
namespace {

bool is_part_of_word(const std::string& text, std::size_t place) {
  return place < text.size() && std::isalnum(static_cast<unsigned char>(text[place])) != 0;
}

bool stands_alone(const std::string& text, std::size_t begin, std::size_t size) {
  return (begin == 0 || !is_part_of_word(text, begin - 1)) && !is_part_of_word(text, begin + size);
}

std::string host_name() {
  std::array<char, 256> name{};
  if (gethostname(name.data(), name.size() - 1) != 0) return "";
  return name.data();
}

// Root's name is nobody's.
void add_user(const passwd* user, std::vector<PrivateWord>& words) {
  if (user == nullptr || user->pw_uid == 0) return;
  words.push_back({user->pw_dir, "HOME"});
  words.push_back({user->pw_name, "USER"});
}

}  // namespace

std::vector<PrivateWord> private_words() {
  // NOLINTBEGIN(concurrency-mt-unsafe): the program has one thread here
  std::vector<PrivateWord> words;
  add_user(getpwuid(getuid()), words);
  if (const char* before_sudo = std::getenv("SUDO_USER")) add_user(getpwnam(before_sudo), words);
  // NOLINTEND(concurrency-mt-unsafe)
  const std::string host = host_name();
  words.push_back({host, "HOST"});
  words.push_back({host.substr(0, host.find('.')), "HOST"});
  return words;
}

std::string without(const std::vector<PrivateWord>& words, std::string text) {
  for (const auto& [word, replacement] : words) {
    if (word.size() < 2) continue;  // a home folder of "/"
    for (auto at = text.find(word); at != std::string::npos; at = text.find(word, at)) {
      const bool alone = stands_alone(text, at, word.size());
      if (alone) text.replace(at, word.size(), replacement);
      at += alone ? replacement.size() : 1;
    }
  }
  return text;
}

}  // namespace kxcam::doctor
