// SPDX-License-Identifier: Apache-2.0
#include "bus_device.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include "small_file.h"

namespace kxcam {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kCameraVendor = "a7b7";

std::optional<int> read_number(const fs::path& file) {
  const std::string word = read_line(file);
  int number = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  if (error != std::errc{} || end != word.data() + word.size()) return std::nullopt;
  return number;
}

int node_access_error(const fs::path& node) {
  return faccessat(AT_FDCWD, node.c_str(), R_OK | W_OK, AT_EACCESS) == 0 ? 0 : errno;
}

// An interface that a program has claimed is bound to the kernel's driver "usbfs".
bool is_claimed(const fs::path& device) {
  std::error_code error;
  const fs::path interface = device / (device.filename().string() + ":1.0");
  return fs::read_symlink(interface / "driver", error).filename() == "usbfs";
}

std::optional<BusDevice> read_device(const fs::path& device, const fs::path& nodes) {
  if (read_line(device / "idVendor") != kCameraVendor) return std::nullopt;
  const auto bus = read_number(device / "busnum");
  const auto address = read_number(device / "devnum");
  if (!bus || !address) return std::nullopt;
  BusDevice found;
  found.port = device.filename().string();
  found.bus = *bus;
  found.address = *address;
  found.product_id = read_line(device / "idProduct");
  found.node = nodes / fmt::format("{:03}", *bus) / fmt::format("{:03}", *address);
  found.access_error = node_access_error(found.node);
  found.claimed = is_claimed(device);
  return found;
}

}  // namespace

std::vector<BusDevice> find_bus_devices(const fs::path& sysfs, const fs::path& nodes) {
  std::vector<BusDevice> found;
  std::error_code error;
  for (fs::directory_iterator entry(sysfs, error), end; !error && entry != end; entry.increment(error)) {
    if (auto device = read_device(entry->path(), nodes)) found.push_back(std::move(*device));
  }
  std::ranges::sort(found, {}, &BusDevice::node);
  return found;
}

}  // namespace kxcam
