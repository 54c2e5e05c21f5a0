// SPDX-License-Identifier: Apache-2.0
#include "soak.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include <fmt/format.h>

#include "controls.h"
#include "kxcam/kxcam.h"
#include "mischief.h"
#include "usbfs/virtual_bus.h"

namespace kxcam::soak {

namespace {

using namespace std::chrono_literals;
using kxsim::VirtualBus;

constexpr int kTakersEach = 2;
constexpr int kPortsEach = 8;
constexpr auto kProgressEvery = 60s;

constexpr int kGlanceMs = 1000;
constexpr int kLongLookMs = 10'000;

/// A bridge of the older kind at high speed, a large sensor whose whole frame takes two transfers, and 12
/// bits.
constexpr std::array kDescriptions = {"003B,fps=150", "3A00,fps=60", "369B,fps=200"};

}  // namespace

Soak::Soak(const SoakOptions& options) : options_(options), stage_(options.slowness) {
  report_.seed = options.seed;
  setenv("KXUSB_CONF", configuration_.path().c_str(), 1);
  plug_in();
  open_all();
  store_settings();
}

Soak::~Soak() {
  end_threads();
  for (size_t index = 0; index < stage_.at_index.size(); ++index) CameraFree(static_cast<int>(index));
  contexts_.clear();
  VirtualBus::instance().unplug_all();
}

void Soak::plug_in() {
  for (uint32_t number = 0; number < static_cast<uint32_t>(options_.cameras); ++number) {
    stage_.cameras.push_back(std::make_unique<SoakCamera>(number, kDescriptions.at(number)));
    const int port = 1 + kPortsEach * static_cast<int>(number);
    VirtualBus::instance().plug(stage_.cameras.back()->device(), port);
  }
  const size_t cameras = stage_.cameras.size();
  stage_.at_index.resize(cameras);
  contexts_.resize(cameras);
  lost_in_calm_.resize(cameras);
  for (size_t index = 0; index < cameras; ++index)
    takers_.push_back(std::make_unique<PictureTaker>(stage_, static_cast<int>(index), options_.seed));
}

/// So that what is loaded later is whole: nothing is stored beside faults. In an empty slot is an exposure of
/// many seconds, for which queries would wait.
void Soak::store_settings() {
  for (size_t i = 0; i < contexts_.size(); ++i) {
    const int index = static_cast<int>(i);
    CameraSetFPN(index, true);
    for (const int slot : {0, 1})
      stage_.watch("CameraSaveParameter", Patience::kWholeCamera,
                   [&] { return CameraSaveParameter(index, slot); });
  }
}

void Soak::start_threads() {
  uint64_t seed = options_.seed * 1000;
  for (size_t i = 0; i < contexts_.size(); ++i) {
    const int index = static_cast<int>(i);
    for (int n = 0; n < kTakersEach; ++n)
      threads_.emplace_back([this, index, seed = ++seed] { PictureTaker(stage_, index, seed).run(); });
    threads_.emplace_back([this, index, seed = ++seed] { Controls(stage_, index, seed).run(); });
    threads_.emplace_back([this, index, seed = ++seed] { Mischief(stage_, index, seed).run(); });
  }
}

void Soak::end_threads() {
  stage_.ending = true;
  for (std::thread& thread : threads_) thread.join();
  threads_.clear();
}

double Soak::elapsed_s() const {
  return std::chrono::duration<double>(Clock::now() - start_).count();
}

void Soak::run() {
  start_threads();
  constexpr uint64_t kReopenEvery = 3;  // quiet points
  const auto end = Clock::now() + std::chrono::seconds(options_.seconds);
  auto progress = Clock::now() + kProgressEvery;
  while (Clock::now() < end) {
    std::this_thread::sleep_until(std::min(end, Clock::now() + std::chrono::seconds(options_.quiet_every_s)));
    stage_.gate.close();
    quiet_point(report_.quiet_points % kReopenEvery == 0);
    stage_.gate.open();
    if (Clock::now() < progress) continue;
    progress += kProgressEvery;
    print_progress(report_, stage_);
  }
  end_threads();
  quiet_point(true);
  check_usage();
}

void Soak::quiet_point(bool reopen) {
  calm_down();
  check_books();
  if (reopen) {
    close_all();
    check_books();
    end_calm();
    open_all();
    ++report_.reopenings;
  } else {
    end_calm();
  }
  for (size_t index = 0; index < contexts_.size(); ++index) revive(index);
  ++report_.quiet_points;
  update_report();
}

/// No faults, and no more frames.
void Soak::calm_down() {
  for (const auto& camera : stage_.cameras) {
    const auto& device = camera->device();
    device->clear_faults();
    device->clear_requests();  // kept by the camera, and no growth of the library's
    if (!wait_for_plug(*device))
      stage_.violations.add(fmt::format("camera {} stayed away", camera->number()));
    device->inject({.stream_frames = 0});
    lost_in_calm_[camera->number()] -= device->counters().frames_dropped;
  }
}

void Soak::end_calm() {
  for (const auto& camera : stage_.cameras) {
    lost_in_calm_[camera->number()] += camera->device()->counters().frames_dropped;
    camera->device()->clear_faults();
  }
}

std::vector<CameraBooks> Soak::read_books() {
  std::vector<CameraBooks> books;
  for (const auto& camera : stage_.cameras) {
    CameraBooks book{.model = camera->model().name,
                     .host = camera->closed_book,
                     .device = read_book(camera->device()->counters())};
    const auto at = std::ranges::find(stage_.at_index, camera.get());
    if (at != stage_.at_index.end())
      book.host += read_book(*contexts_[static_cast<size_t>(at - stage_.at_index.begin())]->stream.ring);
    books.push_back(std::move(book));
  }
  return books;
}

std::vector<std::string> Soak::differences() {
  std::vector<std::string> found;
  const auto books = read_books();
  for (size_t number = 0; number < books.size(); ++number) {
    const auto& [model, host, device] = books[number];
    const SoakCamera& camera = *stage_.cameras[number];
    const auto compare = [&](const char* what, uint64_t one, uint64_t other) {
      if (one != other)
        found.push_back(fmt::format("camera {}: {}: {} against {}", number, what, one, other));
    };
    compare("frames sent and frames accounted for", device.sent - device.unended, host.total());
    compare("frames delivered and queries that succeeded", host.delivered, camera.deliveries());
    compare("frames made and frames numbered", device.made, camera.frames_numbered());
    const uint64_t gone = device.sent + device.stale + device.withdrawn;
    // One may wait in the camera for a host that does not read.
    compare("frames made and frames gone", device.made, device.made == gone + 1 ? device.made : gone);
  }
  return found;
}

/// Frames may still be under way: waits until the books agree, as they must in the end and then for good.
void Soak::check_books() {
  constexpr int kTries = 200;
  std::vector<std::string> found = differences();
  for (int i = 0; i < kTries && !found.empty(); ++i) {
    std::this_thread::sleep_for(50ms);
    found = differences();
  }
  for (const std::string& difference : found) stage_.violations.add(difference);
}

void Soak::close_all() {
  for (size_t i = 0; i < contexts_.size(); ++i) {
    stage_.watch("CameraFree", Patience::kWholeCamera, [&] { return CameraFree(static_cast<int>(i)); });
    stage_.at_index[i]->closed_book += read_book(*contexts_[i]->stream.ring);
    stage_.at_index[i] = nullptr;
    if (contexts_[i].use_count() != 1) stage_.violations.add("a closed camera is still held by someone");
    contexts_[i].reset();
  }
  const size_t nodes = VirtualBus::instance().open_nodes();
  if (nodes != 0) stage_.violations.add(fmt::format("{} device nodes open after all were closed", nodes));
  const size_t memory = VirtualBus::instance().memory().used();
  if (memory != 0) stage_.violations.add(fmt::format("{} bytes of transfers left", memory));
}

/// Cameras that were plugged in again are listed in another order, so the index says nothing about the
/// camera.
void Soak::open_all() {
  for (size_t i = 0; i < contexts_.size(); ++i) {
    const int index = static_cast<int>(i);
    const bool opened = stage_.watch("CameraInit", Patience::kWholeCamera, [&] { return CameraInit(index); });
    std::array<char, 16> serial{};
    if (!opened || CameraReadSerialNumber(index, serial.data(), static_cast<int>(serial.size())) != 0)
      throw std::runtime_error(fmt::format("cannot open camera {}: code {}", index, last_error));
    const auto camera = std::ranges::find_if(
        stage_.cameras, [&](const auto& one) { return one->device()->options().serial == serial.data(); });
    if (camera == stage_.cameras.end())
      throw std::runtime_error(fmt::format("camera {} has the serial number '{}'", index, serial.data()));
    stage_.at_index[i] = camera->get();
    contexts_[i] = context_at(index);
  }
}

/// Without faults every camera must come back, whatever has been done to it.
void Soak::revive(size_t index) {
  if (gives_pictures(index, kGlanceMs)) return;
  const bool reconnected = stage_.watch("CameraReconnect", Patience::kWholeCamera,
                                        [&] { return CameraReconnect(static_cast<int>(index)); });
  if (!reconnected || !gives_pictures(index, kLongLookMs))
    stage_.violations.add(fmt::format("camera {} cannot be brought back: code {}",
                                      stage_.at_index[index]->number(), last_error));
}

bool Soak::gives_pictures(size_t i, int time_out_ms) {
  const int index = static_cast<int>(i);
  constexpr int kTimed = 1;
  constexpr int kHalfSize = 1;
  CameraSetTimeout(index, time_out_ms);
  if (CameraSetSnapMode(index, kTimed) != 0) return false;
  if (CameraSetResolution(index, kHalfSize, nullptr, nullptr) != 0) return false;
  const bool taken = takers_[i]->take_raw();
  CameraSetTimeout(index, kGlanceMs);
  return taken;
}

void Soak::update_report() {
  report_.seconds = elapsed_s();
  report_.cameras = read_books();
  for (size_t i = 0; i < report_.cameras.size(); ++i) report_.cameras[i].device.lost -= lost_in_calm_[i];
  // Without its threads a run holds less, which must not hide what it has lost.
  if (threads_.empty()) return;
  report_.last_usage = process_usage();
  // Until then everything has had its largest frame once.
  constexpr double kWarmUpS = 600;
  if (elapsed_s() < std::min(kWarmUpS, options_.seconds / 2.0) || report_.quiet_points == 1)
    report_.first_usage.include(report_.last_usage);
}

void Soak::check_usage() {
  const ProcessUsage& first = report_.first_usage;
  const ProcessUsage& last = report_.last_usage;
  const int64_t grown_mib = (last.resident_kib - first.resident_kib) / 1024;
  if (grown_mib > options_.memory_growth_mib)
    stage_.violations.add(fmt::format("the resident memory has grown by {} MiB", grown_mib));
  if (last.descriptors > first.descriptors)
    stage_.violations.add(fmt::format("{} descriptors have become {}", first.descriptors, last.descriptors));
  if (last.threads > first.threads)
    stage_.violations.add(fmt::format("{} threads have become {}", first.threads, last.threads));
}

}  // namespace kxcam::soak
