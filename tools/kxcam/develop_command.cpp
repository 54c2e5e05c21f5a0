// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "commands.h"
#include "error.h"
#include "interrupt.h"
#include "picture_output.h"
#include "raw_frames.h"
#include "virtual_camera.h"

namespace kxcam {
namespace {

std::optional<ColourMatrix> matrix_of(const DevelopOptions& options) {
  if (options.matrix.empty()) return std::nullopt;
  ColourMatrix matrix{};
  std::ranges::copy_n(options.matrix.begin(), matrix.size(), matrix.begin());
  return matrix;
}

FrameSize sensor_size(const VirtualCamera& camera) {
  return {camera.width(), camera.height(), camera.bytes_per_sample()};
}

/// The size of the user's frames.
FrameSize frame_size(const DevelopOptions& options, const FrameSize& sensor) {
  const FrameSize size = {options.width.value_or(sensor.width), options.height.value_or(sensor.height),
                          sensor.bytes_per_sample};
  const auto even = [](int length, int most) {
    return length <= most && (length % 2 == 0 || length == most);
  };
  if (!even(size.width, sensor.width) || !even(size.height, sensor.height)) {
    throw Error(ExitCode::kUsage, fmt::format("invalid frame size {} x {}", size.width, size.height),
                fmt::format("Width and height must be even; the sensor has {} x {} pixels.", sensor.width,
                            sensor.height));
  }
  return size;
}

// What a smaller frame is completed with to that of a whole sensor would end up in the picture, or in what
// is measured on its middle.
void check_small_frame(const DevelopOptions& options) {
  if (!options.settings.changes_orientation() && !options.settings.one_push) return;
  throw Error(ExitCode::kUsage, "only frames of the whole sensor can be mirrored, rotated or measured",
              "Leave out --width and --height, or else --one-push, mirrors and rotation.");
}

}  // namespace

void develop(const DevelopOptions& options, StandardOutput& output) {
  const int product = find_product(options.model);
  const VirtualCamera camera(product, matrix_of(options));
  const FrameSize sensor = sensor_size(camera);
  const FrameSize size = frame_size(options, sensor);
  if (size != sensor) check_small_frame(options);
  RawFrames frames(options.files, size.bytes());
  PictureOutput pictures(options.target, frames.total(), output);
  const PixelFormat format = pictures.format(natural_format(product));
  apply(options.settings, camera);

  std::vector<uint8_t> frame(size.bytes());
  std::vector<uint8_t> developed;
  std::vector<uint8_t> cropped;
  for (int i = 0; i < frames.total(); ++i) {
    if (interrupted()) throw Error(ExitCode::kFailure, "interrupted");
    frames.read_next(frame);
    if (size == sensor) {
      pictures.write(camera.develop(frame, format, developed), format);
      continue;
    }
    std::vector<uint8_t> grown = grow_frame(frame, size, sensor);
    const Picture picture = camera.develop(grown, format, developed);
    pictures.write(crop(picture, size.width, size.height, cropped), format);
  }
}

}  // namespace kxcam
