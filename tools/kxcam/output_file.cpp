// SPDX-License-Identifier: Apache-2.0
#include "output_file.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "error.h"

namespace kxcam {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& name, int error) {
  throw Error(ExitCode::kFailure,
              fmt::format("cannot write {}: {}", name, std::generic_category().message(error)));
}

/// An open file; closing it by hand tells whether all of it was stored.
class OpenFile {
 public:
  OpenFile(int file, std::string name) : file_(file), name_(std::move(name)) {
    if (file_ < 0) fail(name_, errno);
  }
  ~OpenFile() {
    if (file_ >= 0) ::close(file_);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  int number() const { return file_; }
  void close() {
    if (::close(std::exchange(file_, -1)) != 0) fail(name_, errno);
  }

 private:
  int file_;
  std::string name_;
};

/// Removes a file unless it was given its final name.
class TemporaryName {
 public:
  explicit TemporaryName(std::string name) : name_(std::move(name)) {}
  ~TemporaryName() {
    if (!name_.empty()) unlink(name_.c_str());
  }
  TemporaryName(const TemporaryName&) = delete;
  TemporaryName& operator=(const TemporaryName&) = delete;

  void rename_to(const fs::path& path) {
    if (rename(name_.c_str(), path.c_str()) != 0) fail(path.string(), errno);
    name_.clear();
  }

 private:
  std::string name_;
};

mode_t default_permissions() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

bool is_special(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  return fs::exists(status) && !fs::is_regular_file(status);
}

/// Where a path leads: through symbolic links, of which the last may name a file that is not there yet.
fs::path target_of(fs::path path) {
  constexpr int kMostLinks = 40;  // as the kernel follows
  std::error_code error;
  for (int links = 0; links < kMostLinks && fs::is_symlink(path, error); ++links) {
    path = path.parent_path() / fs::read_symlink(path, error);
  }
  return path;
}

void write_in_place(const fs::path& path, std::span<const uint8_t> bytes) {
  OpenFile file(open(path.c_str(), O_WRONLY | O_CLOEXEC), path.string());
  write_all(file.number(), bytes, path.string());
  file.close();
}

void write_and_rename(const fs::path& path, std::span<const uint8_t> bytes) {
  std::string name = path.string() + ".XXXXXX";
  OpenFile file(mkostemp(name.data(), O_CLOEXEC), path.string());
  TemporaryName temporary(name);
  write_all(file.number(), bytes, path.string());
  if (fchmod(file.number(), default_permissions()) != 0) fail(path.string(), errno);
  file.close();
  temporary.rename_to(path);
}

}  // namespace

void write_all(int file, std::span<const uint8_t> bytes, const std::string& name) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(file, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) fail(name, written < 0 ? errno : EIO);
    bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
}

void require_folder(const fs::path& path) {
  const fs::path folder = target_of(path).parent_path();
  std::error_code error;
  if (folder.empty() || fs::is_directory(folder, error)) return;
  throw Error(ExitCode::kFailure,
              fmt::format("cannot write {}: there is no folder {}", path.string(), folder.string()),
              fmt::format("`mkdir -p {}` makes it.", folder.string()));
}

void write_file(const fs::path& path, std::span<const uint8_t> bytes) {
  require_folder(path);
  const fs::path target = target_of(path);
  if (is_special(target)) {
    write_in_place(target, bytes);
  } else {
    write_and_rename(target, bytes);
  }
}

}  // namespace kxcam
