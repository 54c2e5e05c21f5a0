// SPDX-License-Identifier: Apache-2.0
#include "requests.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

#include <fmt/format.h>

namespace kxcam::view {
namespace {

using nlohmann::json;

/// More than any sensor has, and no sum of two overflows.
constexpr int kMostPixels = 1 << 20;
constexpr int kWidestPreview = 4096;

std::string parameter(const HttpRequest& request, const std::string& name) {
  const auto found = request.query.find(name);
  return found == request.query.end() ? std::string() : found->second;
}

template <class Number>
std::optional<Number> whole_number(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// "X,Y,W,H"
std::optional<Rectangle> rectangle(const HttpRequest& request, const std::string& name) {
  const std::string given = parameter(request, name);
  if (given.empty()) return std::nullopt;
  std::array<int, 4> numbers{};
  std::string_view rest = given;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const auto end = rest.find(',');
    const bool last = i + 1 == numbers.size();
    const auto number = whole_number<int>(rest.substr(0, end));
    if (!number || std::abs(*number) > kMostPixels || (end == std::string_view::npos) != last)
      throw Refusal(fmt::format("{} has to be four numbers", name));
    numbers[i] = *number;
    if (!last) rest.remove_prefix(end + 1);
  }
  return Rectangle{numbers[0], numbers[1], numbers[2], numbers[3]};
}

const json& member(const json& body, const char* name) {
  const auto found = body.find(name);
  if (found == body.end()) throw Refusal(fmt::format("{} is missing", name));
  return *found;
}

int pixels_in(const json& body, const char* name) {
  const double number = number_in(body, name);
  if (number != std::trunc(number) || std::abs(number) > kMostPixels)
    throw Refusal(fmt::format("{} has to be a whole number of pixels", name));
  return static_cast<int>(number);
}

}  // namespace

std::optional<Rectangle> within(const Rectangle& wanted, int width, int height) {
  const int left = std::clamp(wanted.x, 0, width);
  const int top = std::clamp(wanted.y, 0, height);
  const int right = std::clamp(wanted.x + wanted.width, 0, width);
  const int bottom = std::clamp(wanted.y + wanted.height, 0, height);
  if (right <= left || bottom <= top) return std::nullopt;
  return Rectangle{left, top, right - left, bottom - top};
}

uint64_t parse_number(const HttpRequest& request, const std::string& name, uint64_t standard, uint64_t most) {
  const std::string given = parameter(request, name);
  if (given.empty()) return standard;
  const auto number = whole_number<uint64_t>(given);
  if (!number || *number > most) throw Refusal(fmt::format("{} has to be a number up to {}", name, most));
  return *number;
}

FrameWish parse_frame_wish(const HttpRequest& request) {
  constexpr uint64_t kAny = UINT64_MAX;
  FrameWish wish;
  wish.after = parse_number(request, "after", 0, kAny);
  wish.look.width = std::max(16, static_cast<int>(parse_number(request, "width", 1280, kWidestPreview)));
  wish.look.zebra = parse_number(request, "zebra", 0, 1) == 1;
  wish.look.part = rectangle(request, "part");
  wish.figures = parse_number(request, "figures", 0, 1) == 1;
  wish.focus = rectangle(request, "focus");
  return wish;
}

json parse_body(const HttpRequest& request) {
  json body = json::parse(request.body, nullptr, false);
  if (!body.is_object()) throw Refusal("the request is not a JSON object");
  return body;
}

double number_in(const json& body, const char* name) {
  const json& value = member(body, name);
  if (!value.is_number()) throw Refusal(fmt::format("{} has to be a number", name));
  return value.get<double>();
}

std::string text_in(const json& body, const char* name) {
  const json& value = member(body, name);
  if (!value.is_string()) throw Refusal(fmt::format("{} has to be a text", name));
  return value.get<std::string>();
}

bool flag_in(const json& body, const char* name) {
  const json& value = member(body, name);
  if (!value.is_boolean()) throw Refusal(fmt::format("{} has to be true or false", name));
  return value.get<bool>();
}

Rectangle rectangle_in(const json& body) {
  return {pixels_in(body, "x"), pixels_in(body, "y"), pixels_in(body, "width"), pixels_in(body, "height")};
}

}  // namespace kxcam::view
