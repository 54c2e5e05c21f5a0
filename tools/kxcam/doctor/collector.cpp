// SPDX-License-Identifier: Apache-2.0
#include "doctor/collector.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <map>
#include <optional>
#include <system_error>
#include <utility>

#include <fmt/format.h>
#include <unistd.h>

#include "configuration.h"
#include "doctor/checks.h"
#include "doctor/device_holders.h"
#include "doctor/hub_path.h"
#include "doctor/node_access.h"
#include "doctor/udev_rule.h"
#include "small_file.h"

namespace kxcam::doctor {
namespace {

namespace fs = std::filesystem;

constexpr int kSuperSpeed = 5000;
constexpr const char* kDevices = "sys/bus/usb/devices";
constexpr std::array kAttributes = {"bcdDevice",
                                    "bConfigurationValue",
                                    "bDeviceClass",
                                    "bMaxPower",
                                    "bNumInterfaces",
                                    "busnum",
                                    "devnum",
                                    "idProduct",
                                    "idVendor",
                                    "manufacturer",
                                    "power/autosuspend_delay_ms",
                                    "power/control",
                                    "power/runtime_status",
                                    "product",
                                    "quirks",
                                    "rx_lanes",
                                    "speed",
                                    "tx_lanes",
                                    "urbnum",
                                    "version"};

std::optional<int> number(const std::string& text, int base = 10) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  // Speeds may have a fraction.
  if (error != std::errc{} || (end != text.data() + text.size() && *end != '.')) return std::nullopt;
  return value;
}

bool is_there(const fs::path& path) {
  std::error_code error;
  return fs::exists(path, error);
}

std::string driver_of(const fs::path& interface) {
  int error = 0;
  const std::string text = read_small_file(interface / "uevent", error);
  constexpr std::string_view kKey = "DRIVER=";
  const auto begin = text.starts_with(kKey) ? 0 : text.find("\nDRIVER=");
  if (begin == std::string::npos) return "";
  const std::string line = text.substr(begin == 0 ? 0 : begin + 1);
  return printable(line.substr(kKey.size(), line.find('\n') - kKey.size()));
}

Configuration read_configuration(const Sources& sources) {
  Configuration configuration;
  configuration.path = sources.configuration;
  std::error_code error;
  const fs::path file = sources.root / fs::absolute(sources.configuration, error).relative_path();
  configuration.text = read_small_file(file, configuration.error);
  return configuration;
}

std::vector<std::pair<std::string, std::string>> read_attributes(const fs::path& device) {
  std::vector<std::pair<std::string, std::string>> found;
  for (const char* name : kAttributes) {
    const std::string value = read_line(device / name);
    if (!value.empty()) found.emplace_back(name, printable(value));
  }
  int error = 0;
  const std::string descriptors = read_small_file(device / "descriptors", error);
  std::string bytes;
  for (const char byte : descriptors) bytes += fmt::format("{:02x}", static_cast<uint8_t>(byte));
  if (!bytes.empty()) found.emplace_back("descriptors", bytes);
  return found;
}

class Collector {
 public:
  explicit Collector(const Sources& sources)
      : sources_(sources), devices_(sources.root / kDevices), holders_(find_holders(sources.root / "proc")) {}

  std::vector<CameraFacts> cameras(const UsbScan& scan) const {
    std::map<std::string, CameraFacts> found = seen_by_kernel();
    for (const auto& seen : scan.cameras) {
      auto [entry, is_new] = found.try_emplace(seen.port);
      if (is_new) entry->second = camera(seen.port, seen.product_id, seen.bus, seen.address);
      if (entry->second.megabits == 0) entry->second.megabits = seen.megabits;
      entry->second.usb = seen.access;
    }
    std::vector<CameraFacts> list;
    list.reserve(found.size());
    for (auto& [port, facts] : found) list.push_back(std::move(facts));
    return list;
  }

  bool has_super_speed_bus() const {
    std::error_code error;
    for (fs::directory_iterator entry(devices_, error), end; !error && entry != end; entry.increment(error)) {
      const bool is_bus = entry->path().filename().string().starts_with("usb");
      if (is_bus && number(read_line(entry->path() / "speed")).value_or(0) >= kSuperSpeed) return true;
    }
    return false;
  }

 private:
  // The kernel lists a camera whether or not it may be opened.
  std::map<std::string, CameraFacts> seen_by_kernel() const {
    std::map<std::string, CameraFacts> found;
    std::error_code error;
    for (fs::directory_iterator entry(devices_, error), end; !error && entry != end; entry.increment(error)) {
      const fs::path& device = entry->path();
      if (number(read_line(device / "idVendor"), 16) != kCameraVendor) continue;
      const auto product = number(read_line(device / "idProduct"), 16);
      const auto bus = number(read_line(device / "busnum"));
      const auto address = number(read_line(device / "devnum"));
      if (!product || !bus || !address) continue;  // it is just leaving
      const std::string port = device.filename().string();
      found.emplace(port, camera(port, static_cast<uint16_t>(*product), *bus, *address));
    }
    return found;
  }

  CameraFacts camera(const std::string& port, uint16_t product, int bus, int address) const {
    const fs::path device = devices_ / port;
    CameraFacts facts;
    facts.port = port;
    facts.product_id = product;
    facts.megabits = number(read_line(device / "speed")).value_or(0);
    facts.power_control = read_line(device / "power/control");
    facts.kernel_driver = driver_of(devices_ / (port + ":1.0"));
    facts.hubs = hubs_before(port, devices_);
    facts.attributes = read_attributes(device);
    const std::string node = fmt::format("/dev/bus/usb/{:03}/{:03}", bus, address);
    if (sources_.simulated) {
      facts.node.path = node;  // what is there by that name is another device's
      facts.node.error = ENOENT;
      return facts;
    }
    facts.node = examine_node(sources_.root / fs::path(node).relative_path(), node);
    if (const auto holders = holders_.find(node); holders != holders_.end()) facts.holders = holders->second;
    return facts;
  }

  const Sources& sources_;
  fs::path devices_;
  Holders holders_;
};

bool is_container(const fs::path& root) {
  return is_there(root / ".dockerenv") || is_there(root / "run/.containerenv") ||
         is_there(root / "run/systemd/container");
}

}  // namespace

Sources own_sources() {
  Sources sources;
  sources.configuration = config_file_path();
  sources.simulated = std::getenv("KXSIM_CAMERAS") != nullptr;  // NOLINT(concurrency-mt-unsafe): one thread
  return sources;
}

Facts collect(const Sources& sources, const UsbScan& scan) {
  const Collector collector(sources);
  Facts facts;
  facts.simulated = sources.simulated;
  facts.root = geteuid() == 0;
  facts.container = is_container(sources.root);
  facts.usb_in_sysfs = is_there(sources.root / kDevices);
  facts.node_folder = is_there(sources.root / "dev/bus/usb");
  facts.super_speed_bus = collector.has_super_speed_bus();
  facts.libusb_start = scan.start;
  facts.configuration = read_configuration(sources);
  facts.rule = find_rule(sources.root);
  facts.usbfs_memory_mb = number(read_line(sources.root / "sys/module/usbcore/parameters/usbfs_memory_mb"));
  facts.cameras = collector.cameras(scan);
  return facts;
}

}  // namespace kxcam::doctor
