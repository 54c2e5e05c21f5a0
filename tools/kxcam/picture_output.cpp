// SPDX-License-Identifier: Apache-2.0
#include "picture_output.h"

#include <fmt/format.h>

#include "command.h"
#include "error.h"
#include "output_file.h"

namespace kxcam {
namespace {

FileType choose_type(const PictureTarget& target) {
  if (target.type) return *target.type;
  if (target.to_standard_output()) return FileType::kPng;
  if (const auto type = file_type_of(target.output)) return *type;
  throw Error(ExitCode::kUsage, fmt::format("cannot tell the type of file from the name {}", target.output),
              "Use an ending .png, .ppm, .pgm or .raw, or give --type.");
}

void check_format(const PictureTarget& target, FileType type) {
  if (!target.format || holds(type, *target.format)) return;
  throw Error(ExitCode::kUsage,
              fmt::format("a {} file cannot hold {} pictures", name_of(type), name_of(*target.format)),
              "ppm holds colour, pgm grey and raw; png and raw hold all.");
}

void check_standard_output(FileType type, int total, const StandardOutput& output) {
  if (total > 1 && !can_be_concatenated(type)) {
    throw Error(ExitCode::kUsage, "several PNG pictures cannot follow one another on standard output",
                "Choose --type ppm, pgm or raw, or write to files.");
  }
  if (output.is_terminal()) {
    throw Error(ExitCode::kUsage, "standard output is a terminal, which cannot show pictures",
                "Redirect it to a file or a program, or give a file name to -o.");
  }
}

}  // namespace

void add_target_options(CLI::App& command, PictureTarget& target) {
  command
      .add_option("-o,--output", target.output, "File to write, - for standard output; may hold %d or %04d")
      ->type_name("FILE")
      ->capture_default_str();
  add_format_option(command, target.format);
  command
      .add_option_function<std::string>(
          "--type", [&target](const std::string& name) { target.type = file_type_names().at(name); },
          "Type of file (default: by the ending of its name)")
      ->type_name("png|ppm|pgm|raw")
      ->check(CLI::IsMember(file_type_names()).description(""));
}

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
