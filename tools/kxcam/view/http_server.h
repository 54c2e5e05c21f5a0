// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "http.h"

namespace kxcam::view {

/// Who asks.
enum class Admission {
  kRefused,
  kStranger,
  kFriend,  ///< has shown the token
};

/// Who answers requests, from several threads at a time.
class HttpService {
 public:
  virtual ~HttpService() = default;
  /// Whether to let a request in, before its body is read; `reply` is the answer to one that is refused.
  virtual Admission admit(const HttpRequest& request, HttpReply& reply) = 0;
  virtual HttpReply answer(const HttpRequest& request) = 0;
};

/// An HTTP server on 127.0.0.1. At most 24 connections are served at a time, of which at most 8 belong to
/// clients that have not shown the token: of these the oldest is closed for a new one, so that nobody can
/// keep the others out.
class HttpServer {
 public:
  /// Port 0 is any free one. Throws Error when the port is taken.
  explicit HttpServer(int port);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  int port() const;

  /// Begins to answer, in threads of its own, until it is stopped: the service has to live as long.
  void start(HttpService& service);

  /// Closes every connection.
  void stop();

  /// What a client gets that sends all of this over one connection.
  static std::string converse(HttpService& service, std::string_view sent);

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace kxcam::view
