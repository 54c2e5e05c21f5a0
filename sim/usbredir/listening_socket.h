// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

#include "usbredir/file_descriptor.h"

namespace kxsim {

/// A UNIX socket that peers connect to; its file exists as long as this object.
class ListeningSocket {
 public:
  /// Takes the place of a socket that nobody listens to any more. Throws std::runtime_error when the path is
  /// too long or taken, or the socket cannot be made.
  explicit ListeningSocket(std::filesystem::path path);
  ~ListeningSocket();
  ListeningSocket(const ListeningSocket&) = delete;
  ListeningSocket& operator=(const ListeningSocket&) = delete;

  int descriptor() const { return socket_.get(); }
  const std::filesystem::path& path() const { return path_; }
  /// Nothing in it when nobody waits to be connected.
  FileDescriptor accept();

 private:
  std::filesystem::path path_;
  FileDescriptor socket_;
};

}  // namespace kxsim
