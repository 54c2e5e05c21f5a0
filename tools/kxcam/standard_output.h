// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace kxcam {

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
