// SPDX-License-Identifier: Apache-2.0
#include "core/persistence/dead_pixel_store.h"

#include <cstddef>
#include <memory>
#include <optional>

#include "core/control/registers.h"
#include "core/persistence/eeprom.h"
#include "core/registry/camera_context.h"
#include "usb/last_error.h"

namespace kxcam {
namespace {

uint32_t address_of(size_t word) {
  return kDeadPixelAddress + 2 * static_cast<uint32_t>(word);
}

bool write_byte(CameraContext& camera, uint32_t address, uint32_t value) {
  return eeprom_write(camera, address, static_cast<uint8_t>(value));
}

/// A failed low byte is noticed with the next word.
bool write_words(CameraContext& camera, const uint32_t* words, size_t count) {
  bool written = true;
  for (size_t k = 0; k < count; ++k) {
    written = write_byte(camera, address_of(k), words[k] >> 8) && written;
    if (!written) return false;
    written = write_byte(camera, address_of(k) + 1, words[k]);
  }
  return true;
}

std::optional<uint16_t> read_word(CameraContext& camera, size_t word) {
  const auto high = eeprom_read(camera, address_of(word));
  if (!high) return std::nullopt;
  const auto low = eeprom_read(camera, address_of(word) + 1);
  if (!low) return std::nullopt;
  return static_cast<uint16_t>(*high << 8 | *low);
}

/// Pixel `i` of the block.
std::optional<DeadPixel> read_pixel(CameraContext& camera, size_t i) {
  const auto x = read_word(camera, 2 * i + 1);
  const auto y = read_word(camera, 2 * i + 2);
  if (!x || !y) return std::nullopt;
  return DeadPixel{*x, *y};
}

void put_in_force(CameraContext& camera, const DeadPixelList& list) {
  camera.picture.dead_pixels.store(std::make_shared<const DeadPixelList>(list));
}

void copy_out(const DeadPixelList& from, uint32_t* list) {
  *list++ = from.dead_pixel_count;
  for (const DeadPixel& pixel : from.listed()) {
    *list++ = pixel.x;
    *list++ = pixel.y;
  }
}

}  // namespace

bool save_deadpixel(CameraContext& camera, const uint32_t* list) {
  if (list[0] > kMaxDeadPixels) return fail(KXCAM_ERROR_ARGUMENT);
  DeadPixelList saved;
  saved.dead_pixel_count = static_cast<uint16_t>(list[0]);
  for (size_t i = 0; i < saved.dead_pixel_count; ++i) {
    saved.dead_pixels[i] = {static_cast<uint16_t>(list[2 * i + 1]), static_cast<uint16_t>(list[2 * i + 2])};
  }
  if (!write_words(camera, list, 2 * size_t{saved.dead_pixel_count} + 1)) return false;
  put_in_force(camera, saved);
  return true;
}

bool load_deadpixel(CameraContext& camera, uint32_t* list) {
  const auto count = read_word(camera, 0);
  if (!count) return false;
  if (*count > kMaxDeadPixels) {
    put_in_force(camera, {});
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
  put_in_force(camera, loaded);
  if (list != nullptr) copy_out(loaded, list);
  return complete;
}

}  // namespace kxcam
