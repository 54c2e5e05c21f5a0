// SPDX-License-Identifier: Apache-2.0
#include "device/conf_file.h"

#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include <unistd.h>

#include "device/descriptors.h"
#include "device/model.h"

namespace kxsim {
namespace {

/// A row's description is one word; the model's name without its first one is.
std::string_view one_word(std::string_view name) {
  return name.substr(name.find(' ') + 1);
}

std::ostream& write_all_ids(std::ostream& out) {
  out << "# Every simulated camera model, written by kxsim.\n<VPD>\n" << std::hex << std::setfill('0');
  const auto add = [&out](uint32_t product, std::string_view description) {
    out << std::setw(4) << kVendorId << ' ' << std::setw(4) << product << ' ' << description << '\n';
  };
  for (const auto& row : all_models()) add(row.product_id, one_word(row.name));
  add(kGenericProductId, "generic");
  return out << "</VPD>\n";
}

}  // namespace

TemporaryConfFile::TemporaryConfFile() {
  auto name = (std::filesystem::temp_directory_path() / "kxsim-XXXXXX").string();
  const int descriptor = mkstemp(name.data());
  if (descriptor < 0) throw std::runtime_error("cannot write a temporary file in " + name);
  close(descriptor);
  path_ = name;
  std::ofstream file(path_);
  if (!write_all_ids(file).flush()) {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
    throw std::runtime_error("cannot write " + name);
  }
}

TemporaryConfFile::~TemporaryConfFile() {
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

}  // namespace kxsim
