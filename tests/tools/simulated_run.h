// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

/// What a finished run of the tool left.
struct Result {
  int status = 0;  ///< exit status
  std::string output;
  std::string error;
};

/// The simulated cameras of a run, as `kxsim run` takes them.
struct Cameras {
  std::vector<std::string> models;
  std::string faults = {};
};

/// A command, what it returns, and a part of what it says.
struct Row {
  std::string arguments;  ///< of kxcam, with a blank between two
  int status = 0;
  std::string text = {};
};

/// Runs each against the cameras. A failure begins with the program's name, and a command line that is
/// refused leaves standard output empty.
void expect_rows(const Cameras& cameras, const std::vector<Row>& rows);

/// Runs `kxcam arguments…` against the cameras; `wrapper` is a program that runs it, with its options.
Result run(const Cameras& cameras, const std::vector<std::string>& arguments,
           const std::string& wrapper = "");

/// The output of such a run, which must succeed.
std::string output_of(const Cameras& cameras, const std::vector<std::string>& arguments);

/// Runs a shell script against the cameras; "$KXCAM" in it is the tool.
Result run_shell(const Cameras& cameras, const std::string& script);

/// Runs `kxcam arguments…` with a configuration file of its own and no simulated bus.
Result run_with_configuration(const std::string& configuration, const std::vector<std::string>& arguments);
