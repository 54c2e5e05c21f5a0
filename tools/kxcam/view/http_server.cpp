// SPDX-License-Identifier: Apache-2.0

// The only file that includes the HTTP library, which takes long to compile.

#include "http_server.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <variant>

#include <fmt/format.h>
#include <httplib.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "error.h"
#include "guard.h"
#include "request_head.h"

namespace kxcam::view {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr std::size_t kThreads = 24;
constexpr std::size_t kMostStrangers = 8;
constexpr seconds kPatienceWithStranger{5};  ///< until its next request begins
constexpr seconds kPatienceWithFriend{60};
constexpr seconds kRequestLimit{10};  ///< from its first byte to its last
constexpr seconds kWriteLimit{5};     ///< without any progress
constexpr std::string_view kHeadEnd = "\r\n\r\n";

/// The bytes of a connection, in both directions.
class Pipe {
 public:
  virtual ~Pipe() = default;
  /// Bytes received; 0 at the end or when none came until then.
  virtual std::size_t receive(char* bytes, std::size_t most, Clock::time_point until) = 0;
  /// Bytes sent; 0 when the other side does not take them.
  virtual std::size_t send(const char* bytes, std::size_t count) = 0;
  virtual int descriptor() const { return -1; }
};

int milliseconds_until(Clock::time_point until) {
  const auto left = std::chrono::ceil<milliseconds>(until - Clock::now()).count();
  return static_cast<int>(std::clamp<int64_t>(left, 0, 3'600'000));
}

class SocketPipe final : public Pipe {
 public:
  explicit SocketPipe(int socket) : socket_(socket) {}

  std::size_t receive(char* bytes, std::size_t most, Clock::time_point until) override {
    if (!is_ready(POLLIN, until)) return 0;
    const ssize_t got = recv(socket_, bytes, most, 0);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
  }

  std::size_t send(const char* bytes, std::size_t count) override {
    if (!is_ready(POLLOUT, Clock::now() + kWriteLimit)) return 0;
    const ssize_t gone = ::send(socket_, bytes, count, MSG_NOSIGNAL | MSG_DONTWAIT);
    return gone > 0 ? static_cast<std::size_t>(gone) : 0;
  }

  int descriptor() const override { return socket_; }

 private:
  bool is_ready(short what, Clock::time_point until) const {
    pollfd waited = {.fd = socket_, .events = what, .revents = 0};
    for (;;) {
      const int ready = poll(&waited, 1, milliseconds_until(until));
      if (ready >= 0 || errno != EINTR) return ready > 0;
    }
  }

  int socket_;
};

/// A client whose bytes are all there, and whose answers are kept.
class MemoryPipe final : public Pipe {
 public:
  explicit MemoryPipe(std::string_view sent) : sent_(sent) {}

  std::size_t receive(char* bytes, std::size_t most, Clock::time_point /*until*/) override {
    const std::size_t count = sent_.copy(bytes, most);
    sent_.remove_prefix(count);
    return count;
  }
  std::size_t send(const char* bytes, std::size_t count) override {
    answer_.append(bytes, count);
    return count;
  }
  std::string answer() && { return std::move(answer_); }

 private:
  std::string_view sent_;
  std::string answer_;
};

/// What the HTTP library reads of a connection: one sifted head after the other, each with its body.
class Exchange final : public httplib::Stream {
 public:
  explicit Exchange(Pipe& pipe) : pipe_(pipe) {}

  /// Waits for a request to begin and reads its head; false when there is none.
  bool next(seconds patience) {
    refusal_.reset();
    if (received_.empty() && !receive_more(Clock::now() + patience)) return false;
    deadline_ = Clock::now() + kRequestLimit;
    std::size_t end = 0;
    while ((end = received_.find(kHeadEnd)) == std::string::npos) {
      if (received_.size() >= kMostHeadBytes) return give_up({431, "the head of the request is too long"});
      if (!receive_more(deadline_)) return false;
    }
    const auto sifted = sift_head(std::string_view(received_).substr(0, end + kHeadEnd.size()));
    if (const auto* refused = std::get_if<HeadRefusal>(&sifted)) return give_up(*refused);
    const auto& head = std::get<RequestHead>(sifted);
    received_.erase(0, end + kHeadEnd.size());
    head_ = head.text;
    body_left_ = head.body_bytes;
    return true;
  }

  /// Reads what is left of a body that nobody wanted, so that the answer arrives.
  void skip_body() {
    char ignored[4096];
    while (body_left_ > 0 && read(ignored, sizeof ignored) > 0) {
    }
  }
  bool body_is_complete() const { return body_left_ == 0; }
  const std::optional<HeadRefusal>& refusal() const { return refusal_; }

