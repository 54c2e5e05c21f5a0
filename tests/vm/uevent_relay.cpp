// SPDX-License-Identifier: Apache-2.0

// Stands in for udevd: passes the kernel's events on in the form in which libudev's listeners, libusb among
// them, expect them. Without it a running program sees no camera come or go.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <arpa/inet.h>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

enum Group : uint32_t { kFromKernel = 1, kFromUdev = 2 };

/// What precedes the properties in a message of udevd's.
struct Header {
  std::array<char, 8> prefix = {'l', 'i', 'b', 'u', 'd', 'e', 'v', '\0'};
  uint32_t magic = htonl(0xFEEDCAFE);
  uint32_t header_size = sizeof(Header);
  uint32_t properties_offset = sizeof(Header);
  uint32_t properties_length = 0;
  uint32_t subsystem_hash = 0;  // the listeners' filters in the kernel look at these two
  uint32_t device_type_hash = 0;
  std::array<uint32_t, 2> tags = {};
};

/// MurmurHash2 of a short text, as libudev uses it; bytes count as unsigned.
uint32_t hash(std::string_view text) {
  constexpr uint32_t kFactor = 0x5BD1E995;
  auto h = static_cast<uint32_t>(text.size());
  for (; text.size() >= 4; text.remove_prefix(4)) {
    uint32_t k = 0;
    std::memcpy(&k, text.data(), sizeof k);
    k *= kFactor;
    k ^= k >> 24;
    h = (h * kFactor) ^ (k * kFactor);
  }
  for (size_t i = text.size(); i > 0; --i)
    h ^= static_cast<uint32_t>(static_cast<uint8_t>(text[i - 1])) << 8 * (i - 1);
  if (!text.empty()) h *= kFactor;
  h ^= h >> 13;
  h *= kFactor;
  return h ^ h >> 15;
}

/// Of a list of "KEY=value", each ended by a zero byte; empty when it is not there.
std::string_view property(std::string_view properties, std::string_view key) {
  while (!properties.empty()) {
    const auto entry = properties.substr(0, properties.find('\0'));
    if (entry.starts_with(key) && entry.substr(key.size()).starts_with('='))
      return entry.substr(key.size() + 1);
    properties.remove_prefix(std::min(properties.size(), entry.size() + 1));
  }
  return {};
}

int open_socket(uint32_t groups) {
  const int descriptor = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT);
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = groups;
  const auto* const generic = reinterpret_cast<const sockaddr*>(&address);
  return descriptor >= 0 && bind(descriptor, generic, sizeof address) == 0 ? descriptor : -1;
}

void pass_on(int descriptor, std::string_view properties) {
  Header header;
  header.properties_length = static_cast<uint32_t>(properties.size());
  const auto type = property(properties, "DEVTYPE");
  header.subsystem_hash = htonl(hash(property(properties, "SUBSYSTEM")));
  header.device_type_hash = type.empty() ? 0 : htonl(hash(type));
  std::vector<char> message(sizeof header + properties.size());
  std::memcpy(message.data(), &header, sizeof header);
  std::ranges::copy(properties, message.begin() + sizeof header);
  sockaddr_nl listeners{};
  listeners.nl_family = AF_NETLINK;
  listeners.nl_groups = kFromUdev;
  // Nobody may be listening.
  sendto(descriptor, message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&listeners),
         sizeof listeners);
}

}  // namespace

int main() {
  const int kernel = open_socket(kFromKernel);
  const int listeners = open_socket(0);
  if (kernel < 0 || listeners < 0) {
    std::perror("uevent_relay");
    return 1;
  }
  if (daemon(0, 1) != 0) return 1;  // returns to the caller once nothing can be missed any more
  std::array<char, 8192> buffer{};
  while (true) {
    const ssize_t length = recv(kernel, buffer.data(), buffer.size(), 0);
    if (length <= 0) continue;
    const std::string_view message(buffer.data(), static_cast<size_t>(length));
    const auto end_of_title = message.find('\0');  // "add@/devices/..."
    if (end_of_title != std::string_view::npos) pass_on(listeners, message.substr(end_of_title + 1));
  }
}
