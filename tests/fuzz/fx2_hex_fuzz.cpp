// SPDX-License-Identifier: Apache-2.0
// Downloads any file into a bridge that takes any number of the requests: what is sent has to be what a plain
// reading of the file's lines gives, between the two that hold and release the bridge's CPU.
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "input.h"
#include "memory_file.h"
#include "require.h"
#include "usb/kxusb.h"

namespace kxcam {
namespace {

constexpr uint8_t kRequest = 0xA3;
constexpr size_t kLongestLine = 255;

struct Request {
  uint8_t request;
  uint16_t address;
  std::vector<uint8_t> data;

  bool operator==(const Request&) const = default;
};

std::vector<Request> sent;
int taken = 0;  ///< requests that the bridge answers with their length; the next one transfers nothing

unsigned digit(std::string_view line, size_t at) {
  const std::string_view digits = "0123456789abcdef";
  if (at >= line.size()) return 0;
  const size_t value = digits.find(static_cast<char>(std::tolower(static_cast<unsigned char>(line[at]))));
  return value == std::string_view::npos ? 0 : static_cast<unsigned>(value);
}

uint8_t pair(std::string_view line, size_t at) {
  return at + 1 < line.size() ? static_cast<uint8_t>(digit(line, at) * 16 + digit(line, at + 1)) : uint8_t{0};
}

/// What is read of a file at once: up to a line's end, but no more than fits, and of that what is before a
/// zero.
std::string_view next_line(std::string_view& text) {
  const std::string_view read = text.substr(0, std::min(text.find('\n'), kLongestLine - 1) + 1);
  text.remove_prefix(read.size());
  return read.substr(0, read.find('\0'));
}

std::vector<Request> records(std::string_view text) {
  std::vector<Request> records;
  while (!text.empty()) {
    const std::string_view line = next_line(text);
    if (line.size() > 8 && line[8] == '1') break;
    Request record{kRequest, static_cast<uint16_t>(pair(line, 3) << 8 | pair(line, 5)), {}};
    for (unsigned i = 0; i < pair(line, 1); ++i) record.data.push_back(pair(line, 9 + 2 * i));
    records.push_back(record);
  }
  return records;
}

std::vector<Request> download_of(std::string_view text) {
  std::vector<Request> all = records(text);
  all.insert(all.begin(), Request{0xA0, 0xE600, {1}});
  all.push_back(Request{0xA0, 0xE600, {0}});
  if (static_cast<size_t>(taken) < all.size()) all.resize(static_cast<size_t>(taken) + 1);
  return all;
}

}  // namespace
}  // namespace kxcam

// The linker puts this in the place of the delays of a download.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" int __wrap_nanosleep(const timespec* /*time*/, timespec* /*left*/) {
  return 0;
}

int libusb_control_transfer(libusb_device_handle* /*handle*/, uint8_t /*type*/, uint8_t request,
                            uint16_t value, uint16_t /*index*/, unsigned char* data, uint16_t length,
                            unsigned int /*timeout*/) {
  using namespace kxcam;
  sent.push_back({request, value, {data, data + length}});
  // An error counts as taken; a record without data transfers nothing, but a bridge may fail it.
  if (static_cast<int>(sent.size()) > taken) return 0;
  return length > 0 ? length : LIBUSB_ERROR_IO;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kxcam;
  static const MemoryFile file;
  Input input({data, size});
  taken = input.byte();
  const auto text = input.rest();
  file.write(text);
  sent.clear();
  const int result = kxusb_download_fx2(nullptr, file.path().c_str(), kRequest);
  require(result == 0, "a download always returns 0");
  require(sent == download_of({reinterpret_cast<const char*>(text.data()), text.size()}),
          "the records of the file are sent");
  return 0;
}
