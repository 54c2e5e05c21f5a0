// SPDX-License-Identifier: Apache-2.0
// Consumers that call whatever comes with whatever they have: stale handles and invented ones, handles of
// another kind, no room, too little room, no buffer at all, in any order. Nothing may be touched outside a
// buffer, waited for without end or left open.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "any_value.h"
#include "exports.h"
#include "gentl_cameras.h"
#include "input.h"
#include "kxcam/kxcam.h"
#include "require.h"

namespace kxcam {
namespace {

using gentl::ChunkEntry;
using gentl::RegisterEntry;

constexpr int kMostCalls = 300;
constexpr size_t kRoom = 512;

enum Kind : uint8_t { kSystem, kInterface, kDevice, kPort, kStream, kEvent, kBuffer, kKinds };

/// Arguments from the input. Memory that is handed out ends exactly where it is said to end.
class Consumer {
 public:
  explicit Consumer(Input& input) : input_(input) {}

  Input& input() { return input_; }

  void* last(Kind kind) const { return handles_[kind].empty() ? nullptr : handles_[kind].back(); }
  /// Mostly the last one of that kind that came.
  void* handle(Kind kind) {
    const uint8_t choice = input_.byte();
    const auto& fitting = handles_[kind];
    if (choice < 0xA0 && !fitting.empty()) return fitting.back();
    if (choice < 0xC0 && !fitting.empty()) return fitting[choice % fitting.size()];
    const auto& others = handles_[choice % kKinds];
    if (choice < 0xF8 && !others.empty()) return others[input_.byte() % others.size()];
    return reinterpret_cast<void*>(static_cast<uintptr_t>(input_.int32()));
  }
  void** new_handle() {
    if (input_.byte() == 0xFF) return nullptr;
    handle_ = nullptr;
    return &handle_;
  }
  void keep(Kind kind, void* handle) {
    if (handle != nullptr && handles_[kind].size() < 100) handles_[kind].push_back(handle);
  }
  /// What new_handle() became.
  int32_t keep(Kind kind, int32_t status) {
    keep(kind, std::exchange(handle_, nullptr));
    return status;
  }
  int32_t command() { return any_int(input_) % 40; }
  uint32_t index() { return input_.byte() < 0xC0 ? 0 : static_cast<uint32_t>(any_int(input_)); }
  int32_t* type() { return input_.byte() < 0x10 ? nullptr : &type_; }
  size_t* size() { return input_.byte() == 0xFF ? nullptr : &size_; }
  uint32_t* count() { return input_.byte() == 0xFF ? nullptr : &count_; }
  uint8_t* flag() { return input_.byte() < 0x20 ? nullptr : &flag_; }

  /// Room for `size_` bytes; null with any size.
  void* room() {
    const uint8_t choice = input_.byte();
    size_ = choice < 0x80 ? 8 : choice < 0xE0 ? kRoom : choice - 0xE0U;
    if (choice == 0xFF) {
      size_ = ~size_t{0};
      return nullptr;
    }
    memory_.push_back(std::make_unique<uint8_t[]>(size_));
    const auto bytes = input_.take(std::min<size_t>(size_, 8));
    std::ranges::copy(bytes, memory_.back().get());
    return memory_.back().get();
  }
  /// Mostly a number that a feature takes.
  const void* number() {
    const uint8_t choice = input_.byte();
    if (choice >= 0xC0) return room();
    const int64_t whole = choice < 0x60 ? choice % 4 : int64_t{8} * input_.byte();
    const double real = whole;
    auto* bytes = static_cast<uint8_t*>(room());
    if (bytes == nullptr || size_ < sizeof whole) return bytes;
    if (choice % 2 == 0) std::memcpy(bytes, &whole, sizeof whole);
    if (choice % 2 != 0) std::memcpy(bytes, &real, sizeof real);
    return bytes;
  }
  char* text() { return static_cast<char*>(room()); }
  /// Memory that stays until the consumer goes, for announced buffers.
  void* announced() {
    size_ = input_.byte() < 0xC0 ? 720 * 540 * 3 : static_cast<size_t>(input_.byte());
    kept_.push_back(std::make_unique<uint8_t[]>(std::max<size_t>(size_, 1)));
    return input_.byte() == 0xFF ? nullptr : kept_.back().get();
  }
  size_t last_size() const { return size_; }

