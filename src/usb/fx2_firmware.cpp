// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "sync/clock.h"
#include "usb/bridge.h"
#include "usb/kxusb.h"
#include "usb/message.h"

namespace kxcam {

namespace {

constexpr uint8_t kVendorOut = LIBUSB_REQUEST_TYPE_VENDOR;
constexpr uint16_t kCpuControl = 0xE600;
constexpr uint32_t kTimeoutMs = 1000;
constexpr int kSettleMs = 1000;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

using Line = std::array<char, 256>;

struct HexRecord {
  uint16_t address = 0;
  size_t count = 0;
  std::array<uint8_t, 255> data{};
};

unsigned hex_digit(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
  if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
  return 0;
}

/// Value of the two digits at `at`; what lies behind the end of the line counts as 0.
uint8_t hex_byte(const Line& line, size_t length, size_t at) {
  if (at + 1 >= length) return 0;
  return static_cast<uint8_t>(hex_digit(line[at]) << 4 | hex_digit(line[at + 1]));
}

/// Layout of a line: colon, count (2 digits), address (4), type (2), data, check sum.
HexRecord parse(const Line& line, size_t length) {
  HexRecord record;
  record.count = hex_byte(line, length, 1);
  record.address = static_cast<uint16_t>(hex_byte(line, length, 3) << 8 | hex_byte(line, length, 5));
  for (size_t i = 0; i < record.count; ++i) record.data[i] = hex_byte(line, length, 9 + 2 * i);
  return record;
}

bool is_end_record(const Line& line, size_t length) {
  return length > 8 && line[8] == '1';
}

/// False when nothing was transferred; an error of libusb is not noticed.
bool send(libusb_device_handle* handle, uint8_t request, uint16_t address, uint8_t* data, size_t count) {
  const bool moved = kxusb_control_transfer(handle, kVendorOut, request, address, 0, data,
                                            static_cast<uint16_t>(count), kTimeoutMs) != 0;
  if (!moved) say(stdout, "Error in control_transfer");
  return moved;
}

bool hold_cpu(libusb_device_handle* handle, uint8_t hold) {
  return send(handle, bridge::kInternalRam, kCpuControl, &hold, 1);
}

/// Total of bytes, or -1 when a record was not taken.
int send_records(libusb_device_handle* handle, std::FILE* file, uint8_t request) {
  int total = 0;
  Line line;
  while (std::fgets(line.data(), static_cast<int>(line.size()), file) != nullptr) {
    const size_t length = std::strlen(line.data());
    if (is_end_record(line, length)) break;
    HexRecord record = parse(line, length);
    if (!send(handle, request, record.address, record.data.data(), record.count)) return -1;
    total += static_cast<int>(record.count);
  }
  return total;
}

}  // namespace

int kxusb_download_fx2(libusb_device_handle* handle, const char* path, uint8_t request) {
  const File file(std::fopen(path, "re"));
  if (file == nullptr || !hold_cpu(handle, 1)) return 0;
  sysdelay(kSettleMs);
  const int total = send_records(handle, file.get(), request);
  if (total < 0) return 0;
  say(stdout, "Total bytes downloaded = " + std::to_string(total) + "\n");
  sysdelay(kSettleMs);
  hold_cpu(handle, 0);
  return 0;
}

}  // namespace kxcam
