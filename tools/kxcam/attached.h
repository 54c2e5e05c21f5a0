// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace kxcam {

/// Row number that stands for a product id that the library does not know.
inline constexpr int kUnknownModelRow = 82;

/// An attached camera, open or not. Texts come from the camera; what is not printable is a '?'.
struct AttachedCamera {
  int index = 0;
  std::string name;  ///< the name its owner gave it, else that of its model; "" for an unknown model
  std::string serial;
  int model_row = kUnknownModelRow;
  int product_id = 0;
};

/// The attached cameras in index order; none when there are none or the library may not open them.
/// A camera that goes away meanwhile is left out.
std::vector<AttachedCamera> attached_cameras();

}  // namespace kxcam
