// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <string>

#include <CLI/App.hpp>

#include "pixel_format.h"
#include "standard_output.h"

namespace kxcam {

/// What the command line asks for. Run after parsing; throws Error.
using Command = std::function<void(StandardOutput&)>;

/// Each adds a subcommand that, when it is the one given, leaves its work in `chosen`.
void add_list_command(CLI::App& app, Command& chosen);
void add_info_command(CLI::App& app, Command& chosen);
void add_capture_command(CLI::App& app, Command& chosen);
/// Three subcommands: controls, get and set.
void add_control_commands(CLI::App& app, Command& chosen);
void add_stream_command(CLI::App& app, Command& chosen);
/// With subcommands save, load, store and reset.
void add_params_command(CLI::App& app, Command& chosen);
void add_develop_command(CLI::App& app, Command& chosen);
void add_doctor_command(CLI::App& app, Command& chosen);

/// Options that several commands have.
void add_camera_option(CLI::App& command, int& index);
void add_format_option(CLI::App& command, std::optional<PixelFormat>& format);
void add_timeout_option(CLI::App& command, int& milliseconds);
void add_json_option(CLI::App& command, bool& json);

inline constexpr int kDefaultTimeoutMs = 2000;

}  // namespace kxcam
