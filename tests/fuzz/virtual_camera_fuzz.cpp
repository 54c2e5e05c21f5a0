// SPDX-License-Identifier: Apache-2.0
// Frames of any size through a camera without a device, set by a parameter record of any bytes: the pictures
// have to be those of the plain code under the settings that the camera then has.
#include <cstring>
#include <ctime>
#include <memory>
#include <utility>
#include <vector>

#include "core/acquisition/image_size.h"
#include "core/acquisition/orientation.h"
#include "core/registry/contexts.h"
#include "input.h"
#include "isp/develop.h"
#include "isp/frame_settings.h"
#include "isp/raw_corrections.h"
#include "isp/user_lut.h"
#include "kxcam/kxcam.h"
#include "noise.h"
#include "require.h"

namespace kxcam {
namespace {

constexpr int kCamera = 0;
constexpr int kMostFrames = 8;

/// A record that begins with the input's bytes; what is left out of it is a camera's neutral setting.
ISPParam record_of(Input& input) {
  ISPParam param{.ccm = {1, 0, 0, 0, 1, 0, 0, 0, 1},
                 .gamma = 1,
                 .saturation = 1,
                 .contrast = 1,
                 .wb_gain_r = 1,
                 .wb_gain_g = 1,
                 .wb_gain_b = 1};
  const uint8_t switches = input.byte();
  param.rotate = switches & 1;
  param.mirror_x = switches & 2;
  param.mirror_y = switches & 4;
  param.enhancement = switches & 8;
  param.fpn = switches & 16;
  param.denoise = switches & 32;
  const auto bytes = input.take(input.byte());
  std::memcpy(&param, bytes.data(), std::min(bytes.size(), sizeof param));
  return param;
}

/// As a camera's memories would have set them, in places that small frames show.
void set_corrections(Input& input, CameraContext& camera) {
  DeadPixelList dead;
  dead.dead_pixel_count = input.byte() % kMaxDeadPixels;
  for (size_t i = 0; i < dead.dead_pixel_count; ++i) dead.dead_pixels[i] = {input.byte(), input.byte()};
  camera.picture.dead_pixels.store(std::make_shared<const DeadPixelList>(dead));
  const double deviation = input.byte() / 256.0;
  camera.picture.flat_field.update([&](FlatField& field) {
    const std::vector<double> columns(field.column_table_a().size(), deviation);
    const std::vector<double> rows(field.row_table().size(), -deviation / 2);
    field.set_columns(columns, std::vector<double>(columns.size(), deviation / 3));
    field.set_rows(rows);
  });
}

void set_geometry(Input& input, CameraContext& camera) {
  const int width = 1 + input.byte() % 100;
  const int height = 1 + input.byte() % 60;
  camera.stream.geometry = FrameGeometry{static_cast<uint16_t>(width), static_cast<uint16_t>(height),
                                         camera.model().COLOR_MODE == kMono12 ? 2U : 1U};
  UpdateImageIdx(camera);
  camera.parameter.enable_roi = input.byte() % 2;
  camera.parameter.roi_offset_x = static_cast<uint16_t>(input.word());
  camera.parameter.roi_offset_y = static_cast<uint16_t>(input.word());
  camera.parameter.resolution_mode = input.byte() % 2;
}

int format_of(Input& input) {
  const int choice = input.byte();
  return 1 << choice % 3 | (choice * 16 & (KXCAM_FORMAT_BGR | KXCAM_FORMAT_32BIT)) |
         (choice >= 0x80 ? KXCAM_FORMAT_UNCORRECTED : 0);
}

/// The picture by the plain code.
std::vector<uint8_t> plain_picture(const CameraContext& camera, std::vector<uint8_t> raw, size_t size,
                                   int format) {
  const FrameGeometry geometry = camera.stream.geometry;
  const FrameSettings settings = frame_settings(camera);
  const auto pixels = static_cast<size_t>(geometry.pixels());
  std::vector<uint8_t> frame = raw;
  if (camera.model().COLOR_MODE == kMono12) {
    frame.resize(pixels);
    reduce_to_8_bits(raw.data(), pixels, *settings.user_lut, frame.data());
  }
  const MutableImageView view(frame, geometry.frame_width, geometry.frame_height);
  if ((format & KXCAM_FORMAT_UNCORRECTED) == 0)
    correct(CpuLevel::kScalar, view, raw_corrections(camera, geometry.frame_width, geometry.frame_height));
  if ((format & KXCAM_FORMAT_RAW) != 0) return frame;
  std::vector<uint8_t> picture(size);
  WorkMemory memory;
  develop(CpuLevel::kScalar, camera.model().COLOR_MODE, settings, view, picture.data(), format, memory);
  return picture;
}

/// Changes between two frames.
void change_settings(Input& input) {
  switch (input.byte() % 8) {
    case 0:
      CameraSetSaturation(kCamera, input.byte() / 128.0);
      return;
    case 1:
      CameraSetAWB(kCamera, input.byte() % 2 != 0);
      return;
    case 2:
      CameraSetAGC(kCamera, input.byte() % 2 != 0);
      CameraSetAEC(kCamera, input.byte() % 2 != 0);
      return;
    case 3: {
      const std::vector<uint8_t> table(4096, input.byte());
      CameraSetLUT(kCamera, table.data(), input.word());
      return;
    }
    case 4:
      CameraOnePushWB(kCamera);
      return;
    case 5:
      CameraSetEnhancement(kCamera, input.byte() % 2 != 0);
      return;
    default:
      return;
  }
}

/// Whether the camera measures the white balance before it makes the next picture.
bool balances_first(const CameraContext& camera) {
  return camera.picture.one_push_request || camera.picture.auto_wb_request;
}

void make_picture(Input& input, const CameraContext& camera) {
  const FrameGeometry geometry = camera.stream.geometry;
  const int format = format_of(input);
  int width = geometry.frame_width;
  int height = geometry.frame_height;
  if (is_rotated(*camera.stream.index_map.load())) std::swap(width, height);
  int size = 0;
  const bool sized = CameraGetISPImageBufferSize(kCamera, &size, width, height, format) == 0;
  require(sized, "a picture has a size");
  std::vector<uint8_t> raw = noise(input, static_cast<size_t>(image_bytes(geometry, KXCAM_FORMAT_RAW)));
  const bool comparable = !balances_first(camera);
  const std::vector<uint8_t> wanted = plain_picture(camera, raw, static_cast<size_t>(size), format);
  std::vector<uint8_t> picture(static_cast<size_t>(size));
  // The result tells of the exposure, which has no device to go to.
  CameraISP(kCamera, raw.data(), picture.data(), width, height, format);
  require(!comparable || picture == wanted, "the picture is that of the plain code");
}

}  // namespace
}  // namespace kxcam

// The linker puts this in the place of the delay when a camera is closed.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" int __wrap_nanosleep(const timespec* /*time*/, timespec* /*left*/) {
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kxcam;
  Input input({data, size});
  const auto& model = model_table[input.byte() % model_table.size()];
  const ISPParam param = record_of(input);
  require(CameraInitVirtual(kCamera, static_cast<int>(model.PID), &param) == 0, "a virtual camera opens");
  {
    const ContextRef camera = context_at(kCamera);
    set_geometry(input, *camera);
    set_corrections(input, *camera);
    for (int frames = 0; frames == 0 || (frames < kMostFrames && !input.empty()); ++frames) {
      make_picture(input, *camera);
      change_settings(input);
    }
  }
  CameraFree(kCamera);
  return 0;
}
