// SPDX-License-Identifier: Apache-2.0
#include "core/persistence/dead_pixel_store.h"

#include <cstddef>
#include <memory>
#include <optional>

#include "core/persistence/eeprom.h"
#include "core/registry/contexts.h"
#include "usb/control_channel.h"

namespace kxcam {
namespace {

uint32_t address_of(size_t word) {
  return kDeadPixelAddress + 2 * static_cast<uint32_t>(word);
}

bool write_byte(int camera, uint32_t address, uint32_t value) {
  return eeprom_write(camera, 0, address, static_cast<uint8_t>(value), 0);
}

/// A failed low byte is noticed with the next word.
bool write_words(int camera, const uint32_t* words, size_t count) {
  bool written = true;
  for (size_t k = 0; k < count; ++k) {
    written = write_byte(camera, address_of(k), words[k] >> 8) && written;
    if (!written) return false;
    written = write_byte(camera, address_of(k) + 1, words[k]);
  }
  return true;
}

std::optional<uint16_t> read_word(int camera, size_t word) {
  uint8_t high = 0;
  uint8_t low = 0;
  const uint32_t address = address_of(word);
  if (!eeprom_read(camera, 0, address, &high, 0) || !eeprom_read(camera, 0, address + 1, &low, 0)) {
    return std::nullopt;
  }
  return static_cast<uint16_t>(high << 8 | low);
}

/// Pixel `i` of the block.
std::optional<DeadPixel> read_pixel(int camera, size_t i) {
  const auto x = read_word(camera, 2 * i + 1);
  const auto y = read_word(camera, 2 * i + 2);
  if (!x || !y) return std::nullopt;
  return DeadPixel{*x, *y};
}

void put_in_force(CameraContext& context, const DeadPixelList& list) {
  context.picture.dead_pixels.store(std::make_shared<const DeadPixelList>(list));
}

void copy_out(const DeadPixelList& from, uint32_t* list) {
  *list++ = from.dead_pixel_count;
  for (const DeadPixel& pixel : from.listed()) {
    *list++ = pixel.x;
    *list++ = pixel.y;
  }
}

}  // namespace

bool save_deadpixel(int camera, const uint32_t* list) {
  const ContextRef context = find_camera_if(camera, list[0] <= kMaxDeadPixels);
  if (context == nullptr) return false;
  DeadPixelList saved;
  saved.dead_pixel_count = static_cast<uint16_t>(list[0]);
  for (size_t i = 0; i < saved.dead_pixel_count; ++i) {
    saved.dead_pixels[i] = {static_cast<uint16_t>(list[2 * i + 1]), static_cast<uint16_t>(list[2 * i + 2])};
  }
  if (!write_words(camera, list, 2 * size_t{saved.dead_pixel_count} + 1)) return false;
  put_in_force(*context, saved);
  return true;
}

bool load_deadpixel(int camera, uint32_t* list) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  const auto count = read_word(camera, 0);
  if (!count) return false;
  if (*count > kMaxDeadPixels) {
    put_in_force(*context, {});
    return true;
  }
  DeadPixelList loaded;
  loaded.dead_pixel_count = *count;
  bool complete = true;
  for (size_t i = 0; i < loaded.dead_pixel_count; ++i) {
    const auto pixel = read_pixel(camera, i);
    complete = complete && pixel.has_value();
    loaded.dead_pixels[i] = pixel.value_or(DeadPixel{});
  }
  put_in_force(*context, loaded);
  if (list != nullptr) copy_out(loaded, list);
  return complete;
}

}  // namespace kxcam
