// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace kxcam {

/// One device that the library may open.
struct VpdRow {
  uint16_t vendor;
  uint16_t product;
  std::array<char, 30> description;  ///< always terminated
};

/// Path of the configuration file: `/etc/kxusb.conf`, or what KXUSB_CONF names in a process without
/// raised privileges.
const char* config_file_path();

/// Reads the file into `logfile`, `pidfile` and the table of devices. The rows are appended to those of
/// earlier calls until the table is full; what follows in the file then is not looked at. False, with a
/// message on standard output, when the file cannot be read. A malformed line ends the process.
/// Not thread-safe.
bool read_config_file();

/// The rows in use, empty ones (vendor 0) among them. Valid until the next read_config_file().
std::span<const VpdRow> listed_devices();

}  // namespace kxcam
