// SPDX-License-Identifier: Apache-2.0
#include "attached.h"

#include <array>
#include <optional>
#include <string_view>

#include <fmt/format.h>

#include <kxcam/kxcam.h>

#include "printable.h"

namespace kxcam {
namespace {

// One byte more than the library writes, so that the text ends whatever the camera holds.
template <std::size_t kSize>
std::string text_of(const std::array<char, kSize>& buffer) {
  return printable(buffer.data());
}

std::string without_index(std::string name, int index) {
  const std::string suffix = fmt::format("({})", index);
  if (name.ends_with(suffix)) name.resize(name.size() - suffix.size());
  return name;
}

std::optional<AttachedCamera> identify(int index) {
  std::array<char, 17> serial{};
  std::array<char, 65> name{};
  AttachedCamera camera;
  camera.index = index;
  if (CameraGetName(index, serial.data(), name.data()) != 0) return std::nullopt;
  if (CameraGetID(index, &camera.model_row, &camera.product_id) != 0) return std::nullopt;
  camera.serial = text_of(serial);
  camera.name = without_index(text_of(name), index);
  return camera;
}

}  // namespace

std::vector<AttachedCamera> attached_cameras() {
  int count = 0;
  CameraGetCount(&count);
  std::vector<AttachedCamera> cameras;
  for (int index = 0; index < count; ++index) {
    if (auto camera = identify(index)) cameras.push_back(std::move(*camera));
  }
  return cameras;
}

}  // namespace kxcam
