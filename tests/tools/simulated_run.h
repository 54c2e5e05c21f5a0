// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <sys/types.h>

#include "temporary_folder.h"

/// A running program whose standard output and error are files.
class Process {
 public:
  /// `command` is looked for in PATH. Standard input is empty.
  explicit Process(const std::vector<std::string>& command);
  /// Kills what still runs.
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  void signal(int number) const;
  /// Exit status, or 128 + the signal that ended it; throws when the program does not end in time.
  int wait(std::chrono::seconds limit = std::chrono::seconds(30));

  std::string output() const;
  std::string error() const;

 private:
  TemporaryFolder folder_;
  pid_t pid_ = -1;
};

/// What a finished run of the tool left.
struct Result {
  int status = 0;
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

/// Command line of `kxcam arguments…` against the cameras.
std::vector<std::string> simulated(const Cameras& cameras, const std::vector<std::string>& arguments);

/// Runs `kxcam arguments…` against the cameras.
Result run(const Cameras& cameras, const std::vector<std::string>& arguments);

/// Runs a shell script against the cameras; "$KXCAM" in it is the tool.
Result run_shell(const Cameras& cameras, const std::string& script);

/// Runs `kxcam arguments…` with a configuration file of its own and no simulated bus.
Result run_with_configuration(const std::string& configuration, const std::vector<std::string>& arguments);
