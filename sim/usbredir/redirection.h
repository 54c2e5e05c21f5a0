// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>

#include <usbredirparser.h>

#include "device/simulated_camera.h"
#include "usbredir/file_descriptor.h"
#include "usbredir/mailbox.h"

namespace kxsim {

/// One host that a camera's connector is led to: the device's side of the usbredir protocol over a connected
/// socket. The peer is not trusted: what it asks for is bounded, and whatever breaks the protocol ends the
/// connection. For one thread.
class Redirection {
 public:
  /// What the peer may have requested and not yet got, and what may wait to be sent to it.
  static constexpr size_t kMostBytesAsked = size_t{64} << 20;
  static constexpr size_t kMostRequests = 1024;
  static constexpr uint64_t kMostBytesUnsent = uint64_t{64} << 20;

  /// `plugged`: whether the camera is on the bus. It must outlive this object.
  Redirection(SimulatedCamera& camera, FileDescriptor socket, bool plugged);
  ~Redirection();
  Redirection(const Redirection&) = delete;
  Redirection& operator=(const Redirection&) = delete;

  int socket() const { return socket_.get(); }
  /// What to poll the socket for.
  short events() const;
  /// Polls as readable when transfers have finished.
  int finished_descriptor() const { return finished_.descriptor(); }

  /// Does what is to be done; false when the peer is gone, or is to be.
  bool serve();

  /// The camera came onto the bus, or left it.
  void plug();
  void unplug();
  /// The peer sees the camera.
  bool attached() const { return announced_; }

 private:
  class Request;
  struct DestroyParser {
    void operator()(usbredirparser* parser) const { usbredirparser_destroy(parser); }
  };

  void set_callbacks();
  bool jammed() const;
  bool flush();
  void announce();
  void abandon_requests();
  void answer_finished();
  void answer(Request& request);
  Request* add_request(uint64_t id, uint8_t endpoint, size_t length);

  int read(uint8_t* data, int count);
  int write(uint8_t* data, int count);

  // What the peer sends. Data of packets is theirs to free.
  void hello(usb_redir_hello_header* hello);
  void reset();
  void set_configuration(uint64_t id, usb_redir_set_configuration_header* wanted);
  void get_configuration(uint64_t id);
  void set_alt_setting(uint64_t id, usb_redir_set_alt_setting_header* wanted);
  void get_alt_setting(uint64_t id, usb_redir_get_alt_setting_header* asked);
  void control_packet(uint64_t id, usb_redir_control_packet_header* header, uint8_t* data, int length);
  void bulk_packet(uint64_t id, usb_redir_bulk_packet_header* header, uint8_t* data, int length);
  void cancel(uint64_t id);
  void disconnect_acknowledged();

  SimulatedCamera& camera_;
  const FileDescriptor socket_;
  const std::unique_ptr<usbredirparser, DestroyParser> parser_;
  Mailbox<Request*> finished_;
  std::map<uint64_t, std::unique_ptr<Request>> requests_;  // submitted, not yet answered
  size_t bytes_asked_ = 0;                                 // in requests_
  bool plugged_;
  bool greeted_ = false;
  bool announced_ = false;
  bool disconnect_unacknowledged_ = false;  // until then the peer may speak of the device that left
  bool broken_ = false;
};

}  // namespace kxsim
