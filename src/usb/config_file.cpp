// SPDX-License-Identifier: Apache-2.0
#include "usb/config_file.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace kxcam {

namespace {

constexpr size_t kLineLength = 119;  // what is longer counts as several lines
constexpr std::string_view kBlanks = " \t\n";
constexpr std::string_view kKeyEnds = " =\t\n";

/// Takes the next token and the character behind it off the front of `text`; "" when there is none.
std::string_view take_token(std::string_view& text, std::string_view delimiters) {
  text.remove_prefix(std::min(text.find_first_not_of(delimiters), text.size()));
  const std::string_view token = text.substr(0, text.find_first_of(delimiters));
  text.remove_prefix(std::min(token.size() + 1, text.size()));
  return token;
}

/// A line of the file, which ends at a zero byte too.
std::string_view take_line(std::string_view& text) {
  const size_t end = text.substr(0, kLineLength).find('\n');
  const std::string_view line = text.substr(0, end == std::string_view::npos ? kLineLength : end + 1);
  text.remove_prefix(line.size());
  return line;
}

bool is_blank_or_comment(std::string_view line) {
  return line.starts_with('#') || line.find_first_not_of(kBlanks) == std::string_view::npos;
}

uint16_t hexadecimal(std::string_view text) {
  return static_cast<uint16_t>(std::strtoul(std::string(text).c_str(), nullptr, 16));
}

class Reader {
 public:
  explicit Reader(size_t room) : room_(room) {}

  /// False when nothing after this line counts.
  bool read(std::string_view line) {
    const bool ends = line.ends_with('\n');
    line = line.substr(0, line.find('\0'));
    const bool go_on = is_blank_or_comment(line) || (in_rows_ ? read_row(line) : read_key(line));
    if (ends) ++line_number_;
    return go_on;
  }

  ConfigFile take() { return std::move(file_); }

 private:
  bool read_key(std::string_view line) {
    const std::string_view key = take_token(line, kKeyEnds);
    if (key.empty()) return true;
    in_rows_ = key == "<VPD>";
    if (in_rows_) return true;
    if (key != "LogFile" && key != "PIDFile") {
      file_.bad_line = line_number_;
      file_.bad_word = key;
      return false;
    }
    const std::string_view path = take_token(line, kBlanks);
    if (!path.empty()) (key == "LogFile" ? file_.logfile : file_.pidfile) = path;
    return true;
  }

  /// A row without a product id names no device and is left out.
  bool read_row(std::string_view line) {
    const std::string_view vendor = take_token(line, kBlanks);
    const std::string_view product = take_token(line, kBlanks);
    const std::string_view description = take_token(line, kBlanks);
    if (file_.devices.size() == room_) {
      file_.truncated = vendor != "</VPD>";
      return false;
    }
    in_rows_ = vendor != "</VPD>";
    if (!in_rows_ || product.empty()) return true;
    VpdRow& row = file_.devices.emplace_back(VpdRow{hexadecimal(vendor), hexadecimal(product), {}});
    description.copy(row.description.data(), row.description.size() - 1);
    return true;
  }

  ConfigFile file_;
  size_t room_;
  bool in_rows_ = false;
  int line_number_ = 1;
};

}  // namespace

ConfigFile parse_config_file(std::string_view text, size_t room) {
  Reader reader(room);
  while (!text.empty() && reader.read(take_line(text))) {
  }
  return reader.take();
}

const char* config_file_path() {
  const char* path = secure_getenv("KXUSB_CONF");
  return path != nullptr && *path != '\0' ? path : "/etc/kxusb.conf";
}

}  // namespace kxcam
