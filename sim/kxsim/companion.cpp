// SPDX-License-Identifier: Apache-2.0
#include "kxsim/companion.h"

#include <stdexcept>

namespace kxsim {

std::filesystem::path find_companion(const std::string& name) {
  const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  auto beside = folder / name;
  if (std::filesystem::exists(beside)) return beside;
  auto installed = (folder / KXSIM_COMPANION_FOLDER / name).lexically_normal();
  if (std::filesystem::exists(installed)) return installed;
  throw std::runtime_error("cannot find " + beside.string() + " nor " + installed.string());
}

}  // namespace kxsim
