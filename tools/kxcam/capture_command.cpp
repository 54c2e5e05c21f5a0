// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include <kxcam/kxcam.h>

#include "camera.h"
#include "camera_settings.h"
#include "command.h"
#include "control.h"
#include "diagnosis.h"
#include "file_name_pattern.h"
#include "image_writer.h"
#include "interrupt.h"
#include "output_file.h"
#include "progress.h"

namespace kxcam {
namespace {

struct Options {
  int camera = 0;
  std::string output = "frame.png";
  int frames = 1;
  int skip = 0;
  int timeout = kDefaultTimeoutMs;
  std::optional<PixelFormat> format;
  std::optional<FileType> type;
  CameraSettings settings;
  bool trigger = false;

  bool to_standard_output() const { return output == "-"; }
};

FileType choose_type(const Options& options) {
  if (options.type) return *options.type;
  if (options.to_standard_output()) return FileType::kPng;
  if (const auto type = file_type_of(options.output)) return *type;
  throw Error(ExitCode::kUsage, fmt::format("cannot tell the type of file from the name {}", options.output),
              "Use an ending .png, .ppm, .pgm or .raw, or give --type.");
}

void check_usage(const Options& options, FileType type, const StandardOutput& output) {
  const auto format = options.format ? options.format : implied_format(type);
  if (format && !holds(type, *format)) {
    throw Error(ExitCode::kUsage,
                fmt::format("a {} file cannot hold {} pictures", name_of(type), name_of(*format)),
                "ppm holds colour, pgm grey and raw; png and raw hold all.");
  }
  if (format == PixelFormat::kRaw && options.settings.changes_orientation()) {
    throw Error(ExitCode::kUsage, "raw frames come as the sensor reads them and cannot be mirrored or turned",
                "Leave out --mirror-x, --mirror-y and --rotate, or choose --format grey.");
  }
  if (!options.to_standard_output()) return;
  if (options.frames > 1 && !can_be_concatenated(type)) {
    throw Error(ExitCode::kUsage, "several PNG pictures cannot follow one another on standard output",
                "Choose --type ppm, pgm or raw, or write to files.");
  }
  if (output.is_terminal()) {
    throw Error(ExitCode::kUsage, "standard output is a terminal, which cannot show pictures",
                "Redirect it to a file or a program, or give a file name to -o.");
  }
}

/// The frames of one run: taken, encoded and written one after the other.
class Capture {
 public:
  Capture(const Options& options, FileType type, StandardOutput& output)
      : options_(options), type_(type), output_(output), pattern_(options.output), camera_(options.camera) {
    apply(options.settings, camera_);
    format_ = options.format         ? *options.format
              : implied_format(type) ? *implied_format(type)
                                     : natural_format(camera_.identity().product_id);
  }

  void run() {
    if (options_.settings.auto_exposure) settle();
    if (options_.trigger) write_control(camera_, find_control("trigger"), 1);
    for (int i = 0; i < options_.skip; ++i) take_frame();
    StatusLine line;
    for (int i = 1; i <= options_.frames; ++i) {
      take_frame();
      write_frame(i, line);
      if (options_.frames > 1) line.show(progress_bar(i, options_.frames));
    }
  }

 private:
  void take_frame() {
    if (options_.trigger) camera_.require("triggering", CameraTriggerShot(camera_.index()));
    take_frame(format_);
  }

  /// Lets automatic exposure come to rest: it follows grey frames, and not every one.
  void settle() {
    constexpr int kMostFrames = 200;
    constexpr int kRestFrames = 16;
    int rest = 0;
    auto last = exposure_and_gain();
    for (int i = 0; i < kMostFrames && rest < kRestFrames; ++i) {
      take_frame(PixelFormat::kGrey);
      const auto now = exposure_and_gain();
      rest = now == last ? rest + 1 : 0;
      last = now;
    }
  }

  std::pair<double, double> exposure_and_gain() const {
    return {read_control(camera_, find_control("exposure")), read_control(camera_, find_control("gain"))};
  }

  void take_frame(PixelFormat format) {
    const int code = camera_.query(format, std::chrono::milliseconds(options_.timeout), frame_);
    if (interrupted()) throw Error(ExitCode::kFailure, "interrupted");
    if (code == 0) return;
    if (code != KXCAM_ERROR_NO_FRAME) throw camera_error(camera_.index(), "taking a frame", code);
    if (!camera_.answers()) throw camera_gone_error(camera_.index());
    throw no_frame_error(camera_.index(), options_.timeout);
  }

  void write_frame(int number, StatusLine& line) {
    const Picture picture = camera_.describe(format_, frame_);
    const auto file = encode(type_, picture);
    if (options_.to_standard_output()) {
      output_.write(file);
      return;
    }
    const std::string name = pattern_.name(number, options_.frames);
    write_file(name, file);
    line.show("");
    output_.print(fmt::format("{}: {} x {} {}, {} bytes\n", name, picture.width, picture.height,
                              name_of(format_), file.size()));
  }

  const Options& options_;
  FileType type_;
  StandardOutput& output_;
  FileNamePattern pattern_;
  Camera camera_;
  PixelFormat format_;
  std::vector<uint8_t> frame_;
};

void run(const Options& options, StandardOutput& output) {
  const FileType type = choose_type(options);
  check_usage(options, type, output);
  Capture(options, type, output).run();
}

}  // namespace

void add_capture_command(CLI::App& app, Command& chosen) {
  auto* command = app.add_subcommand("capture", "Take pictures and store them");
  const auto options = std::make_shared<Options>();
  add_camera_option(*command, options->camera);
  command
      ->add_option("-o,--output", options->output,
                   "File to write, - for standard output; may hold %d or %04d")
      ->type_name("FILE")
      ->capture_default_str();
  command->add_option("-n,--frames", options->frames, "How many; several files are numbered")
      ->type_name("N")
      ->check(CLI::Range(1, 1'000'000'000).description(""))
      ->capture_default_str();
  command->add_option("--skip", options->skip, "Frames to let pass first")
      ->type_name("N")
      ->check(CLI::Range(0, 1'000'000'000).description(""))
      ->capture_default_str();
  add_format_option(*command, options->format);
  command
      ->add_option_function<std::string>(
          "--type", [options](const std::string& name) { options->type = file_type_names().at(name); },
          "Type of file (default: by the ending of its name)")
      ->type_name("png|ppm|pgm|raw")
      ->check(CLI::IsMember(file_type_names()).description(""));
  add_timeout_option(*command, options->timeout);
  add_settings_options(*command, options->settings);
  command->add_flag("--trigger", options->trigger, "Take each frame with a software trigger")
      ->group("Exposure");
  command->callback(
      [options, &chosen] { chosen = [options](StandardOutput& output) { run(*options, output); }; });
}

}  // namespace kxcam
