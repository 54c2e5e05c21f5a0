// SPDX-License-Identifier: Apache-2.0

// The device's side of the usbredir protocol against the protocol library's own host side.

#include "usbredir/redirection.h"

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "device/descriptors.h"
#include "device/fault_script.h"
#include "device/vendor_request.h"
#include "eventually.h"
#include "numbered_frame.h"
#include "redirection_peer.h"
#include "usbredir/camera_port.h"

namespace kxsim {
namespace {

using kxcam::test::eventually;
using testing::ElementsAre;

constexpr ControlSetup kAskFirmware{0xC0, kFirmwareVersion, 0, 0, 10};
constexpr ControlSetup kStart{0xC0, kStartStream, 0, 0, 10};
constexpr size_t kFrame = 640 * 480;  // of 0x304B

constexpr ControlSetup descriptor(uint8_t type, uint8_t number = 0) {
  return {0x80, 6, static_cast<uint16_t>(type << 8 | number), 0, 255};
}

/// A camera and a host that it is led to, in one thread.
class RedirectionTest : public testing::Test {
 protected:
  void start(const char* description, bool acknowledges = true) {
    device_.reset();
    ended_ = false;
    camera_.emplace(parse_camera_options(description));
    camera_->power_up();
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
    device_.emplace(*camera_, FileDescriptor(ends[0]), true);
    host_.emplace(FileDescriptor(ends[1]), acknowledges);
    ASSERT_TRUE(until([&] { return host_->device.has_value(); }));
  }

  /// Lets both sides work until it holds; false when it does not in good time, or the connection ends.
  bool until(const std::function<bool()>& holds) {
    bool held = false;
    eventually([&] { return ended_ || (held = holds()) || !host_->serve() || (ended_ = !device_->serve()); });
    return held;
  }

  std::optional<RedirectionPeer::Reply> reply_to(uint64_t id) {
    std::optional<RedirectionPeer::Reply> reply;
    until([&] { return (reply = host_->take_reply(id)).has_value(); });
    return reply;
  }
  RedirectionPeer::Reply control(const ControlSetup& setup, std::vector<uint8_t> data = {}) {
    return reply_to(host_->control(setup, std::move(data))).value();
  }
  RedirectionPeer::Reply bulk(uint32_t length) { return reply_to(host_->bulk(0x81, length)).value(); }
  /// Lets everything that was sent arrive.
  void settle() { control(kAskFirmware); }

