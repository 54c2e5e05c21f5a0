// SPDX-License-Identifier: Apache-2.0
#include "usbredir/camera_port.h"

#include <utility>

namespace kxsim {

CameraPort::CameraPort(CameraOptions options, std::filesystem::path socket)
    : listener_(std::move(socket)), camera_(std::move(options)) {
  camera_.on_plug_event([this](SimulatedCamera&, const PlugEvent& event) { plug_events_.post(event); });
}

void CameraPort::poll_for(std::vector<pollfd>& descriptors) const {
  descriptors.push_back({.fd = plug_events_.descriptor(), .events = POLLIN, .revents = 0});
  if (host_) {
    descriptors.push_back({.fd = host_->socket(), .events = host_->events(), .revents = 0});
    descriptors.push_back({.fd = host_->finished_descriptor(), .events = POLLIN, .revents = 0});
  } else {
    descriptors.push_back({.fd = listener_.descriptor(), .events = POLLIN, .revents = 0});
  }
}

void CameraPort::serve() {
  take_plug_events();
  if (!host_) accept_host();
  if (host_ && !host_->serve()) lose_host();
}

void CameraPort::accept_host() {
  auto socket = listener_.accept();
  if (!socket) return;
  if (cable_in_) camera_.power_up();
  host_.emplace(camera_, std::move(socket), cable_in_);
}

void CameraPort::lose_host() {
  host_.reset();
  camera_.power_down();
}

void CameraPort::take_plug_events() {
  for (const auto& event : plug_events_.take_all()) {
    if (!host_ || !cable_in_) continue;  // of a time gone by
    if (!event.plugged) host_->unplug();
    // It may be back before anybody was told that it had left.
    if (event.plugged || camera_.powered()) host_->plug();
  }
}

void CameraPort::unplug() {
  cable_in_ = false;
  camera_.power_down();
  if (host_) host_->unplug();
}

void CameraPort::plug() {
  cable_in_ = true;
  if (!host_) return;
  camera_.power_up();
  host_->plug();
}

CameraPort::State CameraPort::state() const {
  if (!cable_in_) return State::kUnplugged;
  if (!host_) return State::kNoHost;
  return camera_.powered() ? State::kAttached : State::kUnplugged;
}

}  // namespace kxsim
