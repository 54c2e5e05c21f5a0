// SPDX-License-Identifier: Apache-2.0
// The library as a guest in a process: loaded and unloaded, short of descriptors, called by threads that are
// cancelled.
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/resource.h>

#include "device/conf_file.h"
#include "device/simulated_camera.h"
#include "eventually.h"
#include "kxcam/kxcam.h"
#include "usbfs/virtual_bus.h"

namespace {

class Library {
 public:
  Library() : handle_(dlopen(KXCAM_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {}
  Library(const Library&) = delete;
  ~Library() { dlclose(handle_); }

  template <class Function, class... Arguments>
  uint32_t call(const char* name, Arguments... arguments) const {
    return reinterpret_cast<Function*>(dlsym(handle_, name))(arguments...);
  }

 private:
  void* handle_;
};
#define CALL(library, function, ...) (library).call<decltype(function)>(#function, __VA_ARGS__)

size_t entries(const char* folder) {
  const std::filesystem::directory_iterator all(folder);
  return static_cast<size_t>(std::distance(begin(all), end(all)));
}

class Process : public testing::Test {
 protected:
  Process() {
    setenv("KXUSB_CONF", conf_.path().c_str(), 1);
    bus_.plug(camera_);
  }
  ~Process() override {
    EXPECT_EQ(bus_.open_nodes(), 0U);
    EXPECT_EQ(camera_->counters().unknown, 0U) << "the camera lacks a request or register";
    bus_.unplug_all();
  }

  static int count(const Library& library) {
    int cameras = -1;
    CALL(library, CameraGetCount, &cameras);
    return cameras;
  }

  kxsim::VirtualBus& bus_ = kxsim::VirtualBus::instance();
  kxsim::TemporaryConfFile conf_;
  std::shared_ptr<kxsim::SimulatedCamera> camera_ =
      std::make_shared<kxsim::SimulatedCamera>(kxsim::parse_camera_options("3600,fps=0"));
};

TEST_F(Process, LoadsAndUnloadsTheLibrary) {
  size_t threads = 0;
  [[maybe_unused]] size_t descriptors = 0;
  std::vector<uint8_t> frame(720 * 540);
  for (int n = 0; n < 6; ++n) {
    const Library library;
    ASSERT_EQ(CALL(library, CameraInit, 0), 0U);
    int size = static_cast<int>(frame.size());
    CALL(library, CameraSetTimeout, 0, 50000);
    EXPECT_EQ(CALL(library, CameraQueryImage, 0, frame.data(), &size, KXCAM_FORMAT_RAW), 0U);
    EXPECT_EQ(CALL(library, CameraFree, 0), 0U);
    if (n != 0) continue;
    threads = entries("/proc/self/task");
    descriptors = entries("/proc/self/fd");
  }
  EXPECT_TRUE(kxcam::test::eventually([&] { return entries("/proc/self/task") <= threads; }));
#ifndef SANITIZED  // the thread sanitizer keeps pipes to what finds the names of functions
  EXPECT_LE(entries("/proc/self/fd"), descriptors);
#endif
}

TEST_F(Process, TriesAgainWhenLibusbCouldNotStart) {
  const Library library;
  rlimit usual{};
  getrlimit(RLIMIT_NOFILE, &usual);
  // Enough for the configuration file, too few for libusb.
  const int last = dup(0);
  const rlimit scarce{.rlim_cur = static_cast<rlim_t>(last) + 1, .rlim_max = usual.rlim_max};
  close(last);
  setrlimit(RLIMIT_NOFILE, &scarce);
  EXPECT_EQ(count(library), 0);
  setrlimit(RLIMIT_NOFILE, &usual);
  EXPECT_EQ(count(library), 1);
}

#ifndef SANITIZED  // which keep the books themselves
TEST_F(Process, CountingCamerasKeepsNoMemory) {
  const Library library;
  for (int n = 0; n < 10; ++n) count(library);
  const size_t before = mallinfo2().uordblks;
  for (int n = 0; n < 500; ++n) count(library);
  EXPECT_LT(mallinfo2().uordblks, before + 4000) << "a few bytes a call would be some thousands";
}
#endif

struct Cancelled {
  const Library& library;
  std::atomic<bool> ready = false;
  std::atomic<bool> requested = false;
  std::atomic<bool> returned = false;
};

void* query_once(void* argument) {
  auto& own = *static_cast<Cancelled*>(argument);
  std::vector<uint8_t> frame(720 * 540);
  int size = static_cast<int>(frame.size());
  int previous = 0;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &previous);
  own.ready = true;
  while (!own.requested) std::this_thread::yield();
  pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &previous);
  CALL(own.library, CameraQueryImage, 0, frame.data(), &size, KXCAM_FORMAT_RAW);
  own.returned = true;
  pthread_testcancel();
  return nullptr;
}

TEST_F(Process, ACancelledThreadEndsAfterItsCall) {
  const Library library;
  ASSERT_EQ(CALL(library, CameraInit, 0), 0U);
  Cancelled state{.library = library};
  pthread_t thread{};
  ASSERT_EQ(pthread_create(&thread, nullptr, query_once, &state), 0);
  while (!state.ready) std::this_thread::yield();
  pthread_cancel(thread);
  state.requested = true;
  void* result = nullptr;
  pthread_join(thread, &result);
  EXPECT_TRUE(state.returned);
  EXPECT_EQ(result, PTHREAD_CANCELED);
  EXPECT_EQ(CALL(library, CameraFree, 0), 0U);
}

}  // namespace
