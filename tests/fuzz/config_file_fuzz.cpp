// SPDX-License-Identifier: Apache-2.0
// Reads any configuration file twice: what is kept of it stays within its bounds, and the second reading
// appends what the first one did.
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "memory_file.h"
#include "require.h"
// The table of devices is never emptied, as no program needs that. From here every input begins with an empty
// one.
#include "usb/config_file.cpp"  // NOLINT(bugprone-suspicious-include)

namespace kxcam {
namespace {

std::jmp_buf malformed;
bool reading = false;
std::FILE* left_open = nullptr;

/// False when the process would have ended.
bool read() {
  reading = true;
  const bool finished = setjmp(malformed) == 0;
  if (finished) require(read_config_file(), "a file that exists is read");
  reading = false;
  if (left_open != nullptr) std::fclose(left_open);
  return finished;
}

bool ends(std::span<const char> text) {
  return std::memchr(text.data(), 0, text.size()) != nullptr;
}

void check_bounds() {
  require(maxdevices >= kFirstFileRow && maxdevices <= kMaxDevices, "the rows in use are those there are");
  for (const VpdRow& row : vpd) require(ends(row.description), "a description ends");
  require(ends(logfile) && ends(pidfile), "a path ends");
}

bool same(const VpdRow& a, const VpdRow& b) {
  return a.vendor == b.vendor && a.product == b.product && a.description == b.description;
}

void check_repeated(int rows) {
  const int repeated = std::min(2 * rows, kMaxDevices - kFirstFileRow);
  require(maxdevices == kFirstFileRow + repeated, "a second reading appends as many rows");
  for (int i = rows; i < repeated; ++i)
    require(same(listed_devices()[kFirstFileRow + i], listed_devices()[kFirstFileRow + i - rows]),
            "and the same");
}

}  // namespace
}  // namespace kxcam

// The linker puts these in the place of the functions they are named for.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

std::FILE* __real_fopen(const char* path, const char* mode);
int __real_fclose(std::FILE* file);
[[noreturn]] void __real_exit(int status);

std::FILE* __wrap_fopen(const char* path, const char* mode) {
  std::FILE* file = __real_fopen(path, mode);
  if (kxcam::reading) kxcam::left_open = file;
  return file;
}

int __wrap_fclose(std::FILE* file) {
  if (file == kxcam::left_open) kxcam::left_open = nullptr;
  return __real_fclose(file);
}

void __wrap_exit(int status) {
  if (kxcam::reading) std::longjmp(kxcam::malformed, 1);
  __real_exit(status);
}
}
// NOLINTEND(bugprone-reserved-identifier)

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kxcam;
  static const MemoryFile file;
  setenv("KXUSB_CONF", file.path().c_str(), 1);
  file.write({data, size});
  vpd = {};
  maxdevices = kFirstFileRow;
  const bool well_formed = read();
  check_bounds();
  const int rows = maxdevices - kFirstFileRow;
  // A table that was filled hides what is malformed behind its last row.
  if (read() && well_formed) check_repeated(rows);
  check_bounds();
  return 0;
}
