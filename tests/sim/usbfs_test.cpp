// SPDX-License-Identifier: Apache-2.0

// The virtual bus through the unmodified libusb: transfers, claims, limits, cables pulled and plugged.

#include <atomic>
#include <functional>
#include <thread>

#include <dirent.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <libusb.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "device/fault_script.h"
#include "device/vendor_request.h"
#include "eventually.h"
#include "usbfs/virtual_bus.h"

namespace kxsim {
namespace {

using kxcam::test::eventually;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::ElementsAre;

constexpr int kRoom = 640 * 480 + 1024;  // for a frame of 0x304B

struct CloseHandle {
  void operator()(libusb_device_handle* handle) const { libusb_close(handle); }
};
using Handle = std::unique_ptr<libusb_device_handle, CloseHandle>;

std::shared_ptr<SimulatedCamera> make_camera(const char* description) {
  return std::make_shared<SimulatedCamera>(parse_camera_options(description));
}

/// A libusb context on an empty virtual bus.
class Usbfs : public testing::Test {
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

TEST_F(Usbfs, TimeOutsAreKeptAndCanCarryData) {
  const auto camera = make_camera("304B,fps=0");
  const auto handle = open_one(camera);
  ASSERT_TRUE(handle);
  camera->inject(parse_fault_script("request 1 timeout; frame 1 unended 1024; stream ends after 1"));
  const auto begin = steady_clock::now();
  EXPECT_EQ(ask(handle, kFirmwareVersion, 100), LIBUSB_ERROR_TIMEOUT);
  EXPECT_GE(steady_clock::now() - begin, milliseconds(99));
  EXPECT_EQ(ask(handle, kFirmwareVersion), 4);
  int transferred = -1;
  EXPECT_EQ(read(handle, kRoom, 100, &transferred), LIBUSB_ERROR_TIMEOUT);
  EXPECT_EQ(transferred, 0);
  EXPECT_GE(steady_clock::now() - begin, milliseconds(198));
  ask(handle, kStartStream);
  EXPECT_EQ(read(handle, kRoom, 1000, &transferred), LIBUSB_ERROR_TIMEOUT);
  EXPECT_EQ(transferred, 640 * 480 - 1024);
}

TEST_F(Usbfs, ResetAndPulledCableEndAPendingReadAtOnce) {
  const auto camera = make_camera("304B");
  const auto handle = open_one(camera);
  ASSERT_TRUE(handle);
  const auto disturbed_read = [&](uint64_t number, const std::function<void()>& disturb) {
    std::thread other([&] {
      EXPECT_TRUE(eventually([&] { return camera->counters().bulk_reads == number; }));
      disturb();
    });
    const int result = read(handle, kRoom, 120'000);
    other.join();
    return result;
  };
  EXPECT_EQ(disturbed_read(1, [&] { EXPECT_EQ(libusb_reset_device(handle.get()), 0); }), LIBUSB_ERROR_IO);
  EXPECT_EQ(disturbed_read(2, [&] { bus_.unplug(*camera); }), LIBUSB_ERROR_NO_DEVICE);
  EXPECT_EQ(ask(handle, kFirmwareVersion), LIBUSB_ERROR_NO_DEVICE);
  EXPECT_EQ(read(handle, kRoom, 100), LIBUSB_ERROR_NO_DEVICE);
  EXPECT_EQ(libusb_claim_interface(handle.get(), 0), LIBUSB_ERROR_NO_DEVICE);
  EXPECT_NE(libusb_reset_device(handle.get()), 0);
}

TEST_F(Usbfs, OneHandleHasTheInterfaceAndAllAreCounted) {
  const auto opened_before = bus_.nodes_opened();
  const auto camera = make_camera("0x3500");
  const auto first = open_one(camera);
  auto second = open();
  ASSERT_TRUE(first && second);
  EXPECT_EQ(libusb_claim_interface(first.get(), 0), 0);
  EXPECT_EQ(libusb_claim_interface(first.get(), 1), LIBUSB_ERROR_NOT_FOUND);
  EXPECT_EQ(libusb_claim_interface(second.get(), 0), LIBUSB_ERROR_BUSY);
  EXPECT_EQ(read(second, kRoom, 100), LIBUSB_ERROR_IO) << "libusb's name for a busy interface here";
  EXPECT_EQ(ask(second, kFirmwareVersion), 4) << "requests need no claim";
  EXPECT_EQ(libusb_release_interface(first.get(), 0), 0);
  EXPECT_EQ(libusb_claim_interface(second.get(), 0), 0);
  EXPECT_EQ(bus_.open_nodes(), 2U);
  second.reset();
  EXPECT_EQ(bus_.open_nodes(), 1U);
  EXPECT_EQ(libusb_claim_interface(first.get(), 0), 0) << "closing releases";
  camera->inject({.claim_busy = true});
  EXPECT_EQ(libusb_release_interface(first.get(), 0), 0);
  EXPECT_EQ(libusb_claim_interface(first.get(), 0), LIBUSB_ERROR_BUSY);
  camera->inject({.open_denied = true});
  int error = 0;
  EXPECT_FALSE(open(0, &error));
  EXPECT_EQ(error, LIBUSB_ERROR_ACCESS);
  EXPECT_EQ(bus_.nodes_opened() - opened_before, 2U);
}

TEST_F(Usbfs, PendingReadsShareTheKernelsMemory) {
  const auto handle = open_one(make_camera("0x392B"));
  ASSERT_TRUE(handle);
  std::vector<unsigned char> data(0x800000);
  std::atomic<int> finished{0};
  const auto submit = [&] {
    auto* const transfer = libusb_alloc_transfer(0);
    transfer->flags = LIBUSB_TRANSFER_FREE_TRANSFER;
    libusb_fill_bulk_transfer(
        transfer, handle.get(), 0x81, data.data(), static_cast<int>(data.size()),
        [](libusb_transfer* done) { ++*static_cast<std::atomic<int>*>(done->user_data); }, &finished, 200);
    const int result = libusb_submit_transfer(transfer);
    if (result != 0) libusb_free_transfer(transfer);
    return result;
  };
  EXPECT_EQ(submit(), 0);
  EXPECT_EQ(submit(), LIBUSB_ERROR_NO_MEM) << "two of 8 MiB are more than the 16 MiB there are";
  bus_.memory().set_limit(64U << 20);
  EXPECT_EQ(submit(), 0);
  while (finished < 2) ASSERT_EQ(libusb_handle_events(context_), 0);
}

TEST_F(Usbfs, OtherFilesAreLeftAlone) {
  const auto handle = open_one(make_camera("0x3500"));
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  ASSERT_EQ(write(ends[1], "abc", 3), 3);
  int waiting = 0;
  EXPECT_EQ(ioctl(ends[0], FIONREAD, &waiting), 0);
  EXPECT_EQ(waiting, 3);
  EXPECT_EQ(close(ends[0]), 0);
  EXPECT_EQ(close(ends[1]), 0);
  EXPECT_EQ(close(ends[1]), -1);
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(::open("/sys/bus/usb/devices/usb1/busnum", O_RDONLY), -1) << "the machine's own bus is hidden";
  const int attribute = ::open64("/sys/bus/usb/devices/1-1/busnum", O_RDONLY);
  EXPECT_GE(attribute, 0) << "by the name for 64-bit file offsets";
  EXPECT_EQ(close(attribute), 0);
  const std::string path = testing::TempDir() + "kxsim_open_test";
  const int file = ::open(path.c_str(), O_CREAT | O_WRONLY | O_EXCL, 0600);
  EXPECT_EQ(close(file), 0);
  EXPECT_EQ(unlink(path.c_str()), 0);
}

// What a libusb without libudev looks through.
TEST_F(Usbfs, FoldersListTheBusByPort) {
  const auto list = [](const char* path) {
    std::vector<std::string> names;
    DIR* const folder = opendir(path);
    while (const auto* entry = folder == nullptr ? nullptr : readdir64(folder)) {
      if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
    }
    EXPECT_EQ(closedir(folder), 0);
    return names;
  };
  bus_.plug(make_camera("0x3500"), 7);
  bus_.plug(make_camera("0x3500"), 3);
  EXPECT_THROW(bus_.plug(make_camera("0x3500"), 3), std::runtime_error);
  EXPECT_THROW(bus_.plug(bus_.cameras()[0]), std::runtime_error);
  EXPECT_THAT(list("/sys/bus/usb/devices"), ElementsAre("1-3", "1-7"));
  EXPECT_THAT(list("/dev/bus/usb/"), ElementsAre("001"));
  EXPECT_EQ(list("/dev/bus/usb/001").size(), 2U);
  EXPECT_THAT(list("/proc/self"), testing::Contains("exe"));
}

TEST_F(Usbfs, AForkedChildDoesNotDisturbItsParent) {
  const auto handle = open_one(make_camera("0x3500"));
  ASSERT_TRUE(handle);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    for (int descriptor = 3; descriptor < 256; ++descriptor) close(descriptor);
    _exit(7);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(WEXITSTATUS(status), 7);
  EXPECT_EQ(ask(handle, kFirmwareVersion), 4);
}

TEST_F(Usbfs, ARepluggedCameraIsAnotherDevice) {
  const auto camera = make_camera("304B,fps=0");
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
  EXPECT_EQ(read(fresh, kRoom, 50), LIBUSB_ERROR_TIMEOUT) << "the stream stopped with the power";
}

TEST_F(Usbfs, ACameraPluggedWhileAFaultUnplugsItStays) {
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

}  // namespace
}  // namespace kxsim
