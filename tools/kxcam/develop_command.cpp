// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "camera_settings.h"
#include "command.h"
#include "error.h"
#include "frame_corner.h"
#include "interrupt.h"
#include "picture_output.h"
#include "raw_frames.h"
#include "virtual_camera.h"

namespace kxcam {
namespace {

struct Options {
  std::vector<std::string> files;
  std::string model;
  std::optional<int> width;
  std::optional<int> height;
  std::vector<double> matrix;
  PictureTarget target;
  CameraSettings settings;
};

std::optional<ColourMatrix> matrix_of(const Options& options) {
  if (options.matrix.empty()) return std::nullopt;
  ColourMatrix matrix{};
  std::ranges::copy_n(options.matrix.begin(), matrix.size(), matrix.begin());
  return matrix;
}

FrameSize sensor_size(const VirtualCamera& camera) {
  return {camera.width(), camera.height(), camera.bytes_per_sample()};
}

/// The size of the user's frames.
FrameSize frame_size(const Options& options, const FrameSize& sensor) {
  const FrameSize size = {options.width.value_or(sensor.width), options.height.value_or(sensor.height),
                          sensor.bytes_per_sample};
  const auto even = [](int length, int most) {
    return length <= most && (length % 2 == 0 || length == most);
  };
  if (!even(size.width, sensor.width) || !even(size.height, sensor.height)) {
    throw Error(
        ExitCode::kUsage, fmt::format("a frame cannot have {} x {} pixels", size.width, size.height),
        fmt::format("Both have to be even, and the sensor has {} x {}.", sensor.width, sensor.height));
  }
  return size;
}

// What a smaller frame is completed with to that of a whole sensor would end up in the picture, or in what
// is measured on its middle.
void check_small_frame(const Options& options) {
  const auto is_turn = [](const Assignment& assignment) {
    const auto name = assignment.control->name;
    return name == "mirror-x" || name == "mirror-y" || name == "rotate-90";
  };
  if (!options.settings.changes_orientation() && !options.settings.one_push &&
      std::ranges::none_of(options.settings.controls, is_turn)) {
    return;
  }
  throw Error(ExitCode::kUsage, "only frames of the whole sensor can be mirrored, turned or measured",
              "Leave out --width and --height, or else --one-push and what mirrors or turns.");
}

void run(const Options& options, StandardOutput& output) {
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

}  // namespace

void add_develop_command(CLI::App& app, Command& chosen) {
  auto* command = app.add_subcommand("develop", "Make pictures of raw frames, without a camera");
  const auto options = std::make_shared<Options>();
  command->add_option("raw", options->files, "Files of raw frames, each of one or several")
      ->type_name("RAW")
      ->required();
  command->add_option("--model", options->model, "Model that took them: product id or name")
      ->type_name("M")
      ->required();
  command->add_option("--width", options->width, "Width of the frames (default: the sensor's)")
      ->type_name("W")
      ->check(CLI::Range(2, 65536).description(""));
  command->add_option("--height", options->height, "Height of the frames (default: the sensor's)")
      ->type_name("H")
      ->check(CLI::Range(2, 65536).description(""));
  add_target_options(*command, options->target);
  add_picture_options(*command, options->settings);
  command
      ->add_option("--matrix", options->matrix, "Colour matrix; three numbers for red, green and blue each")
      ->type_name("RR,RG,RB,GR,...")
      ->delimiter(',')
      ->expected(9)
      ->check(CLI::Range(-100.0, 100.0).description(""));
  command->callback(
      [options, &chosen] { chosen = [options](StandardOutput& output) { run(*options, output); }; });
}

}  // namespace kxcam
