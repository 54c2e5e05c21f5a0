// SPDX-License-Identifier: Apache-2.0

// kxsim: simulated cameras for programs and virtual machines.

#include <cstdio>
#include <exception>
#include <string>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "device/camera_options.h"
#include "device/conf_file.h"
#include "kxsim/model_list.h"
#include "kxsim/run_command.h"
#include "kxsim/serve_command.h"

namespace {

constexpr int kFailure = 125;  // of kxsim itself, distinct from what commands usually return

/// What `run` and `serve` have in common.
void add_camera_options(CLI::App& command, auto& options) {
  command.footer(kxsim::camera_options_help());
  command
      .add_option("-c,--camera", options.cameras,
                  "A camera: MODEL[,KEY=VALUE]...; repeatable (default: 0x3500)")
      ->type_name("MODEL")
      ->allow_extra_args(false);
  command
      .add_option("-s,--scene", options.scene,
                  "What the cameras see: chart, grey or a picture file; or numbers instead of a picture")
      ->type_name("SCENE");
  command.add_option("-f,--fault", options.faults, "What goes wrong: a fault script, or @FILE")
      ->type_name("SCRIPT");
}

int dispatch(int argc, char** argv) {
  CLI::App app("Simulated cameras for programs and virtual machines.", "kxsim");
  app.require_subcommand(1);
  app.set_version_flag("--version", "kxsim " KXSIM_VERSION);

  kxsim::RunOptions run_options;
  auto* const run = app.add_subcommand("run", "Run a command that sees simulated cameras");
  add_camera_options(*run, run_options);
  run->add_option("--conf", run_options.conf, "Transport configuration, instead of one that lists all models")
      ->check(CLI::ExistingFile)
      ->type_name("FILE");
  run->add_option("command", run_options.command, "The command and its arguments, after --")->required();

  kxsim::ServeOptions serve_options;
  auto* const serve = app.add_subcommand("serve", "Export simulated cameras to virtual machines");
  add_camera_options(*serve, serve_options);
  serve->add_option("-d,--directory", serve_options.folder, "Where the sockets camera1.sock, ... are put")
      ->check(CLI::ExistingDirectory)
      ->type_name("DIRECTORY");

  bool json = false;
  auto* const models = app.add_subcommand("models", "List the camera models");
  bool conf = false;
  models->add_flag("--json", json, "As JSON");
  models->add_flag("--conf", conf, "As a transport configuration")->excludes("--json");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kFailure;
  }
  if (models->parsed()) {
    fmt::print("{}", conf   ? kxsim::conf_text()
                     : json ? kxsim::model_table_json()
                            : kxsim::model_table_text());
    return 0;
  }
  return serve->parsed() ? kxsim::serve_command(serve_options) : kxsim::run_command(run_options);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return dispatch(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kxsim: %s\n", error.what());  // unlike fmt it takes a closed standard error
    return kFailure;
  }
}
