// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include <nlohmann/json.hpp>

struct Answer {
  int status = 0;  ///< 0: the connection was closed without one
  std::string head;
  std::string body;
};

/// A connection to a server on this machine that sends whatever it is told to.
class HttpClient {
 public:
  explicit HttpClient(int port);
  ~HttpClient();
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;

  void send(const std::string& bytes);
  Answer receive();
  /// Whether the other side has closed the connection within a while.
  bool is_closed();

 private:
  bool receive_more();

  int socket_;
  std::string received_;
};

/// What comes before the bytes in an answer about a picture.
nlohmann::json json_in_front(const std::string& body);
std::string bytes_behind(const std::string& body);
