// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "file_name_pattern.h"
#include "image_files.h"
#include "picture.h"
#include "pixel_format.h"
#include "progress.h"
#include "standard_output.h"

namespace kxcam {

/// Where the user wants pictures to go, and what they are to be.
struct PictureTarget {
  std::string output = "frame.png";  ///< a pattern for file names, or "-" for standard output
  std::optional<PixelFormat> format;
  std::optional<FileType> type;

  bool to_standard_output() const { return output == "-"; }
};

/// Writes a series of pictures, each as a whole file, and shows the progress.
class PictureOutput {
 public:
  /// Throws Error (usage) when target and number of pictures do not fit together.
  PictureOutput(const PictureTarget& target, int total, StandardOutput& output);

  /// What the pictures are to be: as the user said, as the type of file implies, or else `natural`.
  PixelFormat format(PixelFormat natural) const;

  /// Throws Error when the file cannot be written.
  void write(const Picture& picture, PixelFormat format);

 private:
  const PictureTarget& target_;
  int total_;
  StandardOutput& output_;
  FileType type_;
  FileNamePattern pattern_;
  StatusLine line_;
  int written_ = 0;
};

}  // namespace kxcam
