// SPDX-License-Identifier: Apache-2.0
#include "virtual_time.h"

#include <algorithm>
#include <ctime>
#include <map>
#include <memory>
#include <semaphore>
#include <system_error>
#include <utility>
#include <vector>

#include "core/camera_context.h"
#include "core/frame_reader.h"
#include "require.h"

namespace kxcam {
namespace {

constexpr int64_t kNsPerMs = 1'000'000;
constexpr int64_t kNsPerSecond = 1'000'000'000;

/// A thread as others see it. It waits for its turn; who has the turn, and nobody else, touches what follows.
struct Turn {
  std::binary_semaphore given{0};
  int64_t wakes_at = 0;
  bool ended = false;
  Turn* joined_by = nullptr;
};

Turn main_thread;
thread_local Turn* self = &main_thread;
int64_t now = 0;
std::vector<Turn*> asleep;
std::map<const CameraContext*, std::unique_ptr<Turn>> readers;
bool reader_refused = false;

/// The thread that wakes first goes on; of several the one that has slept longest.
void give_turn() {
  const auto first = std::ranges::min_element(asleep, {}, &Turn::wakes_at);
  require(first != asleep.end(), "one thread can go on");
  Turn* next = *first;
  asleep.erase(first);
  now = next->wakes_at;
  next->given.release();
}

void wake_at(Turn* turn, int64_t time) {
  turn->wakes_at = time;
  asleep.push_back(turn);
}

void run_reader(CameraContext& context, Turn* turn) {
  self = turn;
  turn->given.acquire();
  reader(context);
  turn->ended = true;
  if (turn->joined_by != nullptr) wake_at(turn->joined_by, now);
  give_turn();
}

void start(CameraContext& context) {
  if (std::exchange(reader_refused, false))
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  const auto [reader, is_new] = readers.emplace(&context, std::make_unique<Turn>());
  require(is_new, "a camera has one reader");
  Turn* turn = reader->second.get();
  context.reader_thread = std::thread([&context, turn] { run_reader(context, turn); });
  wake_at(turn, now);
}

void join(CameraContext& context) {
  if (!context.reader_thread.joinable()) return;
  Turn& reader = *readers.at(&context);
  if (!reader.ended) {
    reader.joined_by = self;
    give_turn();
    self->given.acquire();
  }
  context.reader_thread.join();
  readers.erase(&context);
}

void sleep_ns(int64_t ns) {
  wake_at(self, now + ns);
  give_turn();
  self->given.acquire();
}

}  // namespace

void pass_time(int64_t ms) {
  sleep_ns(ms * kNsPerMs);
}

int64_t virtual_now() {
  return now / kNsPerMs;
}

bool any_reader() {
  return !readers.empty();
}

void refuse_next_reader(bool refuse) {
  reader_refused = refuse;
}

}  // namespace kxcam

// The linker puts these in the place of the functions they are named for.
extern "C" {

int __wrap_nanosleep(const timespec* time, timespec* /*left*/) {
  kxcam::sleep_ns(time->tv_sec * kxcam::kNsPerSecond + time->tv_nsec);
  return 0;
}

int __wrap_clock_gettime(clockid_t /*clock*/, timespec* time) {
  *time = {.tv_sec = kxcam::now / kxcam::kNsPerSecond, .tv_nsec = kxcam::now % kxcam::kNsPerSecond};
  return 0;
}

void __wrap__ZN5kxcam12start_readerERNS_13CameraContextE(kxcam::CameraContext& context) {
  kxcam::start(context);
}

void __wrap__ZN5kxcam11join_readerERNS_13CameraContextE(kxcam::CameraContext& context) {
  kxcam::join(context);
}
}
