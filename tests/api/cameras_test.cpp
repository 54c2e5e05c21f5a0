// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <string>
#include <thread>

#include <poll.h>

#include "camera_bus.h"
#include "eventually.h"
#include "kxcam/extra.h"

namespace kxcam::test {
namespace {

class Cameras : public CameraBus {
 protected:
  static std::string serial_of(int camera) {
    std::array<char, 16> serial{};
    EXPECT_EQ(CameraReadSerialNumber(camera, serial.data(), serial.size()), 0U);
    return serial.data();
  }

  std::shared_ptr<Camera> plug_serial(const std::string& serial) {
    auto camera = plug("3600,fps=0,serial=" + serial);
    camera->set_frame_source(kxsim::fill_numbered_frame);  // soon made
    return camera;
  }

  static kxcam_description describe(int camera) {
    kxcam_description is{};
    EXPECT_EQ(kxcam_describe(camera, &is, sizeof is), 0);
    return is;
  }

  static bool offers(const kxcam_description& is, std::string_view name) {
    kxcam_control control{};
    for (int n = 0; kxcam_get_control(n, &control, sizeof control) == 0; ++n) {
      if (name == control.name) return (is.controls >> n & 1) != 0;
    }
    ADD_FAILURE() << "no control " << name;
    return false;
  }
};

TEST_F(Cameras, AreOpenedBySerialNumberInWhateverOrderTheyArePlugged) {
  std::array<std::string, 3> serials = {"AAAAAAAAAAAA", "BBBBBBBBBBBB", "CCCCCCCCCCCC"};
  do {
    SCOPED_TRACE(serials[0] + " " + serials[1] + " " + serials[2]);
    const auto first = plug_serial(serials[0]);
    const auto second = plug_serial(serials[1]);
    int index = -1;
    ASSERT_EQ(kxcam_open(serials[1].c_str(), &index), 0);
    EXPECT_EQ(index, 0);
    const size_t sent = first->requests().size();
    EXPECT_EQ(kxcam_open((serials[1] + "  ").c_str(), &index), KXCAM_ERROR_IN_USE);
    EXPECT_EQ(first->requests().size(), sent) << "nothing is asked to know that";
    bus_.unplug(*first);
    // The open camera stands first on the bus, and its index is not that place.
    EXPECT_EQ(CameraInit(1), 1U);
    EXPECT_EQ(kxcam_thread_error(), -1) << "there is one camera";
    const auto third = plug_serial(serials[2]);
    ASSERT_EQ(kxcam_open(serials[2].c_str(), &index), 0);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(serial_of(0), serials[1]);
    EXPECT_EQ(serial_of(1), serials[2]);
    EXPECT_EQ(kxcam_open(serials[0].c_str(), &index), KXCAM_ERROR_NO_DEVICE);
    CameraFree(0);
    CameraFree(1);
    bus_.unplug_all();
  } while (std::next_permutation(serials.begin(), serials.end()));
  int index = 7;
  EXPECT_EQ(kxcam_open("X", &index), KXCAM_ERROR_EMPTY_BUS);
  EXPECT_EQ(index, 7);
}

TEST_F(Cameras, AreNotOpenedTwice) {
  const auto first = plug_serial("AAAAAAAAAAAA");
  const auto second = plug_serial("BBBBBBBBBBBB");
  ASSERT_EQ(CameraInit(1), 0U);
  const std::string opened = serial_of(1);
  bus_.unplug(opened == "AAAAAAAAAAAA" ? *second : *first);
  EXPECT_EQ(code_of(CameraInit, 0), KXCAM_ERROR_IN_USE) << "the same device at another place";
  EXPECT_EQ(serial_of(1), opened);
}

TEST_F(Cameras, ThatAreHeldAreLeftUntouched) {
  const auto camera = plug_serial("AAAAAAAAAAAA");
  camera->inject({.claim_busy = true});
  camera->clear_requests();
  const uint64_t resets = camera->counters().resets;
  int index = -1;
  EXPECT_EQ(kxcam_open("AAAAAAAAAAAA", &index), KXCAM_ERROR_HELD);
  EXPECT_TRUE(camera->requests().empty());
  EXPECT_EQ(camera->counters().resets, resets);
  camera->inject({.open_denied = true});
  testing::internal::CaptureStdout();
  EXPECT_EQ(kxcam_open("AAAAAAAAAAAA", &index), KXCAM_ERROR_PERMISSION);
  testing::internal::GetCapturedStdout();
  camera->clear_faults();
  EXPECT_EQ(kxcam_open("AAAAAAAAAAAA", &index), 0);
}

TEST_F(Cameras, TellWhatTheyAre) {
  struct Row {
    const char* model;
    int width;
    int height;
    int bits;
    int bayer;
    int step_x;
    int step_y;
    bool triggered;
  };
  for (const Row& row : {Row{"3600", 720, 540, 8, KXCAM_BAYER_RGGB, 2, 2, true},
                         Row{"369B", 720, 540, 12, KXCAM_BAYER_NONE, 2, 2, true},
                         Row{"3A30", 640, 480, 8, KXCAM_BAYER_GRBG, 16, 2, true},
                         Row{"3C3B", 2064, 1544, 8, KXCAM_BAYER_NONE, 8, 8, true}}) {
    SCOPED_TRACE(row.model);
    const auto camera = plug(std::string(row.model) + ",fps=0,serial=123456789012");
    ASSERT_EQ(CameraInitIO(0), 0U);
    CameraSetRotate(0, 90);
    camera->clear_requests();
    last_error = KXCAM_ERROR_NONE_YET;
    const kxcam_description is = describe(0);
    EXPECT_TRUE(camera->requests().empty());
    EXPECT_EQ(last_error, KXCAM_ERROR_NONE_YET);
    EXPECT_STREQ(is.serial, "123456789012");
    EXPECT_EQ(is.product_id, std::stoi(row.model, nullptr, 16));
    EXPECT_EQ(std::pair(is.sensor_width, is.sensor_height), std::pair(row.width, row.height));
    EXPECT_EQ(is.bits, row.bits);
    EXPECT_EQ(is.bayer, row.bayer);
    EXPECT_EQ(std::pair(is.region_step_x, is.region_step_y), std::pair(row.step_x, row.step_y));
    EXPECT_EQ((is.features & KXCAM_FEATURE_TRIGGER) != 0, row.triggered);
    EXPECT_EQ((is.features & KXCAM_FEATURE_LINE_SCAN) != 0, std::string_view(row.model) == "3A30");
    EXPECT_TRUE(offers(is, "gain"));
    EXPECT_EQ(offers(is, "trigger-delay"), (is.features & KXCAM_FEATURE_TRIGGER_UNIT) != 0);
    EXPECT_EQ(offers(is, "strobe"), (is.features & KXCAM_FEATURE_STROBE) != 0);
    CameraFree(0);
    bus_.unplug_all();
  }
}

TEST_F(Cameras, ControlsAreSetAndReadByName) {
  open("3600");
  const kxcam_description is = describe(0);
  kxcam_control control{};
  int number = 0;
  for (; kxcam_get_control(number, &control, sizeof control) == 0; ++number) {
    SCOPED_TRACE(control.name);
    double value = 0;
    const int cause = kxcam_get(0, control.name, &value);
    EXPECT_EQ(cause == 0, (is.controls >> number & 1) != 0);
    EXPECT_EQ(std::isnan(control.neutral), (control.flags & KXCAM_CONTROL_VIEW) != 0);
    EXPECT_EQ(kxcam_set(0, control.name, control.maximum + 1), KXCAM_ERROR_ARGUMENT);
    EXPECT_EQ(kxcam_set(0, control.name, std::nan("")), KXCAM_ERROR_ARGUMENT);
    if (cause != 0 || std::isnan(control.neutral)) continue;
    EXPECT_EQ(kxcam_set(0, control.name, control.neutral), 0);
    EXPECT_EQ(kxcam_get(0, control.name, &value), 0);
    EXPECT_NEAR(value, control.neutral, 1e-9);
    const bool whole = (control.flags & KXCAM_CONTROL_WHOLE) != 0;
    EXPECT_TRUE(!whole || kxcam_set(0, control.name, control.minimum + 0.5) == KXCAM_ERROR_ARGUMENT);
  }
  EXPECT_EQ(kxcam_get_control(number, &control, sizeof control), KXCAM_ERROR_ARGUMENT);
  double value = 0;
  EXPECT_EQ(kxcam_get(0, "none", &value), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(kxcam_get(3, "gain", &value), KXCAM_ERROR_NOT_OPEN);
  ASSERT_EQ(kxcam_set(0, "rotate-90", 1), 0);
  EXPECT_EQ(image_size(), std::pair(540, 720));
}

/// The next event of kxcam_watch().
kxcam_bus_event next_event(int fd) {
  pollfd wanted{.fd = fd, .events = POLLIN, .revents = 0};
  kxcam_bus_event event{};
  EXPECT_EQ(poll(&wanted, 1, 60'000), 1);
  EXPECT_EQ(kxcam_next_event(&event, sizeof event), 0);
  return event;
}

TEST_F(Cameras, ThatComeAndGoAreReported) {
  const auto first = plug_serial("AAAAAAAAAAAA");
  int fd = -1;
  ASSERT_EQ(kxcam_watch(true, &fd), 0);
  const auto expect = [watch = fd](int arrived, const char* serial) {
    const kxcam_bus_event event = next_event(watch);
    EXPECT_EQ(event.arrived, arrived);
    EXPECT_STREQ(event.serial, serial);
    EXPECT_EQ(event.product_id, 0x3600);
    EXPECT_STREQ(event.model, "Model 0.3MP-C");
    EXPECT_EQ(event.usb_speed, 5000);
    return std::string(event.port);
  };
  const std::string port = expect(1, "AAAAAAAAAAAA");
  const auto second = plug_serial("BBBBBBBBBBBB");
  EXPECT_NE(expect(1, "BBBBBBBBBBBB"), port);
  ASSERT_EQ(kxcam_open("BBBBBBBBBBBB", &fd), 0);
  bus_.unplug(*first);
  EXPECT_EQ(expect(0, "AAAAAAAAAAAA"), port);
  kxcam_bus_event none{};
  EXPECT_EQ(kxcam_next_event(&none, sizeof none), KXCAM_ERROR_NO_FRAME);
  EXPECT_EQ(kxcam_watch(false, nullptr), 0);
  EXPECT_EQ(kxcam_watch(false, nullptr), 0);
}

TEST_F(Cameras, ThatComeAndGoBesideAStreamAreReportedToo) {
  const auto streaming = open("3600");
  const auto other = plug_serial("BBBBBBBBBBBB");
  int fd = -1;
  ASSERT_EQ(kxcam_watch(true, &fd), 0);
  next_event(fd);
  next_event(fd);
  std::atomic<bool> done = false;
  std::thread taker([&] {
    Bytes image(720 * 540);
    while (!done)
      EXPECT_EQ(kxcam_query(0, image.data(), image.size(), KXCAM_FORMAT_RAW, -1, 0, nullptr, 0), 0);
  });
  // Events are handled by whichever thread waits for its transfer just then.
  for (int n = 0; n < 50; ++n) {
    bus_.unplug(*other);
    EXPECT_EQ(next_event(fd).arrived, 0);
    bus_.plug(other);
    const kxcam_bus_event event = next_event(fd);
    EXPECT_EQ(event.arrived, 1);
    EXPECT_STREQ(event.serial, "BBBBBBBBBBBB");
  }
  done = true;
  taker.join();
  EXPECT_EQ(kxcam_watch(false, nullptr), 0);
  kxcam_statistics now{};
  kxcam_get_statistics(0, &now, sizeof now);
  EXPECT_EQ(now.ended, now.delivered + static_cast<uint64_t>(now.waiting)) << "a frame was lost";
  EXPECT_EQ(now.transfer_errors, 0U);
}

}  // namespace
}  // namespace kxcam::test
