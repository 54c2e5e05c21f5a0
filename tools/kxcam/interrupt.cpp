// SPDX-License-Identifier: Apache-2.0
#include "interrupt.h"

#include <atomic>
#include <csignal>

namespace kxcam {
namespace {

std::atomic<bool> signalled = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler writes it");

extern "C" void note_signal(int /*signal*/) {
  signalled = true;
}

}  // namespace

void watch_for_interrupts() {
  struct sigaction action {};
  action.sa_handler = note_signal;
  action.sa_flags = SA_RESETHAND;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignore, nullptr);
}

bool interrupted() {
  return signalled;
}

}  // namespace kxcam