  std::optional<SimulatedCamera> camera_;
  std::optional<Redirection> device_;
  std::optional<RedirectionPeer> host_;
  bool ended_ = false;
};

TEST_F(RedirectionTest, TheAnnouncementAgreesWithTheDescriptors) {
  for (const char* description : {"3500", "0500", "392B,generic", "3500,speed=high"}) {
    SCOPED_TRACE(description);
    start(description);
    const bool super = camera_->options().speed == UsbSpeed::kSuper;
    EXPECT_EQ(host_->device->speed, super ? usb_redir_speed_super : usb_redir_speed_high);
    const auto device = control(descriptor(1)).bytes;
    EXPECT_EQ(device, device_descriptor(camera_->options()));
    EXPECT_EQ(int{host_->device->vendor_id}, device[8] | device[9] << 8);
    EXPECT_EQ(int{host_->device->product_id}, device[10] | device[11] << 8);
    const auto configuration = control(descriptor(2)).bytes;
    ASSERT_GE(configuration.size(), 25U);
    EXPECT_LE(configuration[8] * (super ? 8 : 2), 500) << "milliamperes";
    const size_t bulk = 16 + (configuration[20] & 0x0F);
    EXPECT_EQ(host_->endpoints->type[bulk], usb_redir_type_bulk);
    EXPECT_EQ(int{host_->endpoints->max_packet_size[bulk]}, configuration[22] | configuration[23] << 8);
    const bool newer_than_2_0 = device[3] > 2 || device[2] > 0;
    const auto store = control(descriptor(15));
    EXPECT_EQ(store.status, newer_than_2_0 ? usb_redir_success : usb_redir_stall);
    if (newer_than_2_0) {
      EXPECT_EQ(store.bytes[2], store.bytes.size());
      EXPECT_EQ(store.bytes[8], 0x02) << "link power management";
    }
  }
}

TEST_F(RedirectionTest, RequestsAreAnsweredRefusedOrCancelled) {
  start("0x304B");
  EXPECT_THAT(control(kAskFirmware).bytes, ElementsAre(0, 0, 0x83, 0x10));
  const auto page = kxcam::test::numbered(1, 256);
  control({0x40, kFlashPrepare, 1, 6, 0});
  EXPECT_EQ(control({0x40, kFlashWrite, 0, 0x600, 256}, page).status, usb_redir_success);
  EXPECT_EQ(control({0xC0, kFlashRead, 0, 0x600, 256}).bytes, page);
  EXPECT_EQ(control({0xC0, kEepromRead, 0, 0x2000, 10}).status, usb_redir_stall);
  camera_->inject(parse_fault_script("request 1 of B3 timeout"));
  const auto unanswered = host_->control(kAskFirmware);
  const auto read = host_->bulk(0x81, 4096);
  settle();
  EXPECT_FALSE(host_->take_reply(unanswered) || host_->take_reply(read));
  for (const uint64_t id : {read, unanswered, uint64_t{12345}}) host_->cancel(id);
  EXPECT_EQ(reply_to(unanswered)->status, usb_redir_cancelled);
  EXPECT_EQ(reply_to(read)->status, usb_redir_cancelled);
}

TEST_F(RedirectionTest, ResetUnpluggingAndPluggingInReachTheOtherSide) {
  for (const bool acknowledges : {true, false}) {
    start("0x304B", acknowledges);
    control(kStart);
    host_->reset();
    settle();
    EXPECT_EQ(camera_->counters().resets, 1U);
    const auto read = host_->bulk(0x81, 4096);
    settle();
    camera_->power_down();
    device_->unplug();
    EXPECT_FALSE(device_->attached());
    camera_->power_up();
    device_->plug();
    ASSERT_TRUE(until([&] { return host_->connects == 2; }));
    EXPECT_EQ(host_->disconnects, 1);
    EXPECT_FALSE(host_->take_reply(read)) << "it has gone with the device";
    EXPECT_EQ(control(kAskFirmware).status, usb_redir_success);
  }
}

TEST_F(RedirectionTest, WhatNobodyMayAskForIsRefused) {
  start("0x304B");
  EXPECT_EQ(bulk(100 << 20).status, usb_redir_inval);
  EXPECT_EQ(reply_to(host_->bulk(0x82, 4096))->status, usb_redir_inval);
  // Together they may not ask for more either.
  std::vector<uint64_t> reads;
  for (int i = 0; i < 9; ++i) reads.push_back(host_->bulk(0x81, 8 << 20));
  EXPECT_EQ(reply_to(reads.back())->status, usb_redir_inval);
  EXPECT_FALSE(host_->take_reply(reads[7]));
  for (const auto id : reads) host_->cancel(id);
  settle();
  for (size_t i = 0; i < Redirection::kMostRequests; ++i) host_->bulk(0x81, 512);
  EXPECT_EQ(reply_to(host_->bulk(0x81, 512))->status, usb_redir_inval);
  EXPECT_FALSE(ended_);
}

TEST_F(RedirectionTest, APeerThatBreaksTheProtocolIsLeft) {
  start("0x304B");
  for (int i = 0; i < 2; ++i) {
    host_->number_next(7);
    host_->bulk(0x81, 4096);
  }
  until([&] { return ended_; });
  EXPECT_TRUE(ended_) << "two requests of one number";
  start("0x304B");
  host_->send_raw(std::vector<uint8_t>(64, 0xEE));
  until([&] { return ended_; });
  EXPECT_TRUE(ended_) << "no packet";
}

TEST_F(RedirectionTest, APeerThatDoesNotReadIsNotReadFrom) {
  start("0x392B,fps=0");
  camera_->set_frame_source([](const FrameRequest&, std::span<uint8_t>) {});
  control(kStart);
  EXPECT_TRUE(eventually([&] {
    host_->bulk(0x81, 8 << 20);
    host_->write();
    EXPECT_TRUE(device_->serve());
    return device_->events() == POLLOUT;
  })) << "what is not read waits in the buffers of this side";
  EXPECT_TRUE(until([&] { return device_->events() == POLLIN; })) << "reading helps";
}

/// A port with its socket in a folder of its own, and hosts that connect to it.
class CameraPortTest : public testing::Test {
 protected:
  CameraPortTest() {
    std::string name = testing::TempDir() + "port-XXXXXX";
    folder_ = mkdtemp(name.data());
    path_ = folder_ / "camera.sock";
    port_.emplace(parse_camera_options("0x304B,fps=0"), path_);
  }
  ~CameraPortTest() override {
    port_.reset();
    EXPECT_FALSE(std::filesystem::exists(path_));
    std::filesystem::remove_all(folder_);
  }
  CameraPortTest(const CameraPortTest&) = delete;
  CameraPortTest& operator=(const CameraPortTest&) = delete;

  void connect_host() {
    FileDescriptor end(socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.string().copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(connect(end.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    host_.emplace(std::move(end));
  }

  bool until(const std::function<bool()>& holds) {
    return eventually([&] {
      port_->serve();
      if (host_) host_->serve();
      return holds();
    });
  }

  std::filesystem::path folder_;
  std::filesystem::path path_;
  std::optional<CameraPort> port_;
  std::optional<RedirectionPeer> host_;
};

TEST_F(CameraPortTest, OneHostAfterTheOtherAndAfterAFaultPulledThePlug) {
  EXPECT_EQ(port_->state(), CameraPort::State::kNoHost);
  for (int i = 0; i < 2; ++i) {
    port_->camera().inject(parse_fault_script("unplug after 1 frames back after 10ms"));
    connect_host();
    ASSERT_TRUE(until([&] { return host_->device.has_value(); }));
    EXPECT_EQ(port_->state(), CameraPort::State::kAttached);
    host_->control(kStart);
    host_->bulk(0x81, kFrame + 1024);
    ASSERT_TRUE(until([&] { return host_->disconnects == 1 && host_->connects == 2; }));
    const auto id = host_->control(kAskFirmware);
    EXPECT_TRUE(until([&] { return host_->take_reply(id).has_value(); }));
    host_.reset();
    ASSERT_TRUE(until([&] { return port_->state() == CameraPort::State::kNoHost; }));
    EXPECT_FALSE(port_->camera().powered());
  }
}

TEST_F(CameraPortTest, TheSocketIsTakenOverOnlyFromTheDead) {
  EXPECT_THROW(ListeningSocket second(path_), std::runtime_error);
  const auto file = folder_ / "file";
  std::ofstream(file) << "precious";
  EXPECT_THROW(ListeningSocket second(file), std::runtime_error);
  EXPECT_THROW(ListeningSocket second(folder_ / std::string(200, 'x')), std::runtime_error);

  const auto abandoned = folder_ / "abandoned";
  std::filesystem::create_hard_link(path_, abandoned);
  port_.reset();
  EXPECT_NO_THROW(ListeningSocket second(abandoned));
}

}  // namespace
}  // namespace kxsim
