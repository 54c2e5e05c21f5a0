// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstring>
#include <string>
#include <type_traits>

#include "failure.h"

namespace kxcam::gentl {

/// Where an info function stores what it was asked for. Without room only type and size are told, and the
/// size that was there is not looked at: consumers leave it as it was.
class Answer {
 public:
  Answer(int32_t* type, void* room, size_t* size) : type_(type), room_(room), size_(&required(size)) {}

  void text(const std::string& value) const { bytes(Type::kString, value.c_str(), value.size() + 1); }
  void flag(bool value) const { store(Type::kBool8, Bool8{value}); }
  void int32(int32_t value) const { store(Type::kInt32, value); }
  void uint32(uint32_t value) const { store(Type::kUint32, value); }
  void uint64(uint64_t value) const { store(Type::kUint64, value); }
  void size(size_t value) const { store(Type::kSize, value); }
  void pointer(void* value) const { store(Type::kPointer, value); }

 private:
  template <class T>
  void store(Type type, T value) const {
    static_assert(std::is_trivially_copyable_v<T>);
    bytes(type, &value, sizeof value);
  }

  void bytes(Type type, const void* data, size_t length) const {
    if (type_ != nullptr) *type_ = static_cast<int32_t>(type);
    const size_t room = room_ == nullptr ? 0 : *size_;
    *size_ = length;
    if (room_ == nullptr) return;
    if (room < length) fail(kBufferTooSmall, "the buffer is too small");
    std::memcpy(room_, data, length);
  }

  int32_t* type_;
  void* room_;
  size_t* size_;
};

[[noreturn]] inline void fail_unknown_info() {
  fail(kNotImplemented, "no such information here");
}

}  // namespace kxcam::gentl
