// SPDX-License-Identifier: Apache-2.0
// Sends any bytes to the server of `kxcam view`: it answers with HTTP or not at all, lets nobody in without
// the token, and what it reads out of a request lies within bounds.
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "frame_figures.h"
#include "guard.h"
#include "http_server.h"
#include "preview.h"
#include "request_head.h"
#include "requests.h"
#include "require.h"

namespace kxcam::view {
namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 48;
constexpr const char* kToken = "0123456789abcdef0123456789abcdef";

class Service final : public HttpService {
 public:
  Admission admit(const HttpRequest& request, HttpReply& reply) override {
    const auto refusal = guard_.refuse(request);
    if (refusal) reply = *refusal;
    return refusal ? Admission::kRefused : Admission::kFriend;
  }

  HttpReply answer(const HttpRequest& request) override try {
    require(is_page_file(request.path) || request.header("x-kxcam-token") == kToken, "the token is known");
    require(request.body.size() <= kMostBodyBytes, "the body is no longer than it may be");
    if (request.method == "GET") return show(request);
    const nlohmann::json body = parse_body(request);
    if (body.contains("x")) rectangle_in(body);
    if (body.contains("on")) flag_in(body, "on");
    require(std::isfinite(number_in(body, "value")), "a number is finite");
    return {.body = text_in(body, "name")};
  } catch (const Refusal& refusal) {
    return plain_reply(refusal.status(), refusal.what());
  }

 private:
  HttpReply show(const HttpRequest& request) const {
    const FrameWish wish = parse_frame_wish(request);
    const Picture picture = {.width = kWidth, .height = kHeight, .channels = 3, .samples = samples_};
    const Preview preview = make_preview(picture, wish.look);
    require(preview.width > 0 && preview.height > 0, "a preview shows something");
    require(within(preview.part, kWidth, kHeight) == preview.part, "a preview is part of the picture");
    if (wish.focus) require(sharpness(picture, *wish.focus) >= 0, "sharpness is a number");
    return {.body = std::string(preview.samples.begin(), preview.samples.end())};
  }

  Guard guard_{8700, kToken};
  std::vector<uint8_t> samples_ = std::vector<uint8_t>(3 * kWidth * kHeight, 255);
};

}  // namespace
}  // namespace kxcam::view

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kxcam::view;
  static Service service;
  const std::string_view sent(reinterpret_cast<const char*>(data), size);
  const std::string answer = HttpServer::converse(service, sent);
  kxcam::require(answer.empty() || answer.starts_with("HTTP/1.1 "), "an answer is HTTP");
  kxcam::require(answer.find("500 Internal") == std::string::npos, "nothing goes wrong inside");
  return 0;
}
