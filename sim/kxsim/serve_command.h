// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kxsim {

struct ServeOptions {
  std::vector<std::string> cameras;    ///< camera descriptions; none = one camera of the default model
  std::string scene;                   ///< see set_view()
  std::string faults;                  ///< see read_fault_option()
  std::filesystem::path folder = ".";  ///< of the sockets camera1.sock, camera2.sock, ...
};

/// Exports the cameras to virtual machines, and takes commands from standard input, until a signal or a
/// command ends it. Returns the exit status. Throws std::runtime_error for options that make no sense.
int serve_command(const ServeOptions& options);

}  // namespace kxsim
