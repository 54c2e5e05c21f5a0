// SPDX-License-Identifier: Apache-2.0
#include "viewed.h"

#include <csignal>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "saved_picture.h"

using kxcam::test::eventually;

namespace {

pid_t spawn(std::vector<std::string> words, const std::string& output, const std::string& error) {
  std::vector<char*> pointers;
  for (auto& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, error.c_str(), O_WRONLY | O_CREAT, 0600);
  pid_t process = -1;
  posix_spawnp(&process, pointers.front(), &actions, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  return process;
}

}  // namespace

Viewed::Viewed(const Cameras& cameras, const std::vector<std::string>& environment) {
  std::vector<std::string> line = {
      "env", "-u", "DISPLAY", "-u", "WAYLAND_DISPLAY", "KXSIM_SOCKET=" + (folder() / "socket").string()};
  line.insert(line.end(), environment.begin(), environment.end());
  line.insert(line.end(), {KXSIM_PROGRAM, "run"});
  for (const auto& model : cameras.models) line.insert(line.end(), {"--camera", model});
  line.insert(line.end(), {"--", KXCAM_PROGRAM, "view", "--directory", folder() / "recordings"});
  const std::string output = folder() / "output";
  process_ = spawn(line, output, folder() / "error");
  std::string address;
  const bool begun = eventually([&] {
    address = std::filesystem::exists(output) ? read_file(output) : "";
    return address.ends_with('\n') || waitpid(process_, nullptr, WNOHANG) != 0;
  });
  if (!begun || address.empty()) throw std::runtime_error("no address: " + error());
  port_ = std::stoi(address.substr(address.rfind(':') + 1));
  token_ = address.substr(address.find('#') + 1, 32);
  page_ = std::make_unique<HttpClient>(port_);
}

Viewed::~Viewed() {
  if (process_ <= 0) return;
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
}

std::string Viewed::error() const {
  return read_file(folder() / "error");
}

void Viewed::signal(int number) const {
  kill(process_, number);
}

int Viewed::wait() {
  int status = 0;
  if (!eventually([&] { return waitpid(process_, &status, WNOHANG) == process_; }))
    throw std::runtime_error("the viewer does not end");
  process_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string Viewed::head(const std::string& method, const std::string& path) const {
  return fmt::format("{} {} HTTP/1.1\r\nHost: 127.0.0.1:{}\r\nX-Kxcam-Token: {}\r\n", method, path, port_,
                     token_);
}

Answer Viewed::ask(const std::string& path) {
  page_->send(head("GET", path) + "\r\n");
  return page_->receive();
}

Answer Viewed::post(const std::string& path, const json& body) {
  const std::string text = body.dump();
  page_->send(
      head("POST", path) +
      fmt::format("Content-Type: application/json\r\nContent-Length: {}\r\n\r\n{}", text.size(), text));
  return page_->receive();
}

void Viewed::tell_simulator(const std::string& words) const {
  const int file = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  (folder() / "socket").string().copy(address.sun_path, sizeof address.sun_path - 1);
  const std::string line = words + "\n";
  char answer[16] = {};
  const bool done = connect(file, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                    write(file, line.data(), line.size()) == static_cast<ssize_t>(line.size()) &&
                    read(file, answer, sizeof answer - 1) > 0 && std::string(answer).starts_with("ok");
  close(file);
  if (!done) throw std::runtime_error("the simulator does not " + words);
}
