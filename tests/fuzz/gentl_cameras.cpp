// SPDX-License-Identifier: Apache-2.0
#include "gentl_cameras.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <mutex>

#include "kxcam/extra.h"
#include "require.h"

namespace kxcam {
namespace {

/// Small ones, of every kind of pixel.
constexpr std::array kProducts = {0x3600, 0x0030, 0x003B, 0x369B};

struct Cameras {
  std::mutex mutex;
  std::condition_variable changed;
  size_t attached = 0;
  size_t first = 0;
  int frames = 0;
  uint64_t sequence = 0;
  bool gone = false;
  std::array<bool, 256> interrupted{};
  std::atomic<int> cause = 0;
};

Cameras& cameras() {
  static Cameras& all = *new Cameras;
  return all;
}

int product_of(size_t place) {
  return kProducts[(cameras().first + place) % kProducts.size()];
}

uint32_t as_scripted() {
  return cameras().cause == 0 ? 0 : 1;
}

}  // namespace

void reset_cameras(Input& input) {
  Cameras& all = cameras();
  const std::lock_guard lock(all.mutex);
  const size_t choice = input.byte();
  all.attached = choice % 4;
  all.first = choice / 4;
  all.frames = 0;
  all.gone = false;
  all.cause = 0;
}

void send_frame() {
  const std::lock_guard lock(cameras().mutex);
  ++cameras().frames;
  cameras().changed.notify_all();
}

void set_cause(int cause) {
  cameras().cause = cause;
}

void set_gone(bool gone) {
  const std::lock_guard lock(cameras().mutex);
  cameras().gone = gone;
  cameras().changed.notify_all();
}

}  // namespace kxcam

using namespace kxcam;

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
extern "C" {

int __real_kxcam_get_statistics(int camera, kxcam_statistics* statistics, size_t size);

/// No device has to come to rest.
int __wrap_nanosleep(const timespec* /*time*/, timespec* /*left*/) {
  return 0;
}

uint32_t __wrap_CameraGetCount(int* count) {
  *count = static_cast<int>(cameras().attached);
  return 0;
}

uint32_t __wrap_CameraGetName(int camera, char* serial, char* name) {
  if (camera < 0 || static_cast<size_t>(camera) >= cameras().attached) return 1;
  std::snprintf(serial, 16, "SERIAL%d   ", camera);
  std::snprintf(name, 64, "\xE4 <name>(%d)", camera);
  return 0;
}

uint32_t __wrap_CameraGetID(int camera, int* model_row, int* product_id) {
  if (model_row != nullptr) *model_row = camera * 40;
  if (product_id != nullptr) *product_id = product_of(static_cast<size_t>(camera));
  return 0;
}

int __wrap_kxcam_open(const char* serial, int* camera) {
  if (cameras().cause != 0) return cameras().cause;
  for (int place = 0; place < 4; ++place) {
    if (CameraReset(place) == 0) continue;
    if (CameraInitVirtual(place, product_of(static_cast<size_t>(serial[6] - '0')), nullptr) != 0) continue;
    *camera = place;
    return 0;
  }
  return KXCAM_ERROR_IN_USE;
}

int __wrap_kxcam_interrupt(int camera, bool on) {
  const std::lock_guard lock(cameras().mutex);
  cameras().interrupted[static_cast<size_t>(camera)] = on;
  cameras().changed.notify_all();
  return 0;
}

int __wrap_kxcam_get_statistics(int camera, kxcam_statistics* statistics, size_t size) {
  const int cause = __real_kxcam_get_statistics(camera, statistics, size);
  const std::lock_guard lock(cameras().mutex);
  statistics->state = cameras().gone ? KXCAM_GONE : KXCAM_STREAMING;
  statistics->waiting = std::min(cameras().frames, 5);
  return cause;
}

int __wrap_kxcam_query(int camera, void* image, size_t size, int format, int timeout_ms, unsigned /*flags*/,
                       kxcam_frame* frame, size_t frame_size) {
  Cameras& all = cameras();
  std::unique_lock lock(all.mutex);
  const bool& interrupted = all.interrupted[static_cast<size_t>(camera)];
  const auto over = [&] { return interrupted || all.gone || all.frames > 0; };
  if (timeout_ms < 0) all.changed.wait(lock, over);
  if (interrupted) return KXCAM_ERROR_INTERRUPTED;
  if (all.gone) return KXCAM_ERROR_NO_DEVICE;
  if (all.frames == 0) return KXCAM_ERROR_NO_FRAME;
  --all.frames;
  if (all.cause != 0) return all.cause;
  int needed = 0;
  CameraGetImageBufferSize(camera, &needed, format);
  require(size == static_cast<size_t>(needed), "a picture is asked for with its size");
  std::memset(image, 0xA5, size);
  if (frame == nullptr) return 0;
  kxcam_frame is{};
  is.sequence = all.sequence++;
  CameraGetImageSize(camera, &is.width, &is.height);
  std::memcpy(frame, &is, std::min(frame_size, sizeof is));
  return 0;
}

int __wrap_kxcam_set_region(int /*camera*/, int x, int y, int width, int height) {
  require(x >= 0 && y >= 0 && width > 0 && height > 0, "a region is one");
  return cameras().cause;
}

uint32_t __wrap_CameraSetResolution(int /*camera*/, int /*preset*/, int* /*width*/, int* /*height*/) {
  return as_scripted();
}

uint32_t __wrap_CameraTriggerShot(int /*camera*/) {
  send_frame();
  return as_scripted();
}

uint32_t __wrap_CameraReconnect(int /*camera*/) {
  if (cameras().cause != 0) return 1;
  set_gone(false);
  return 0;
}

uint32_t __wrap_CameraGetGPIO(int /*camera*/, int* lines) {
  *lines = 0x5A;
  return as_scripted();
}

uint32_t __wrap_CameraSetGPIO(int /*camera*/, int mask, int value) {
  require(mask >= 0 && mask <= 0xFF && value >= 0 && value <= 0xFF, "there are eight lines");
  return as_scripted();
}

uint32_t __wrap_CameraLoadParameter(int /*camera*/, int slot) {
  require(slot == 0 || slot == 1, "there are two sets");
  return as_scripted();
}

uint32_t __wrap_CameraSaveParameter(int camera, int slot) {
  return __wrap_CameraLoadParameter(camera, slot);
}
}
// NOLINTEND(bugprone-reserved-identifier)
