// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kxcam::view {

/// The longest request: its head, and its body.
inline constexpr std::size_t kMostHeadBytes = 16384;
inline constexpr std::size_t kMostBodyBytes = 65536;

/// What a client asks for.
struct HttpRequest {
  std::string method;
  std::string path;
  std::multimap<std::string, std::string> query;
  std::map<std::string, std::string> headers;  ///< names in small letters
  std::string body;

  /// "" where there is none.
  std::string header(const std::string& name) const {
    const auto found = headers.find(name);
    return found == headers.end() ? std::string() : found->second;
  }
  bool has_header(const std::string& name) const { return headers.contains(name); }
};

struct HttpReply {
  int status = 200;
  std::string type = "application/json";
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers = {};
};

}  // namespace kxcam::view
