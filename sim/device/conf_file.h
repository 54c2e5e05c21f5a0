// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace kxsim {

/// A transport configuration with the ids of all models.
std::string conf_text();

/// A file with conf_text() that only this process, and forked children, can read, and that ends with them.
class TemporaryConfFile {
 public:
  /// Throws std::system_error when it cannot be written.
  TemporaryConfFile();
  ~TemporaryConfFile();
  TemporaryConfFile(const TemporaryConfFile&) = delete;
  TemporaryConfFile& operator=(const TemporaryConfFile&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  int descriptor_;
  std::filesystem::path path_;
};

}  // namespace kxsim
