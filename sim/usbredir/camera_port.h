// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include <poll.h>

#include "device/simulated_camera.h"
#include "usbredir/listening_socket.h"
#include "usbredir/mailbox.h"
#include "usbredir/redirection.h"

namespace kxsim {

/// A camera at the end of a cable that hosts can connect to, one after another. The camera has its power from
/// the host: each finds it as it is after power-up, and back on the bus if a fault had taken it off. For one
/// thread.
class CameraPort {
 public:
  /// Throws std::runtime_error, see ListeningSocket.
  CameraPort(CameraOptions options, std::filesystem::path socket);
  CameraPort(const CameraPort&) = delete;
  CameraPort& operator=(const CameraPort&) = delete;

  SimulatedCamera& camera() { return camera_; }
  const std::filesystem::path& socket() const { return listener_.path(); }

  /// Adds what to wait for; afterwards serve() does what is to be done.
  void poll_for(std::vector<pollfd>& descriptors) const;
  void serve();

  /// Pulls the cable, for as long as it is not plugged in again.
  void unplug();
  void plug();

  enum class State {
    kUnplugged,  ///< somebody, or a fault, has pulled the cable
    kNoHost,
    kAttached,
  };
  State state() const;

 private:
  void accept_host();
  void lose_host();
  void take_plug_events();

  ListeningSocket listener_;
  Mailbox<PlugEvent> plug_events_;
  SimulatedCamera camera_;  // between what it posts to and what submits to it, at the end too
  std::optional<Redirection> host_;
  bool cable_in_ = true;
};

}  // namespace kxsim
