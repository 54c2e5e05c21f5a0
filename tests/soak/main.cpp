// SPDX-License-Identifier: Apache-2.0

// Runs library and simulated cameras against each other for as long as one likes. Exit status: 0 all was
// well, 1 something was not, 2 usage.

#include <cstdio>
#include <exception>
#include <filesystem>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>

#include "report.h"
#include "soak.h"

namespace {

struct Arguments {
  kxcam::soak::SoakOptions options;
  std::filesystem::path report;
};

void describe(CLI::App& app, Arguments& arguments) {
  auto& options = arguments.options;
  app.add_option("--seconds", options.seconds, "How long to run")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--seed", options.seed, "Seed of all decisions")->capture_default_str();
  app.add_option("--cameras", options.cameras, "Number of cameras")
      ->check(CLI::Range(1, 3))
      ->capture_default_str();
  app.add_option("--quiet-every", options.quiet_every_s, "Seconds between two quiet points")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--slowness", options.slowness, "Factor on the time a call may take")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--memory-growth", options.memory_growth_mib, "MiB by which the resident memory may grow")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--report", arguments.report, "File for the figures, as JSON");
}

int run(const Arguments& arguments) {
  fmt::print("{} s, {} cameras, seed {}\n", arguments.options.seconds, arguments.options.cameras,
             arguments.options.seed);
  std::fflush(stdout);
  kxcam::soak::Soak soak(arguments.options);
  soak.run();
  print_summary(soak.report(), soak.stage());
  if (!arguments.report.empty()) write_json(arguments.report, soak.report(), soak.stage());
  return soak.stage().violations.count() == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Runs kxcam against simulated cameras, with faults, and accounts for every frame.",
               "kxcam_soak");
  Arguments arguments;
  describe(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  try {
    return run(arguments);
  } catch (const std::exception& error) {
    fmt::print(stderr, "kxcam_soak: {}\n", error.what());
    return 1;
  }
}
