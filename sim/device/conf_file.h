// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

namespace kxsim {

/// A transport configuration file with the ids of all models, which exists as long as this object.
class TemporaryConfFile {
 public:
  /// Throws std::runtime_error when it cannot be written.
  TemporaryConfFile();
  ~TemporaryConfFile();
  TemporaryConfFile(const TemporaryConfFile&) = delete;
  TemporaryConfFile& operator=(const TemporaryConfFile&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace kxsim
