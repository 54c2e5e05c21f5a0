// SPDX-License-Identifier: Apache-2.0
#include "usbredir/redirection.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <new>
#include <span>
#include <utility>
#include <vector>

#include <poll.h>
#include <sys/socket.h>

#include "device/descriptors.h"
#include "usbredir/announcement.h"

namespace kxsim {
namespace {

constexpr uint8_t kControlIn = 0x80;
constexpr uint8_t kControlOut = 0x00;
constexpr uint8_t kTheConfiguration = 1;
constexpr uint8_t kDirection = 0x80;

uint8_t status_code(TransferStatus status) {
  switch (status) {
    case TransferStatus::kCompleted:
      return usb_redir_success;
    case TransferStatus::kStalled:
      return usb_redir_stall;
    case TransferStatus::kOverflow:
      return usb_redir_babble;
    case TransferStatus::kCancelled:
      return usb_redir_cancelled;
    case TransferStatus::kError:
    case TransferStatus::kDisconnected:
      return usb_redir_ioerror;
  }
  return usb_redir_ioerror;
}

/// A member function as a callback of the parser.
template <auto Method>
struct Callback;
template <class Object, class Result, class... Arguments, Result (Object::*Method)(Arguments...)>
struct Callback<Method> {
  static Result call(void* object, Arguments... arguments) noexcept {
    return (static_cast<Object*>(object)->*Method)(arguments...);
  }
};

/// For what cameras have no use for: streams of other kinds, and filters.
template <class... Arguments>
void ignore(void* /*object*/, Arguments... /*arguments*/) {}

}  // namespace

/// A transfer that the peer has asked for.
class Redirection::Request final : public Transfer {
 public:
  Request(Redirection& owner, uint64_t id, uint8_t endpoint, size_t length)
      : Transfer({}),
        id_(id),
        endpoint_(endpoint),
        owner_(owner),
        length_(length),
        memory_(std::make_unique_for_overwrite<uint8_t[]>(length)) {
    data = {memory_.get(), length};
  }

  void finished(TransferStatus status) override {
    status_ = status;
    owner_.finished_.post(this);
  }

  size_t length() const { return length_; }
  bool device_to_host() const { return (endpoint_ & kDirection) != 0; }
  bool disconnected() const { return status_ == TransferStatus::kDisconnected; }
  uint8_t status() const { return status_code(status_); }

  const uint64_t id_;
  const uint8_t endpoint_;
  usb_redir_control_packet_header control_{};  // of a control request: what was asked

