// SPDX-License-Identifier: Apache-2.0
#include "doctor/node_access.h"

#include <algorithm>
#include <cerrno>
#include <span>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kxcam::doctor {
namespace {

bool is_in_group(gid_t group) {
  if (getegid() == group) return true;
  const int count = getgroups(0, nullptr);
  std::vector<gid_t> groups(static_cast<std::size_t>(std::max(count, 0)));
  const int got = getgroups(static_cast<int>(groups.size()), groups.data());
  groups.resize(static_cast<std::size_t>(std::max(got, 0)));
  return std::ranges::find(groups, group) != groups.end();
}

bool lists_user(const group& entry) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): the program has one thread here
  const passwd* user = getpwuid(geteuid());
  if (user == nullptr) return false;
  for (char** member = entry.gr_mem; *member != nullptr; ++member) {
    if (std::string_view(*member) == user->pw_name) return true;
  }
  return false;
}

Membership membership_in(const group& entry) {
  if (is_in_group(entry.gr_gid)) return Membership::kYes;
  return lists_user(entry) ? Membership::kAfterLogin : Membership::kNone;
}

}  // namespace

Node examine_node(const std::filesystem::path& file, std::string path) {
  Node node;
  node.path = std::move(path);
  node.error = faccessat(AT_FDCWD, file.c_str(), R_OK | W_OK, AT_EACCESS) == 0 ? 0 : errno;
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) return node;
  node.mode = status.st_mode & 0777U;
  // NOLINTNEXTLINE(concurrency-mt-unsafe): likewise
  const group* entry = getgrgid(status.st_gid);
  node.group = entry != nullptr ? entry->gr_name : std::to_string(status.st_gid);
  if (entry != nullptr) node.membership = membership_in(*entry);
  return node;
}

}  // namespace kxcam::doctor
