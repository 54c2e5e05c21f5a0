// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace kxcam {

/// Names of the files of a series. The user's text may hold one place for the number, "%d" or with a
/// width and leading zeros "%04d"; "%%" stands for "%". Without a place the number goes before the
/// ending: frame-0001.png, frame-0002.png from frame.png.
class FileNamePattern {
 public:
  /// Throws Error (usage) for any other use of "%".
  explicit FileNamePattern(const std::string& text);

  /// Name of file `number`, counted from 1, of `total`. A single file without a place for the number
  /// has the user's name as it is.
  std::string name(int number, int total) const;

 private:
  /// Takes the place for the number, behind its "%", from the front of `rest`.
  bool take_place(std::string_view& rest);
  [[noreturn]] static void refuse(const std::string& text);

  std::string before_;
  std::string after_;
  bool has_place_ = false;
  bool zeros_ = false;
  int width_ = 0;
};

}  // namespace kxcam
