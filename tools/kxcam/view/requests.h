// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

#include "http.h"

namespace kxcam::view {

/// What cannot be done; what() is for the user of the browser.
class Refusal : public std::runtime_error {
 public:
  explicit Refusal(const std::string& text, int status = 400) : std::runtime_error(text), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

/// Part of a picture in pixels.
struct Rectangle {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  bool operator==(const Rectangle&) const = default;
};

/// What is seen of `wanted` in a picture of that size; nothing where the two do not meet.
std::optional<Rectangle> within(const Rectangle& wanted, int width, int height);

/// How a picture is to be shown.
struct Look {
  std::optional<Rectangle> part;  ///< all of it otherwise
  int width = 1280;               ///< the most pixels in a row
  bool zebra = false;
  bool operator==(const Look&) const = default;
};

struct FrameWish {
  uint64_t after = 0;  ///< number of the newest picture that the client has
  Look look;
  bool figures = false;
  std::optional<Rectangle> focus;
};

/// All throw Refusal.
FrameWish parse_frame_wish(const HttpRequest& request);
/// A parameter of the address: a number without a sign, of at most `most`; `standard` where there is none.
uint64_t parse_number(const HttpRequest& request, const std::string& name, uint64_t standard, uint64_t most);
/// The body, which is an object.
nlohmann::json parse_body(const HttpRequest& request);
double number_in(const nlohmann::json& body, const char* name);
std::string text_in(const nlohmann::json& body, const char* name);
bool flag_in(const nlohmann::json& body, const char* name);
Rectangle rectangle_in(const nlohmann::json& body);

}  // namespace kxcam::view
