// SPDX-License-Identifier: Apache-2.0
#include "configuration.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <system_error>

#include <fmt/format.h>

#include "error.h"

namespace kxcam {

std::string configuration_file() {
  const char* path = secure_getenv("KXUSB_CONF");
  return path != nullptr && *path != '\0' ? path : "/etc/kxusb.conf";
}

void require_configuration() {
  const std::string path = configuration_file();
  errno = 0;
  if (std::ifstream(path).is_open()) return;
  throw Error(
      ExitCode::kNoConfiguration,
      fmt::format("cannot read the configuration file {}: {}", path, std::generic_category().message(errno)),
      "It lists the devices that may be opened. A smallest one is three lines:\n"
      "    <VPD>\n"
      "    a7b7 3500 camera\n"
      "    </VPD>\n"
      "with one row for each product id (lsusb -d a7b7: shows yours).\n"
      "The package libkxcam1 brings one with every model, /etc/kxusb.conf; the environment variable\n"
      "KXUSB_CONF names a file in another place.");
}

std::string configuration_row_to_add(std::string_view product_id) {
  return fmt::format("Add the row \"a7b7 {} camera\" between <VPD> and </VPD>.", product_id);
}

}  // namespace kxcam
