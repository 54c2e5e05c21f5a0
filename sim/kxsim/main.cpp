// SPDX-License-Identifier: Apache-2.0

// kxsim: runs programs against simulated cameras.

#include <exception>
#include <string>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "kxsim/model_list.h"
#include "kxsim/run_command.h"

namespace {

constexpr int kFailure = 125;  // of kxsim itself, distinct from what commands usually return

int dispatch(int argc, char** argv) {
  CLI::App app("Runs programs against simulated cameras: no hardware, no root, no kernel module.", "kxsim");
  app.require_subcommand(1);
  app.set_version_flag("--version", "kxsim " KXSIM_VERSION);

  kxsim::RunOptions options;
  auto* const run = app.add_subcommand("run", "Run a command that sees simulated cameras");
  run->add_option("-c,--camera", options.cameras,
                  "A camera: MODEL[,key=value]...; may be given several times")
      ->type_name("MODEL")
      ->allow_extra_args(false);
  run->add_option("-s,--scene", options.scene, "What the cameras see: chart, grey or a picture file")
      ->type_name("SCENE");
  run->add_option("-f,--fault", options.faults, "What goes wrong: a fault script, or @FILE")
      ->type_name("SCRIPT");
  run->add_option("--conf", options.conf, "Transport configuration, instead of one that lists all models")
      ->check(CLI::ExistingFile)
      ->type_name("FILE");
  run->add_option("command", options.command, "The command and its arguments, after --")->required();

  bool json = false;
  auto* const models = app.add_subcommand("models", "List the camera models");
  models->add_flag("--json", json, "As JSON");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kFailure;
  }
  if (models->parsed()) {
    fmt::print("{}", json ? kxsim::model_table_json() : kxsim::model_table_text());
    return 0;
  }
  return kxsim::run_command(options);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return dispatch(argc, argv);
  } catch (const std::exception& error) {
    fmt::print(stderr, "kxsim: {}\n", error.what());
    return kFailure;
  }
}
