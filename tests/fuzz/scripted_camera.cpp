// SPDX-License-Identifier: Apache-2.0
#include "scripted_camera.h"

#include <algorithm>
#include <string>
#include <vector>

#include "core/control/registers.h"
#include "core/registry/discovery.h"

namespace kxcam {
namespace {

/// Both sides of every version at which the library changes what it does.
constexpr std::array<uint32_t, 10> kFirmwares = {0x8310, 0,      0x4607, 0x4608, 0x8000,
                                                 0x8001, 0x82FF, 0x8300, 0x830F, 0xFFFFFFFF};

constexpr uint16_t kEepromBase = kSerialAddress;
constexpr uint8_t kErased = 0xFF;
constexpr size_t kWrittenEnd = 4096;

/// Kinds of listing; every number below is a row of the model table.
enum Kind : uint8_t { kGeneric = 0x80, kForeign = 0xFF };

std::array<uint8_t, 4> big_endian(uint32_t value) {
  return {static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16),
          static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
}

std::array<uint8_t, 2> big_endian_word(uint16_t value) {
  return {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
}

std::vector<uint8_t> little_endian(std::initializer_list<uint32_t> words) {
  std::vector<uint8_t> bytes;
  for (const uint32_t word : words) {
    bytes.push_back(static_cast<uint8_t>(word));
    bytes.push_back(static_cast<uint8_t>(word >> 8));
  }
  return bytes;
}

size_t copy_to(std::span<uint8_t> data, std::span<const uint8_t> bytes) {
  const size_t length = std::min(data.size(), bytes.size());
  std::copy_n(bytes.begin(), length, data.begin());
  return length;
}

size_t one_byte(std::span<uint8_t> data, uint8_t byte) {
  return copy_to(data, std::span(&byte, 1));
}

}  // namespace

ScriptedCamera::ScriptedCamera(Input& input, size_t place) {
  const int kind = input.byte();
  generic_ = (kind & kGeneric) != 0;
  foreign_ = kind == kForeign;
  model_ = &model_table[static_cast<size_t>(kind % kGeneric) % kModelCount];
  const int variant = input.byte();
  firmware_ = kFirmwares[static_cast<size_t>(variant) % kFirmwares.size()];
  speed_ = variant / 16 % 6;
  features_ = input.byte();
  streaming_ = !model_->newer_bridge();
  select_preset(0);
  eeprom_.fill(kErased);
  const std::string serial = "KX000000000" + std::to_string(place % 10);
  std::ranges::copy(serial, eeprom_cell(kSerialAddress));
  patch_eeprom(input);
}

void ScriptedCamera::patch_eeprom(Input& input) {
  for (int patches = input.byte() % 8; patches > 0; --patches) {
    const auto begin = static_cast<size_t>(input.word()) % eeprom_.size();
    const size_t length = std::min<size_t>(input.byte(), eeprom_.size() - begin);
    copy_to(std::span(eeprom_).subspan(begin), input.take(length));
  }
}

uint8_t* ScriptedCamera::eeprom_cell(uint16_t address) {
  return &eeprom_[static_cast<size_t>(address - kEepromBase) % eeprom_.size()];
}

libusb_device_descriptor ScriptedCamera::descriptor() const {
  libusb_device_descriptor descriptor{};
  descriptor.idVendor = foreign_ ? kForeignVendor : kCameraVendor;
  descriptor.idProduct = static_cast<uint16_t>(model_->PID);
  if (generic_) descriptor.idProduct = kGenericProduct;
  if (foreign_) descriptor.idProduct = kForeignProduct;
  return descriptor;
}

void ScriptedCamera::select_preset(uint16_t preset) {
  const int shift = std::min<int>(preset, 11);
  width_ = static_cast<uint16_t>(std::max(model_->SENSOR_ARRAY.width >> shift, 1));
  height_ = static_cast<uint16_t>(std::max(model_->SENSOR_ARRAY.height >> shift, 1));
  sent_ = 0;
}

size_t ScriptedCamera::reply(uint8_t request, uint16_t value, uint16_t index, std::span<uint8_t> data) {
  const uint32_t bytes_per_sample = model_->COLOR_MODE == kMono12 ? 2 : 1;
  switch (request) {
    case 0xA2:
    case 0xA3:
      streaming_ = request == 0xA2;
      return one_byte(data, 1);
    case 0xA7:
    case 0xB7:
      return copy_to(data, big_endian_word(registers_[index]));
    case 0xA8:
      return one_byte(data, features_);
    case 0xA9:
      return copy_to(data, little_endian({model_->PID}));
    case 0xAB:
      if (index == 1) return one_byte(data, 12);
      if (index == 4) return one_byte(data, 1);
      return copy_to(data, little_endian({width_, height_, bytes_per_sample}));
    case 0xAC:
      select_preset(value);
      return copy_to(data, little_endian({width_, height_, bytes_per_sample}));
    case 0xB0:
      return one_byte(data, *eeprom_cell(index));
    case 0xB3:
      return copy_to(data, big_endian(firmware_));
    case 0xC3:
      std::ranges::fill(data, static_cast<uint8_t>(index));
      return data.size();
    default:
      return one_byte(data, 1);
  }
}

void ScriptedCamera::obey(uint8_t request, uint16_t value, uint16_t index, std::span<const uint8_t> data) {
  if (request == 0xA6 || request == 0xB6) registers_[index] = value;
  if (request == 0xB1) *eeprom_cell(index) = static_cast<uint8_t>(value);
  if (request == 0xAD && data.size() == 4) {
    width_ = static_cast<uint16_t>(data[0] | data[1] << 8);
    height_ = static_cast<uint16_t>(data[2] | data[3] << 8);
    sent_ = 0;
  }
}

size_t ScriptedCamera::stream(std::span<uint8_t> data) {
  const size_t frame = size_t{width_} * height_;
  if (!streaming_ || frame == 0 || data.empty()) return 0;
  const size_t length = std::min(data.size(), frame - sent_);
  sent_ = (sent_ + length) % frame;
  const std::span<uint8_t> part = data.first(length);
  uint32_t sample = 1;
  for (uint8_t& byte : part.first(std::min(length, kWrittenEnd))) {
    sample = sample * 1664525 + 1013904223;
    byte = static_cast<uint8_t>(sample >> 24);
  }
  part.back() = kErased;
  return length;
}

}  // namespace kxcam
