// SPDX-License-Identifier: Apache-2.0
#include <exception>

#include <fmt/format.h>

#include "command_line.h"
#include "error.h"
#include "interrupt.h"
#include "standard_output.h"

namespace {

using kxcam::Error;
using kxcam::ExitCode;

ExitCode report(const Error& error) {
  kxcam::print_message(
      fmt::format("kxcam: {}\n{}{}", error.what(), error.cure(), error.cure().empty() ? "" : "\n"));
  return error.exit_code();
}

ExitCode run(int argc, char** argv) {
  kxcam::watch_for_interrupts();
  kxcam::StandardOutput output;
  try {
    kxcam::parse_command_line(argc, argv)(output);
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
  return static_cast<int>(run(argc, argv));
}
