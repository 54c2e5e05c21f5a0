// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <libusb.h>

#include "eventually.h"
#include "usbfs/virtual_bus.h"

namespace kxsim {

using kxcam::test::eventually;

struct CloseHandle {
  void operator()(libusb_device_handle* handle) const { libusb_close(handle); }
};
using Handle = std::unique_ptr<libusb_device_handle, CloseHandle>;

inline std::shared_ptr<SimulatedCamera> make_camera(const char* description) {
  return std::make_shared<SimulatedCamera>(parse_camera_options(description));
}

/// A libusb context on an empty virtual bus.
class LibusbSession : public testing::Test {
 protected:
  void TearDown() override {
    stop();
    EXPECT_EQ(bus_.open_nodes(), 0U) << "no test may leave a node open";
    EXPECT_EQ(bus_.memory().used(), 0U);
    bus_.unplug_all();
    bus_.memory().set_limit(MemoryBudget::kKernelDefault);
  }

  void start() { ASSERT_EQ(libusb_init(&context_), 0); }
  void stop() {
    if (context_ != nullptr) libusb_exit(context_);
    context_ = nullptr;
  }

  /// Opens the n-th device; `error` takes libusb's code.
  Handle open(size_t number = 0, int* error = nullptr) {
    libusb_device** list = nullptr;
    libusb_device_handle* handle = nullptr;
    const auto count = libusb_get_device_list(context_, &list);
    int result = LIBUSB_ERROR_NOT_FOUND;
    if (count > static_cast<ssize_t>(number)) result = libusb_open(list[number], &handle);
    if (count >= 0) libusb_free_device_list(list, 1);
    if (error != nullptr) *error = result;
    return Handle(handle);
  }

  /// Plugs in one camera, starts libusb and opens it.
  Handle open_one(const std::shared_ptr<SimulatedCamera>& camera) {
    bus_.plug(camera);
    start();
    return open();
  }

  static int read(const Handle& handle, int length, unsigned timeout, int* transferred = nullptr) {
    std::vector<unsigned char> data(static_cast<size_t>(length));
    int ignored = 0;
    return libusb_bulk_transfer(handle.get(), 0x81, data.data(), length,
                                transferred == nullptr ? &ignored : transferred, timeout);
  }
  static int ask(const Handle& handle, uint8_t request, unsigned timeout = 1000) {
    unsigned char reply[10];
    return libusb_control_transfer(handle.get(), 0xC0, request, 0, 0, reply, sizeof reply, timeout);
  }

  VirtualBus& bus_ = VirtualBus::instance();
  libusb_context* context_ = nullptr;
};

}  // namespace kxsim
