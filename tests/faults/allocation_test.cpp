// SPDX-License-Identifier: Apache-2.0

// Memory runs out at the n-th allocation of an operation, for every n: of the library's and of libusb's, as
// the calling thread makes them. The program and its simulated bus always get theirs.

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string_view>
#include <vector>

#include <link.h>

#include "camera_bus.h"
#include "eventually.h"
#include "worker_processes.h"

namespace {

struct Range {
  uintptr_t begin;
  uintptr_t end;
};
/// Where the library and libusb lie. No container: this is used inside of malloc().
Range ranges[8];
size_t range_count = 0;

thread_local uint64_t countdown = 0;  ///< allocations until the one that fails; 0: none does

int note_ranges(dl_phdr_info* info, size_t /*size*/, void* /*data*/) {
  const std::string_view name = info->dlpi_name;
  if (name.find("libkxcam") == name.npos && name.find("libusb-1.0") == name.npos) return 0;
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const auto& segment = info->dlpi_phdr[i];
    if (segment.p_type != PT_LOAD || (segment.p_flags & PF_X) == 0 || range_count == std::size(ranges))
      continue;
    const uintptr_t begin = info->dlpi_addr + segment.p_vaddr;
    ranges[range_count++] = {begin, begin + segment.p_memsz};
  }
  return 0;
}

/// Whether an allocation for that caller is the one that fails.
bool runs_out(const void* caller) {
  if (countdown == 0) return false;
  const auto address = reinterpret_cast<uintptr_t>(caller);
  for (size_t i = 0; i < range_count; ++i) {
    if (address < ranges[i].begin || address >= ranges[i].end) continue;
    errno = ENOMEM;
    return --countdown == 0;
  }
  return false;
}

}  // namespace

// The C library's own, under names that stay when these take their place.
extern "C" {
void* __libc_malloc(size_t bytes);                 // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(size_t count, size_t bytes);   // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* memory, size_t bytes);  // NOLINT(bugprone-reserved-identifier)
void __libc_free(void* memory);                    // NOLINT(bugprone-reserved-identifier)

void* malloc(size_t bytes) noexcept {
  return runs_out(__builtin_return_address(0)) ? nullptr : __libc_malloc(bytes);
}
void* calloc(size_t count, size_t bytes) noexcept {
  return runs_out(__builtin_return_address(0)) ? nullptr : __libc_calloc(count, bytes);
}
void* realloc(void* memory, size_t bytes) noexcept {
  return runs_out(__builtin_return_address(0)) ? nullptr : __libc_realloc(memory, bytes);
}
}

void* operator new(size_t bytes) {
  void* memory = runs_out(__builtin_return_address(0)) ? nullptr : __libc_malloc(bytes);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept {
  __libc_free(memory);
}
void operator delete(void* memory, size_t) noexcept {
  __libc_free(memory);
}

namespace kxcam::faults {
namespace {

size_t running_threads() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return static_cast<size_t>(std::distance(begin(tasks), end(tasks)));
}

/// A camera that is opened, asked for a picture and closed while memory runs out.
class ScarceCamera : private test::TestBus {
 public:
  ScarceCamera() {
    open("3600,features=5");
    plug("3600,features=5,fps=0");
    CameraFree(0);
    threads_when_closed_ = running_threads();
  }

  bool open_camera() { return CameraInit(0) == 0; }
  bool picture() {
    CameraSetTimeout(0, 50'000);  // for a busy machine
    return !query(KXCAM_FORMAT_GREY, 1).empty();
  }
  bool close_camera() { return CameraFree(0) == 0; }

  static bool is_open() { return CameraReset(0) == 0; }
  void expect_closed() {
    EXPECT_FALSE(is_open());
    EXPECT_EQ(bus_.open_nodes(), 0U);
    EXPECT_TRUE(test::eventually([&] { return running_threads() == threads_when_closed_; }))
        << running_threads();
  }
  void expect_open() {
    EXPECT_TRUE(is_open());
    EXPECT_TRUE(test::eventually([&] { return picture(); })) << "code " << last_error;
  }

 private:
  size_t threads_when_closed_ = 0;
};

struct ScarceOperation {
  const char* name;
  bool (ScarceCamera::*run)();
  bool open_before;
  bool (*open_after)(bool done);  ///< whether the camera is open after it

  friend void PrintTo(const ScarceOperation& operation, std::ostream* out) { *out << operation.name; }
};

constexpr ScarceOperation kOperations[] = {
    {"Open", &ScarceCamera::open_camera, false, [](bool done) { return done; }},
    {"Query", &ScarceCamera::picture, true, [](bool) { return true; }},
    {"Close", &ScarceCamera::close_camera, true, [](bool) { return false; }},
};

class ScarceMemory : public testing::TestWithParam<ScarceOperation> {};

TEST_P(ScarceMemory, LeavesACameraOpenOrClosedAsTheResultSays) {
  dl_iterate_phdr(note_ranges, nullptr);
  ASSERT_GE(range_count, 2U);
  const ScarceOperation& operation = GetParam();
  struct Progress {
    std::atomic<uint64_t> last_n;
    std::atomic<uint64_t> failed_allocations;
    std::atomic<bool> finished;
  };
  Progress& progress = shared<Progress>(1).front();
  constexpr int kWorkers = 16;
  run_in_processes(kWorkers, [&](Worker& worker) {
    ScarceCamera camera;
    while (!progress.finished) {
      const uint64_t n = ++progress.last_n;
      const std::string what = std::string(operation.name) + ", allocation " + std::to_string(n);
      worker.begins(what);
      SCOPED_TRACE(what);
      ASSERT_TRUE(!operation.open_before || camera.open_camera());
      countdown = n;
      const bool done = (camera.*operation.run)();
      const bool struck = countdown == 0;
      countdown = 0;
      progress.failed_allocations += struck ? 1 : 0;
      EXPECT_TRUE(done || struck);
      if (operation.open_after(done)) {
        camera.expect_open();
      } else {
        camera.expect_closed();
      }
      camera.close_camera();
      camera.expect_closed();
      if (!struck || HasFailure()) progress.finished = true;
    }
    // Nothing of it lasts.
    EXPECT_TRUE(camera.open_camera());
    camera.expect_open();
  });
  EXPECT_GT(progress.failed_allocations, 0U) << "nothing was allocated";
}

INSTANTIATE_TEST_SUITE_P(Of, ScarceMemory, testing::ValuesIn(kOperations),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace kxcam::faults
