// SPDX-License-Identifier: Apache-2.0
#include "usbfs/control_socket.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "usbfs/libc.h"

namespace kxsim {
namespace {

constexpr size_t kLongestLine = 65536;

int listening_socket = -1;  // of this process

[[noreturn]] void fail(const std::string& name) {
  throw std::system_error(errno, std::generic_category(), "cannot listen on " + name);
}

int listen_on(const std::string& name) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (name.size() >= sizeof address.sun_path) {
    errno = ENAMETOOLONG;
    fail(name);
  }
  name.copy(address.sun_path, name.size());
  if (name.front() == '@') address.sun_path[0] = '\0';
  const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
  const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) fail(name);
  if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), length) != 0 ||
      listen(descriptor, 8) != 0) {
    const int error = errno;
    libc::close(descriptor);
    errno = error;
    fail(name);
  }
  return descriptor;
}

bool may_command(int connection) {
  ucred peer{};
  socklen_t length = sizeof peer;
  if (getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0) return false;
  return peer.uid == geteuid() || peer.uid == 0;
}

/// False when the other side has gone.
bool answer(int connection, std::string_view text) {
  while (!text.empty()) {
    const auto sent = send(connection, text.data(), text.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    text.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

void converse(int connection, Console& console) {
  std::string text;
  std::array<char, 4096> bytes{};
  while (true) {
    const auto got = recv(connection, bytes.data(), bytes.size(), 0);
    if (got <= 0 || text.size() > kLongestLine) return;
    text.append(bytes.data(), static_cast<size_t>(got));
    for (size_t end = 0; (end = text.find('\n')) != std::string::npos; text.erase(0, end + 1)) {
      if (!answer(connection, console.execute(std::string_view(text).substr(0, end)))) return;
    }
  }
}

void serve(int listening, Console& console) {
  while (true) {
    const int connection = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) {
      if (errno == EBADF || errno == EINVAL) return;
      poll(nullptr, 0, 10);  // out of descriptors, perhaps
      continue;
    }
    try {
      std::thread([connection, console]() mutable {
        try {
          if (may_command(connection)) converse(connection, console);
        } catch (const std::bad_alloc&) {
          // The other side sees that it ends.
        }
        libc::close(connection);
      }).detach();
    } catch (const std::exception&) {
      libc::close(connection);
    }
  }
}

/// The program's signals are none of these threads' business; they inherit it.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace

void serve_control_socket(const std::string& name, Console console) {
  if (name.empty()) return;
  listening_socket = listen_on(name);
  // A forked child has no cameras, and must not keep the name.
  pthread_atfork(nullptr, nullptr, [] { libc::close(listening_socket); });
  const SignalsBlocked blocked;
  std::thread([listening = listening_socket, console = std::move(console)]() mutable {
    serve(listening, console);
  }).detach();
}

}  // namespace kxsim
