// SPDX-License-Identifier: Apache-2.0
#include "configuration.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <fmt/format.h>

namespace kxcam {
namespace {

constexpr std::size_t kRows = 83;
constexpr std::size_t kLineLength = 119;  // what is longer counts as several lines
constexpr std::string_view kBlanks = " \t\n";

/// Takes the next token off the front of `text`; "" when there is none.
std::string_view take_token(std::string_view& text, std::string_view delimiters) {
  text.remove_prefix(std::min(text.find_first_not_of(delimiters), text.size()));
  const std::string_view token = text.substr(0, text.find_first_of(delimiters));
  text.remove_prefix(token.size());
  return token;
}

std::string_view take_line(std::string_view& text) {
  const std::size_t end = text.substr(0, kLineLength).find('\n');
  const std::string_view line = text.substr(0, end == std::string_view::npos ? kLineLength : end + 1);
  text.remove_prefix(line.size());
  return line.substr(0, line.find('\0'));
}

bool is_blank_or_comment(std::string_view line) {
  return line.starts_with('#') || line.find_first_not_of(kBlanks) == std::string_view::npos;
}

uint16_t hexadecimal(std::string_view text) {
  return static_cast<uint16_t>(std::strtoul(std::string(text).c_str(), nullptr, 16));
}

class Reader {
 public:
  /// False when nothing after this line counts.
  bool read(std::string_view line) {
    const bool go_on = is_blank_or_comment(line) || (in_rows_ ? read_row(line) : read_key(line));
    if (line.ends_with('\n')) ++line_number_;
    return go_on;
  }

  DeviceList take() { return std::move(list_); }

 private:
  bool read_key(std::string_view line) {
    const std::string_view key = take_token(line, " =\t\n");
    in_rows_ = key == "<VPD>";
    if (in_rows_ || key == "LogFile" || key == "PIDFile" || key.empty()) return true;
    list_.bad_line = line_number_;
    list_.bad_word = key;
    return false;
  }

  bool read_row(std::string_view line) {
    const std::string_view vendor = take_token(line, kBlanks);
    const std::string_view product = take_token(line, kBlanks);
    const bool full = list_.devices.size() == kRows;
    if (full) {
      list_.truncated = vendor != "</VPD>";
      return false;
    }
    in_rows_ = vendor != "</VPD>";
    if (in_rows_ && !product.empty()) list_.devices.push_back({hexadecimal(vendor), hexadecimal(product)});
    return true;
  }

  DeviceList list_;
  bool in_rows_ = false;
  int line_number_ = 1;
};

}  // namespace

bool DeviceList::contains(uint16_t vendor, uint16_t product) const {
  return std::ranges::find(devices, Device{vendor, product}) != devices.end();
}

DeviceList read_device_list(std::string_view text) {
  Reader reader;
  while (!text.empty() && reader.read(take_line(text))) {
  }
  return reader.take();
}

std::string configuration_file() {
  const char* path = secure_getenv("KXUSB_CONF");
  return path != nullptr && *path != '\0' ? path : "/etc/kxusb.conf";
}

std::string configuration_row_to_add(uint16_t product) {
  return fmt::format("Add the row \"{:04x} {:04x} camera\" between <VPD> and </VPD>.", kCameraVendor,
                     product);
}

}  // namespace kxcam