  const char* id() {
    constexpr std::array kIds = {"USB", "SERIAL0", "SERIAL1", "SERIAL2", "Stream0"};
    const uint8_t choice = input_.byte();
    if (choice == 0xFF) return nullptr;
    if (choice < 0xF0) return kIds[choice % kIds.size()];
    const auto bytes = input_.take(choice % 16);
    id_.assign(bytes.begin(), bytes.end());
    return id_.c_str();
  }
  uint64_t address() {
    const uint8_t choice = input_.byte();
    if (choice < 0xC0)
      return 0x1000 + 0x200ULL * (choice % 0x60) + (choice < 0x60 ? 0 : 0x100 + 8ULL * (input_.byte() % 7));
    if (choice < 0xE0) return 0x1000000ULL + static_cast<uint64_t>(input_.word());
    return static_cast<uint64_t>(input_.int32()) << (choice % 33);
  }
  uint64_t timeout() { return input_.byte() < 0xE0 ? 0 : 1; }
  RegisterEntry* entries() {
    const uint8_t choice = input_.byte();
    size_ = choice % 4;
    for (RegisterEntry& entry : entries_) {
      const size_t count = size_;
      void* data = room();
      entry = {address(), data, data == nullptr ? 8 : size_};
      size_ = count;
    }
    return choice == 0xFF ? nullptr : entries_.data();
  }
  ChunkEntry* chunks() { return nullptr; }
  void forget_room() { memory_.clear(); }

