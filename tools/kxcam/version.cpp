// SPDX-License-Identifier: Apache-2.0
#include "version.h"

#include <fmt/format.h>

#include <kxcam/kxcam.h>

namespace kxcam {

std::string version() {
  int major = 0;
  int minor = 0;
  CameraGetVersion(&major, &minor);
  return fmt::format("kxcam {} (library {}.{})", KXCAM_VERSION, major, minor);
}

}  // namespace kxcam
