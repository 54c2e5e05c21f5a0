// SPDX-License-Identifier: Apache-2.0

// The only file that includes the parser of command lines, which takes long to compile.

#include "command_line.h"

#include <cstdlib>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>

#include "commands.h"
#include "controls.h"
#include "error.h"
#include "image_files.h"
#include "versions.h"

namespace kxcam {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kxcam list                                  which cameras are attached\n"
    "  kxcam info -c 1                             model, identity and settings of camera 1\n"
    "  kxcam capture                               one picture, to frame.png\n"
    "  kxcam capture -n 20 -o 'run/%04d.pgm'       twenty grey pictures\n"
    "  kxcam capture --roi 64,64,640,480 -o a.png  part of the sensor\n"
    "  kxcam capture --type ppm -o - | display     a picture for another program\n"
    "  kxcam capture --exposure-ms 20 --gain 32    with a given exposure and gain\n"
    "  kxcam capture --auto                        with automatic exposure and gain\n"
    "  kxcam stream --seconds 10                   frame rate and losses\n"
    "  kxcam view                                  live in the browser, with every setting\n"
    "  kxcam controls                              every setting with its range\n"
    "  kxcam set --store gain=32 exposure-ms=5     change settings for good\n"
    "  kxcam params save line3.conf                all settings as a text file\n"
    "  kxcam develop --model 3500 -o a.png a.raw   a picture from a raw frame\n"
    "  kxcam verify                                test a camera and account for every frame\n"
    "  kxcam doctor                                why a camera cannot be used\n"
    "\n"
    "Exit status: 0 success, 1 failure, 2 usage, 3 no such camera, 4 no permission,\n"
    "5 in use, 6 no configuration file, 7 no frame.";

constexpr const char* kExposure = "Exposure";
constexpr const char* kGeometry = "Geometry";
constexpr const char* kTone = "Tone and colour (not for raw frames)";

/// A number between two others, which not-a-number is not.
CLI::Validator between(double minimum, double maximum) {
  return {[=](const std::string& text) {
            char* end = nullptr;
            const double value = std::strtod(text.c_str(), &end);
            const bool number = !text.empty() && *end == '\0';
            if (number && value >= minimum && value <= maximum) return std::string();
            return fmt::format("{} is not a number from {} to {}", text, minimum, maximum);
          },
          ""};
}

template <class Value>
CLI::Option* add_number(CLI::App& command, const std::string& name, Value& value, const char* type,
                        double minimum, double maximum, const std::string& description) {
  return command.add_option(name, value, description)->type_name(type)->check(between(minimum, maximum));
}

/// One of a few words, each for a value.
template <class Value, class Target>
void add_word(CLI::App& command, const std::string& name, Target& target, const char* type,
              const std::map<std::string, Value>& words, const std::string& description) {
  command
      .add_option_function<std::string>(
          name, [&target, &words](const std::string& word) { target = words.at(word); }, description)
      ->type_name(type)
      ->check(CLI::IsMember(words).description(""));
}

void add_camera(CLI::App& command, CameraChoice& camera) {
  auto* index =
      add_number(command, "-c,--camera", camera.index, "N", 0, 255, "Index of the camera, see `kxcam list`")
          ->capture_default_str();
  command.add_option("--serial", camera.serial, "Serial number of the camera, instead of its index")
      ->type_name("TEXT")
      ->excludes(index);
}

void add_json(CLI::App& command, bool& json) {
  command.add_flag("--json", json, "Print JSON, for programs");
}

void add_format(CLI::App& command, std::optional<PixelFormat>& format) {
  add_word(command, "--format", format, "colour|grey|raw", pixel_format_names(),
           "Output format (default: colour, or grey for monochrome cameras)");
}

void add_timeout(CLI::App& command, int& milliseconds) {
  add_number(command, "--timeout", milliseconds, "MS", 1, 3'600'000,
             "Longest wait for a frame in ms; the shortest possible is about 500")
      ->capture_default_str();
}

void add_target(CLI::App& command, PictureTarget& target) {
  command
      .add_option("-o,--output", target.output,
                  "Output file, - for standard output; %d or %04d stands for the number of the frame")
      ->type_name("FILE")
      ->capture_default_str();
  add_format(command, target.format);
  add_word(command, "--type", target.type, "png|ppm|pgm|raw", file_type_names(),
           "File type (default: from the file extension)");
}

/// A control as an option of its own: a flag where it is a switch.
CLI::Option* add_control(CLI::App& command, const char* name, std::vector<Assignment>& assignments) {
  const Control& control = find_control(name);
  const std::string option = fmt::format("--{}", name);
  const std::string description = sentence_case(control.description);
  const bool is_switch = control.choices != nullptr;
  if (is_switch) {
    return command.add_flag_callback(
        option,
        [&] {
          assignments.push_back({&control, 1});
        },
        description);
  }
  return command
      .add_option_function<std::string>(
          option,
          [&](const std::string& text) {
            assignments.push_back({&control, parse_value(control, text)});
          },
          fmt::format("{} ({})", description, range_text(control)))
      ->type_name(control.unit == std::string_view("ms") ? "MS"
                  : control.whole()                      ? "N"
                                                         : "X");
}

void add_orientation(CLI::App& command, CameraSettings& settings) {
  for (const char* name : {"mirror-x", "mirror-y"})
    add_control(command, name, settings.controls)->group(kGeometry);
  command.add_option("--rotate", settings.rotate, "Rotate clockwise, after mirroring")
      ->type_name("90|180|270")
      ->check(CLI::IsMember({90, 180, 270}).description(""))
      ->group(kGeometry);
}

void add_tone(CLI::App& command, CameraSettings& settings) {
  for (const char* name : {"gamma", "contrast", "saturation", "black-level", "enhancement"}) {
    add_control(command, name, settings.controls)->group(kTone);
  }
  command.add_flag("--one-push", settings.one_push, "Measure the white balance once")->group(kTone);
}

void add_set(CLI::App& command, CameraSettings& settings) {
  command
      .add_option_function<std::vector<std::string>>(
          "--set",
          [&settings](const std::vector<std::string>& texts) {
            for (const Assignment& assignment : parse_assignments(texts))
              settings.controls.push_back(assignment);
          },
          "Set any control, see `kxcam controls`; repeatable")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
}

void add_settings(CLI::App& command, CameraSettings& settings) {
  constexpr double kMost = std::numeric_limits<int>::max();
  auto* resolution = add_number(command, "--resolution", settings.resolution, "PRESET", 0, kMost,
                                "Resolution preset, see `kxcam info`")
                         ->group(kGeometry);
  command.add_option("--roi", settings.roi, "Region of interest in pixels of the delivered picture")
      ->type_name("X,Y,W,H")
      ->delimiter(',')
      ->expected(4)
      ->check(between(0, kMost))
      ->excludes(resolution)
      ->group(kGeometry);
  add_orientation(command, settings);
  auto* automatic =
      command.add_flag("--auto", settings.auto_exposure, "Automatic exposure and gain")->group(kExposure);
  for (const char* name : {"exposure-ms", "gain"}) {
    add_control(command, name, settings.controls)->excludes(automatic)->group(kExposure);
  }
  add_tone(command, settings);
  add_set(command, settings);
}

/// Subcommands, of which the one that is given leaves its work in `chosen`.
class Commands {
 public:
  explicit Commands(Command& chosen) : chosen_(chosen) {}

