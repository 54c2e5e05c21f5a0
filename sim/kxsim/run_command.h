// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kxsim {

struct RunOptions {
  std::vector<std::string> cameras;  ///< camera descriptions; none = one camera of the default model
  std::string scene;                 ///< see set_view()
  std::string faults;                ///< see read_fault_option()
  std::filesystem::path conf;        ///< transport configuration; empty = one with all models
  std::vector<std::string> command;
};

/// Runs the command with its cameras and returns its exit status. Throws std::runtime_error, before
/// anything is run, for options that make no sense.
int run_command(const RunOptions& options);

}  // namespace kxsim
