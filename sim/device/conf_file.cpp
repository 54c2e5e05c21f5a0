// SPDX-License-Identifier: Apache-2.0
#include "device/conf_file.h"

#include <cerrno>
#include <iomanip>
#include <sstream>
#include <string_view>
#include <system_error>

#include <sys/mman.h>
#include <unistd.h>

#include "device/descriptors.h"
#include "device/model.h"

namespace kxsim {
namespace {

/// A row's description is one word; the model's name without its first one is.
std::string_view one_word(std::string_view name) {
  return name.substr(name.find(' ') + 1);
}

}  // namespace

std::string conf_text() {
  std::ostringstream out;
  out << "# Every simulated camera model, written by kxsim.\n<VPD>\n" << std::hex << std::setfill('0');
  const auto add = [&out](uint32_t product, std::string_view description) {
    out << std::setw(4) << kVendorId << ' ' << std::setw(4) << product << ' ' << description << '\n';
  };
  for (const auto& row : all_models()) add(row.product_id, one_word(row.name));
  add(kGenericProductId, "generic");
  out << "</VPD>\n";
  return out.str();
}

TemporaryConfFile::TemporaryConfFile()
    : descriptor_(memfd_create("kxsim.conf", MFD_CLOEXEC)),
      path_("/proc/self/fd/" + std::to_string(descriptor_)) {
  const auto text = conf_text();
  if (descriptor_ >= 0 && write(descriptor_, text.data(), text.size()) == static_cast<ssize_t>(text.size()))
    return;
  const int cause = errno;
  if (descriptor_ >= 0) close(descriptor_);
  throw std::system_error(cause, std::generic_category(), "cannot write a configuration file");
}

TemporaryConfFile::~TemporaryConfFile() {
  close(descriptor_);
}

}  // namespace kxsim
