// SPDX-License-Identifier: Apache-2.0
#include "request_head.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <set>

namespace kxcam::view {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kMostRequestLine = 1024;
constexpr std::array<std::string_view, 7> kHeadersThatMatter = {
    "connection", "content-length", "content-type", "host", "origin", "sec-fetch-site", "x-kxcam-token"};

constexpr HeadRefusal kMalformed = {400, "the request is malformed"};

bool is_printable(std::string_view text) {
  return std::ranges::all_of(text, [](unsigned char c) { return c >= 0x20 && c < 0x7F; });
}

bool is_name(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, [](unsigned char c) {
    return (std::isalnum(c) != 0) || c == '-' || c == '_';
  });
}

std::string_view trim(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string in_small_letters(std::string_view text) {
  std::string small(text);
  std::ranges::transform(small, small.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return small;
}

/// Takes the next line off the front of `rest`; nothing is taken where no line ends.
std::string_view take_line(std::string_view& rest) {
  const auto end = rest.find(kLineEnd);
  if (end == std::string_view::npos) return {};
  const std::string_view line = rest.substr(0, end);
  rest.remove_prefix(end + kLineEnd.size());
  return line;
}

class Sifter {
 public:
  std::variant<RequestHead, HeadRefusal> sift(std::string_view head) {
    const std::string_view request_line = take_line(head);
    if (request_line.size() > kMostRequestLine) return HeadRefusal{414, "the address is too long"};
    if (request_line.empty() || !is_printable(request_line)) return kMalformed;
    head_.text.append(request_line).append(kLineEnd);
    for (;;) {
      if (head.empty()) return kMalformed;
      const std::string_view line = take_line(head);
      if (line.empty()) break;
      if (!take_header(line)) return refusal_;
    }
    head_.text.append(kLineEnd);
    return head_;
  }

 private:
  bool refuse(const HeadRefusal& refusal) {
    refusal_ = refusal;
    return false;
  }

  bool take_header(std::string_view line) {
    const auto colon = line.find(':');
    if (colon == std::string_view::npos || !is_name(line.substr(0, colon))) return refuse(kMalformed);
    const std::string name = in_small_letters(line.substr(0, colon));
    // A body whose end is found by other means than its length.
    if (name == "transfer-encoding") return refuse({501, "the length of the body has to be told"});
    if (std::ranges::find(kHeadersThatMatter, name) == kHeadersThatMatter.end()) return true;
    const std::string_view value = trim(line.substr(colon + 1));
    if (!is_printable(value) || !seen_.insert(name).second) return refuse(kMalformed);
    if (name == "content-length" && !take_length(value)) return false;
    head_.text.append(name).append(": ").append(value).append(kLineEnd);
    return true;
  }

  bool take_length(std::string_view value) {
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), head_.body_bytes);
    const bool number = end == value.data() + value.size() && !value.empty();
    if (!number || error == std::errc::invalid_argument) return refuse(kMalformed);
    if (error != std::errc() || head_.body_bytes > kMostBodyBytes)
      return refuse({413, "the body is too long"});
    return true;
  }

  RequestHead head_;
  HeadRefusal refusal_ = kMalformed;
  std::set<std::string> seen_;
};

}  // namespace

std::variant<RequestHead, HeadRefusal> sift_head(std::string_view head) {
  return Sifter().sift(head);
}

}  // namespace kxcam::view
