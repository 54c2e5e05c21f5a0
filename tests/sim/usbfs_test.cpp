// SPDX-License-Identifier: Apache-2.0

// The virtual bus through the unmodified libusb: transfers, claims, limits.

#include <atomic>
#include <thread>

#include <dirent.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "device/fault_script.h"
#include "device/vendor_request.h"
#include "host.h"
#include "libusb_session.h"

namespace kxsim {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::ElementsAre;

class Usbfs : public LibusbSession {};

TEST_F(Usbfs, DevicesAreListedInTheOrderOfTheirPorts) {
  bus_.plug(make_camera("0x3500"));
  bus_.plug(make_camera("0x0500"), 9);
  bus_.plug(make_camera("0x392B,generic"));
  start();
  EXPECT_THAT(products(), ElementsAre(0x3500, 0x3FF0, 0x0500));
  EXPECT_THROW(bus_.plug(make_camera("0x3500"), 9), std::runtime_error);
  EXPECT_THROW(bus_.plug(bus_.cameras()[0]), std::runtime_error);
}

TEST_F(Usbfs, TimeOutsAreKept) {
  const auto camera = make_camera("0x3500");
  const auto handle = open_one(camera);
  ASSERT_TRUE(handle);
  camera->inject(parse_fault_script("request 1 timeout"));
  auto begin = steady_clock::now();
  EXPECT_EQ(ask(handle, kFirmwareVersion, 100), LIBUSB_ERROR_TIMEOUT);
  EXPECT_GE(steady_clock::now() - begin, milliseconds(99));
  EXPECT_LT(steady_clock::now() - begin, milliseconds(400));
  EXPECT_EQ(ask(handle, kFirmwareVersion), 4);

  unsigned char data[1024];
  int transferred = -1;
  begin = steady_clock::now();
  EXPECT_EQ(libusb_bulk_transfer(handle.get(), 0x81, data, sizeof data, &transferred, 100),
            LIBUSB_ERROR_TIMEOUT);
  EXPECT_EQ(transferred, 0);
  EXPECT_GE(steady_clock::now() - begin, milliseconds(99));
}

TEST_F(Usbfs, ATimeOutCanCarryData) {
  const auto camera = make_camera("0x304B,fps=0");
  camera->set_frame_source(fill_with_pattern);
  camera->inject(parse_fault_script("frame 1 unended 1024; stream ends after 1"));
  const auto handle = open_one(camera);
  ASSERT_TRUE(handle);
  ask(handle, kStartStream);
  std::vector<unsigned char> data(640 * 480 + 1024);
  int transferred = 0;
  EXPECT_EQ(
      libusb_bulk_transfer(handle.get(), 0x81, data.data(), static_cast<int>(data.size()), &transferred, 300),
      LIBUSB_ERROR_TIMEOUT);
  EXPECT_EQ(transferred, 640 * 480 - 1024);
}

TEST_F(Usbfs, AResetEndsAPendingRead) {
  const auto camera = make_camera("0x3500");
  const auto handle = open_one(camera);
  ASSERT_TRUE(handle);
  std::thread resetter([&] {
    EXPECT_TRUE(eventually([&] { return camera->counters().bulk_reads == 1; }));
    EXPECT_EQ(libusb_reset_device(handle.get()), 0);
  });
  unsigned char data[1024];
  int transferred = 0;
  EXPECT_EQ(libusb_bulk_transfer(handle.get(), 0x81, data, sizeof data, &transferred, 10000),
            LIBUSB_ERROR_IO);
  resetter.join();
}

TEST_F(Usbfs, OneHandleHasTheInterface) {
  const auto camera = make_camera("0x3500");
  const auto first = open_one(camera);
  auto second = open();
  ASSERT_TRUE(first && second);
  EXPECT_EQ(libusb_claim_interface(first.get(), 0), 0);
  EXPECT_EQ(libusb_claim_interface(first.get(), 1), LIBUSB_ERROR_NOT_FOUND);
  EXPECT_EQ(libusb_claim_interface(second.get(), 0), LIBUSB_ERROR_BUSY);
  unsigned char data[1024];
  int transferred = 0;
  EXPECT_EQ(libusb_bulk_transfer(second.get(), 0x81, data, sizeof data, &transferred, 100), LIBUSB_ERROR_IO)
      << "libusb's name for a busy interface here";
  EXPECT_EQ(ask(second, kFirmwareVersion), 4) << "requests need no claim";
  EXPECT_EQ(libusb_release_interface(first.get(), 0), 0);
  EXPECT_EQ(libusb_claim_interface(second.get(), 0), 0);
  second.reset();
  EXPECT_EQ(libusb_claim_interface(first.get(), 0), 0) << "closing releases";
  camera->inject({.claim_busy = true});
  EXPECT_EQ(libusb_release_interface(first.get(), 0), 0);
  EXPECT_EQ(libusb_claim_interface(first.get(), 0), LIBUSB_ERROR_BUSY);
}

TEST_F(Usbfs, NodesAreCountedAndMayBeRefused) {
  const auto camera = make_camera("0x3500");
  const auto opened_before = bus_.nodes_opened();
  auto first = open_one(camera);
  auto second = open();
  EXPECT_EQ(bus_.open_nodes(), 2U);
  first.reset();
  EXPECT_EQ(bus_.open_nodes(), 1U);
  EXPECT_EQ(bus_.nodes_opened() - opened_before, 2U);
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

TEST_F(Usbfs, ClosingWithAReadPendingInAnotherThread) {
  const auto camera = make_camera("0x3500");
  const auto handle = open_one(camera);
  ASSERT_TRUE(handle);
  std::thread reader([&] {
    unsigned char data[1024];
    int transferred = 0;
    EXPECT_EQ(libusb_bulk_transfer(handle.get(), 0x81, data, sizeof data, &transferred, 50),
              LIBUSB_ERROR_TIMEOUT);
  });
  EXPECT_TRUE(eventually([&] { return camera->counters().bulk_reads == 1; }));
  Handle(open()).reset();
  EXPECT_EQ(bus_.open_nodes(), 1U) << "another handle of the device closed meanwhile";
  reader.join();
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
  EXPECT_GE(file, 0);
  EXPECT_EQ(close(file), 0);
  EXPECT_EQ(unlink(path.c_str()), 0);
}

// What a libusb without libudev looks through.
TEST_F(Usbfs, FoldersListTheBus) {
  const auto list = [](const char* path) {
    std::vector<std::string> names;
    DIR* const folder = opendir(path);
    while (const auto* entry = folder == nullptr ? nullptr : readdir64(folder)) {
      if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
    }
    EXPECT_EQ(closedir(folder), 0);
    return names;
  };
  bus_.plug(make_camera("0x3500"), 3);
  bus_.plug(make_camera("0x3500"), 7);
  EXPECT_THAT(list("/sys/bus/usb/devices"), testing::ElementsAre("1-3", "1-7"));
  EXPECT_THAT(list("/dev/bus/usb/"), testing::ElementsAre("001"));
  EXPECT_EQ(list("/dev/bus/usb/001").size(), 2U);
  EXPECT_THAT(list("/proc/self"), testing::Contains("exe"));
}

TEST_F(Usbfs, AForkedChildDoesNotDisturbItsParent) {
  const auto camera = make_camera("0x3500");
  const auto handle = open_one(camera);
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

}  // namespace
}  // namespace kxsim