 private:
  Redirection& owner_;
  const size_t length_;
  const std::unique_ptr<uint8_t[]> memory_;
  TransferStatus status_ = TransferStatus::kError;
};

Redirection::Redirection(SimulatedCamera& camera, FileDescriptor socket, bool plugged)
    : camera_(camera), socket_(std::move(socket)), parser_(usbredirparser_create()), plugged_(plugged) {
  if (parser_ == nullptr) throw std::bad_alloc();
  set_callbacks();
  std::array<uint32_t, USB_REDIR_CAPS_SIZE> capabilities{};
  for (const int capability :
       {usb_redir_cap_connect_device_version, usb_redir_cap_device_disconnect_ack,
        usb_redir_cap_ep_info_max_packet_size, usb_redir_cap_64bits_ids, usb_redir_cap_32bits_bulk_length}) {
    usbredirparser_caps_set_cap(capabilities.data(), capability);
  }
  usbredirparser_init(parser_.get(), "kxsim", capabilities.data(), capabilities.size(),
                      usbredirparser_fl_usb_host);
}

Redirection::~Redirection() {
  abandon_requests();
}

/// The parser calls what a peer may send without looking whether anything is there.
void Redirection::set_callbacks() {
  using R = Redirection;
  auto& on = *parser_;
  on.priv = this;
  on.log_func = ignore;
  on.read_func = Callback<&R::read>::call;
  on.write_func = Callback<&R::write>::call;
  on.hello_func = Callback<&R::hello>::call;
  on.reset_func = Callback<&R::reset>::call;
  on.set_configuration_func = Callback<&R::set_configuration>::call;
  on.get_configuration_func = Callback<&R::get_configuration>::call;
  on.set_alt_setting_func = Callback<&R::set_alt_setting>::call;
  on.get_alt_setting_func = Callback<&R::get_alt_setting>::call;
  on.control_packet_func = Callback<&R::control_packet>::call;
  on.bulk_packet_func = Callback<&R::bulk_packet>::call;
  on.cancel_data_packet_func = Callback<&R::cancel>::call;
  on.device_disconnect_ack_func = Callback<&R::disconnect_acknowledged>::call;
  on.start_iso_stream_func = ignore;
  on.stop_iso_stream_func = ignore;
  on.start_interrupt_receiving_func = ignore;
  on.stop_interrupt_receiving_func = ignore;
  on.alloc_bulk_streams_func = ignore;
  on.free_bulk_streams_func = ignore;
  on.start_bulk_receiving_func = ignore;
  on.stop_bulk_receiving_func = ignore;
  on.filter_reject_func = ignore;
  on.filter_filter_func = [](void*, usbredirfilter_rule* rules, int) { std::free(rules); };
  on.iso_packet_func = [](void* self, uint64_t, usb_redir_iso_packet_header*, uint8_t* data, int) {
    usbredirparser_free_packet_data(static_cast<Redirection*>(self)->parser_.get(), data);
  };
  on.interrupt_packet_func = [](void* self, uint64_t, usb_redir_interrupt_packet_header*, uint8_t* data,
                                int) {
    usbredirparser_free_packet_data(static_cast<Redirection*>(self)->parser_.get(), data);
  };
}

/// A peer that does not read is not read from either, so that it cannot make this side hoard replies.
bool Redirection::jammed() const {
  return usbredirparser_get_bufferered_output_size(parser_.get()) > kMostBytesUnsent;
}

short Redirection::events() const {
  const int in = jammed() ? 0 : POLLIN;
  const int out = usbredirparser_has_data_to_write(parser_.get()) != 0 ? POLLOUT : 0;
  return static_cast<short>(in | out);
}

bool Redirection::serve() {
  answer_finished();
  if (!jammed() && usbredirparser_do_read(parser_.get()) != 0) broken_ = true;
  return flush() && !broken_;
}

bool Redirection::flush() {
  return usbredirparser_has_data_to_write(parser_.get()) == 0 || usbredirparser_do_write(parser_.get()) == 0;
}

int Redirection::read(uint8_t* data, int count) {
  if (jammed()) return 0;
  const ssize_t got = recv(socket_.get(), data, static_cast<size_t>(count), MSG_DONTWAIT);
  if (got < 0) return errno == EAGAIN || errno == EINTR ? 0 : -1;
  return got == 0 ? -1 : static_cast<int>(got);
}

int Redirection::write(uint8_t* data, int count) {
  const ssize_t put = send(socket_.get(), data, static_cast<size_t>(count), MSG_DONTWAIT | MSG_NOSIGNAL);
  if (put < 0) return errno == EAGAIN || errno == EINTR ? 0 : -1;
  return static_cast<int>(put);
}

void Redirection::plug() {
  plugged_ = true;
  announce();
}

void Redirection::unplug() {
  plugged_ = false;
  abandon_requests();
  if (!std::exchange(announced_, false)) return;
  disconnect_unacknowledged_ =
      usbredirparser_peer_has_cap(parser_.get(), usb_redir_cap_device_disconnect_ack) != 0;
  usbredirparser_send_device_disconnect(parser_.get());
}

void Redirection::announce() {
  if (!plugged_ || !greeted_ || announced_ || disconnect_unacknowledged_) return;
  auto announcement = announcement_of(camera_.options());
  usbredirparser_send_interface_info(parser_.get(), &announcement.interfaces);
  usbredirparser_send_ep_info(parser_.get(), &announcement.endpoints);
  usbredirparser_send_device_connect(parser_.get(), &announcement.device);
  announced_ = true;
}

void Redirection::abandon_requests() {
  for (const auto& [id, request] : requests_) camera_.cancel(*request);
  // Whatever the camera did not finish before, it has finished now, and knows none of them any more.
  finished_.take_all();
  requests_.clear();
  bytes_asked_ = 0;
}

void Redirection::answer_finished() {
  for (auto* const request : finished_.take_all()) {
    // What ends with the device is not answered: that the device has left says it all, and follows.
    if (!request->disconnected()) answer(*request);
    bytes_asked_ -= request->length();
    requests_.erase(request->id_);
  }
}

void Redirection::answer(Request& request) {
  const auto bytes =
      request.device_to_host() ? request.data.first(request.transferred) : std::span<uint8_t>();
  const auto length = static_cast<int>(bytes.size());
  if (request.endpoint_ == kControlIn || request.endpoint_ == kControlOut) {
    auto header = request.control_;
    header.status = request.status();
    header.length = static_cast<uint16_t>(request.transferred);
    usbredirparser_send_control_packet(parser_.get(), request.id_, &header, bytes.data(), length);
  } else {
    usb_redir_bulk_packet_header header{};
    header.endpoint = request.endpoint_;
    header.status = request.status();
    header.length = static_cast<uint16_t>(bytes.size());
    header.length_high = static_cast<uint16_t>(bytes.size() >> 16);
    usbredirparser_send_bulk_packet(parser_.get(), request.id_, &header, bytes.data(), length);
  }
}

/// Null when that is more than a peer may ask for.
Redirection::Request* Redirection::add_request(uint64_t id, uint8_t endpoint, size_t length) {
  if (requests_.size() == kMostRequests || length > kMostBytesAsked - bytes_asked_) return nullptr;
  const auto [place, added] = requests_.try_emplace(id);
  if (!added) {
    broken_ = true;  // the number of a request that is not yet answered
    return nullptr;
  }
  place->second = std::make_unique<Request>(*this, id, endpoint, length);
  bytes_asked_ += length;
  return place->second.get();
}

void Redirection::hello(usb_redir_hello_header* /*hello*/) {
  greeted_ = true;
  announce();
}

void Redirection::reset() {
  if (announced_) camera_.bus_reset();
}

void Redirection::set_configuration(uint64_t id, usb_redir_set_configuration_header* wanted) {
  const bool known = wanted->configuration == kTheConfiguration || wanted->configuration == 0;
  usb_redir_configuration_status_header answer{
      .status = static_cast<uint8_t>(known ? usb_redir_success : usb_redir_inval),
      .configuration = wanted->configuration};
  usbredirparser_send_configuration_status(parser_.get(), id, &answer);
}

void Redirection::get_configuration(uint64_t id) {
  usb_redir_configuration_status_header answer{.status = usb_redir_success,
                                               .configuration = kTheConfiguration};
  usbredirparser_send_configuration_status(parser_.get(), id, &answer);
}

void Redirection::set_alt_setting(uint64_t id, usb_redir_set_alt_setting_header* wanted) {
  const bool known = wanted->interface == 0 && wanted->alt == 0;
  usb_redir_alt_setting_status_header answer{
      .status = static_cast<uint8_t>(known ? usb_redir_success : usb_redir_inval),
      .interface = wanted->interface,
      .alt = wanted->alt};
  usbredirparser_send_alt_setting_status(parser_.get(), id, &answer);
}

void Redirection::get_alt_setting(uint64_t id, usb_redir_get_alt_setting_header* asked) {
  usb_redir_alt_setting_status_header answer{
      .status = static_cast<uint8_t>(asked->interface == 0 ? usb_redir_success : usb_redir_inval),
      .interface = asked->interface,
      .alt = 0};
  usbredirparser_send_alt_setting_status(parser_.get(), id, &answer);
}

void Redirection::control_packet(uint64_t id, usb_redir_control_packet_header* header, uint8_t* data,
                                 int length) {
  const std::vector<uint8_t> bytes(data, data + length);
  usbredirparser_free_packet_data(parser_.get(), data);
  if (!announced_) return;
  const bool in = (header->requesttype & kDirection) != 0;
  const size_t stage = in ? 0 : header->length;
  const bool sound = header->endpoint == (in ? kControlIn : kControlOut) && bytes.size() == stage;
  auto* const request = sound ? add_request(id, header->endpoint, header->length) : nullptr;
  if (request == nullptr) {
    header->status = usb_redir_inval;
    header->length = 0;
    return usbredirparser_send_control_packet(parser_.get(), id, header, nullptr, 0);
  }
  request->control_ = *header;
  std::ranges::copy(bytes, request->data.begin());
  const ControlSetup setup{.request_type = header->requesttype,
                           .request = header->request,
                           .value = header->value,
                           .index = header->index,
                           .length = header->length};
  if (!camera_.submit_control(setup, *request)) request->finished(TransferStatus::kDisconnected);
}

void Redirection::bulk_packet(uint64_t id, usb_redir_bulk_packet_header* header, uint8_t* data, int) {
  usbredirparser_free_packet_data(parser_.get(), data);
  if (!announced_) return;
  const size_t length = header->length | static_cast<size_t>(header->length_high) << 16;
  const bool sound = header->endpoint == bulk_endpoint(camera_.model()) && header->stream_id == 0;
  auto* const request = sound ? add_request(id, header->endpoint, length) : nullptr;
  if (request == nullptr) {
    header->status = usb_redir_inval;
    header->length = header->length_high = 0;
    return usbredirparser_send_bulk_packet(parser_.get(), id, header, nullptr, 0);
  }
  if (!camera_.submit_bulk(*request)) request->finished(TransferStatus::kDisconnected);
}

void Redirection::cancel(uint64_t id) {
  const auto request = requests_.find(id);
  if (request != requests_.end()) camera_.cancel(*request->second);
}

void Redirection::disconnect_acknowledged() {
  disconnect_unacknowledged_ = false;
  announce();
}

}  // namespace kxsim
