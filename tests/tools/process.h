// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
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
