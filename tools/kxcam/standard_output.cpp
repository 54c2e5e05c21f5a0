// SPDX-License-Identifier: Apache-2.0
#include "standard_output.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <fcntl.h>
#include <fmt/format.h>
#include <stdio_ext.h>
#include <unistd.h>

#include "error.h"
#include "output_file.h"

namespace kxcam {

StandardOutput::StandardOutput() : file_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)) {
  if (file_ < 0) {
    throw Error(ExitCode::kFailure,
                fmt::format("no standard output: {}", std::generic_category().message(errno)));
  }
  dup2(STDERR_FILENO, STDOUT_FILENO);
}

StandardOutput::~StandardOutput() {
  // What the library printed belongs to standard error still, and need not have ended its line.
  if (__fpending(stdout) > 0) std::fputc('\n', stdout);
  std::fflush(stdout);
  dup2(file_, STDOUT_FILENO);
  close(file_);
}

bool StandardOutput::is_terminal() const {
  return isatty(file_) == 1;
}

void StandardOutput::print(std::string_view text) {
  write({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

void StandardOutput::write(std::span<const uint8_t> bytes) {
  write_all(file_, bytes, "standard output");
}

}  // namespace kxcam
