// SPDX-License-Identifier: Apache-2.0
#include "kxsim/preload_module.h"

#include <stdexcept>

namespace kxsim {

std::filesystem::path find_preload_module() {
  constexpr const char* kName = "libkxsim-usbfs.so";
  const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  auto beside = folder / kName;
  if (std::filesystem::exists(beside)) return beside;
  auto installed = (folder / KXSIM_MODULE_FOLDER / kName).lexically_normal();
  if (std::filesystem::exists(installed)) return installed;
  throw std::runtime_error("cannot find " + beside.string() + " nor " + installed.string());
}

}  // namespace kxsim
