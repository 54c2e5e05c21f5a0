// SPDX-License-Identifier: Apache-2.0
#include "inner_calls.h"

#include <array>
#include <string>
#include <vector>

#include "any_value.h"
#include "core/control/exposure.h"
#include "core/control/registers.h"
#include "core/persistence/dead_pixel_store.h"
#include "core/persistence/flash_tables.h"
#include "core/persistence/identity.h"
#include "core/persistence/properties.h"
#include "core/picture/correction_settings.h"
#include "core/registry/contexts.h"
#include "core/registry/discovery.h"
#include "isp/dead_pixels.h"

namespace kxcam {
namespace {

void use_dead_pixels(Input& input, CameraContext& camera) {
  const auto count = static_cast<uint32_t>(input.byte()) % (kMaxDeadPixels + 2);
  std::vector<uint32_t> list(2 * kMaxDeadPixels + 1);
  list[0] = static_cast<uint32_t>(count);
  for (size_t i = 1; i < list.size(); ++i) list[i] = static_cast<uint32_t>(any_int(input));
  save_deadpixel(camera, list.data());
  load_deadpixel(camera, list.data());
}

void use_fixed_pattern(Input& input, CameraContext& camera) {
  const int columns = any_int(input);
  const int rows = any_int(input);
  // As much as is taken of any sensor; longer ones are refused.
  const std::vector<double> table(6000, any_real(input) - 1);
  set_fpn_data(camera, table.data(), table.data(), table.data(), columns, rows);
}

void use_serial_number(Input& input, CameraContext& camera) {
  std::vector<char> serial(static_cast<size_t>(input.byte()) % 20);
  const int length = static_cast<int>(serial.size());
  get_serialnumber(camera, serial.data(), length);
  writer_serialnumber(camera, serial.data(), length);
  read_serialnumber(camera, serial.data(), length);
}

void use_property(Input& input, CameraContext& camera) {
  constexpr std::array kKeys = {"image_format", "resolution_index", "enable_roi", "roi_offset_x",
                                "roi_offset_y", "roi_width",        "roi_height", "none"};
  const char* key = kKeys[input.byte() % kKeys.size()];
  int value = 0;
  set_property(camera, key, any_int(input));
  get_property(camera, key, &value);
}

void use_registers(Input& input, CameraContext& camera) {
  const auto reg = static_cast<uint32_t>(any_int(input));
  const uint32_t value = sccb_read(camera, reg).value_or(0);
  sccb_write(camera, reg, value);
  param_write(camera, reg, isp_read(camera, reg).value_or(value));
}

void find_by_serial_number(Input& input) {
  const auto bytes = input.take(12);
  get_camera_idx(std::string(bytes.begin(), bytes.end()).c_str());
}

void measure_lines(Input& input, CameraContext& camera) {
  const int width = any_int(input);
  const int height = any_int(input);
  set_exposure_width(camera, width, height);
  get_extra_exposure_width(camera, width, height);
}

}  // namespace

void make_inner_call(Input& input, int index) {
  const ContextRef found = find_camera(index);
  if (found == nullptr) return;
  CameraContext& camera = *found;
  switch (input.byte() % 8) {
    case 0:
      return use_dead_pixels(input, camera);
    case 1:
      return use_fixed_pattern(input, camera);
    case 2:
      return use_serial_number(input, camera);
    case 3:
      return use_property(input, camera);
    case 4:
      return use_registers(input, camera);
    case 5:
      return find_by_serial_number(input);
    case 6:
      return measure_lines(input, camera);
    default:
      erase_firmware(camera);
  }
}

}  // namespace kxcam
