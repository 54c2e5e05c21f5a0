// SPDX-License-Identifier: Apache-2.0
#include "doctor/device_holders.h"

#include <charconv>
#include <set>
#include <system_error>

#include <unistd.h>

#include "small_file.h"

namespace kxcam::doctor {
namespace {

namespace fs = std::filesystem;

// Whatever vanishes or may not be seen meanwhile is left out.
template <class Visit>
void for_each_entry(const fs::path& folder, Visit visit) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    visit(entry->path());
  }
}

int process_number(const fs::path& folder) {
  const std::string name = folder.filename().string();
  int number = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
  return error == std::errc{} && end == name.data() + name.size() ? number : 0;
}

std::set<std::string> open_nodes(const fs::path& process) {
  std::set<std::string> nodes;
  for_each_entry(process / "fd", [&nodes](const fs::path& descriptor) {
    std::error_code error;
    std::string target = fs::read_symlink(descriptor, error).string();
    if (target.starts_with("/dev/bus/usb/")) nodes.insert(std::move(target));
  });
  return nodes;
}

}  // namespace

Holders find_holders(const fs::path& proc) {
  Holders holders;
  for_each_entry(proc, [&holders](const fs::path& process) {
    const int pid = process_number(process);
    if (pid <= 0 || pid == getpid()) return;
    for (const auto& node : open_nodes(process)) {
      holders[node].push_back({pid, printable(read_line(process / "comm"))});
    }
  });
  return holders;
}

}  // namespace kxcam::doctor
