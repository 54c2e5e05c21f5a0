// SPDX-License-Identifier: Apache-2.0
#include "usb/requests.h"

#include <algorithm>

#include "usb/bridge.h"
#include "usb/kxusb.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

constexpr uint8_t kVendorIn = uint8_t{LIBUSB_ENDPOINT_IN} | uint8_t{LIBUSB_REQUEST_TYPE_VENDOR};
constexpr uint8_t kVendorOut = uint8_t{LIBUSB_ENDPOINT_OUT} | uint8_t{LIBUSB_REQUEST_TYPE_VENDOR};
constexpr uint32_t kTimeoutMs = 100;
constexpr int kAttempts = 2;

constexpr long kFlashChunk = 4096;
constexpr int kPagesPerChunk = 16;
constexpr int kEmptyRepliesAccepted = 8;

bool transfer(libusb_device_handle* handle, uint8_t type, uint8_t request, uint16_t index, uint16_t value,
              uint8_t* data, long& length) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const int result = kxusb_control_transfer(handle, type, request, value, index, data,
                                              static_cast<uint16_t>(length), kTimeoutMs);
    if (result >= 0) {
      length = result;
      return true;
    }
  }
  return false;
}

}  // namespace

bool EP0Read(libusb_device_handle* handle, uint8_t request, uint16_t index, uint16_t value, uint8_t* data,
             long& length) {
  return transfer(handle, kVendorIn, request, index, value, data, length);
}

bool EP0Write(libusb_device_handle* handle, uint8_t request, uint16_t index, uint16_t value, uint8_t* data,
              long& length) {
  return transfer(handle, kVendorOut, request, index, value, data, length);
}

std::optional<ShortReply> read_short(libusb_device_handle* handle, uint8_t request, uint16_t index,
                                     uint16_t value) {
  ShortReply reply;
  if (!EP0Read(handle, request, index, value, reply.bytes.data(), reply.length)) return std::nullopt;
  return reply;
}

bool write_short(libusb_device_handle* handle, uint8_t request, uint16_t index, uint16_t value) {
  long no_data = 0;
  return EP0Write(handle, request, index, value, nullptr, no_data) || fail(KXCAM_ERROR_WRITE_REQUEST);
}

bool sccb_write_raw(libusb_device_handle* handle, uint32_t reg, uint32_t value) {
  return write_short(handle, bridge::kSensorWrite, static_cast<uint16_t>(reg), static_cast<uint16_t>(value));
}

bool ReadSPI(libusb_device_handle* handle, int page, uint8_t* data, long length) {
  // The data pointer moves a whole chunk per request however few bytes came, so a camera that answers
  // short would walk it past the caller's buffer: `room` is what is really left there.
  long room = length;
  int empty_replies = 0;
  while (length > 0 && room > 0 && empty_replies < kEmptyRepliesAccepted) {
    const long requested = std::min({length, room, kFlashChunk});
    long received = requested;
    EP0Read(handle, bridge::kFlashRead, static_cast<uint16_t>(page), 0, data, received);
    length -= received;
    if (received == 0) {
      ++empty_replies;
      continue;
    }
    data += std::min(kFlashChunk, room);
    room -= kFlashChunk;
  }
  return true;
}

bool WirteSPI(libusb_device_handle* handle, int page, uint8_t* data, long length) {
  int empty_replies = 0;
  while (length > 0 && empty_replies < kEmptyRepliesAccepted) {
    long sent = std::min(length, kFlashChunk);
    EP0Write(handle, bridge::kFlashWrite, static_cast<uint16_t>(page), 0, data, sent);
    page += kPagesPerChunk;
    length -= sent;
    if (sent == 0) ++empty_replies;
  }
  return true;
}

}  // namespace kxcam
