// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "http.h"

namespace kxcam::view {

/// 128 bits from the kernel, as hexadecimal digits. Throws Error.
std::string make_token();

/// Lets in who knows the token and comes from the page itself, and nobody else: a page of a stranger in the
/// user's browser can send requests here too, and so can other users of the machine.
class Guard {
 public:
  Guard(int port, std::string token);

  /// The answer to a request that is not let in. The body has not been read by then.
  std::optional<HttpReply> refuse(const HttpRequest& request) const;

 private:
  bool knows_token(const std::string& given) const;

  std::string host_;
  std::string local_host_;
  std::string token_;
};

/// The page and what it is made of, which hold no secret.
bool is_page_file(const std::string& path);

HttpReply plain_reply(int status, const std::string& text);

}  // namespace kxcam::view
