// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <exception>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>

#include "command.h"
#include "error.h"
#include "interrupt.h"
#include "version.h"

namespace {

using kxcam::Command;
using kxcam::Error;
using kxcam::ExitCode;

constexpr const char* kExamples =
    "Examples:\n"
    "  kxcam list                                  which cameras are there\n"
    "  kxcam info -c 1                             what camera 1 is and offers\n"
    "  kxcam capture                               one picture to frame.png\n"
    "  kxcam capture -n 20 -o 'run/%04d.pgm'       twenty grey pictures\n"
    "  kxcam capture --roi 64,64,640,480 -o a.png  part of the sensor\n"
    "  kxcam capture --type ppm -o - | display     a picture to another program\n"
    "  kxcam capture --exposure-ms 20 --gain 32    exposed for 20 ms\n"
    "  kxcam capture --auto                        exposed by the camera's own measure\n"
    "  kxcam stream --seconds 10                   frame rate and losses\n"
    "  kxcam controls                              every setting and its range\n"
    "  kxcam set gain=32 exposure-ms=5             change some\n"
    "  kxcam params save line3.conf                all settings as a text file\n"
    "  kxcam develop --model 3500 -o a.png a.raw   a picture of a raw frame\n"
    "  kxcam doctor                                why a camera cannot be used\n"
    "\n"
    "Exit status: 0 success, 1 failure, 2 usage, 3 no such camera, 4 no permission,\n"
    "5 in use, 6 no configuration file, 7 no frame.";

void build(CLI::App& app, Command& chosen) {
  app.set_version_flag("--version", kxcam::version);
  app.require_subcommand(1);
  add_list_command(app, chosen);
  add_info_command(app, chosen);
  add_capture_command(app, chosen);
  add_stream_command(app, chosen);
  add_control_commands(app, chosen);
  add_params_command(app, chosen);
  add_develop_command(app, chosen);
  add_doctor_command(app, chosen);
  app.footer(kExamples);  // last, or every subcommand takes it over
}

ExitCode report(const Error& error) {
  kxcam::print_message(
      fmt::format("kxcam: {}\n{}{}", error.what(), error.cure(), error.cure().empty() ? "" : "\n"));
  return error.exit_code();
}

ExitCode run(const Command& command) {
  kxcam::watch_for_interrupts();
  kxcam::StandardOutput output;
  try {
    command(output);
    return ExitCode::kSuccess;
  } catch (const Error& error) {
    return report(error);
  } catch (const std::exception& exception) {
    return report(Error(ExitCode::kFailure, exception.what()));
  }
}

}  // namespace

int main(int argc, char** argv) {
  kxcam::open_standard_files();
  CLI::App app("Look at, take and measure pictures of industrial USB cameras.", "kxcam");
  Command command;
  try {
    build(app, command);
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const bool asked_for = app.exit(error) == 0;  // --help and --version come this way too
    return static_cast<int>(asked_for ? ExitCode::kSuccess : ExitCode::kUsage);
  }
  return static_cast<int>(run(command));
}
