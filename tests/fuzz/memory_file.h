// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

#include "require.h"

namespace kxcam {

/// A file that others open by its path like any other, without a place on a disk.
class MemoryFile {
 public:
  MemoryFile() : file_(memfd_create("fuzz", MFD_CLOEXEC)) { require(file_ >= 0, "a file is made"); }
  ~MemoryFile() { close(file_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(file_); }

  /// Replaces what the file holds.
  void write(std::span<const uint8_t> bytes) const {
    const bool written = ftruncate(file_, 0) == 0 &&
                         pwrite(file_, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size());
    require(written, "a file is written");
  }

 private:
  int file_;
};

}  // namespace kxcam
