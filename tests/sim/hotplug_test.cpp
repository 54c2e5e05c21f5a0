// SPDX-License-Identifier: Apache-2.0

// Cables pulled and plugged, through the unmodified libusb.

#include <atomic>
#include <thread>

#include <gmock/gmock.h>

#include "device/fault_script.h"
#include "device/vendor_request.h"
#include "libusb_session.h"

namespace kxsim {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::ElementsAre;
using testing::IsEmpty;

class Hotplug : public LibusbSession {
 protected:
  static int read(const Handle& handle, unsigned timeout) {
    std::vector<unsigned char> data(640 * 480 + 1024);
    int transferred = 0;
    return libusb_bulk_transfer(handle.get(), 0x81, data.data(), static_cast<int>(data.size()), &transferred,
                                timeout);
  }
};

TEST_F(Hotplug, UnpluggingEndsAPendingReadAtOnce) {
  const auto camera = make_camera("0x304B");
  const auto handle = open_one(camera);
  ASSERT_TRUE(handle);
  std::thread puller([&] {
    EXPECT_TRUE(eventually([&] { return camera->counters().bulk_reads == 1; }));
    bus_.unplug(*camera);
  });
  const auto begin = steady_clock::now();
  EXPECT_EQ(read(handle, 20000), LIBUSB_ERROR_NO_DEVICE);
  EXPECT_LT(steady_clock::now() - begin, milliseconds(5000));
  puller.join();
  EXPECT_EQ(ask(handle, kFirmwareVersion), LIBUSB_ERROR_NO_DEVICE);
  EXPECT_EQ(read(handle, 100), LIBUSB_ERROR_NO_DEVICE);
  EXPECT_EQ(libusb_claim_interface(handle.get(), 0), LIBUSB_ERROR_NO_DEVICE);
  EXPECT_NE(libusb_reset_device(handle.get()), 0);
}

TEST_F(Hotplug, AReplugedCameraIsAnotherDevice) {
  const auto camera = make_camera("0x304B,fps=0");
  const auto old = open_one(camera);
  ASSERT_TRUE(old);
  ASSERT_EQ(ask(old, kStartStream), 1);
  const auto address = libusb_get_device_address(libusb_get_device(old.get()));
  bus_.replug(camera, 5);
  Handle fresh;
  ASSERT_TRUE(eventually([&] {
    fresh = open();
    return fresh && libusb_get_device_address(libusb_get_device(fresh.get())) != address;
  }));
  EXPECT_EQ(libusb_get_port_number(libusb_get_device(fresh.get())), 5);
  EXPECT_EQ(ask(old, kFirmwareVersion), LIBUSB_ERROR_NO_DEVICE);
  EXPECT_EQ(read(fresh, 50), LIBUSB_ERROR_TIMEOUT) << "the stream stopped with the power";
  EXPECT_EQ(ask(fresh, kStartStream), 1);
  EXPECT_EQ(read(fresh, 3000), 0);
}

TEST_F(Hotplug, ACameraTakenAwayDoesNotComeBackByItself) {
  const auto camera = make_camera("0x304B");
  camera->inject(parse_fault_script("unplug after 1 requests back after 60ms"));
  const auto handle = open_one(camera);
  ASSERT_TRUE(handle);
  ask(handle, kGetGpio);
  ASSERT_TRUE(eventually([&] { return bus_.cameras().empty(); }));
  bus_.unplug(*camera);
  std::this_thread::sleep_for(milliseconds(120));
  EXPECT_THAT(bus_.cameras(), IsEmpty());
  EXPECT_FALSE(camera->powered());
}

TEST_F(Hotplug, ACameraPluggedWhileAFaultUnplugsItStays) {
  const auto camera = make_camera("0x304B,fps=0");
  bus_.plug(camera);
  for (int i = 0; i < 5000; ++i) {
    camera->inject(parse_fault_script("unplug at 0ms back after 0ms"));
    bus_.unplug(*camera);
    camera->clear_faults();
    ASSERT_FALSE(camera->powered());
    bus_.plug(camera);
    std::this_thread::yield();  // to what the camera has still to tell of the fault
    ASSERT_TRUE(camera->powered());
    ASSERT_EQ(bus_.cameras().size(), 1U);
  }
}

TEST_F(Hotplug, CallbacksComeForBoth) {
  start();
  struct Seen {
    std::atomic<int> arrived{0};
    std::atomic<int> left{0};
  } seen;
  libusb_hotplug_callback_handle callback = 0;
  const auto count = [](libusb_context*, libusb_device*, libusb_hotplug_event event, void* data) {
    auto& counters = *static_cast<Seen*>(data);
    ++(event == LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED ? counters.arrived : counters.left);
    return 0;
  };
  ASSERT_EQ(libusb_hotplug_register_callback(
                context_, LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED | LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT, 0, 0xA7B7,
                LIBUSB_HOTPLUG_MATCH_ANY, LIBUSB_HOTPLUG_MATCH_ANY, count, &seen, &callback),
            0);
  const auto camera = make_camera("0x3500");
  const auto serve = [&](const std::atomic<int>& counter, int wanted) {
    return eventually([&] {
      timeval none{};
      libusb_handle_events_timeout_completed(context_, &none, nullptr);
      return counter == wanted;
    });
  };
  for (int round = 1; round <= 3; ++round) {
    bus_.plug(camera);
    EXPECT_TRUE(serve(seen.arrived, round));
    bus_.unplug(*camera);
    EXPECT_TRUE(serve(seen.left, round));
  }
  libusb_hotplug_deregister_callback(context_, callback);
}

TEST_F(Hotplug, PluggingAndPullingInAHurry) {
  start();
  const auto camera = make_camera("0x304B,fps=0");
  std::atomic<bool> stop{false};
  std::thread user([&] {
    while (!stop) {
      const auto handle = open();
      if (!handle) continue;
      ask(handle, kStartStream);
      read(handle, 1000);
    }
  });
  bus_.plug(camera);
  for (int i = 0; i < 40; ++i) {
    std::this_thread::sleep_for(milliseconds(i % 7));
    bus_.replug(camera);
  }
  stop = true;
  user.join();
  EXPECT_EQ(bus_.cameras().size(), 1U);
}

}  // namespace
}  // namespace kxsim