  bool is_readable() const override { return true; }
  bool is_writable() const override { return true; }

  ssize_t read(char* bytes, std::size_t most) override {
    if (!head_.empty()) {
      const std::size_t count = head_.copy(bytes, most);
      head_.erase(0, count);
      return static_cast<ssize_t>(count);
    }
    const std::size_t wanted = std::min(most, body_left_);
    if (wanted == 0 || (received_.empty() && !receive_more(deadline_))) return 0;
    const std::size_t count = received_.copy(bytes, wanted);
    received_.erase(0, count);
    body_left_ -= count;
    return static_cast<ssize_t>(count);
  }

  using httplib::Stream::write;
  ssize_t write(const char* bytes, std::size_t count) override {
    const std::size_t gone = pipe_.send(bytes, count);
    return gone > 0 ? static_cast<ssize_t>(gone) : -1;
  }

  void get_remote_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
  void get_local_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
  socket_t socket() const override { return pipe_.descriptor(); }

 private:
  /// The library gets a request that has nothing of the refused one, and answers it with the refusal.
  bool give_up(const HeadRefusal& refusal) {
    refusal_ = refusal;
    head_ = "GET / HTTP/1.1\r\nconnection: close\r\n\r\n";
    body_left_ = 0;
    return true;
  }

  bool receive_more(Clock::time_point until) {
    char bytes[4096];
    const std::size_t count = pipe_.receive(bytes, sizeof bytes, until);
    received_.append(bytes, count);
    return count > 0;
  }

  Pipe& pipe_;
  std::string head_;
  std::string received_;  ///< behind the head
  std::size_t body_left_ = 0;
  Clock::time_point deadline_;
  std::optional<HeadRefusal> refusal_;
};

/// The connections that are being served.
class Connections {
 public:
  struct Connection {
    int socket;
    bool trusted = false;
  };
  using Place = std::list<Connection>::iterator;

  Place enter(int socket) {
    const std::lock_guard lock(mutex_);
    all_.push_back({socket});
    if (ended_) shutdown(socket, SHUT_RDWR);
    make_room();
    return std::prev(all_.end());
  }
  void leave(Place place) {
    const std::lock_guard lock(mutex_);
    close(place->socket);
    all_.erase(place);
  }
  void trust(Place place) {
    const std::lock_guard lock(mutex_);
    place->trusted = true;
  }
  void end_all() {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    for (const Connection& each : all_) shutdown(each.socket, SHUT_RDWR);
  }

 private:
  void make_room() {
    const auto is_stranger = [](const Connection& each) { return !each.trusted; };
    if (static_cast<std::size_t>(std::ranges::count_if(all_, is_stranger)) <= kMostStrangers) return;
    shutdown(std::ranges::find_if(all_, is_stranger)->socket, SHUT_RDWR);
  }

