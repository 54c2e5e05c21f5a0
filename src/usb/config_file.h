// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kxcam {

/// One device that the library may open.
struct VpdRow {
  uint16_t vendor;
  uint16_t product;
  std::array<char, 30> description;  ///< always terminated

  bool operator==(const VpdRow&) const = default;
};

/// Rows of a file that the library has room for.
inline constexpr size_t kConfigFileRows = 83;

/// What a configuration file says.
struct ConfigFile {
  std::vector<VpdRow> devices;
  std::string logfile;     ///< "" when the file names none
  std::string pidfile;     ///< likewise
  bool truncated = false;  ///< there are more rows than there was room for
  int bad_line = 0;        ///< number of the malformed line at which reading ended; 0: none
  std::string bad_word;    ///< with which that line begins
};

/// Reads the text of a configuration file, rows as far as there is `room`: what follows the last one that
/// fits is not looked at, be it malformed or not. So does a line without a known key end the reading.
ConfigFile parse_config_file(std::string_view text, size_t room);

/// Path of the configuration file: `/etc/kxusb.conf`, or what KXUSB_CONF names in a process without
/// raised privileges.
const char* config_file_path();

}  // namespace kxcam
