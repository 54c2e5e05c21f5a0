// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <sys/socket.h>
#include <usbredirparser.h>

#include "device/transfer.h"
#include "usbredir/file_descriptor.h"

namespace kxsim {

/// The host's side of the protocol, as a virtual machine speaks it.
class RedirectionPeer {
 public:
  struct Reply {
    uint64_t id;
    uint8_t status;
    std::vector<uint8_t> bytes;
    size_t length;  ///< as the header gives it
  };

  explicit RedirectionPeer(FileDescriptor socket, bool acknowledges = true)
      : socket_(std::move(socket)), parser_(usbredirparser_create()) {
    set_callbacks();
    std::array<uint32_t, USB_REDIR_CAPS_SIZE> capabilities{};
    for (const int capability : {usb_redir_cap_connect_device_version, usb_redir_cap_ep_info_max_packet_size,
                                 usb_redir_cap_64bits_ids, usb_redir_cap_32bits_bulk_length}) {
      usbredirparser_caps_set_cap(capabilities.data(), capability);
    }
    if (acknowledges) usbredirparser_caps_set_cap(capabilities.data(), usb_redir_cap_device_disconnect_ack);
    usbredirparser_init(parser_.get(), "test", capabilities.data(), capabilities.size(), 0);
  }
  RedirectionPeer(const RedirectionPeer&) = delete;
  RedirectionPeer& operator=(const RedirectionPeer&) = delete;

  /// Reads and writes what there is; false when the other side is gone.
  bool serve() { return usbredirparser_do_read(parser_.get()) == 0 && write(); }
  /// Without reading.
  bool write() {
    return usbredirparser_has_data_to_write(parser_.get()) == 0 ||
           usbredirparser_do_write(parser_.get()) == 0;
  }

  /// Both return the number of the request.
  uint64_t control(const ControlSetup& setup, std::vector<uint8_t> data = {}) {
    usb_redir_control_packet_header header{};
    header.endpoint = setup.device_to_host() ? 0x80 : 0;
    header.requesttype = setup.request_type;
    header.request = setup.request;
    header.value = setup.value;
    header.index = setup.index;
    header.length = setup.length;
    usbredirparser_send_control_packet(parser_.get(), ++last_id_, &header, data.data(),
                                       static_cast<int>(data.size()));
    return last_id_;
  }
  uint64_t bulk(uint8_t endpoint, uint32_t length) {
    usb_redir_bulk_packet_header header{};
    header.endpoint = endpoint;
    header.length = static_cast<uint16_t>(length);
    header.length_high = static_cast<uint16_t>(length >> 16);
    usbredirparser_send_bulk_packet(parser_.get(), ++last_id_, &header, nullptr, 0);
    return last_id_;
  }
  void cancel(uint64_t id) { usbredirparser_send_cancel_data_packet(parser_.get(), id); }
  void reset() { usbredirparser_send_reset(parser_.get()); }
  /// The next request has this number.
  void number_next(uint64_t id) { last_id_ = id - 1; }
  void send_raw(const std::vector<uint8_t>& bytes) const {
    send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }

  /// The reply to a request, if it is here.
  std::optional<Reply> take_reply(uint64_t id) {
    const auto found = std::ranges::find(replies_, id, &Reply::id);
    if (found == replies_.end()) return std::nullopt;
    auto reply = std::move(*found);
    replies_.erase(found);
    return reply;
  }

  std::optional<usb_redir_ep_info_header> endpoints;
  std::optional<usb_redir_device_connect_header> device;  ///< while it is attached
  int connects = 0;
  int disconnects = 0;

 private:
  struct DestroyParser {
    void operator()(usbredirparser* parser) const { usbredirparser_destroy(parser); }
  };

  void set_callbacks() {
    auto& on = *parser_;
    on.priv = this;
    on.log_func = [](void*, int, const char*) {};
    on.read_func = [](void* object, uint8_t* data, int count) -> int {
      const auto got = recv(self(object).socket_.get(), data, static_cast<size_t>(count), MSG_DONTWAIT);
      if (got < 0) return errno == EAGAIN ? 0 : -1;
      return got == 0 ? -1 : static_cast<int>(got);
    };
    on.write_func = [](void* object, uint8_t* data, int count) -> int {
      const auto put =
          send(self(object).socket_.get(), data, static_cast<size_t>(count), MSG_DONTWAIT | MSG_NOSIGNAL);
      if (put < 0) return errno == EAGAIN ? 0 : -1;
      return static_cast<int>(put);
    };
    on.hello_func = [](void*, usb_redir_hello_header*) {};
    on.interface_info_func = [](void*, usb_redir_interface_info_header*) {};
    on.ep_info_func = [](void* object, usb_redir_ep_info_header* info) { self(object).endpoints = *info; };
    on.device_connect_func = [](void* object, usb_redir_device_connect_header* connected) {
      self(object).device = *connected;
      ++self(object).connects;
    };
    on.device_disconnect_func = [](void* object) {
      self(object).device.reset();
      ++self(object).disconnects;
    };
    on.control_packet_func = [](void* object, uint64_t id, usb_redir_control_packet_header* header,
                                uint8_t* data, int length) {
      self(object).add_reply(id, header->status, header->length, data, length);
    };
    on.bulk_packet_func = [](void* object, uint64_t id, usb_redir_bulk_packet_header* header, uint8_t* data,
                             int length) {
      const size_t told = header->length | static_cast<size_t>(header->length_high) << 16;
      self(object).add_reply(id, header->status, told, data, length);
    };
  }
  static RedirectionPeer& self(void* object) { return *static_cast<RedirectionPeer*>(object); }
  void add_reply(uint64_t id, uint8_t status, size_t length, uint8_t* data, int data_length) {
    replies_.push_back({id, status, {data, data + data_length}, length});
    usbredirparser_free_packet_data(parser_.get(), data);
  }

  FileDescriptor socket_;
  std::unique_ptr<usbredirparser, DestroyParser> parser_;
  std::deque<Reply> replies_;
  uint64_t last_id_ = 0;
};

}  // namespace kxsim
