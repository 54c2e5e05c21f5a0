// SPDX-License-Identifier: Apache-2.0
#include "http_client.h"

#include <cstring>
#include <stdexcept>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

HttpClient::HttpClient(int port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const timeval patience = {.tv_sec = 60, .tv_usec = 0};
  setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    throw std::runtime_error(std::strerror(errno));
}

HttpClient::~HttpClient() {
  close(socket_);
}

void HttpClient::send(const std::string& bytes) {
  for (size_t gone = 0; gone < bytes.size();) {
    const ssize_t count = ::send(socket_, bytes.data() + gone, bytes.size() - gone, MSG_NOSIGNAL);
    if (count <= 0) return;  // closed: what it has to say can still be received
    gone += static_cast<size_t>(count);
  }
}

bool HttpClient::receive_more() {
  char bytes[65536];
  const ssize_t count = recv(socket_, bytes, sizeof bytes, 0);
  if (count <= 0) return false;
  received_.append(bytes, static_cast<size_t>(count));
  return true;
}

bool HttpClient::is_closed() {
  while (receive_more()) {
  }
  return errno != EAGAIN;
}

Answer HttpClient::receive() {
  size_t end = 0;
  while ((end = received_.find("\r\n\r\n")) == std::string::npos) {
    if (!receive_more()) return {};
  }
  Answer answer;
  answer.head = received_.substr(0, end + 2);
  answer.status = std::stoi(answer.head.substr(answer.head.find(' ')));
  const auto length = answer.head.find("Content-Length: ");
  const size_t size = length == std::string::npos ? 0 : std::stoul(answer.head.substr(length + 16));
  while (received_.size() < end + 4 + size) {
    if (!receive_more()) return {};
  }
  answer.body = received_.substr(end + 4, size);
  received_.erase(0, end + 4 + size);
  return answer;
}

namespace {

size_t length_in_front(const std::string& body) {
  uint32_t length = 0;
  if (body.size() < sizeof length) throw std::runtime_error("no length: " + body);
  std::memcpy(&length, body.data(), sizeof length);
  if (body.size() < sizeof length + length) throw std::runtime_error("shorter than its length");
  return length;
}

}  // namespace

nlohmann::json json_in_front(const std::string& body) {
  return nlohmann::json::parse(body.substr(4, length_in_front(body)));
}

std::string bytes_behind(const std::string& body) {
  return body.substr(4 + length_in_front(body));
}
