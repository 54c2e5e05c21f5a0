// SPDX-License-Identifier: Apache-2.0
#include "progress.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include <fmt/format.h>
#include <unistd.h>

namespace kxcam {
namespace {

constexpr int kBarLength = 20;
constexpr const char* kClearLine = "\r\033[K";

}  // namespace

StatusLine::StatusLine() : visible_(isatty(STDERR_FILENO) == 1) {}

StatusLine::~StatusLine() {
  show("");
}

void StatusLine::show(std::string_view text) {
  if (!visible_) return;
  std::fputs(fmt::format("{}{}", kClearLine, text).c_str(), stderr);
  std::fflush(stderr);
}

std::string progress_bar(int done, int total) {
  const int64_t filled = total > 0 ? int64_t{kBarLength} * std::clamp(done, 0, total) / total : kBarLength;
  return fmt::format("[{:#<{}}{:-<{}}] {}/{}", "", filled, "", kBarLength - filled, done, total);
}

}  // namespace kxcam
