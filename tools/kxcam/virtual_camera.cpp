// SPDX-License-Identifier: Apache-2.0
#include "virtual_camera.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <stdexcept>
#include <string>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <kxcam/kxcam.h>

#include "core/registry/model_table.h"
#include "diagnosis.h"
#include "error.h"

namespace kxcam {
namespace {

constexpr std::string_view kPrefix = "Model ";

std::string_view without_prefix(std::string_view name) {
  return name.starts_with(kPrefix) ? name.substr(kPrefix.size()) : name;
}

std::optional<uint32_t> product_id_in(std::string_view text) {
  if (text.starts_with("0x") || text.starts_with("0X")) text.remove_prefix(2);
  uint32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

bool make_the_same_frames(const CameraModel& a, const CameraModel& b) {
  return a.COLOR_MODE == b.COLOR_MODE && a.SENSOR_ARRAY.width == b.SENSOR_ARRAY.width &&
         a.SENSOR_ARRAY.height == b.SENSOR_ARRAY.height;
}

/// Null when there is none. A name that stands for models with different frames is an error.
const CameraModel* model_of_name(std::string_view name) {
  const CameraModel* found = nullptr;
  for (const CameraModel& row : model_table) {
    if (without_prefix(row.MODEL) != without_prefix(name)) continue;
    if (found != nullptr && !make_the_same_frames(*found, row)) {
      throw Error(ExitCode::kUsage, fmt::format("several models have the name {}", name),
                  fmt::format("Use the product id, such as {:04x} or {:04x}.", found->PID, row.PID));
    }
    if (found == nullptr) found = &row;
  }
  return found;
}

AttachedCamera identity_of(int product_id) {
  AttachedCamera identity;
  identity.model_row = find_model(static_cast<uint32_t>(product_id));
  identity.product_id = product_id;
  identity.name = model_table.at(static_cast<std::size_t>(identity.model_row)).MODEL;
  return identity;
}

/// Neutral but for what a camera does with its frames after it was opened.
ISPParam initial_settings(const std::optional<ColourMatrix>& matrix) {
  ISPParam settings = {.ccm = {1, 0, 0, 0, 1, 0, 0, 0, 1},
                       .gamma = 1,
                       .saturation = 1,
                       .contrast = 1,
                       .wb_gain_r = 1,
                       .wb_gain_g = 1,
                       .wb_gain_b = 1,
                       .black_level = 0,
                       .rotate = 0,
                       .mirror_x = 0,
                       .mirror_y = 0,
                       .enhancement = matrix ? uint8_t{1} : uint8_t{0},
                       .fpn = 0,
                       .denoise = 1};
  if (matrix) std::ranges::copy(*matrix, settings.ccm);
  return settings;
}

}  // namespace

int find_product(std::string_view text) {
  if (const auto id = product_id_in(text); id && find_model(*id) != kUnknownModel)
    return static_cast<int>(*id);
  if (const auto* named = model_of_name(text)) return static_cast<int>(named->PID);
  std::set<std::string_view> names;
  for (const CameraModel& row : model_table) names.insert(without_prefix(row.MODEL));
  throw Error(ExitCode::kUsage, fmt::format("unknown model {}", text),
              fmt::format("Use a product id, such as 3500, or one of {}.", fmt::join(names, ", ")));
}

VirtualCamera::VirtualCamera(int product_id, const std::optional<ColourMatrix>& matrix)
    : OpenCamera(identity_of(product_id)) {
  const ISPParam settings = initial_settings(matrix);
  if (CameraInitVirtual(index(), product_id, &settings) != 0) throw open_error(index(), library_error());
  // The matrix waits for the next setting of the saturation.
  require("setting the colour matrix", CameraSetSaturation(index(), settings.saturation));
  require("reading the picture size", CameraGetImageSize(index(), &width_, &height_));
  require("reading the depth", CameraGetImageDepth(index(), &bits_));
}

Picture VirtualCamera::develop(std::span<uint8_t> raw, PixelFormat format,
                               std::vector<uint8_t>& buffer) const {
  Picture picture;
  require("reading the picture size", CameraGetImageSize(index(), &picture.width, &picture.height));
  const auto pixels = static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
  if (raw.size() != pixels * static_cast<std::size_t>(bytes_per_sample())) {
    throw std::invalid_argument("not a frame of the whole sensor");
  }
  int size = 0;
  require("reading the picture size",
          CameraGetISPImageBufferSize(index(), &size, picture.width, picture.height, format_word(format)));
  buffer.resize(static_cast<std::size_t>(std::max(size, 0)));
  require("developing a frame",
          CameraISP(index(), raw.data(), buffer.data(), picture.width, picture.height, format_word(format)));
  // Corrected raw frames have 8 bits, whatever the sensor has.
  picture.channels = format == PixelFormat::kColour ? 3 : 1;
  picture.samples = std::span(buffer).first(pixels * static_cast<std::size_t>(picture.channels));
  return picture;
}

}  // namespace kxcam
