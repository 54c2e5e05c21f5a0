// SPDX-License-Identifier: Apache-2.0
#include "kxsim/conf_file.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include <fmt/format.h>
#include <unistd.h>

#include "core/model_table.h"
#include "device/descriptors.h"

namespace kxsim {
namespace {

/// A row's description is one word; the model's name without its first one is.
std::string_view one_word(std::string_view name) {
  return name.substr(name.find(' ') + 1);
}

std::string all_ids() {
  std::string text = "# Every simulated camera model, written by kxsim.\n<VPD>\n";
  const auto add = [&text](uint32_t product, std::string_view description) {
    text += fmt::format("{:04x} {:04x} {}\n", kVendorId, product, description);
  };
  for (const auto& row : kxcam::model_table) add(row.PID, one_word(row.MODEL));
  add(kGenericProductId, "generic");
  return text + "</VPD>\n";
}

}  // namespace

TemporaryConfFile::TemporaryConfFile() {
  auto name = (std::filesystem::temp_directory_path() / "kxsim-XXXXXX").string();
  const int descriptor = mkstemp(name.data());
  if (descriptor < 0) throw std::runtime_error("cannot write a temporary file in " + name);
  close(descriptor);
  path_ = name;
  std::ofstream file(path_);
  if (!(file << all_ids()).flush()) {
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
