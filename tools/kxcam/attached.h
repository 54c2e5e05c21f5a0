// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kxcam {

/// Row number that stands for a product id that the library does not know.
inline constexpr int kUnknownModelRow = 82;

/// Which camera the user means: by its serial number, or else by its index.
struct CameraChoice {
  int index = 0;
  std::optional<std::string> serial = {};
};

/// An attached camera, open or not. Texts come from the camera; what is not printable is a '?'.
struct AttachedCamera {
  int index = 0;
  std::string name;  ///< the name its owner gave it, else that of its model; "" for an unknown model
  std::string serial;
  int model_row = kUnknownModelRow;
  int product_id = 0;
  std::string port;  ///< bus and ports, "1-3.2"
  int megabits = 0;  ///< speed of the connection per second; 0: not known
};

/// The attached cameras in index order, at least one; a camera that goes away meanwhile is left out. Throws
/// Error that says why there is none.
std::vector<AttachedCamera> attached_cameras();

/// The camera that is meant, ready to be opened. Throws Error that says why it cannot be; a camera that
/// another program uses is left untouched.
AttachedCamera find_camera(const CameraChoice& choice);

}  // namespace kxcam
