// SPDX-License-Identifier: Apache-2.0
// Modules, handles and information: what a consumer may ask, and what none may break.
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <thread>
#include <utility>

#include "cameras_in_a_program.h"

namespace kxcam::test {
namespace {

class Modules : public CamerasInAProgram {
 protected:
  static size_t entries(const char* folder) {
    const std::filesystem::directory_iterator all(folder);
    return static_cast<size_t>(std::distance(begin(all), end(all)));
  }
};

enum Type : int32_t {
  kString = 1,
  kInt32 = 5,
  kUint32 = 6,
  kUint64 = 8,
  kPointer = 10,
  kBool8 = 11,
  kSize = 12
};

/// The types of the commands from 0 on; 0: must not be answered.
struct Information {
  const char* function;
  std::vector<int32_t> types;
};

TEST_F(Modules, TellEverythingWithItsTypeAndKeepToTheRoom) {
  plug("3600,serial=P,fps=0");
  ASSERT_NO_FATAL_FAILURE(open("P"));
  Acquisition pictures(producer_, device_, *camera_);
  pictures.announce(1);
  Handle buffer = nullptr;
  ASSERT_EQ(producer_.call("DSGetBufferID", pictures.stream(), 0U, &buffer), 0);
  const std::pair<Information, Handle> kAll[] = {
      {{"TLGetInfo",
        {kString, kString, kString, kString, kString, kString, kString, kString, kInt32, kUint32, kUint32}},
       system_},
      {{"IFGetInfo", {kString, kString, kString}}, interface_},
      {{"DevGetInfo",
        {kString, kString, kString, kString, kString, kInt32, kString, kString, kString, kUint64}},
       device_},
      {{"DSGetInfo",
        {kString, kUint64, kUint64, kSize, kSize, kSize, kUint64, kSize, kBool8, kBool8, kString, kSize,
         kSize, kSize}},
       pictures.stream()},
      {{"DSGetBufferInfo",
        {kPointer, kSize, kPointer, kUint64, kBool8, kBool8,  kBool8,  kBool8, kString, kSize,   kSize,
         kSize,    kSize, kSize,    kSize,   kSize,  kUint64, kBool8,  kSize,  kSize,   kUint64, kUint64,
         kSize,    kSize, 0,        0,       kInt32, kSize,   kUint64, kBool8, kBool8,  kBool8}},
       pictures.stream()},
      {{"GCGetPortInfo",
        {kString, kString, kString, kString, kString, kBool8, kBool8, kBool8, kBool8, kBool8, kBool8, kString,
         kString}},
       device_},
      {{"EventGetInfo", {kInt32, kSize, kUint64, kSize, kSize}}, pictures.event()},
  };
  for (const auto& [what, handle] : kAll) {
    const auto ask = [&, function = what.function, module = handle](int32_t command, int32_t* type,
                                                                    void* data, size_t* size) {
      if (std::string(function) == "DSGetBufferInfo")
        return producer_.call(function, module, buffer, command, type, data, size);
      return producer_.call(function, module, command, type, data, size);
    };
    for (int32_t command = -1; command < 1010; ++command) {
      SCOPED_TRACE(std::string(what.function) + " " + std::to_string(command));
      const bool listed = command >= 0 && static_cast<size_t>(command) < what.types.size();
      const int32_t expected = listed ? what.types[static_cast<size_t>(command)] : 0;
      int32_t type = -7;
      size_t size = 0xDEAD;  // not looked at without room
      const int32_t status = ask(command, &type, nullptr, &size);
      EXPECT_EQ(status, expected == 0 ? kNotImplemented : 0);
      if (status != 0) continue;
      EXPECT_EQ(type, expected);
      std::vector<uint8_t> room(size + 1, 0x5A);
      size_t exact = size;
      EXPECT_EQ(ask(command, nullptr, room.data(), &exact), 0);
      EXPECT_EQ(exact, size);
      EXPECT_EQ(room.back(), 0x5A);
      std::ranges::fill(room, uint8_t{0x5A});
      size_t less = size - 1;
      EXPECT_EQ(ask(command, &type, room.data(), &less), kBufferTooSmall);
      EXPECT_EQ(std::ranges::count(room, 0x5A), std::ssize(room));
      EXPECT_EQ(ask(command, &type, room.data(), nullptr), kInvalidParameter);
    }
  }
  EXPECT_EQ(info<uint64_t>(producer_, "DevGetInfo", 9, device_), 1'000'000'000U);
  EXPECT_EQ(text_info(producer_, "DevGetInfo", device_, 7), "P");
  EXPECT_EQ(text_info(producer_, "TLGetInfo", system_, 4), "Custom");
}

TEST_F(Modules, AnswerWrongCallsWithTheCodesThatConsumersExpect) {
  plug("3600,serial=P,fps=0");
  ASSERT_NO_FATAL_FAILURE(open("P"));
  Handle port = nullptr;
  ASSERT_EQ(producer_.call("DevGetPort", device_, &port), 0);
  Acquisition pictures(producer_, device_, *camera_);
  const Handle stream = pictures.stream();
  Handle made = nullptr;
  uint32_t count = 0;
  uint64_t eight = 0;
  size_t size = 8;
  uint8_t memory[64] = {};
  void* const data = &eight;
  const Handle invented = reinterpret_cast<Handle>(uintptr_t{0x12345678});
  struct {
    const char* what;
    int32_t expected;
    std::function<int32_t()> call;
  } const kRows[] = {
      {"second start of the library", kInUse, [&] { return producer_.call("GCInitLib"); }},
      {"second system", kInUse, [&] { return producer_.call("TLOpen", &made); }},
      {"second interface", kInUse, [&] { return producer_.call("TLOpenInterface", system_, "USB", &made); }},
      {"second device", kInUse, [&] { return producer_.call("IFOpenDevice", interface_, "P", 3, &made); }},
      {"second stream", kInUse,
       [&] { return producer_.call("DevOpenDataStream", device_, "Stream0", &made); }},
      {"unknown interface", kInvalidId,
       [&] { return producer_.call("TLOpenInterface", system_, "GigE", &made); }},
      {"unknown device", kInvalidId,
       [&] { return producer_.call("IFOpenDevice", interface_, "Q", 3, &made); }},
      {"unknown access", kInvalidParameter,
       [&] { return producer_.call("IFOpenDevice", interface_, "P", 1, &made); }},
      {"null id", kInvalidParameter,
       [&] {
         return producer_.call("IFOpenDevice", interface_, static_cast<const char*>(nullptr), 3, &made);
       }},
      {"null handle", kInvalidHandle,
       [&] { return producer_.call("TLGetNumInterfaces", Handle{nullptr}, &count); }},
      {"invented handle", kInvalidHandle, [&] { return producer_.call("DSStopAcquisition", invented, 0); }},
      {"handle of another kind", kInvalidHandle,
       [&] { return producer_.call("DSStopAcquisition", device_, 0); }},
      {"null output", kInvalidParameter,
       [&] { return producer_.call("DevGetPort", device_, static_cast<Handle*>(nullptr)); }},
      {"device beyond the list", kInvalidIndex,
       [&] { return producer_.call("IFGetDeviceID", interface_, 1U, static_cast<char*>(nullptr), &size); }},
      {"no register there", kInvalidAddress,
       [&] { return producer_.call("GCReadPort", port, uint64_t{8}, data, &size); }},
      {"between two registers", kInvalidAddress,
       [&] { return producer_.call("GCReadPort", port, uint64_t{0x1004}, data, &size); }},
      {"half a register", kInvalidParameter,
       [&] {
         size_t half = 4;
         return producer_.call("GCReadPort", port, uint64_t{0x1000}, data, &half);
       }},
      {"null data", kInvalidParameter,
       [&] {
         return producer_.call("GCReadPort", port, uint64_t{0x1000}, static_cast<void*>(nullptr), &size);
       }},
      {"description written", kAccessDenied,
       [&] {
         return producer_.call("GCWritePort", port, uint64_t{0x1000000}, static_cast<const void*>(data),
                               &size);
       }},
      {"start without buffers", -1013,
       [&] { return producer_.call("DSStartAcquisition", stream, 0, kForEver); }},
      {"stop before start", kInUse, [&] { return producer_.call("DSStopAcquisition", stream, 0); }},
      {"buffer of no bytes", kInvalidParameter,
       [&] { return producer_.call("DSAllocAndAnnounceBuffer", stream, size_t{0}, data, &made); }},
#ifndef SANITIZED  // which end the program
      {"more memory than there is", -1021,
       [&] { return producer_.call("DSAllocAndAnnounceBuffer", stream, ~size_t{0} / 4, data, &made); }},
#endif
      {"null memory", kInvalidParameter,
       [&] {
         return producer_.call("DSAnnounceBuffer", stream, static_cast<void*>(nullptr), size_t{64}, data,
                               &made);
       }},
      {"memory", 0,
       [&] {
         return producer_.call("DSAnnounceBuffer", stream, static_cast<void*>(memory), size_t{64}, data,
                               &made);
       }},
      {"the same memory", kInUse,
       [&] {
         Handle second = nullptr;
         return producer_.call("DSAnnounceBuffer", stream, static_cast<void*>(memory), size_t{64}, data,
                               &second);
       }},
      {"queue", 0, [&] { return producer_.call("DSQueueBuffer", stream, made); }},
      {"queue twice", kInUse, [&] { return producer_.call("DSQueueBuffer", stream, made); }},
      {"revoke while queued", kBusy,
       [&] {
         return producer_.call("DSRevokeBuffer", stream, made, static_cast<void**>(nullptr),
                               static_cast<void**>(nullptr));
       }},
      {"no such flush", kInvalidParameter, [&] { return producer_.call("DSFlushQueue", stream, 9); }},
      {"discard all", 0, [&] { return producer_.call("DSFlushQueue", stream, 4); }},
      {"revoke", 0,
       [&] {
         return producer_.call("DSRevokeBuffer", stream, made, static_cast<void**>(nullptr),
                               static_cast<void**>(nullptr));
       }},
      {"revoked", kInvalidHandle, [&] { return producer_.call("DSQueueBuffer", stream, made); }},
      {"chunks", kInvalidHandle,
       [&] {
         return producer_.call("DSGetBufferChunkData", stream, made, static_cast<void*>(nullptr), &size);
       }},
      {"event that no module has", kNotImplemented,
       [&] { return producer_.call("GCRegisterEvent", device_, 5, &made); }},
      {"new buffers of a device", kNotImplemented,
       [&] { return producer_.call("GCRegisterEvent", device_, 1, &made); }},
      {"second event", kInUse, [&] { return producer_.call("GCRegisterEvent", stream, 1, &made); }},
      {"no such event", -1014, [&] { return producer_.call("GCUnregisterEvent", system_, 0); }},
      {"too small for an event", kBufferTooSmall,
       [&] { return producer_.call("EventGetData", pictures.event(), data, &size, uint64_t{0}); }},
  };
  for (const auto& row : kRows)
    EXPECT_EQ(row.call(), row.expected) << row.what << ": " << producer_.last_error();
}

TEST_F(Modules, AreClosedWithTheirParentsAndTheirHandlesAreVoid) {
  plug("3600,serial=P,fps=0");
  uint32_t count = 0;
  Handle stale = nullptr;
  for (int n = 0; n < 3; ++n) {
    ASSERT_NO_FATAL_FAILURE(open("P"));
    Acquisition pictures(producer_, device_, *camera_);
    pictures.announce(3);
    pictures.start();
    ASSERT_EQ(pictures.next().status, 0);
    // With everything open and running.
    const int32_t closed = n == 0   ? producer_.call("DevClose", device_)
                           : n == 1 ? producer_.call("IFClose", std::exchange(interface_, nullptr))
                                    : producer_.call("GCCloseLib");
    EXPECT_EQ(closed, 0);
    const int32_t expected = n == 2 ? kNotInitialized : kInvalidHandle;
    EXPECT_EQ(producer_.call("DevGetNumDataStreams", device_, &count), expected);
    EXPECT_EQ(producer_.call("DSStopAcquisition", pictures.stream(), 0), expected);
    EXPECT_EQ(producer_.call("EventKill", pictures.event()), expected);
    EXPECT_NE(device_, stale) << "a handle is not given away twice";
    stale = device_;
  }
  EXPECT_EQ(producer_.call("TLOpen", &system_), kNotInitialized);
  EXPECT_EQ(producer_.call("GCInitLib"), 0);
}

TEST_F(Modules, RefuseACameraThatAnotherProgramHolds) {
  const auto camera = plug("3600,serial=P,fps=0");
  camera->inject({.claim_busy = true});
  EXPECT_EQ(try_open("P"), kAccessDenied);
  EXPECT_NE(producer_.last_error().find("another program"), std::string::npos) << producer_.last_error();
  const auto status = [&] {
    int32_t type = 0;
    int32_t access = 0;
    size_t size = sizeof access;
    EXPECT_EQ(
        producer_.call("IFGetDeviceInfo", interface_, "P", 5, &type, static_cast<void*>(&access), &size), 0);
    return access;
  };
  EXPECT_EQ(status(), 4) << "busy";
  camera->clear_faults();
  ASSERT_NO_FATAL_FAILURE(open("P"));
  EXPECT_EQ(status(), 5) << "open here";
  close();
  EXPECT_EQ(status(), 1) << "free";
  ASSERT_NO_FATAL_FAILURE(open("P", 2));
  EXPECT_EQ(camera_->set("Gain", 20), kAccessDenied) << "open for reading";
  EXPECT_EQ(camera_->number("Gain"), 16);
}

TEST_F(Modules, KnowCamerasByTheirSerialNumbersWhereverTheyAre) {
  const auto left = plug("3600,serial=LEFT,fps=0");
  const auto right = plug("303B,serial=RIGHT,fps=0");
  ASSERT_NO_FATAL_FAILURE(open("LEFT"));
  EXPECT_EQ(camera_->text("DeviceModelName"), "Model 0.3MP-C");
  bus_.unplug(*right);
  const auto count = [&] {
    look();
    uint32_t devices = 99;
    producer_.call("IFGetNumDevices", interface_, &devices);
    return devices;
  };
  EXPECT_TRUE(eventually([&] { return count() == 1; }));
  close();
  bus_.unplug(*left);
  bus_.plug(right);
  bus_.plug(left);
  EXPECT_TRUE(eventually([&] { return count() == 2; }));
  ASSERT_NO_FATAL_FAILURE(open("RIGHT"));
  EXPECT_EQ(camera_->choices("PixelFormat"), std::vector<std::string>{"Mono8"});
}

TEST_F(Modules, KeepUserSetsAndResetToTheDefault) {
  plug("3500,serial=P,fps=0");
  ASSERT_NO_FATAL_FAILURE(open("P"));
  ASSERT_EQ(camera_->set("UserSetSelector", "UserSet1"), 0);
  ASSERT_EQ(camera_->set("Gain", 77), 0);
  ASSERT_EQ(camera_->set("Width", 640), 0);
  ASSERT_EQ(camera_->execute("UserSetSave"), 0);
  ASSERT_EQ(camera_->set("Gain", 20), 0);
  ASSERT_EQ(camera_->set("ReverseX", 1), 0);
  ASSERT_EQ(camera_->execute("UserSetLoad"), 0) << producer_.last_error();
  EXPECT_EQ(camera_->number("Gain"), 77);
  EXPECT_EQ(camera_->number("ReverseX"), 0);
  EXPECT_EQ(camera_->integer("Width"), 640);
  ASSERT_EQ(camera_->set("UserSetSelector", "Default"), 0);
  EXPECT_EQ(camera_->execute("UserSetSave"), kAccessDenied);
  ASSERT_EQ(camera_->execute("UserSetLoad"), 0) << producer_.last_error();
  EXPECT_EQ(camera_->number("Gain"), 16);
}

TEST_F(Modules, OpenAHundredTimesAndKeepNothing) {
  constexpr int kCameras = 5;
#ifdef SANITIZED
  constexpr int kOpenings = 20;
#else
  constexpr int kOpenings = 100;
#endif
  for (int n = 0; n < kCameras; ++n) plug("003B,serial=H" + std::to_string(n) + ",fps=0");
  size_t threads = 0;
  [[maybe_unused]] size_t descriptors = 0;
  for (int round = 0; round < kOpenings / kCameras; ++round) {
    look();
    std::vector<std::thread> each;
    for (int n = 0; n < kCameras; ++n) {
      each.emplace_back([&, n] {
        Handle device = nullptr;
        Handle port = nullptr;
        ASSERT_EQ(producer_.call("IFOpenDevice", interface_, ("H" + std::to_string(n)).c_str(), 3, &device),
                  0)
            << producer_.last_error();
        EXPECT_EQ(producer_.call("DevGetPort", device, &port), 0);
        EXPECT_EQ(producer_.call("DevClose", device), 0);
      });
    }
    for (std::thread& one : each) one.join();
    if (round > 0) continue;
    threads = entries("/proc/self/task");
    descriptors = entries("/proc/self/fd");
  }
  EXPECT_TRUE(eventually([&] { return entries("/proc/self/task") <= threads; }));
#ifndef SANITIZED  // the thread sanitizer keeps pipes to what finds the names of functions
  EXPECT_LE(entries("/proc/self/fd"), descriptors);
#endif
}

/// Threads that call whatever is there while one opens and closes.
TEST_F(Modules, StandThreadsThatCallWhileTheyClose) {
  plug("3600,serial=P,fps=0");
  look();
  std::atomic<Handle> device = nullptr;
  std::atomic<Handle> port = nullptr;
  std::atomic<Handle> stream = nullptr;
  std::atomic<Handle> event = nullptr;
  std::atomic<bool> done = false;
  std::vector<std::thread> callers;
  callers.emplace_back([&] {
    while (!done) {
      uint64_t value = 0;
      size_t size = sizeof value;
      producer_.call("GCReadPort", port.load(), uint64_t{0x1000}, static_cast<void*>(&value), &size);
      Handle again = nullptr;
      producer_.call("DevGetPort", device.load(), &again);
      std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
  });
  callers.emplace_back([&] {
    while (!done) {
      std::array<Handle, 2> entry{};
      size_t size = sizeof entry;
      if (producer_.call("EventGetData", event.load(), static_cast<void*>(entry.data()), &size,
                         uint64_t{10}) == 0)
        producer_.call("DSQueueBuffer", stream.load(), entry[0]);
      std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
  });
  for (int n = 0; n < 8; ++n) {
    ASSERT_NO_FATAL_FAILURE(open("P"));
    Acquisition pictures(producer_, device_, *camera_);
    pictures.announce(3);
    device = device_;
    producer_.call("DevGetPort", device_, &device_);
    port = device_;
    device_ = device;
    stream = pictures.stream();
    event = pictures.event();
    pictures.start();
    ASSERT_TRUE(
        eventually([&] { return info<uint64_t>(producer_, "DSGetInfo", 1, pictures.stream()) >= 3; }));
    close();
  }
  done = true;
  for (std::thread& caller : callers) caller.join();
}

}  // namespace
}  // namespace kxcam::test
