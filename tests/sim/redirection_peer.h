// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

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

  explicit RedirectionPeer(FileDescriptor socket, bool acknowledges = true);
  RedirectionPeer(const RedirectionPeer&) = delete;
  RedirectionPeer& operator=(const RedirectionPeer&) = delete;

  int socket() const { return socket_.get(); }
  /// Reads and writes what there is; false when the other side is gone.
  bool serve();
  /// Without reading.
  bool write();

  // All return the number of the request.
  uint64_t control(const ControlSetup& setup, std::vector<uint8_t> data = {});
  uint64_t bulk(uint8_t endpoint, uint32_t length);
  void cancel(uint64_t id) { usbredirparser_send_cancel_data_packet(parser_.get(), id); }
  void reset() { usbredirparser_send_reset(parser_.get()); }
  /// The next request has this number.
  void number_next(uint64_t id) { last_id_ = id - 1; }
  void send_raw(const std::vector<uint8_t>& bytes) const;

  /// The reply to a request, if it is here.
  std::optional<Reply> take_reply(uint64_t id);

  std::optional<usb_redir_ep_info_header> endpoints;
  std::optional<usb_redir_device_connect_header> device;  ///< while it is attached
  int connects = 0;
  int disconnects = 0;

 private:
  struct DestroyParser {
    void operator()(usbredirparser* parser) const { usbredirparser_destroy(parser); }
  };

  void set_callbacks();
  static RedirectionPeer& self(void* object) { return *static_cast<RedirectionPeer*>(object); }
  void add_reply(uint64_t id, uint8_t status, size_t length, uint8_t* data, int data_length);

  FileDescriptor socket_;
  std::unique_ptr<usbredirparser, DestroyParser> parser_;
  std::deque<Reply> replies_;
  uint64_t last_id_ = 0;
};

}  // namespace kxsim
