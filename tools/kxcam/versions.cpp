// SPDX-License-Identifier: Apache-2.0
#include "versions.h"

#include <string_view>

#include <fmt/format.h>
#include <libusb.h>
#include <sys/utsname.h>

#include <kxcam/kxcam.h>

#include "isp/kernels/cpu_level.h"
#include "small_file.h"

namespace kxcam {
namespace {

std::string usb_library_version() {
  const libusb_version* version = libusb_get_version();
  return fmt::format("{}.{}.{}.{}{}", version->major, version->minor, version->micro, version->nano,
                     version->rc);
}

// Without the host's name, which uname tells too.
std::string kernel_version() {
  utsname names{};
  if (uname(&names) != 0) return "not known";
  return fmt::format("{} {} {} {}", names.sysname, names.release, names.version, names.machine);
}

std::string distribution() {
  int error = 0;
  const std::string text = read_small_file("/etc/os-release", error);
  constexpr std::string_view kKey = "PRETTY_NAME=";
  const auto begin = text.find(kKey);
  if (begin == std::string::npos) return "not known";
  const std::string value = text.substr(begin + kKey.size());
  return value.substr(0, value.find('\n'));
}

}  // namespace

std::string version() {
  int major = 0;
  int minor = 0;
  CameraGetVersion(&major, &minor);
  return fmt::format("kxcam {} (library {}.{})", KXCAM_VERSION, major, minor);
}

std::vector<std::pair<std::string, std::string>> system_versions() {
  return {{"kxcam", version()},
          {"libusb", usb_library_version()},
          {"kernel", kernel_version()},
          {"distribution", distribution()},
          {"instructions", std::string(name_of(cpu_choice().level))}};
}

}  // namespace kxcam
