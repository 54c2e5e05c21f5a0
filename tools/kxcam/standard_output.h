// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace kxcam {

/// Gives the standard files that the program was started without something to stand in their place: files
/// opened later, a camera's device among them, must not take their numbers. Writing to a standard output that
/// was closed still fails.
void open_standard_files();

/// Writes to standard error. Where that cannot be written the message is lost, and nothing else happens.
void print_message(std::string_view text);

/// The program's standard output, kept for its own results. While an object lives, whatever else
/// writes to file 1 (the library prints some of its messages there) ends up on standard error, so
/// that pictures and JSON on a pipe stay whole. At most one object.
class StandardOutput {
 public:
  StandardOutput();
  ~StandardOutput();
  StandardOutput(const StandardOutput&) = delete;
  StandardOutput& operator=(const StandardOutput&) = delete;

  bool is_terminal() const;
  /// Both throw Error when the output is full or closed.
  void print(std::string_view text);
  void write(std::span<const uint8_t> bytes);

 private:
  int file_;
};

}  // namespace kxcam
