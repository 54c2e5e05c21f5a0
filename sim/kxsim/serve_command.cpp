// SPDX-License-Identifier: Apache-2.0
#include "kxsim/serve_command.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <system_error>

#include <fmt/format.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "device/console.h"
#include "device/fault_script.h"
#include "device/view.h"
#include "kxsim/fault_option.h"
#include "usbredir/camera_port.h"

namespace kxsim {
namespace {

using Ports = std::vector<std::unique_ptr<CameraPort>>;

/// The signals that end the program. To be made before any thread, so that all leave them to it.
class EndSignals {
 public:
  EndSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&set, number);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    arrived_ = FileDescriptor(signalfd(-1, &set, SFD_CLOEXEC));
    if (!arrived_) throw std::system_error(errno, std::generic_category(), "signalfd");
  }
  /// Readable once one has come.
  int descriptor() const { return arrived_.get(); }

 private:
  FileDescriptor arrived_;
};

/// Standard input, line by line.
class InputLines {
 public:
  /// -1, which poll() passes over, after the end.
  int descriptor() const { return ended_ ? -1 : STDIN_FILENO; }

  /// Calls `use` with every line that is complete.
  void read(auto&& use) {
    std::array<char, 4096> bytes{};
    const ssize_t got = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    ended_ = got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR);
    if (got > 0) text_.append(bytes.data(), static_cast<size_t>(got));
    if (ended_ && !text_.empty()) text_ += '\n';
    for (size_t end = 0; (end = text_.find('\n')) != std::string::npos; text_.erase(0, end + 1)) {
      use(std::string_view(text_).substr(0, end));
    }
    if (text_.size() > kLongestLine) text_.clear();
  }

 private:
  static constexpr size_t kLongestLine = 65536;
  std::string text_;
  bool ended_ = false;
};

Ports open_ports(const ServeOptions& options) {
  auto descriptions = options.cameras;
  if (descriptions.empty()) descriptions.emplace_back("0x3500");
  const auto script = read_fault_option(options.faults);
  Ports ports;
  for (const auto& description : descriptions) {
    const auto number = static_cast<int>(ports.size()) + 1;
    ports.push_back(std::make_unique<CameraPort>(parse_camera_options(description),
                                                 options.folder / fmt::format("camera{}.sock", number)));
    auto& camera = ports.back()->camera();
    set_view(camera, options.scene);
    camera.inject(parse_fault_script(script, number));
    fmt::print("camera {}: {} {} at {}\n", number, camera.model().name, camera.options().serial,
               ports.back()->socket().string());
  }
  std::fflush(stdout);
  return ports;
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

Console make_console(const Ports& ports) {
  std::vector<ConsoleCamera> cameras;
  for (const auto& port : ports) {
    cameras.push_back({.camera = port->camera(),
                       .plug = [&port] { port->plug(); },
                       .unplug = [&port] { port->unplug(); },
                       .state = [&port] { return state_name(port->state()); }});
  }
  return Console(std::move(cameras));
}

void serve(const Ports& ports, const EndSignals& signals) {
  auto console = make_console(ports);
  InputLines input;
  std::vector<pollfd> descriptors;
  while (!console.quit()) {
    descriptors = {{.fd = signals.descriptor(), .events = POLLIN, .revents = 0},
                   {.fd = input.descriptor(), .events = POLLIN, .revents = 0}};
    for (const auto& port : ports) port->poll_for(descriptors);
    if (poll(descriptors.data(), descriptors.size(), -1) < 0 && errno != EINTR)
      throw std::system_error(errno, std::generic_category(), "poll");
    if (descriptors[0].revents != 0) return;
    if (descriptors[1].revents != 0) {
      input.read([&](std::string_view line) { fmt::print("{}", console.execute(line)); });
      std::fflush(stdout);
    }
    for (const auto& port : ports) port->serve();
  }
}

}  // namespace

int serve_command(const ServeOptions& options) {
  const EndSignals signals;
  const auto ports = open_ports(options);
  serve(ports, signals);
  return 0;
}

}  // namespace kxsim
