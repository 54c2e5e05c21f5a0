// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "camera.h"
#include "command.h"
#include "output_file.h"
#include "settings_file.h"
#include "stored_settings.h"

namespace kxcam {
namespace {

struct Options {
  int camera = 0;
  int slot = kSlotLoadedAtOpen;
  std::string file;
  std::vector<std::string> assignments;
};

void save(const Options& options, StandardOutput& output) {
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

void keep(const Camera& camera, int slot, StandardOutput& output) {
  store_settings(camera, slot);
  output.print(fmt::format("camera {}: settings stored in slot {}\n", camera.index(), slot));
}

void load(const Options& options, StandardOutput& output) {
  const auto settings = read_settings_file(options.file);
  const Camera camera(options.camera);
  for (const auto name : write_settings(camera, settings)) {
    output.print(fmt::format("{} left out: camera {} has none\n", name, camera.index()));
  }
  keep(camera, options.slot, output);
}

void store(const Options& options, StandardOutput& output) {
  std::vector<Assignment> changes;
  for (const auto& text : options.assignments) changes.push_back(parse_assignment(text));
  const Camera camera(options.camera);
  write_assignments(camera, changes);
  keep(camera, options.slot, output);
}

void reset(const Options& options, StandardOutput& output) {
  const Camera camera(options.camera);
  write_neutral_settings(camera);
  keep(camera, options.slot, output);
}

using Action = void (*)(const Options&, StandardOutput&);

struct Subcommand {
  CLI::App& app;
  std::shared_ptr<Options> options = std::make_shared<Options>();

  Subcommand(CLI::App& command, Command& chosen, Action action) : app(command) {
    add_camera_option(app, options->camera);
    app.add_option("--slot", options->slot, "Which of the camera's sets; 0 is loaded when it is opened")
        ->type_name("0|1")
        ->check(CLI::Range(kSlotLoadedAtOpen, kLastSlot).description(""))
        ->capture_default_str();
    app.callback([options = options, &chosen, action] {
      chosen = [options, action](StandardOutput& output) { action(*options, output); };
    });
  }

  void take_file() const {
    app.add_option("file", options->file, "Text file; - for standard input or output")
        ->type_name("FILE")
        ->required();
  }
};

}  // namespace

void add_params_command(CLI::App& app, Command& chosen) {
  auto& params = *app.add_subcommand("params", "Keep settings in a file or in the camera");
  params.require_subcommand(1);
  Subcommand(*params.add_subcommand("save", "Write a camera's settings to a text file"), chosen, save)
      .take_file();
  Subcommand(*params.add_subcommand("load", "Put a file's settings on a camera and store them there"), chosen,
             load)
      .take_file();
  const Subcommand storing(*params.add_subcommand("store", "Store the settings in the camera, some changed"),
                           chosen, store);
  storing.app
      .add_option("assignment", storing.options->assignments, "What to change first, see `kxcam controls`")
      ->type_name("NAME=VALUE");
  Subcommand(*params.add_subcommand("reset", "Store the factory's settings in the camera"), chosen, reset);
}

}  // namespace kxcam
