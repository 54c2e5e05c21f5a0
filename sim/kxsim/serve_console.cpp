// SPDX-License-Identifier: Apache-2.0
#include "kxsim/serve_console.h"

#include <charconv>
#include <stdexcept>

#include <fmt/format.h>

#include "device/fault_script.h"

namespace kxsim {
namespace {

std::string_view trim(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const auto begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

const char* state_name(CameraPort::State state) {
  switch (state) {
    case CameraPort::State::kUnplugged:
      return "unplugged";
    case CameraPort::State::kNoHost:
      return "no host";
    case CameraPort::State::kAttached:
      return "attached";
  }
  return "?";
}

}  // namespace

std::string ServeConsole::execute(std::string_view line) try {
  line = trim(line);
  const auto word = line.substr(0, line.find_first_of(" \t"));
  const auto rest = trim(line.substr(word.size()));
  if (word.empty()) return "";
  if (word == "status") return status();
  if (word == "plug") {
    port(rest).plug();
  } else if (word == "unplug") {
    port(rest).unplug();
  } else if (word == "fault") {
    inject(rest);
  } else if (word == "mend") {
    for (const auto& port : ports_) port->camera().clear_faults();
  } else if (word == "quit") {
    quit_ = true;
  } else {
    throw std::runtime_error("expected plug, unplug, fault, mend, status or quit");
  }
  return "ok\n";
} catch (const std::runtime_error& error) {
  return fmt::format("error: {}\n", error.what());
}

CameraPort& ServeConsole::port(std::string_view number) const {
  if (number.empty() && ports_.size() == 1) return *ports_.front();
  size_t n = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), n);
  if (error != std::errc() || end != number.data() + number.size() || n < 1 || n > ports_.size())
    throw std::runtime_error(fmt::format("expected the number of a camera, 1 to {}", ports_.size()));
  return *ports_[n - 1];
}

void ServeConsole::inject(std::string_view script) const {
  int number = 0;
  for (const auto& port : ports_) port->camera().inject(parse_fault_script(script, ++number));
}

std::string ServeConsole::status() const {
  std::string text;
  for (size_t i = 0; i < ports_.size(); ++i) {
    const auto counters = ports_[i]->camera().counters();
    text += fmt::format("camera {}: {}, {} requests, {} frames sent, {} lost, {} resets\n", i + 1,
                        state_name(ports_[i]->state()), counters.requests, counters.frames_sent,
                        counters.frames_dropped, counters.resets);
  }
  return text;
}

}  // namespace kxsim
