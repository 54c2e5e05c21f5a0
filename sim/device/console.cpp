// SPDX-License-Identifier: Apache-2.0
#include "device/console.h"

#include <charconv>
#include <sstream>
#include <stdexcept>

#include "device/fault_script.h"

namespace kxsim {
namespace {

constexpr std::string_view kBlanks = " \t\r";

std::string_view trim(std::string_view text) {
  const auto begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::string_view first_word(std::string_view text) {
  return text.substr(0, text.find_first_of(kBlanks));
}

}  // namespace

std::string Console::execute(std::string_view line) try {
  line = trim(line);
  const auto word = first_word(line);
  if (word.empty()) return "";
  if (word == "status") return status();
  execute(word, trim(line.substr(word.size())));
  return "ok\n";
} catch (const std::runtime_error& error) {
  return std::string("error: ") + error.what() + "\n";
}

void Console::execute(std::string_view word, std::string_view rest) {
  if (word == "plug") return camera(rest).plug();
  if (word == "unplug") return camera(rest).unplug();
  if (word == "trigger") return camera(rest).camera.trigger();
  if (word == "light") return light(rest);
  if (word == "fault") return inject(rest);
  if (word == "clear-faults") {
    for (const auto& one : cameras_) one.camera.clear_faults();
  } else if (word == "quit") {
    quit_ = true;
  } else {
    throw std::runtime_error("expected plug, unplug, fault, clear-faults, light, trigger, status or quit");
  }
}

const ConsoleCamera& Console::camera(std::string_view number) const {
  if (number.empty() && cameras_.size() == 1) return cameras_.front();
  size_t n = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), n);
  if (error != std::errc() || end != number.data() + number.size() || n < 1 || n > cameras_.size())
    throw std::runtime_error("expected the number of a camera, 1 to " + std::to_string(cameras_.size()));
  return cameras_[n - 1];
}

void Console::inject(std::string_view script) const {
  int number = 0;
  for (const auto& one : cameras_) one.camera.inject(parse_fault_script(script, ++number));
}

void Console::light(std::string_view words) const {
  const auto number = first_word(words);
  const auto level = trim(words.substr(number.size()));
  // Read as the option of a camera is.
  const auto set = [](SimulatedCamera& camera, std::string_view value) {
    camera.set_lighting(with_light(camera.options(), value));
  };
  if (!level.empty()) return set(camera(number).camera, level);
  for (const auto& one : cameras_) set(one.camera, words);
}

std::string Console::status() const {
  std::ostringstream text;
  for (size_t i = 0; i < cameras_.size(); ++i) {
    const auto counters = cameras_[i].camera.counters();
    text << "camera " << i + 1 << ": " << cameras_[i].state() << ", " << counters.requests << " requests, "
         << counters.frames_sent << " frames sent, " << counters.frames_dropped << " lost, "
         << counters.resets << " resets\n";
  }
  return text.str();
}

}  // namespace kxsim
