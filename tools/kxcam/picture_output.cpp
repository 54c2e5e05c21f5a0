// SPDX-License-Identifier: Apache-2.0
#include "picture_output.h"

#include <fmt/format.h>

#include "error.h"
#include "output_file.h"

namespace kxcam {
namespace {

FileType choose_type(const PictureTarget& target) {
  if (target.type) return *target.type;
  if (target.to_standard_output()) return FileType::kPng;
  if (const auto type = file_type_of(target.output)) return *type;
  throw Error(ExitCode::kUsage, fmt::format("unknown file extension in {}", target.output),
              "Use .png, .ppm, .pgm or .raw, or give --type.");
}

void check_format(const PictureTarget& target, FileType type) {
  if (!target.format || holds(type, *target.format)) return;
  throw Error(ExitCode::kUsage,
              fmt::format("a {} file cannot hold {} pictures", name_of(type), name_of(*target.format)),
              "ppm holds colour, pgm grey or raw; png and raw hold any format.");
}

void check_standard_output(FileType type, int total, const StandardOutput& output) {
  if (total > 1 && !can_be_concatenated(type)) {
    throw Error(ExitCode::kUsage, "several PNG pictures cannot be written to standard output",
                "Choose --type ppm, pgm or raw, or write to files.");
  }
  if (output.is_terminal()) {
    throw Error(ExitCode::kUsage, "standard output is a terminal, which cannot show pictures",
                "Redirect it to a file or a program, or name a file with -o.");
  }
}

}  // namespace

PictureOutput::PictureOutput(const PictureTarget& target, int total, StandardOutput& output)
    : target_(target), total_(total), output_(output), type_(choose_type(target)), pattern_(target.output) {
  check_format(target, type_);
  if (target.to_standard_output()) {
    check_standard_output(type_, total, output);
  } else {
    require_folder(pattern_.name(1, total));
  }
}

PixelFormat PictureOutput::format(PixelFormat natural) const {
  return target_.format.value_or(implied_format(type_).value_or(natural));
}

void PictureOutput::write(const Picture& picture, PixelFormat format) {
  const auto file = encode(type_, picture);
  ++written_;
  if (target_.to_standard_output()) {
    output_.write(file);
  } else {
    const std::string name = pattern_.name(written_, total_);
    write_file(name, file);
    line_.show("");
    output_.print(fmt::format("{}: {} x {} {}, {} bytes\n", name, picture.width, picture.height,
                              name_of(format), file.size()));
  }
  if (total_ > 1) line_.show(progress_bar(written_, total_));
}

}  // namespace kxcam
