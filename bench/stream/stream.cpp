// SPDX-License-Identifier: Apache-2.0
#include "stream/stream.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <span>
#include <stdexcept>
#include <utility>

#include <libusb.h>

#include "device/vendor_request.h"
#include "kxcam/extra.h"
#include "usbfs/virtual_bus.h"

namespace kxcam::bench {
namespace {

constexpr int32_t kBlock = 1024;
constexpr int32_t kLargestTransfer = 0x800000;
constexpr unsigned kTimeoutMs = 500;
constexpr int kQueryMs = 300;
constexpr int kWarmUpFrames = 6;  // all of the library's five buffers have been written

int64_t now_ns(clockid_t clock = CLOCK_MONOTONIC) {
  timespec now{};
  clock_gettime(clock, &now);
  return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

double microseconds_since(int64_t ns) {
  return static_cast<double>(now_ns() - ns) / 1e3;
}

int64_t made_at(const uint8_t* frame) {
  int64_t time = 0;
  std::memcpy(&time, frame, sizeof time);
  return time;
}

void require(bool done, const char* what) {
  if (!done) throw std::runtime_error(what);
}

using Threads = std::set<std::string>;

Threads threads_of_process() {
  Threads all;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task"))
    all.insert(entry.path().filename());
  return all;
}

int64_t processor_ns(const Threads& threads) {
  int64_t sum = 0;
  for (const std::string& thread : threads) {
    int64_t own = 0;
    std::ifstream("/proc/self/task/" + thread + "/schedstat") >> own;
    sum += own;
  }
  return sum;
}

/// The lengths to ask for, one after the other, so that the last one is never filled.
std::vector<int32_t> chunks_of(int32_t frame) {
  std::vector<int32_t> chunks;
  for (int32_t rest = frame;; rest -= kLargestTransfer) {
    if (rest < kLargestTransfer) {
      chunks.push_back(rest / kBlock * kBlock + kBlock);
      return chunks;
    }
    chunks.push_back(kLargestTransfer);
  }
}

/// The first camera on the bus, without the library.
class Device {
 public:
  Device() {
    require(libusb_init(&context_) == 0, "libusb does not start");
    libusb_device** list = nullptr;
    const ssize_t count = libusb_get_device_list(context_, &list);
    if (count > 0) libusb_open(list[0], &handle_);
    libusb_free_device_list(list, 1);
    require(handle_ != nullptr && libusb_claim_interface(handle_, 0) == 0, "the camera cannot be opened");
    ask(kxsim::kStartStream);
  }
  ~Device() {
    ask(kxsim::kStopStream);
    libusb_close(handle_);
    libusb_exit(context_);
  }
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  libusb_context* context() const { return context_; }
  libusb_device_handle* handle() const { return handle_; }

 private:
  void ask(uint8_t request) {
    std::array<uint8_t, 4> reply{};
    libusb_control_transfer(handle_, 0xC0, request, 0, 0, reply.data(), reply.size(), kTimeoutMs);
  }

  libusb_context* context_ = nullptr;
  libusb_device_handle* handle_ = nullptr;
};

constexpr unsigned char kEndpoint = 0x81;

/// Two transfers that are asked for again as soon as they end.
class Queue {
 public:
  Queue(const Device& device, const std::vector<int32_t>& chunks) : device_(device) {
    for (size_t i = 0; i < slots_.size(); ++i) {
      Slot& slot = slots_[i];
      const int32_t length = chunks[i % chunks.size()];
      slot.buffer.resize(static_cast<size_t>(length));
      slot.transfer = libusb_alloc_transfer(0);
      libusb_fill_bulk_transfer(slot.transfer, device.handle(), kEndpoint, slot.buffer.data(), length, ended,
                                this, 0);
      require(libusb_submit_transfer(slot.transfer) == 0, "a transfer is refused");
      ++pending_;
    }
  }
  ~Queue() {
    ending_ = true;
    for (const Slot& slot : slots_) libusb_cancel_transfer(slot.transfer);
    while (pending_ > 0) libusb_handle_events(device_.context());
    for (const Slot& slot : slots_) libusb_free_transfer(slot.transfer);
  }
  Queue(const Queue&) = delete;
  Queue& operator=(const Queue&) = delete;

  void run_for(std::chrono::duration<double> time) {
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) {
      timeval limit{.tv_sec = 0, .tv_usec = 100'000};
      libusb_handle_events_timeout(device_.context(), &limit);
    }
  }

 private:
  struct Slot {
    std::vector<uint8_t> buffer;
    libusb_transfer* transfer = nullptr;
  };

  static void LIBUSB_CALL ended(libusb_transfer* transfer) {
    auto& queue = *static_cast<Queue*>(transfer->user_data);
    --queue.pending_;
    if (!queue.ending_ && libusb_submit_transfer(transfer) == 0) ++queue.pending_;
  }

  const Device& device_;
  std::array<Slot, 2> slots_;
  int pending_ = 0;
  bool ending_ = false;
};

}  // namespace

double quantile(Times times, double part) {
  if (times.empty()) return 0;
  const auto at = static_cast<size_t>(std::ceil(part * static_cast<double>(times.size())));
  const auto nth = times.begin() + static_cast<ptrdiff_t>(std::max<size_t>(at, 1) - 1);
  std::ranges::nth_element(times, nth);
  return *nth;
}

Stream::Stream(const std::string& options, int width, int height)
    : camera_(std::make_shared<kxsim::SimulatedCamera>(kxsim::parse_camera_options(options))),
      width_(width),
      height_(height) {
  setenv("KXUSB_CONF", conf_.path().c_str(), 1);
  camera_->set_frame_source([](const kxsim::FrameRequest&, std::span<uint8_t> frame) {
    const int64_t now = now_ns();
    std::memcpy(frame.data(), &now, sizeof now);
  });
  camera_->on_read_after_pause([this](std::chrono::nanoseconds pause) {
    const std::lock_guard lock(mutex_);
    gaps_.push_back(std::chrono::duration<double, std::micro>(pause).count());
  });
  kxsim::VirtualBus::instance().plug(camera_);
}

Stream::~Stream() {
  CameraFree(0);
  kxsim::VirtualBus::instance().unplug(*camera_);
}

void Stream::open_camera() {
  require(CameraInit(0) == 0, "the camera cannot be opened");
  if (width_ > 0)
    require(kxcam_set_region(0, 0, 0, width_, height_) == 0, "the camera does not take the region");
  require(CameraGetImageBufferSize(0, &frame_bytes_, KXCAM_FORMAT_RAW) == 0, "the camera has no frame size");
}

kxsim::CameraCounters Stream::begin_counting() {
  {
    const std::lock_guard lock(mutex_);
    gaps_.clear();
  }
  return camera_->counters();
}

void Stream::finish(Run& run, const kxsim::CameraCounters& first) {
  const kxsim::CameraCounters last = camera_->counters();  // the camera's lock comes before ours
  run.frames = last.frames_sent - first.frames_sent;
  run.cut = last.frames_cut - first.frames_cut;
  const std::lock_guard lock(mutex_);
  run.gaps = std::exchange(gaps_, {});
  // Reads before which there was another one all the time.
  run.gaps.resize(std::max<size_t>(run.gaps.size(), last.bulk_reads - first.bulk_reads), 0.0);
}

Run Stream::read(Reader reader, std::chrono::duration<double> time) {
  Run run;
  if (reader == Reader::kLibrary) {
    read_by_library(time, run);
  } else {
    open_camera();  // sets the geometry, which stays
    CameraFree(0);
    read_by_libusb(reader, time, run);
  }
  return run;
}

void Stream::read_by_library(std::chrono::duration<double> time, Run& run) {
  int cameras = 0;
  CameraGetCount(&cameras);  // libusb's own threads begin here
  const Threads before = threads_of_process();
  open_camera();
  Threads readers;
  std::ranges::set_difference(threads_of_process(), before, std::inserter(readers, readers.end()));

  std::vector<uint8_t> image(static_cast<size_t>(frame_bytes_));
  kxcam_frame frame{};
  const auto query = [&] {
    return kxcam_query(0, image.data(), image.size(), KXCAM_FORMAT_RAW, kQueryMs, 0, &frame, sizeof frame) ==
           0;
  };
  for (int n = 0; n < kWarmUpFrames; ++n) query();

  const kxsim::CameraCounters first = begin_counting();
  const int64_t begin = now_ns();
  const int64_t worked = processor_ns(readers);
  while (static_cast<double>(now_ns() - begin) < time.count() * 1e9) {
    if (!query()) continue;  // of a camera that loses them all
    run.since_made.push_back(microseconds_since(made_at(image.data())));
    run.since_arrived.push_back(microseconds_since(frame.arrived_ns));
  }
  run.load = static_cast<double>(processor_ns(readers) - worked) / static_cast<double>(now_ns() - begin);
  finish(run, first);
  CameraFree(0);
}

void Stream::read_by_libusb(Reader reader, std::chrono::duration<double> time, Run& run) {
  const Device device;
  const std::vector<int32_t> chunks = chunks_of(frame_bytes_);
  std::vector<uint8_t> frame(chunks.size() * kLargestTransfer);
  std::vector<uint8_t> image(static_cast<size_t>(frame_bytes_));
  const auto read_frame = [&] {
    uint8_t* place = frame.data();
    for (const int32_t chunk : chunks) {
      int transferred = 0;
      const int result =
          libusb_bulk_transfer(device.handle(), kEndpoint, place, chunk, &transferred, kTimeoutMs);
      require(result == 0 || result == LIBUSB_ERROR_TIMEOUT, "a transfer fails");
      if (transferred != chunk) break;
      place += transferred;
    }
  };
  for (int n = 0; n < kWarmUpFrames; ++n) read_frame();
  std::ranges::copy(std::span(frame).first(image.size()), image.begin());

  std::optional<Queue> queue;
  if (reader == Reader::kQueued) queue.emplace(device, chunks);

  const kxsim::CameraCounters first = begin_counting();
  const int64_t begin = now_ns();
  int64_t worked = -now_ns(CLOCK_THREAD_CPUTIME_ID);
  if (queue) {
    queue->run_for(time);
  } else {
    while (static_cast<double>(now_ns() - begin) < time.count() * 1e9) {
      read_frame();
      run.since_made.push_back(microseconds_since(made_at(frame.data())));
      if (reader != Reader::kCopying) continue;
      const int64_t read = now_ns();
      worked += now_ns(CLOCK_THREAD_CPUTIME_ID);
      std::memcpy(image.data(), frame.data(), image.size());
      worked -= now_ns(CLOCK_THREAD_CPUTIME_ID);
      run.copies.push_back(microseconds_since(read));
    }
  }
  worked += now_ns(CLOCK_THREAD_CPUTIME_ID);
  run.load = static_cast<double>(worked) / static_cast<double>(now_ns() - begin);
  finish(run, first);
}

}  // namespace kxcam::bench