 private:
  Input& input_;
  std::array<std::vector<void*>, kKinds> handles_;
  void* handle_ = nullptr;
  int32_t type_ = 0;
  size_t size_ = 0;
  uint32_t count_ = 0;
  uint8_t flag_ = 0;
  std::string id_;
  std::array<RegisterEntry, 4> entries_{};
  std::vector<std::unique_ptr<uint8_t[]>> memory_;
  std::vector<std::unique_ptr<uint8_t[]>> kept_;
};

// The arguments are taken in the order in which they stand here, whatever the compiler does in a call.
using Call = int32_t (*)(Consumer&);

template <Kind kOf, int32_t (*kFunction)(void*, int32_t, int32_t*, void*, size_t*)>
int32_t ask(Consumer& by) {
  void* handle = by.handle(kOf);
  const int32_t command = by.command();
  int32_t* type = by.type();
  void* room = by.room();
  return kFunction(handle, command, type, room, by.size());
}

template <Kind kOf, int32_t (*kFunction)(void*, const char*, int32_t, int32_t*, void*, size_t*)>
int32_t ask_of(Consumer& by) {
  void* handle = by.handle(kOf);
  const char* id = by.id();
  const int32_t command = by.command();
  int32_t* type = by.type();
  void* room = by.room();
  return kFunction(handle, id, command, type, room, by.size());
}

template <Kind kOf, int32_t (*kFunction)(void*, uint32_t, char*, size_t*)>
int32_t name(Consumer& by) {
  void* handle = by.handle(kOf);
  const uint32_t index = by.index();
  char* text = by.text();
  return kFunction(handle, index, text, by.size());
}

template <Kind kOf, int32_t (*kFunction)(void*, uint32_t*)>
int32_t count(Consumer& by) {
  void* handle = by.handle(kOf);
  return kFunction(handle, by.count());
}

template <Kind kOf, int32_t (*kFunction)(void*, void**), Kind kNew>
int32_t related(Consumer& by) {
  void* handle = by.handle(kOf);
  return by.keep(kNew, kFunction(handle, by.new_handle()));
}

template <Kind kOf, int32_t (*kFunction)(void*, const char*, void**), Kind kNew>
int32_t open(Consumer& by) {
  void* handle = by.handle(kOf);
  const char* id = by.id();
  return by.keep(kNew, kFunction(handle, id, by.new_handle()));
}

template <Kind kOf, int32_t (*kFunction)(void*)>
int32_t of_handle(Consumer& by) {
  return kFunction(by.handle(kOf));
}

template <Kind kOf, int32_t (*kFunction)(void*, int32_t)>
int32_t of_number(Consumer& by) {
  void* handle = by.handle(kOf);
  return kFunction(handle, by.command() % 8);
}

template <Kind kOf, int32_t (*kFunction)(void*, uint8_t*, uint64_t)>
int32_t update(Consumer& by) {
  void* handle = by.handle(kOf);
  uint8_t* changed = by.flag();
  return kFunction(handle, changed, by.timeout());
}

template <Kind kOf, int32_t (*kFunction)(void*, RegisterEntry*, size_t*)>
int32_t stacked(Consumer& by) {
  void* handle = by.handle(kOf);
  RegisterEntry* entries = by.entries();
  return kFunction(handle, entries, by.size());
}

int32_t read_number(Consumer& by) {
  void* handle = by.handle(kPort);
  const uint64_t address = by.address();
  void* room = by.room();
  return GCReadPort(handle, address, room, by.size());
}

int32_t write_number(Consumer& by) {
  void* handle = by.handle(kPort);
  const uint64_t address = by.address();
  const void* number = by.number();
  return GCWritePort(handle, address, number, by.size());
}

constexpr Call kCalls[] = {
    [](Consumer&) { return GCInitLib(); },
    [](Consumer& by) { return by.input().byte() < 0x20 ? GCCloseLib() : 0; },
    [](Consumer& by) {
      const int32_t command = by.command();
      void* room = by.room();
      return GCGetInfo(command, by.type(), room, by.size());
    },
    [](Consumer& by) {
      char* text = by.text();
      return GCGetLastError(by.type(), text, by.size());
    },
    read_number,
    read_number,
    write_number,
    write_number,
    write_number,
    stacked<kPort, GCReadPortStacked>,
    stacked<kPort, GCWritePortStacked>,
    ask<kPort, GCGetPortInfo>,
    [](Consumer& by) {
      void* handle = by.handle(kPort);
      char* url = by.text();
      return GCGetPortURL(handle, url, by.size());
    },
    count<kPort, GCGetNumPortURLs>,
    [](Consumer& by) {
      void* handle = by.handle(kPort);
      const uint32_t index = by.index();
      const int32_t command = by.command();
      void* room = by.room();
      return GCGetPortURLInfo(handle, index, command, by.type(), room, by.size());
    },
    [](Consumer& by) {
      void* handle = by.handle(kPort);
      const int32_t kind = by.command() % 6;
      return by.keep(kEvent, GCRegisterEvent(handle, kind, by.new_handle()));
    },
    of_number<kPort, GCUnregisterEvent>,
    [](Consumer& by) {
      void* handle = by.handle(kEvent);
      void* room = by.room();
      size_t* size = by.size();
      return EventGetData(handle, room, size, by.timeout());
    },
    [](Consumer& by) {
      void* handle = by.handle(kEvent);
      const void* data = by.room();
      const size_t length = data == nullptr ? 0 : by.last_size();
      const int32_t command = by.command() % 4;
      void* room = by.room();
      return EventGetDataInfo(handle, data, length, command, by.type(), room, by.size());
    },
    ask<kEvent, EventGetInfo>,
    of_handle<kEvent, EventFlush>,
    of_handle<kEvent, EventKill>,
    [](Consumer& by) { return by.keep(kSystem, TLOpen(by.new_handle())); },
    [](Consumer& by) { return by.input().byte() < 0x20 ? TLClose(by.handle(kSystem)) : 0; },
    ask<kSystem, TLGetInfo>,
    update<kSystem, TLUpdateInterfaceList>,
    count<kSystem, TLGetNumInterfaces>,
    name<kSystem, TLGetInterfaceID>,
    ask_of<kSystem, TLGetInterfaceInfo>,
    open<kSystem, TLOpenInterface, kInterface>,
    [](Consumer& by) { return by.input().byte() < 0x20 ? IFClose(by.handle(kInterface)) : 0; },
    ask<kInterface, IFGetInfo>,
    related<kInterface, IFGetParentTL, kSystem>,
    update<kInterface, IFUpdateDeviceList>,
    count<kInterface, IFGetNumDevices>,
    name<kInterface, IFGetDeviceID>,
    ask_of<kInterface, IFGetDeviceInfo>,
    [](Consumer& by) {
      void* handle = by.handle(kInterface);
      const char* id = by.id();
      const int32_t access = by.command() % 6;
      return by.keep(kDevice, IFOpenDevice(handle, id, access, by.new_handle()));
    },
    [](Consumer& by) { return by.input().byte() < 0x40 ? DevClose(by.handle(kDevice)) : 0; },
    ask<kDevice, DevGetInfo>,
    related<kDevice, DevGetParentIF, kInterface>,
    related<kDevice, DevGetPort, kPort>,
    count<kDevice, DevGetNumDataStreams>,
    name<kDevice, DevGetDataStreamID>,
    open<kDevice, DevOpenDataStream, kStream>,
    [](Consumer& by) { return by.input().byte() < 0x40 ? DSClose(by.handle(kStream)) : 0; },
    ask<kStream, DSGetInfo>,
    related<kStream, DSGetParentDev, kDevice>,
    [](Consumer& by) {
      void* handle = by.handle(kStream);
      void* memory = by.announced();
      return by.keep(kBuffer, DSAnnounceBuffer(handle, memory, by.last_size(), handle, by.new_handle()));
    },
    [](Consumer& by) {
      void* handle = by.handle(kStream);
      const size_t size = by.input().byte() < 0xC0 ? 720 * 540 * 3 : by.input().byte();
      return by.keep(kBuffer, DSAllocAndAnnounceBuffer(handle, size, handle, by.new_handle()));
    },
    [](Consumer& by) {
      void* handle = by.handle(kStream);
      void* buffer = by.handle(kBuffer);
      void* user = nullptr;
      void* memory = nullptr;
      const bool wanted = by.input().byte() < 0x80;
      return DSRevokeBuffer(handle, buffer, wanted ? &memory : nullptr, wanted ? &user : nullptr);
    },
    [](Consumer& by) {
      void* handle = by.handle(kStream);
      return DSQueueBuffer(handle, by.handle(kBuffer));
    },
    [](Consumer& by) {
      void* handle = by.handle(kStream);
      const uint32_t index = by.index();
      return by.keep(kBuffer, DSGetBufferID(handle, index, by.new_handle()));
    },
    of_number<kStream, DSFlushQueue>,
    [](Consumer& by) {
      void* handle = by.handle(kStream);
      const uint8_t choice = by.input().byte();
      return DSStartAcquisition(handle, choice % 3, choice < 0xC0 ? ~uint64_t{0} : choice % 4);
    },
    of_number<kStream, DSStopAcquisition>,
    [](Consumer& by) {
      void* handle = by.handle(kStream);
      void* buffer = by.handle(kBuffer);
      const int32_t command = by.command();
      void* room = by.room();
      return DSGetBufferInfo(handle, buffer, command, by.type(), room, by.size());
    },
    [](Consumer& by) {
      void* handle = by.handle(kStream);
      void* buffer = by.handle(kBuffer);
      return DSGetBufferChunkData(handle, buffer, by.chunks(), by.size());
    },
    [](Consumer& by) {
      void* handle = by.handle(kStream);
      void* buffer = by.handle(kBuffer);
      return DSGetNumBufferParts(handle, buffer, by.count());
    },
    [](Consumer& by) {
      void* handle = by.handle(kStream);
      void* buffer = by.handle(kBuffer);
      void* room = by.room();
      return DSGetBufferPartInfo(handle, buffer, by.index(), by.command(), by.type(), room, by.size());
    },
    // What happens outside.
    [](Consumer&) {
      send_frame();
      return 0;
    },
    [](Consumer& by) {
      constexpr std::array kCauses = {0, 0, 2, 4, 8, 10, 11, 17, 18, 19, 20, 21, 22, -1};
      set_cause(kCauses[by.input().byte() % kCauses.size()]);
      return 0;
    },
    [](Consumer& by) {
      set_gone(by.input().byte() < 0x40);
      return 0;
    },
};

void call(Consumer& by) {
  const Call function = kCalls[by.input().byte() % std::size(kCalls)];
  const int32_t status = function(by);
  require(status == 0 || (status >= -1022 && status <= -1001), "a status is one");
  by.forget_room();
}

/// Executes AcquisitionStart, wherever it is.
void start_pictures(void* port) {
  constexpr uint64_t kFirst = 0x1000;
  constexpr uint64_t kSpacing = 0x200;
  std::string xml(200'000, '\0');
  size_t size = xml.size();
  GCReadPort(port, 0x1000000, xml.data(), &size);
  const size_t node = xml.find("Name=\"AcquisitionStart_Value\"");
  const size_t at = node == std::string::npos ? node : xml.find("0x", node);
  const uint64_t address = at == std::string::npos ? kFirst + kSpacing : std::strtoull(&xml[at], nullptr, 16);
  const int64_t one = 1;
  size = sizeof one;
  GCWritePort(port, address, &one, &size);
}

/// What every consumer begins with, as far as the input says: few would come that far by themselves.
void begin(Consumer& by) {
  const int steps = by.input().byte() % 9;
  void* made = nullptr;
  auto reached = [&, n = 0](Kind kind) mutable {
    by.keep(kind, std::exchange(made, nullptr));
    return ++n <= steps;
  };
  GCInitLib();
  TLOpen(&made);
  if (!reached(kSystem)) return;
  TLOpenInterface(by.last(kSystem), "USB", &made);
  if (!reached(kInterface)) return;
  IFOpenDevice(by.last(kInterface), "SERIAL0", 3, &made);
  if (!reached(kDevice)) return;
  DevGetPort(by.last(kDevice), &made);
  if (!reached(kPort)) return;
  DevOpenDataStream(by.last(kDevice), "Stream0", &made);
  if (!reached(kStream)) return;
  GCRegisterEvent(by.last(kStream), 1, &made);
  if (!reached(kEvent)) return;
  for (int n = 0; n < 3; ++n) {
    DSAllocAndAnnounceBuffer(by.last(kStream), 720 * 540 * 3, nullptr, &made);
    by.keep(kBuffer, std::exchange(made, nullptr));
    DSQueueBuffer(by.last(kStream), by.last(kBuffer));
  }
  if (!reached(kBuffer)) return;
  DSStartAcquisition(by.last(kStream), 0, ~uint64_t{0});
  start_pictures(by.last(kPort));
}

}  // namespace
}  // namespace kxcam

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kxcam::Input input({data, size});
  kxcam::reset_cameras(input);
  kxcam::Consumer consumer(input);
  kxcam::begin(consumer);
  for (int calls = 0; calls < kxcam::kMostCalls && !input.empty(); ++calls) kxcam::call(consumer);
  GCCloseLib();
  for (int camera = 0; camera < 4; ++camera)
    kxcam::require(CameraReset(camera) != 0, "every camera is closed with the producer");
  return 0;
}
