// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <pugixml.hpp>

namespace kxcam::test {

using Handle = void*;

/// The producer as any program loads it: by the names of its functions, with the interface's numbers written
/// down here once more.
class Producer {
 public:
  Producer();
  ~Producer();
  Producer(const Producer&) = delete;
  Producer& operator=(const Producer&) = delete;

  /// The status that the function of that name returns.
  template <class... Arguments>
  int32_t call(const char* name, Arguments... arguments) const {
    return reinterpret_cast<int32_t (*)(Arguments...)>(find(name))(arguments...);
  }
  std::string last_error() const;

 private:
  void* find(const char* name) const;

  void* library_;
};

inline constexpr int32_t kNotInitialized = -1002;
inline constexpr int32_t kNotImplemented = -1003;
inline constexpr int32_t kInUse = -1004;
inline constexpr int32_t kAccessDenied = -1005;
inline constexpr int32_t kInvalidHandle = -1006;
inline constexpr int32_t kInvalidId = -1007;
inline constexpr int32_t kNoData = -1008;
inline constexpr int32_t kInvalidParameter = -1009;
inline constexpr int32_t kIo = -1010;
inline constexpr int32_t kTimeout = -1011;
inline constexpr int32_t kAbort = -1012;
inline constexpr int32_t kInvalidAddress = -1015;
inline constexpr int32_t kBufferTooSmall = -1016;
inline constexpr int32_t kInvalidIndex = -1017;
inline constexpr int32_t kInvalidValue = -1019;
inline constexpr int32_t kBusy = -1022;

inline constexpr uint64_t kForEver = ~uint64_t{0};
/// Far beyond what anything takes.
inline constexpr uint64_t kPatience = 60'000;

/// What a port's description says, read and written through its registers.
class Features {
 public:
  Features(const Producer& producer, Handle port);

  const std::string& xml() const { return xml_; }
  /// Those that a person sees, in the order of their categories.
  std::vector<std::string> names() const;
  bool has(const std::string& name) const { return nodes_.contains(name); }
  /// "Integer", "Enumeration", ...
  std::string kind(const std::string& name) const { return node(name).name(); }
  bool readable(const std::string& name) const;
  bool writable(const std::string& name) const;
  std::vector<std::string> choices(const std::string& name) const;

  int64_t integer(const std::string& name) const;
  double real(const std::string& name) const;
  std::string text(const std::string& name) const;
  std::string choice(const std::string& name) const;
  /// Of a number, whichever kind it is.
  double number(const std::string& name) const;
  struct Limits {
    double least;
    double most;
    double step;
  };
  std::optional<Limits> limits(const std::string& name) const;

  int32_t set(const std::string& name, double number) const;
  int32_t set(const std::string& name, const std::string& choice) const;
  /// Why the last call of this thread that failed did.
  std::string last_error() const { return ": " + producer_.last_error(); }
  int32_t execute(const std::string& name) const { return set(name, 1.0); }

 private:
  pugi::xml_node node(const std::string& name) const;
  pugi::xml_node value_register(const std::string& name) const;
  bool flag(const std::string& name, const char* pointer, bool without) const;
  double read_number(pugi::xml_node reg) const;
  int32_t write_number(pugi::xml_node reg, double number) const;

  const Producer& producer_;
  Handle port_;
  std::string xml_;
  pugi::xml_document document_;
  std::map<std::string, pugi::xml_node> nodes_;
};

/// Value of an info function: call(name, arguments..., command, &type, &value, &size).
template <class T, class... Arguments>
T info(const Producer& producer, const char* name, int32_t command, Arguments... arguments) {
  int32_t type = 0;
  T value{};
  size_t size = sizeof value;
  const int32_t status = producer.call(name, arguments..., command, &type, static_cast<void*>(&value), &size);
  return status == 0 && size == sizeof value ? value : T(-1);
}
std::string text_info(const Producer& producer, const char* name, Handle handle, int32_t command);

/// An acquisition with buffers that the producer allocates or that are this one's.
class Acquisition {
 public:
  Acquisition(const Producer& producer, Handle device, const Features& camera);
  ~Acquisition();
  Acquisition(const Acquisition&) = delete;
  Acquisition& operator=(const Acquisition&) = delete;

  Handle stream() const { return stream_; }
  Handle event() const { return event_; }

  /// Announces and queues so many, of the camera's payload size unless another one is given.
  void announce(int buffers, bool own_memory = true, size_t size = 0);
  void start(uint64_t pictures = kForEver);
  /// Both ends, the camera's first.
  void stop();

  struct Delivered {
    int32_t status = 0;
    Handle buffer = nullptr;
    std::vector<uint8_t> bytes = {};
    uint64_t frame = 0;
    uint64_t arrived_ns = 0;
    size_t width = 0;
    size_t height = 0;
    uint64_t pixel_format = 0;
    bool incomplete = false;
  };
  /// The next picture; its buffer stays out of the queue.
  Delivered take(uint64_t timeout_ms = kPatience);
  void queue(Handle buffer) const;
  /// take() with the buffer queued again.
  Delivered next(uint64_t timeout_ms = kPatience);

  template <class T>
  T buffer_info(Handle buffer, int32_t command) const {
    return info<T>(producer_, "DSGetBufferInfo", command, stream_, buffer);
  }

 private:
  const Producer& producer_;
  const Features& camera_;
  Handle stream_ = nullptr;
  Handle event_ = nullptr;
  std::vector<std::vector<uint8_t>> memory_;
};

}  // namespace kxcam::test
