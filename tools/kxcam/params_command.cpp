// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "camera.h"
#include "commands.h"
#include "output_file.h"
#include "settings_file.h"
#include "stored_settings.h"

namespace kxcam {
namespace {

void keep(const Camera& camera, int slot, StandardOutput& output) {
  store_settings(camera, slot);
  output.print(fmt::format("camera {}: settings stored in slot {}\n", camera.index(), slot));
}

}  // namespace

void save_params(const ParamsOptions& options, StandardOutput& output) {
  if (options.file != "-") require_folder(options.file);
  const Camera camera(options.camera);
  if (options.slot != kSlotLoadedAtOpen) load_stored_settings(camera, options.slot);
  const std::string text = settings_text(camera);
  if (options.file == "-") {
    output.print(text);
    return;
  }
  write_file(options.file, std::vector<uint8_t>(text.begin(), text.end()));
  output.print(fmt::format("{}: settings of camera {}\n", options.file, camera.index()));
}

void load_params(const ParamsOptions& options, StandardOutput& output) {
  const auto settings = read_settings_file(options.file);
  const Camera camera(options.camera);
  for (const auto name : write_settings(camera, settings)) {
    output.print(fmt::format("skipped {}: camera {} does not offer it\n", name, camera.index()));
  }
  keep(camera, options.slot, output);
}

void store_params(const ParamsOptions& options, StandardOutput& output) {
  const auto changes = parse_assignments(options.assignments);
  const Camera camera(options.camera);
  write_assignments(camera, changes);
  keep(camera, options.slot, output);
}

void reset_params(const ParamsOptions& options, StandardOutput& output) {
  const Camera camera(options.camera);
  write_neutral_settings(camera);
  keep(camera, options.slot, output);
}

}  // namespace kxcam
