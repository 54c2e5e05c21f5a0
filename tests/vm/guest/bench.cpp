// SPDX-License-Identifier: Apache-2.0
#include "bench.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include <sys/klog.h>

#include <kxcam/kxcam.h>

#include "check.h"
#include "numbered_frame.h"

namespace vm {
namespace {

constexpr int kReadWholeKernelLog = 3;

std::string first_word(const std::filesystem::path& file) {
  std::ifstream stream(file);
  std::string word;
  stream >> word;
  return word;
}

int cameras_in_sysfs() {
  int count = 0;
  for (const auto& device : std::filesystem::directory_iterator("/sys/bus/usb/devices"))
    count += first_word(device.path() / "idVendor") == "a7b7" ? 1 : 0;
  return count;
}

int cameras_in_library() {
  int count = 0;
  CameraGetCount(&count);
  return count;
}

}  // namespace

bool eventually(const std::function<bool()>& holds, std::chrono::seconds longest) {
  for (const auto begin = Clock::now(); Clock::now() - begin < longest;) {
    if (holds()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return holds();
}

void measured(std::string_view what, double value, std::string_view unit) {
  std::cout << "@measured " << what << ": " << value << ' ' << unit << std::endl;
}

void tell_host(const std::string& command) {
  std::cout << "@host " << command << std::endl;
}

void restore_cables() {
  tell_host("mend");
  tell_host("plug 1");
  std::this_thread::sleep_for(std::chrono::seconds(1));
}

void wait_for_cameras(int count) {
  eventually([&] { return cameras_in_sysfs() == count; });
  require_equal(cameras_in_sysfs(), count, "number of cameras that the kernel knows");
  eventually([&] { return cameras_in_library() == count; });
  require_equal(cameras_in_library(), count, "number of cameras that the library finds");
}

int index_of(const std::string& serial) {
  const int count = cameras_in_library();
  for (int i = 0; i < count; ++i) {
    char text[16] = {};
    if (CameraGetName(i, text, nullptr) == 0 && serial == text) return i;
  }
  throw Failure("no camera has the serial number " + serial);
}

std::vector<std::string> kernel_reports(std::string_view text) {
  std::string log(size_t{1} << 20, '\0');
  const int length = klogctl(kReadWholeKernelLog, log.data(), static_cast<int>(log.size()));
  log.resize(static_cast<size_t>(std::max(length, 0)));
  std::vector<std::string> reports;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    if (line.find(text) != std::string::npos) reports.push_back(line);
  }
  return reports;
}

void require_success(uint32_t result, const std::string& call) {
  require(result == 0, call + " failed with code " + std::to_string(last_error));
}

int code_of_failure(uint32_t result, const std::string& call) {
  require(result == 1, call + " did not fail");
  return last_error;
}

OpenCamera::OpenCamera(const char* serial) : index_(index_of(serial)) {
  require_success(CameraInit(index_), "CameraInit");
  int size = 0;
  CameraGetImageBufferSize(index_, &size, KXCAM_FORMAT_RAW);
  frame_.resize(static_cast<size_t>(size));
  CameraClearHostBuffer(index_);  // of frames of the geometry before
}

OpenCamera::~OpenCamera() {
  CameraFree(index_);
}

uint32_t OpenCamera::numbered_frame() {
  int size = static_cast<int>(frame_.size());
  const auto begin = Clock::now();
  require_success(CameraQueryImage(index_, frame_.data(), &size, KXCAM_FORMAT_RAW), "CameraQueryImage");
  query_ms_ = milliseconds_since(begin);
  int width = 0;
  int height = 0;
  CameraGetImageSize(index_, &width, &height);
  // However deep the samples are, what comes over the wire is a byte a pixel.
  const auto bytes = std::span(frame_).first(static_cast<size_t>(width) * static_cast<size_t>(height));
  const auto number = read_numbered_frame(bytes);
  if (!number) throw Failure("a frame is not what was sent: " + parts_of(bytes));
  return *number;
}

double OpenCamera::numbered_frames(int count) {
  // An emulated processor may get no time for a while.
  CameraSetTimeout(index_, 5000);
  const uint32_t first = numbered_frame();
  uint32_t last = first;
  double waiting = 0;
  for (int i = 1; i < count; ++i) {
    const uint32_t number = numbered_frame();
    waiting += query_ms_;
    require(number > last, "frame " + std::to_string(number) + " comes after " + std::to_string(last));
    last = number;
  }
  CameraSetTimeout(index_, 500);
  const auto lost = static_cast<int>(last - first) - (count - 1);
  require(lost <= count, std::to_string(lost) + " frames were lost between " + std::to_string(count));
  return static_cast<double>(frame_.size()) * (count - 1) / waiting * 1000;
}

double OpenCamera::wait_for_no_frame() {
  for (int i = 0; i < 1000; ++i) {
    const auto begin = Clock::now();
    try {
      numbered_frame();
    } catch (const Failure& failure) {
      if (last_error == KXCAM_ERROR_NO_FRAME) return milliseconds_since(begin);
      throw;
    }
  }
  throw Failure("frames still arrive");
}

void OpenCamera::reconnect() {
  const auto begin = Clock::now();
  eventually([&] { return CameraReconnect(index_) == 0; });
  require(milliseconds_since(begin) < 10000, "CameraReconnect never works");
}

void OpenCamera::set_exposure(int lines) {
  require(eventually([&] { return CameraSetExposure(index_, lines) == 0; }), "CameraSetExposure fails");
}

int OpenCamera::exposure() const {
  int lines = -1;
  CameraGetExposure(index_, &lines);
  return lines;
}

}  // namespace vm
