// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "device/lighting.h"
#include "device/model.h"

namespace kxsim {

enum class UsbSpeed { kHigh, kSuper };

/// How one simulated camera is made. The defaults are a camera as it leaves the factory.
struct CameraOptions {
  const Model* model = default_model();
  std::string serial;  ///< up to 12 characters; empty = the next KXSIM number
  std::string name;    ///< user-given name; empty = none
  uint32_t firmware = default_firmware(*default_model());
  uint16_t features = 0;
  bool generic_id = false;    ///< enumerates as 0x3FF0; the true id must be asked for
  bool byte_replies = false;  ///< register reads answer one byte instead of two
  /// Of a 12-bit model: the bridge ends a frame after width x height bytes, half of it, as it counts samples
  /// as if they were bytes.
  bool half_frames = false;
  bool blank = false;          ///< nothing but the serial number was ever written to it
  bool write_protect = false;  ///< the EEPROM refuses writes
  double frame_rate = 10.0;    ///< frames a second; 0 = as fast as the host reads
  /// Bytes that the bridge holds while the host asks for nothing; 0 = a whole frame, until the next.
  size_t fifo = 0;
  UsbSpeed speed = UsbSpeed::kSuper;
  std::filesystem::path eeprom_file;  ///< keeps the EEPROM between runs; empty = none
  bool noise = true;
  double fixed_pattern = 0.0;  ///< standard deviation of the row and column gains
  int dead_pixels = 0;
  uint64_t seed = 1;
  /// Without one every picture is taken at the nominal exposure, whatever the registers say.
  std::optional<Lighting> lighting = default_lighting(*default_model());

  CameraOptions() = default;
  /// The defaults of that model.
  explicit CameraOptions(const Model& chosen);
  /// The same by product id. Throws BadCameraOptions.
  explicit CameraOptions(uint32_t product_id);

  static const Model* default_model();
  static uint32_t default_firmware(const Model& model);
  static Lighting default_lighting(const Model& model);
};

/// A text that describes no camera; what() says why and what would be right.
class BadCameraOptions : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads "MODEL[,key=value]...", where MODEL is a product id in hexadecimal or a model's name, with or
/// without the word "Model". Throws BadCameraOptions.
CameraOptions parse_camera_options(std::string_view text);

/// The lighting of such a camera with what the option `light` would make of that value. Throws
/// BadCameraOptions.
std::optional<Lighting> with_light(CameraOptions options, std::string_view value);

/// The keys and what they mean, a line each.
std::string camera_options_help();

/// The row with that product id or name; of several rows with one name the first of the newer bridge
/// family. Throws BadCameraOptions.
const Model& find_model_by_text(std::string_view text);

}  // namespace kxsim
