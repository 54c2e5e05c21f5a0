// SPDX-License-Identifier: Apache-2.0
#include "kxsim/child_process.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kxsim {
namespace {

constexpr int kNotFound = 127;
constexpr int kNotRunnable = 126;

/// What is passed on, and the end of the child.
sigset_t watched_signals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : {SIGCHLD, SIGTERM, SIGHUP, SIGINT, SIGQUIT, SIGUSR1, SIGUSR2})
    sigaddset(&set, number);
  return set;
}

/// Zero or an errno code.
int spawn(const std::vector<std::string>& command, const sigset_t& signal_mask, pid_t& child) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const auto& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setsigmask(&attributes, &signal_mask);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  const int error = posix_spawnp(&child, arguments.front(), nullptr, &attributes, arguments.data(), environ);
  posix_spawnattr_destroy(&attributes);
  return error;
}

int wait_for(pid_t child, const sigset_t& watched) {
  while (true) {
    siginfo_t info;
    const int number = sigwaitinfo(&watched, &info);
    if (number == SIGCHLD) {
      int status = 0;
      if (waitpid(child, &status, WNOHANG) != child) continue;
      return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }
    // The terminal has sent its signals to the child as well.
    if (number > 0 && info.si_code != SI_KERNEL) kill(child, number);
  }
}

}  // namespace

int run_child(const std::vector<std::string>& command) {
  const auto watched = watched_signals();
  sigset_t before;
  sigprocmask(SIG_BLOCK, &watched, &before);
  pid_t child = 0;
  if (const int error = spawn(command, before, child); error != 0) {
    std::fprintf(stderr, "kxsim: cannot run %s: %s\n", command.front().c_str(), std::strerror(error));
    return error == ENOENT ? kNotFound : kNotRunnable;
  }
  return wait_for(child, watched);
}

}  // namespace kxsim
