// SPDX-License-Identifier: Apache-2.0
#include "simulated_run.h"

#include <csignal>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "saved_picture.h"

namespace {

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (auto& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

// With the address sanitizer the preloaded simulation stands before the sanitizer's runtime, which
// does no harm: it hands every call on to it.
std::string sanitizer_options() {
  const char* own = std::getenv("ASAN_OPTIONS");
  return std::string("ASAN_OPTIONS=") + (own != nullptr ? own : "") + ":verify_asan_link_order=0";
}

std::vector<std::string> on_simulated_bus(const Cameras& cameras, const std::vector<std::string>& command) {
  std::vector<std::string> line = {"env", sanitizer_options(), KXSIM_PROGRAM, "run"};
  for (const auto& model : cameras.models) line.insert(line.end(), {"--camera", model});
  if (!cameras.faults.empty()) line.insert(line.end(), {"--fault", cameras.faults});
  line.emplace_back("--");
  line.insert(line.end(), command.begin(), command.end());
  return line;
}

Result finish(Process& process) {
  const int status = process.wait();
  return {status, process.output(), process.error()};
}

}  // namespace

Process::Process(const std::vector<std::string>& command) {
  auto arguments = command;
  const std::string output = folder_.path() / "output";
  const std::string error = folder_.path() / "error";
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, error.c_str(), O_WRONLY | O_CREAT, 0600);
  const int failure =
      posix_spawnp(&pid_, arguments.front().c_str(), &actions, nullptr, pointers(arguments).data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failure != 0) throw std::runtime_error("cannot run " + command.front());
}

Process::~Process() {
  if (pid_ <= 0) return;
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
}

void Process::signal(int number) const {
  kill(pid_, number);
}

int Process::wait(std::chrono::seconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  int status = 0;
  while (waitpid(pid_, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("the program does not end");
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string Process::output() const {
  return read_file(folder_.path() / "output");
}
std::string Process::error() const {
  return read_file(folder_.path() / "error");
}

std::vector<std::string> simulated(const Cameras& cameras, const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {KXCAM_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return on_simulated_bus(cameras, command);
}

Result run(const Cameras& cameras, const std::vector<std::string>& arguments) {
  Process process(simulated(cameras, arguments));
  return finish(process);
}

Result run_shell(const Cameras& cameras, const std::string& script) {
  Process process(on_simulated_bus(cameras, {"env", "KXCAM=" KXCAM_PROGRAM, "bash", "-c", script}));
  return finish(process);
}

Result run_with_configuration(const std::string& configuration, const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {"env", "KXUSB_CONF=" + configuration, KXCAM_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  Process process(command);
  return finish(process);
}

void expect_rows(const Cameras& cameras, const std::vector<Row>& rows) {
  for (const auto& [arguments, status, text] : rows) {
    std::istringstream words(arguments);
    const Result result = run(cameras, {std::istream_iterator<std::string>(words), {}});
    EXPECT_EQ(result.status, status) << arguments << '\n' << result.error;
    EXPECT_THAT(result.output + result.error, testing::HasSubstr(text)) << arguments;
    EXPECT_EQ(result.error.starts_with("kxcam: "), status != 0) << arguments << '\n' << result.error;
    EXPECT_TRUE(status != 2 || result.output.empty()) << arguments;
  }
}
