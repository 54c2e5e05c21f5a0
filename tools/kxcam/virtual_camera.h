// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "camera.h"
#include "picture.h"
#include "pixel_format.h"

namespace kxcam {

using ColourMatrix = std::array<double, 9>;  ///< row-major; row = output red, green, blue

/// Product id of the model that the user means by a product id in hexadecimal or by a name, with the word
/// "Model" or without; throws Error (usage) that lists the names.
int find_product(std::string_view text);

/// A camera of a model without a device: it makes pictures of raw frames, as a real one of that model would.
class VirtualCamera : public OpenCamera {
 public:
  /// With a matrix, colours pass it.
  VirtualCamera(int product_id, const std::optional<ColourMatrix>& matrix);

  int width() const { return width_; }    ///< of a frame of the whole sensor
  int height() const { return height_; }  ///< of a frame of the whole sensor
  int bytes_per_sample() const { return bits_ > 8 ? 2 : 1; }

  /// A picture of a frame of the whole sensor. `raw` is corrected in place; the picture lies in `buffer`.
  Picture develop(std::span<uint8_t> raw, PixelFormat format, std::vector<uint8_t>& buffer) const;

 private:
  int width_ = 0;
  int height_ = 0;
  int bits_ = 8;
};

}  // namespace kxcam
