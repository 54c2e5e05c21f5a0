// SPDX-License-Identifier: Apache-2.0
#include "usb/spi_flash.h"

#include <algorithm>

#include "usb/control_channel.h"

namespace kxcam {

namespace {

constexpr uint8_t kFlashWrite = 0xC2;
constexpr uint8_t kFlashRead = 0xC3;
constexpr long kChunk = 4096;
constexpr int kPagesPerChunk = 16;
constexpr int kEmptyRepliesAccepted = 8;

}  // namespace

bool ReadSPI(libusb_device_handle* handle, int page, uint8_t* data, long length) {
  // The data pointer moves a whole chunk per request however few bytes came, so a camera that answers
  // short would walk it past the caller's buffer: `room` is what is really left there.
  long room = length;
  int empty_replies = 0;
  while (length > 0 && room > 0 && empty_replies < kEmptyRepliesAccepted) {
    const long requested = std::min({length, room, kChunk});
    long received = requested;
    EP0Read(handle, kFlashRead, static_cast<uint16_t>(page), 0, data, received);
    length -= received;
    if (received == 0) {
      ++empty_replies;
      continue;
    }
    data += std::min(kChunk, room);
    room -= kChunk;
  }
  return true;
}

bool WirteSPI(libusb_device_handle* handle, int page, uint8_t* data, long length) {
  int empty_replies = 0;
  while (length > 0 && empty_replies < kEmptyRepliesAccepted) {
    long sent = std::min(length, kChunk);
    EP0Write(handle, kFlashWrite, static_cast<uint16_t>(page), 0, data, sent);
    page += kPagesPerChunk;
    length -= sent;
    if (sent == 0) ++empty_replies;
  }
  return true;
}

}  // namespace kxcam
