// SPDX-License-Identifier: Apache-2.0
#include "virtual_time.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <ctime>
#include <list>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

#include <sanitizer/asan_interface.h>
#include <sanitizer/common_interface_defs.h>
#include <ucontext.h>

#include "core/acquisition/frame_reader.h"
#include "core/registry/camera_context.h"
#include "require.h"
#include "sync/clock.h"
#include "sync/condition.h"

namespace kxcam {
namespace {

constexpr int64_t kNsPerSecond = 1'000'000'000;
constexpr size_t kStackSize = 1 << 18;

/// A line of execution with a stack of its own: what the library takes for a thread. Real ones would wait for
/// the processor at every turn.
struct Fiber {
  ucontext_t state{};
  const void* stack = nullptr;
  size_t stack_size = 0;
  void* fake_stack = nullptr;  ///< the sanitizer's
  int64_t wakes_at = 0;
  bool ended = false;
  Fiber* joined_by = nullptr;
};

struct Reader : Fiber {
  CameraContext* camera = nullptr;
  std::array<std::byte, kStackSize> memory;
};

Fiber main_fiber;
Fiber* running = &main_fiber;
int64_t now = 0;
std::vector<Fiber*> asleep;
std::list<Reader> readers;
std::list<Reader> idle_readers;  ///< kept for their memory
bool reader_refused = false;

/// Tells the sanitizer which stack is in use from here on.
void arrive(Fiber& fiber) {
  const void* left = nullptr;
  size_t left_size = 0;
  __sanitizer_finish_switch_fiber(fiber.fake_stack, &left, &left_size);
  // Nothing else tells where the first stack lies; it is the one that the first reader is entered from.
  if (main_fiber.stack == nullptr) {
    main_fiber.stack = left;
    main_fiber.stack_size = left_size;
  }
}

void switch_to(Fiber& next) {
  Fiber& before = *std::exchange(running, &next);
  if (&before == &next) return;
  __sanitizer_start_switch_fiber(before.ended ? nullptr : &before.fake_stack, next.stack, next.stack_size);
  swapcontext(&before.state, &next.state);
  arrive(before);
}

/// What wakes first goes on; of several what has slept longest.
void run_next() {
  const auto first = std::ranges::min_element(asleep, {}, &Fiber::wakes_at);
  require(first != asleep.end(), "something can go on");
  Fiber& next = **first;
  asleep.erase(first);
  now = next.wakes_at;
  switch_to(next);
}

void wake_at(Fiber& fiber, int64_t time) {
  fiber.wakes_at = time;
  asleep.push_back(&fiber);
}

void sleep_ns(int64_t ns) {
  wake_at(*running, now + ns);
  run_next();
}

void run_reader() {
  auto& self = static_cast<Reader&>(*running);
  arrive(self);
  reader(*self.camera);
  self.ended = true;
  if (self.joined_by != nullptr) wake_at(*self.joined_by, now);
  run_next();
}

auto reader_of(const CameraContext& camera) {
  return std::ranges::find(readers, &camera, &Reader::camera);
}

void start(CameraContext& camera) {
  if (std::exchange(reader_refused, false))
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  require(reader_of(camera) == readers.end(), "a camera has one reader");
  if (idle_readers.empty()) idle_readers.emplace_back();
  readers.splice(readers.end(), idle_readers, idle_readers.begin());
  Reader& started = readers.back();
  static_cast<Fiber&>(started) = {.stack = started.memory.data(), .stack_size = kStackSize};
  started.camera = &camera;
  __asan_unpoison_memory_region(started.memory.data(), kStackSize);
  getcontext(&started.state);
  started.state.uc_stack.ss_sp = started.memory.data();
  started.state.uc_stack.ss_size = kStackSize;
  makecontext(&started.state, run_reader, 0);
  wake_at(started, now);
}

void join(CameraContext& camera) {
  const auto joined = reader_of(camera);
  if (joined == readers.end()) return;
  if (!joined->ended) {
    joined->joined_by = running;
    run_next();
  }
  idle_readers.splice(idle_readers.end(), readers, joined);
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
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

int __wrap_nanosleep(const timespec* time, timespec* /*left*/) {
  kxcam::sleep_ns(time->tv_sec * kxcam::kNsPerSecond + time->tv_nsec);
  return 0;
}

/// Wakes for no reason once a millisecond.
void __wrap__ZN5kxcam9Condition4waitERSt11unique_lockISt5mutexEl(kxcam::Condition* /*self*/,
                                                                 std::unique_lock<std::mutex>& lock,
                                                                 int64_t deadline_ns) {
  lock.unlock();
  kxcam::sleep_ns(std::clamp<int64_t>(deadline_ns - kxcam::now, 0, kxcam::kNsPerMs));
  lock.lock();
}

int __wrap_clock_gettime(clockid_t /*clock*/, timespec* time) {
  *time = {.tv_sec = kxcam::now / kxcam::kNsPerSecond, .tv_nsec = kxcam::now % kxcam::kNsPerSecond};
  return 0;
}

void __wrap__ZN5kxcam12start_readerERNS_13CameraContextE(kxcam::CameraContext& camera) {
  kxcam::start(camera);
}

void __wrap__ZN5kxcam11join_readerERNS_13CameraContextE(kxcam::CameraContext& camera) {
  kxcam::join(camera);
}
}
// NOLINTEND(bugprone-reserved-identifier)
