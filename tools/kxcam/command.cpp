// SPDX-License-Identifier: Apache-2.0
#include "command.h"

namespace kxcam {

void add_camera_option(CLI::App& command, int& index) {
  command.add_option("-c,--camera", index, "Index of the camera, see `kxcam list`")
      ->type_name("N")
      ->check(CLI::Range(0, 255).description(""))
      ->capture_default_str();
}

void add_format_option(CLI::App& command, std::optional<PixelFormat>& format) {
  command
      .add_option_function<std::string>(
          "--format", [&format](const std::string& name) { format = pixel_format_names().at(name); },
          "What to make of a frame (default: what suits the camera)")
      ->type_name("colour|grey|raw")
      ->check(CLI::IsMember(pixel_format_names()).description(""));
}

void add_timeout_option(CLI::App& command, int& milliseconds) {
  command.add_option("--timeout", milliseconds, "How long to wait for a frame, in ms; at least about 500")
      ->type_name("MS")
      ->check(CLI::Range(1, 3'600'000).description(""))
      ->capture_default_str();
}

void add_json_option(CLI::App& command, bool& json) {
  command.add_flag("--json", json, "Print JSON, for programs");
}

}  // namespace kxcam
