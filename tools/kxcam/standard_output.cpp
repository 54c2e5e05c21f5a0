// SPDX-License-Identifier: Apache-2.0
#include "standard_output.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <stdio_ext.h>
#include <unistd.h>

#include "output_file.h"

namespace kxcam {

void open_standard_files() {
  for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(file, F_GETFD) < 0 && errno == EBADF)
      open("/dev/null", file == STDERR_FILENO ? O_WRONLY : O_RDONLY);
  }
}

void print_message(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
}

StandardOutput::StandardOutput() : file_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
  // Whole messages at the end: a line of the library must not come before that of the tool which explains it.
  static char buffer[BUFSIZ];
  std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
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