  std::mutex mutex_;
  std::list<Connection> all_;  ///< the oldest first
  bool ended_ = false;
};

HttpRequest request_of(const httplib::Request& request) {
  HttpRequest own{.method = request.method,
                  .path = request.path,
                  .query = {request.params.begin(), request.params.end()},
                  .headers = {},
                  .body = request.body};
  for (const auto& [name, value] : request.headers) own.headers.emplace(name, value);
  return own;
}

void reply_with(HttpReply reply, httplib::Response& response) {
  response.status = reply.status;
  response.body = std::move(reply.body);
  response.set_header("Content-Type", reply.type);
  for (const auto& [name, value] : reply.headers) response.set_header(name, value);
}

/// The library's server, with conversations of our own.
class Server final : public httplib::Server {
 public:
  Server() {
    set_default_headers(
        {{"Content-Security-Policy",
          "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; "
          "connect-src 'self'; frame-ancestors 'none'; base-uri 'none'; form-action 'none'; "
          "require-trusted-types-for 'script'"},
         {"Cross-Origin-Resource-Policy", "same-origin"},
         {"Cross-Origin-Opener-Policy", "same-origin"},
         {"X-Content-Type-Options", "nosniff"},
         {"Referrer-Policy", "no-referrer"},
         {"Cache-Control", "no-store"}});
    set_payload_max_length(kMostBodyBytes);
    set_tcp_nodelay(true);
    set_keep_alive_max_count(1'000'000);
    set_keep_alive_timeout(kPatienceWithFriend.count());
    // A port that another process listens on is not shared with it.
    set_socket_options([](socket_t socket) {
      const int on = 1;
      setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    });
    new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
    set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
      return refuse(request, response) ? HandlerResponse::Handled : HandlerResponse::Unhandled;
    });
    const auto answer = [this](const httplib::Request& request, httplib::Response& response) {
      reply_with(service_->answer(request_of(request)), response);
    };
    Get(".*", answer);
    Post(".*", answer);
    set_exception_handler([](const auto& /*request*/, httplib::Response& response, auto /*exception*/) {
      reply_with(plain_reply(500, "an internal error"), response);
    });
  }

  void serve(HttpService& service) { service_ = &service; }

  /// The library lets no more than five wait to be accepted; one that comes then tries again after a second.
  void let_more_wait() { ::listen(svr_sock_, SOMAXCONN); }
  Connections& connections() { return connections_; }

  /// Calls `trust` when the client has shown the token.
  void converse(Pipe& pipe, const std::function<void()>& trust) {
    Exchange exchange(pipe);
    Talk talk{exchange, trust};
    talk_ = &talk;
    bool closed = false;
    while (!closed && exchange.next(talk.trusted ? kPatienceWithFriend : kPatienceWithStranger)) {
      if (!process(*this, exchange, closed)) break;
      exchange.skip_body();
      closed = closed || !exchange.body_is_complete() || exchange.refusal();
    }
    talk_ = nullptr;
  }

 private:
  struct Talk {
    Exchange& exchange;
    const std::function<void()>& trust;
    bool trusted = false;
  };

  /// Later versions of the library want the addresses of both sides, too.
  template <class Self>
  static bool process(Self& self, Exchange& exchange, bool& closed) {
    if constexpr (requires { self.process_request(exchange, false, closed, nullptr); }) {
      return self.process_request(exchange, false, closed, nullptr);
    } else {
      return self.process_request(exchange, "", 0, "", 0, false, closed, nullptr);
    }
  }

  bool process_and_close_socket(socket_t socket) override {
    const auto place = connections_.enter(socket);
    SocketPipe pipe(socket);
    converse(pipe, [&] { connections_.trust(place); });
    linger(pipe);
    connections_.leave(place);
    return true;
  }

  /// A socket closed with bytes unread takes the answer with it.
  static void linger(SocketPipe& pipe) {
    shutdown(pipe.descriptor(), SHUT_WR);
    char ignored[4096];
    const auto deadline = Clock::now() + seconds(1);
    for (std::size_t all = 0; all < kMostBodyBytes;) {
      const std::size_t count = pipe.receive(ignored, sizeof ignored, deadline);
      if (count == 0) break;
      all += count;
    }
  }

  bool refuse(const httplib::Request& request, httplib::Response& response) {
    HttpReply reply;
    if (const auto& refusal = talk_->exchange.refusal()) {
      reply = plain_reply(refusal->status, refusal->reason);
    } else {
      const Admission admission = service_->admit(request_of(request), reply);
      if (admission == Admission::kFriend && !std::exchange(talk_->trusted, true)) talk_->trust();
      if (admission != Admission::kRefused) return false;
    }
    reply_with(std::move(reply), response);
    return true;
  }

  static thread_local Talk* talk_;  ///< that the thread is in
  HttpService* service_ = nullptr;
  Connections connections_;
};

thread_local Server::Talk* Server::talk_ = nullptr;

}  // namespace

class HttpServer::Implementation {
 public:
  explicit Implementation(int port) : port_(port) {
    constexpr const char* kAddress = "127.0.0.1";
    if (port == 0) {
      port_ = server_.bind_to_any_port(kAddress);
    } else if (!server_.bind_to_port(kAddress, port)) {
      port_ = -1;
    }
    if (port_ > 0) {
      server_.let_more_wait();
      return;
    }
    throw Error(ExitCode::kFailure, fmt::format("port {} is taken, or may not be used", port),
                "Choose another with --port, or leave the option out.");
  }

  ~Implementation() { stop(); }

  void stop() {
    if (!thread_.joinable()) return;
    // Without effect before the server runs.
    while (!server_.is_running()) std::this_thread::sleep_for(milliseconds(1));
    server_.stop();
    server_.connections().end_all();
    thread_.join();
  }

  int port() const { return port_; }

  void start(HttpService& service) {
    server_.serve(service);
    thread_ = std::thread([this] { server_.listen_after_bind(); });
  }

 private:
  Server server_;
  int port_;
  std::thread thread_;
};

HttpServer::HttpServer(int port) : implementation_(std::make_unique<Implementation>(port)) {}
HttpServer::~HttpServer() = default;

int HttpServer::port() const {
  return implementation_->port();
}

void HttpServer::start(HttpService& service) {
  implementation_->start(service);
}

void HttpServer::stop() {
  implementation_->stop();
}

std::string HttpServer::converse(HttpService& service, std::string_view sent) {
  static Server server;
  server.serve(service);
  MemoryPipe pipe(sent);
  server.converse(pipe, [] {});
  return std::move(pipe).answer();
}

}  // namespace kxcam::view
