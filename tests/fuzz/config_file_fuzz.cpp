// SPDX-License-Identifier: Apache-2.0
// Reads any configuration file: what is kept of it stays within its bounds, and less room keeps the first
// rows.
#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>

#include "require.h"
#include "usb/config_file.h"

namespace kxcam {
namespace {

bool ends(const VpdRow& row) {
  return std::ranges::find(row.description, '\0') != row.description.end();
}

void check(const ConfigFile& file, size_t room) {
  require(file.devices.size() <= room, "no more rows than there is room for");
  require(std::ranges::all_of(file.devices, ends), "a description ends");
  require((file.bad_line == 0) == file.bad_word.empty(), "a bad line has a word");
  require(file.bad_line == 0 || !file.truncated, "reading ends once");
}

}  // namespace
}  // namespace kxcam

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kxcam;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const ConfigFile file = parse_config_file(text, kConfigFileRows);
  check(file, kConfigFileRows);
  const size_t room = file.devices.size() / 2;
  const ConfigFile part = parse_config_file(text, room);
  check(part, room);
  require(std::ranges::equal(part.devices, std::span(file.devices).first(room)),
          "the first rows are the same");
  return 0;
}
