// SPDX-License-Identifier: Apache-2.0
#include "usbredir/listening_socket.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

#include <sys/socket.h>
#include <sys/un.h>

namespace kxsim {
namespace {

constexpr int kType = SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC;

[[noreturn]] void refuse(const std::filesystem::path& path, const char* reason) {
  throw std::runtime_error("cannot listen at " + path.string() + ": " + reason);
}

sockaddr_un address_of(const std::filesystem::path& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const auto& name = path.native();
  if (name.size() >= sizeof address.sun_path) refuse(path, "the path is too long for a socket");
  std::memcpy(address.sun_path, name.c_str(), name.size() + 1);
  return address;
}

const sockaddr* generic(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

/// A process that was killed leaves the file of its socket behind.
void remove_abandoned(const std::filesystem::path& path, const sockaddr_un& address) {
  std::error_code ignored;
  if (!std::filesystem::is_socket(path, ignored)) return;
  const FileDescriptor probe(socket(AF_UNIX, kType, 0));
  if (connect(probe.get(), generic(address), sizeof address) == 0 || errno != ECONNREFUSED) return;
  std::filesystem::remove(path, ignored);
}

}  // namespace

ListeningSocket::ListeningSocket(std::filesystem::path path) : path_(std::move(path)) {
  const auto address = address_of(path_);
  remove_abandoned(path_, address);
  socket_ = FileDescriptor(socket(AF_UNIX, kType, 0));
  if (!socket_ || bind(socket_.get(), generic(address), sizeof address) != 0)
    refuse(path_, std::strerror(errno));
  if (listen(socket_.get(), 1) == 0) return;
  const int error = errno;
  unlink(path_.c_str());
  refuse(path_, std::strerror(error));
}

ListeningSocket::~ListeningSocket() {
  unlink(path_.c_str());
}

FileDescriptor ListeningSocket::accept() {
  return FileDescriptor(accept4(socket_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
}

}  // namespace kxsim
