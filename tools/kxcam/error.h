// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace kxcam {

/// Exit statuses of the program; the manual page lists them for scripts.
enum class ExitCode {
  kSuccess = 0,
  kFailure = 1,
  kUsage = 2,
  kNoCamera = 3,
  kNoPermission = 4,
  kInUse = 5,
  kNoConfiguration = 6,
  kNoFrame = 7,
};

/// What went wrong (what()), what the user can do about it, and the exit status that says so.
class Error : public std::runtime_error {
 public:
  Error(ExitCode exit_code, const std::string& cause, std::string cure = {})
      : std::runtime_error(cause), cure_(std::move(cure)), exit_code_(exit_code) {}

  const std::string& cure() const { return cure_; }  ///< "" when there is none to give
  ExitCode exit_code() const { return exit_code_; }

 private:
  std::string cure_;
  ExitCode exit_code_;
};

}  // namespace kxcam
