// SPDX-License-Identifier: Apache-2.0

// A camera that nothing happens to.

#include <algorithm>
#include <atomic>
#include <cstring>

#include <kxcam/kxcam.h>

#include "bench.h"
#include "check.h"

namespace vm {
namespace {

void generic_product_id() {
  wait_for_cameras(1);
  char serial[16] = {};
  char name[64] = {};
  require_success(CameraGetName(0, serial, name), "CameraGetName");
  require(serial == std::string(kFiveMegapixels), std::string("the serial number is ") + serial);
  require(name == std::string("Model 5MP-C(0)"), std::string("the name is ") + name);
  int product = 0;
  require_success(CameraGetID(0, nullptr, &product), "CameraGetID");
  require_equal(product, 0x3500, "product id");
}

void reset_at_open() {
  const int before = kernel_resets();
  const OpenCamera camera(kFiveMegapixels);
  require_equal(kernel_resets(), before + 1, "number of resets that the kernel reports");
  int firmware = 0;
  require_success(CameraGetFirmVersion(camera.index(), &firmware), "CameraGetFirmVersion");
  require_equal(firmware, 0x8310, "firmware version");
}

void five_megapixels() {
  OpenCamera camera(kFiveMegapixels);
  measured("raw frames of 5 megapixels", camera.numbered_frames(20) / 1e6, "MB/s");
}

/// Median duration of a request in milliseconds. A few may fail: see OpenCamera::numbered_frames().
double median_request_ms(int index) {
  constexpr size_t kRequests = 101;
  std::vector<double> durations;
  int failures = 0;
  while (durations.size() < kRequests) {
    const auto begin = Clock::now();
    int lines = 0;
    if (CameraGetGPIO(index, &lines) == 0) {
      durations.push_back(milliseconds_since(begin));
    } else {
      require(++failures < 5,
              "CameraGetGPIO failed five times, last with code " + std::to_string(last_error));
    }
  }
  std::ranges::nth_element(durations, durations.begin() + kRequests / 2);
  return durations[kRequests / 2];
}

void requests_while_streaming() {
  OpenCamera camera(kFiveMegapixels);
  std::atomic<bool> stop{false};
  std::string trouble;
  std::thread consumer([&] {
    try {
      while (!stop) camera.numbered_frames(2);
    } catch (const Failure& failure) {
      trouble = failure.what();
    }
  });
  double median = 0;
  try {
    median = median_request_ms(camera.index());
  } catch (const Failure& failure) {
    trouble = failure.what();
  }
  stop = true;
  consumer.join();
  require(trouble.empty(), trouble);
  measured("a request while frames stream, median", median, "ms");
}

void automatic_exposure() {
  OpenCamera camera(kFiveMegapixels);
  // A part of the sensor: it is the loop that is tested, not the time that an emulated processor takes.
  require(eventually([&] { return CameraSetROI(camera.index(), 0, 0, 640, 480) == 0; }),
          "CameraSetROI fails");
  camera.set_exposure(1000);
  require_success(CameraSetAEC(camera.index(), true), "CameraSetAEC");
  int size = 0;
  CameraGetImageBufferSize(camera.index(), &size, KXCAM_FORMAT_COLOR);
  std::vector<uint8_t> picture(static_cast<size_t>(size));
  for (int i = 0; i < 12; ++i) {
    const auto query = CameraQueryImage(camera.index(), picture.data(), &size, KXCAM_FORMAT_COLOR);
    require_success(query, "CameraQueryImage");
  }
  require(camera.exposure() < 1000, "the exposure does not follow the brightness");
}

void stored_settings() {
  OpenCamera camera(kFiveMegapixels);
  const int index = camera.index();
  camera.set_exposure(321);
  require_success(CameraSetGain(index, 45), "CameraSetGain");
  const auto begin = Clock::now();
  require_success(CameraSaveParameter(index, 1), "CameraSaveParameter");
  measured("storing all settings", milliseconds_since(begin), "ms");
  camera.set_exposure(100);
  CameraSetGain(index, 20);
  require_success(CameraLoadParameter(index, 1), "CameraLoadParameter");
  int gain = 0;
  CameraGetGain(index, &gain);
  require_equal(camera.exposure(), 321, "exposure");
  require_equal(gain, 45, "gain");
}

void user_data() {
  const OpenCamera camera(kFiveMegapixels);
  const char written[] = "belongs to line three";
  require_success(CameraWriteUserData(camera.index(), written, sizeof written), "CameraWriteUserData");
  char read[sizeof written] = {};
  require_success(CameraReadUserData(camera.index(), read, sizeof read), "CameraReadUserData");
  require(std::strcmp(read, written) == 0, std::string("what was read is ") + read);
}

}  // namespace

const std::vector<Case> one_camera = {
    {"a camera behind the generic product id is found", generic_product_id},
    {"opening resets the device", reset_at_open},
    {"frames of 5 megapixels arrive byte for byte", five_megapixels},
    {"requests are answered while frames stream", requests_while_streaming},
    {"automatic exposure works while frames stream", automatic_exposure},
    {"settings are stored in the camera and loaded", stored_settings},
    {"user data is written and read", user_data},
};

}  // namespace vm
