// SPDX-License-Identifier: Apache-2.0
#include "browser.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kxcam::view {
namespace {

bool is_set(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0';
}

/// A new file of the user alone; "" when there is none.
std::filesystem::path write_private_file(const std::string& text) {
  const char* folder = is_set("XDG_RUNTIME_DIR") ? std::getenv("XDG_RUNTIME_DIR") : "/tmp";
  std::string name = fmt::format("{}/kxcam-view-XXXXXX.html", folder);
  constexpr int kEnding = 5;
  const int file = mkostemps(name.data(), kEnding, O_CLOEXEC);  // mode 0600
  if (file < 0) return {};
  const bool written = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  close(file);
  return written ? std::filesystem::path(name) : std::filesystem::path();
}

/// Leaves the browser to itself, with nothing to say on our terminal.
void run_in_background(const std::string& program, const std::string& argument) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    posix_spawn_file_actions_addopen(&actions, file, "/dev/null", O_RDWR, 0);
  // A shell that ends at once: the browser is nobody's child to wait for then.
  std::vector<std::string> words = {"sh", "-c", "\"$0\" \"$1\" &", program, argument};
  std::vector<char*> pointers(words.size() + 1);
  std::ranges::transform(words, pointers.begin(), [](std::string& word) { return word.data(); });
  pid_t child = 0;
  if (posix_spawnp(&child, "sh", &actions, nullptr, pointers.data(), environ) == 0)
    waitpid(child, nullptr, 0);
  posix_spawn_file_actions_destroy(&actions);
}

}  // namespace

Browser::Browser(const std::string& address) {
  if (!is_set("DISPLAY") && !is_set("WAYLAND_DISPLAY")) return;
  file_ = write_private_file(fmt::format(
      "<!doctype html><meta charset=\"utf-8\"><title>kxcam</title>"
      "<meta name=\"referrer\" content=\"no-referrer\"><meta http-equiv=\"refresh\" content=\"0;url={}\">\n",
      address));
  if (!file_.empty()) run_in_background("xdg-open", file_.string());
}

Browser::~Browser() {
  arrived();
}

void Browser::arrived() {
  std::error_code ignored;
  if (!file_.empty()) std::filesystem::remove(file_, ignored);
  file_.clear();
}

}  // namespace kxcam::view
