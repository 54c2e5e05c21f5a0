// SPDX-License-Identifier: Apache-2.0
#include "small_file.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace kxcam {
namespace {

class OpenFile {
 public:
  // By open(), not by a stream: that is where the simulated bus stands in for the kernel's.
  explicit OpenFile(const std::filesystem::path& file) : file_(open(file.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~OpenFile() {
    if (file_ >= 0) close(file_);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  int number() const { return file_; }

 private:
  int file_;
};

}  // namespace

std::string read_small_file(const std::filesystem::path& file, int& error) {
  const OpenFile open(file);
  std::string text(kSmallFile, '\0');
  std::size_t size = 0;
  ssize_t got = open.number() < 0 ? -1 : 1;
  while (got > 0 && size < text.size()) {
    got = read(open.number(), text.data() + size, text.size() - size);
    if (got > 0) size += static_cast<std::size_t>(got);
  }
  error = got < 0 ? errno : 0;
  text.resize(got < 0 ? 0 : size);
  return text;
}

std::string read_line(const std::filesystem::path& file) {
  int error = 0;
  const std::string text = read_small_file(file, error);
  return text.substr(0, text.find('\n'));
}

std::string printable(std::string text) {
  std::ranges::replace_if(
      text, [](char c) { return c < ' ' || c > '~'; }, '?');
  return text;
}

}  // namespace kxcam
