// SPDX-License-Identifier: Apache-2.0
#include "guard.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

#include <fmt/format.h>
#include <sys/random.h>

#include "error.h"

namespace kxcam::view {

std::string make_token() {
  std::array<uint8_t, 16> bytes{};
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
    throw Error(ExitCode::kFailure, "the kernel gives no random numbers");
  std::string token;
  for (const uint8_t byte : bytes) token += fmt::format("{:02x}", byte);
  return token;
}

bool is_page_file(const std::string& path) {
  return path == "/" || path == "/page.css" || path == "/page.js";
}

HttpReply plain_reply(int status, const std::string& text) {
  return {.status = status, .type = "text/plain; charset=utf-8", .body = text};
}

Guard::Guard(int port, std::string token)
    : host_(fmt::format("127.0.0.1:{}", port)),
      local_host_(fmt::format("localhost:{}", port)),
      token_(std::move(token)) {}

// Takes as long for every token of the right length, so that nobody finds it digit by digit.
bool Guard::knows_token(const std::string& given) const {
  if (given.size() != token_.size()) return false;
  unsigned difference = 0;
  for (std::size_t i = 0; i < token_.size(); ++i)
    difference |= static_cast<unsigned>(given[i]) ^ static_cast<unsigned>(token_[i]);
  return difference == 0;
}

std::optional<HttpReply> Guard::refuse(const HttpRequest& request) const {
  const bool post = request.method == "POST";
  if (!post && request.method != "GET") return plain_reply(405, "only GET and POST are answered");
  // Another name may lead here because its owner says so (DNS rebinding).
  const std::string host = request.header("host");
  if (host != host_ && host != local_host_) return plain_reply(403, "wrong host");
  if (request.has_header("origin") && request.header("origin") != "http://" + host)
    return plain_reply(403, "wrong origin");
  // A link may lead to the page, from anywhere.
  const std::string site = request.header("sec-fetch-site");
  const bool from_elsewhere = !site.empty() && site != "same-origin" && site != "none";
  if (from_elsewhere && request.path != "/") return plain_reply(403, "request of another site");
  if (!post && is_page_file(request.path)) return std::nullopt;
  if (!knows_token(request.header("x-kxcam-token")))
    return plain_reply(403, "token missing or wrong: use the address that kxcam view printed");
  if (!post) return std::nullopt;
  if (request.header("content-type") != "application/json") return plain_reply(415, "JSON is expected");
  if (!request.has_header("content-length")) return plain_reply(411, "the length of the body has to be told");
  return std::nullopt;
}

}  // namespace kxcam::view
