// SPDX-License-Identifier: Apache-2.0
#include "process_usage.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <unistd.h>

namespace kxcam::soak {

namespace {

int64_t entries(const char* folder) {
  using Iterator = std::filesystem::directory_iterator;
  return std::distance(Iterator(folder), Iterator());
}

}  // namespace

void ProcessUsage::include(const ProcessUsage& other) {
  resident_kib = std::max(resident_kib, other.resident_kib);
  descriptors = std::max(descriptors, other.descriptors);
  threads = std::max(threads, other.threads);
}

ProcessUsage process_usage() {
  int64_t pages = 0;
  int64_t resident_pages = 0;
  if (!(std::ifstream("/proc/self/statm") >> pages >> resident_pages))
    throw std::runtime_error("cannot read /proc/self/statm");
  // The descriptor that reads the folder is among those it lists.
  return {.resident_kib = resident_pages * sysconf(_SC_PAGESIZE) / 1024,
          .descriptors = entries("/proc/self/fd") - 1,
          .threads = entries("/proc/self/task")};
}

}  // namespace kxcam::soak