  template <class Options>
  CLI::App& add(CLI::App& parent, const char* name, const char* description,
                void (*run)(const Options&, StandardOutput&), std::shared_ptr<Options> options) {
    CLI::App& command = *parent.add_subcommand(name, description)->group("Commands");
    command.callback([this, run, options] {
      chosen_ = [run, options](StandardOutput& output) { run(*options, output); };
    });
    return command;
  }

 private:
  Command& chosen_;
};

void add_list(CLI::App& app, Commands& commands) {
  const auto options = std::make_shared<ListOptions>();
  add_json(commands.add(app, "list", "List the attached cameras", list, options), options->json);
}

void add_info(CLI::App& app, Commands& commands) {
  const auto options = std::make_shared<InfoOptions>();
  CLI::App& command = commands.add(app, "info", "Show model, identity and current settings", info, options);
  add_camera(command, options->camera);
  add_json(command, options->json);
}

void add_capture(CLI::App& app, Commands& commands) {
  const auto options = std::make_shared<CaptureOptions>();
  CLI::App& command = commands.add(app, "capture", "Save pictures to files", capture, options);
  add_camera(command, options->camera);
  add_target(command, options->target);
  add_number(command, "-n,--frames", options->frames, "N", 1, 1e9,
             "Number of pictures; several files are numbered")
      ->capture_default_str();
  add_number(command, "--skip", options->skip, "N", 0, 1e9, "Discard this many frames first")
      ->capture_default_str();
  add_timeout(command, options->timeout_ms);
  add_settings(command, options->settings);
  command.add_flag("--trigger", options->trigger, "Take each frame with a software trigger")
      ->group(kExposure);
}

void add_stream(CLI::App& app, Commands& commands) {
  const auto options = std::make_shared<StreamOptions>();
  CLI::App& command =
      commands.add(app, "stream", "Measure frame rate and losses without saving", stream, options);
  add_camera(command, options->camera);
  add_number(command, "--seconds", options->seconds, "S", 0.001, 1e9,
             "Stop after this time (default: at Ctrl-C)");
  add_number(command, "-n,--frames", options->frames, "N", 1, 1e9, "Stop after this many frames");
  add_format(command, options->format);
  add_timeout(command, options->timeout_ms);
  command.add_flag(
      "--reconnect", options->reconnect,
      "Reconnect a camera that was unplugged, once it is back on any port, or that stopped sending");
  add_json(command, options->json);
  add_settings(command, options->settings);
}

void add_controls(CLI::App& app, Commands& commands) {
  const auto shown = std::make_shared<ControlOptions>();
  CLI::App& controls = commands.add(app, "controls", "List every setting with value, unit, range and meaning",
                                    list_controls, shown);
  add_camera(controls, shown->camera);
  add_json(controls, shown->json);

  const auto read = std::make_shared<ControlOptions>();
  CLI::App& get = commands.add(app, "get", "Show settings", get_controls, read);
  add_camera(get, read->camera);
  get.add_option("name", read->arguments, "Controls, see `kxcam controls`")->type_name("NAME")->required();

  const auto written = std::make_shared<ControlOptions>();
  CLI::App& set =
      commands.add(app, "set", "Change settings until the camera is closed, or for good with --store",
                   set_controls, written);
  add_camera(set, written->camera);
  set.add_flag("--store", written->store, "Store them in the camera, which keeps them without power");
  set.add_option("assignment", written->arguments, "New values, see `kxcam controls`")
      ->type_name("NAME=VALUE")
      ->required();
}

void add_params(CLI::App& app, Commands& commands) {
  CLI::App& params = *app.add_subcommand("params", "Save, load and reset settings")->group("Commands");
  params.require_subcommand(1);
  const auto add = [&](const char* name, const char* description, auto* run) {
    const auto options = std::make_shared<ParamsOptions>();
    CLI::App& command = commands.add(params, name, description, run, options);
    add_camera(command, options->camera);
    add_number(command, "--slot", options->slot, "0|1", kSlotLoadedAtOpen, kLastSlot,
               "Set of settings in the camera; 0 is loaded when it is opened")
        ->capture_default_str();
    return std::pair<CLI::App&, ParamsOptions&>(command, *options);
  };
  const auto [save, saved] = add("save", "Save a camera's settings to a text file", save_params);
  save.add_option("file", saved.file, "Text file, - for standard output")->type_name("FILE")->required();
  const auto [load, loaded] =
      add("load", "Load a file's settings into a camera and store them there", load_params);
  load.add_option("file", loaded.file, "Text file, - for standard input")->type_name("FILE")->required();
  const auto [store, stored] = add("store", "Store the settings in the camera", store_params);
  store.add_option("assignment", stored.assignments, "Changes to make first, see `kxcam controls`")
      ->type_name("NAME=VALUE");
  add("reset", "Store the factory settings in the camera", reset_params);
}

void add_develop(CLI::App& app, Commands& commands) {
  const auto options = std::make_shared<DevelopOptions>();
  CLI::App& command =
      commands.add(app, "develop", "Make pictures from raw frames, without a camera", develop, options);
  command.add_option("raw", options->files, "Files with one raw frame or several")
      ->type_name("RAW")
      ->required();
  command.add_option("--model", options->model, "Camera model that took them: product id or name")
      ->type_name("M")
      ->required();
  add_number(command, "--width", options->width, "W", 2, 65536,
             "Width of the frames (default: that of the sensor)");
  add_number(command, "--height", options->height, "H", 2, 65536,
             "Height of the frames (default: that of the sensor)");
  add_target(command, options->target);
  add_orientation(command, options->settings);
  add_tone(command, options->settings);
  add_set(command, options->settings);
  command
      .add_option("--matrix", options->matrix, "Colour matrix: three numbers each for red, green and blue")
      ->type_name("RR,RG,RB,GR,...")
      ->delimiter(',')
      ->expected(9)
      ->check(between(-100, 100));
}

void add_verify(CLI::App& app, Commands& commands) {
  const auto options = std::make_shared<VerifyOptions>();
  CLI::App& command = commands.add(
      app, "verify", "Test attached cameras thoroughly and account for every frame", verify_cameras, options);
  const auto choice = [options]() -> CameraChoice& {
    return options->camera ? *options->camera : options->camera.emplace();
  };
  auto* index = command
                    .add_option_function<int>(
                        "-c,--camera", [choice](const int& number) { choice().index = number; },
                        "Index of the only camera to test (default: all)")
                    ->type_name("N")
                    ->check(between(0, 255));
  command
      .add_option_function<std::string>(
          "--serial", [choice](const std::string& serial) { choice().serial = serial; },
          "Serial number of the only camera to test")
      ->type_name("TEXT")
      ->excludes(index);
  add_number(command, "--seconds", options->seconds, "S", 0, 1e6,
             "Time to run threads on all cameras at once, after the single checks")
      ->capture_default_str();
  add_number(command, "--seed", options->seed, "N", 0, 1e15, "Seed of what the threads do")
      ->capture_default_str();
  command.add_flag("--write", options->write, "Test storing settings too: slot 1 is changed and put back");
  command.add_flag("--faults", options->faults, "Expect faults and unplugged cables: reconnect and go on");
  command.add_flag("--numbered", options->numbered,
                   "The cameras send the frames of `kxsim --scene numbers`: check every byte");
  add_json(command, options->json);
  command.add_option("--report", options->report, "Write the report as JSON to a file")->type_name("FILE");
}

#ifdef KXCAM_HAS_VIEW
void add_view(CLI::App& app, Commands& commands) {
  const auto options = std::make_shared<ViewOptions>();
  CLI::App& command =
      commands.add(app, "view", "Show a camera live in the browser, with its settings", view_camera, options);
  add_camera(command, options->camera);
  add_number(command, "--port", options->port, "P", 1, 65535,
             "Port of 127.0.0.1 to listen on (default: any free one)");
  command.add_flag("--no-open", options->no_open, "Print the address only, and open no browser");
  command.add_option("--directory", options->directory, "Folder for recordings")
      ->type_name("DIR")
      ->capture_default_str();
}
#endif

void add_doctor(CLI::App& app, Commands& commands) {
  const auto options = std::make_shared<DoctorOptions>();
  CLI::App& command =
      commands.add(app, "doctor", "Find out why a camera cannot be used, and what to do", examine, options);
  add_json(command, options->json);
  auto* report = command.add_option("--report", options->report, "Write a bug report, - for standard output")
                     ->type_name("FILE");
  command
      .add_flag("--serials", options->serials, "Include serial numbers and names of cameras in the report")
      ->needs(report);
}

/// Says of an option what it takes and what it is without it, not how it gets along with others.
class PlainFormatter : public CLI::Formatter {
 public:
  std::string make_option_opts(const CLI::Option* option) const override {
    if (option->get_type_size() == 0) return "";
    return " " + option->get_type_name() +
           (option->get_positional() && option->get_expected_max() > 1 ? " ..." : "");
  }
  std::string make_option_desc(const CLI::Option* option) const override {
    const std::string standard = option->get_default_str();
    return option->get_description() + (standard.empty() ? "" : fmt::format(" (default: {})", standard));
  }
};

void use_plain_words(CLI::App& app) {
  const auto formatter = std::make_shared<PlainFormatter>();
  formatter->label("SUBCOMMAND", "COMMAND");
  formatter->label("OPTIONS", "options");
  formatter->label("Positionals", "Arguments");
  app.formatter(formatter);
  app.set_help_flag("-h,--help", "Show this help");
  app.set_version_flag("--version", version(), "Show the versions of program and library");
}

/// The command that was given, as far as the command line was understood.
const CLI::App& given_command(const CLI::App& app) {
  const auto given = app.get_subcommands();
  return given.empty() ? app : given_command(*given.front());
}

std::string full_name(const CLI::App& command) {
  const CLI::App* parent = command.get_parent();
  return parent == nullptr ? command.get_name() : full_name(*parent) + " " + command.get_name();
}

Error usage_error(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App& command = given_command(app);
  const auto rest = app.remaining(true);
  std::string cause = error.what();
  if (cause == "A subcommand is required") {
    cause = rest.empty() ? "a command is required" : fmt::format("unknown command '{}'", rest.front());
  } else if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
    cause = fmt::format("unexpected argument '{}'", cause.substr(cause.rfind(' ') + 1));
  }
  return {ExitCode::kUsage, cause, fmt::format("See `{} --help`.", full_name(command))};
}

}  // namespace

Command parse_command_line(int argc, char** argv) {
  CLI::App app("Capture and inspect images from industrial USB cameras.", "kxcam");
  use_plain_words(app);
  app.require_subcommand(1);
  Command chosen;
  Commands commands(chosen);
  add_list(app, commands);
  add_info(app, commands);
  add_capture(app, commands);
  add_stream(app, commands);
  add_controls(app, commands);
  add_params(app, commands);
  add_develop(app, commands);
  add_verify(app, commands);
#ifdef KXCAM_HAS_VIEW
  add_view(app, commands);
#endif
  add_doctor(app, commands);
  app.footer(kExamples);  // last, or every subcommand takes it over
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForVersion&) {
    return [](StandardOutput& output) { output.print(version() + "\n"); };
  } catch (const CLI::CallForHelp&) {
    return [text = app.help()](StandardOutput& output) { output.print(text); };
  } catch (const CLI::ParseError& error) {
    throw usage_error(app, error);
  }
  return chosen;
}

}  // namespace kxcam
