// SPDX-License-Identifier: Apache-2.0

// The folders that a libusb without libudev reads, in front of the C library's.

#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <dirent.h>

#include "usbfs/libc.h"
#include "usbfs/virtual_bus.h"

namespace kxsim {
namespace {

/// What a folder of the bus begins with, and none of the C library's.
constexpr char kMark = 0;

struct Folder {
  const char* mark = &kMark;
  std::vector<std::string> names;
  size_t next = 0;
  dirent entry{};
};

Folder* ours(DIR* folder) {
  auto* const candidate = reinterpret_cast<Folder*>(folder);
  return candidate != nullptr && candidate->mark == &kMark ? candidate : nullptr;
}

/// Nothing for a folder that is not the bus'.
std::optional<std::vector<std::string>> names_in(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  const bool sysfs = path == "/sys/bus/usb/devices";
  const auto bus = BusDevice::bus_folder();
  if (!sysfs && path != "/dev/bus/usb" && path != bus) return std::nullopt;
  VirtualBus::instance().first_use();
  std::vector<std::string> names = {".", ".."};
  if (path == "/dev/bus/usb") {
    names.push_back(bus.substr(bus.rfind('/') + 1));
    return names;
  }
  for (const auto& device : VirtualBus::instance().devices()) {
    const auto node = device->node_path();
    names.push_back(sysfs ? device->system_name() : node.substr(node.rfind('/') + 1));
  }
  return names;
}

}  // namespace
}  // namespace kxsim

extern "C" {

DIR* opendir(const char* path) try {
  auto names = kxsim::names_in(path);
  if (!names) return kxsim::libc::opendir(path);
  auto folder = std::make_unique<kxsim::Folder>();
  folder->names = std::move(*names);
  return reinterpret_cast<DIR*>(folder.release());
} catch (const std::bad_alloc&) {
  errno = ENOMEM;
  return nullptr;
}

dirent* readdir(DIR* folder) {
  auto* const listed = kxsim::ours(folder);
  if (listed == nullptr) return kxsim::libc::readdir(folder);
  if (listed->next == listed->names.size()) return nullptr;
  const auto& name = listed->names[listed->next++];
  listed->entry.d_ino = listed->next;
  listed->entry.d_type = DT_UNKNOWN;
  listed->entry.d_reclen = sizeof listed->entry;
  std::strncpy(listed->entry.d_name, name.c_str(), sizeof listed->entry.d_name - 1);
  return &listed->entry;
}

dirent64* readdir64(DIR* folder) {
  static_assert(sizeof(dirent64) == sizeof(dirent));
  return reinterpret_cast<dirent64*>(readdir(folder));
}

int dirfd(DIR* folder) noexcept {
  if (kxsim::ours(folder) == nullptr) return kxsim::libc::dirfd(folder);
  errno = ENOTSUP;
  return -1;
}

int closedir(DIR* folder) {
  auto* const listed = kxsim::ours(folder);
  if (listed == nullptr) return kxsim::libc::closedir(folder);
  const std::unique_ptr<kxsim::Folder> owner(listed);
  return 0;
}

}  // extern "C"
