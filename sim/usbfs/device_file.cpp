// SPDX-License-Identifier: Apache-2.0
#include "usbfs/device_file.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include "device/descriptors.h"

namespace kxsim {
namespace {

constexpr size_t kSetupLength = 8;
/// What the kernel allocates for a request besides its data, roughly.
constexpr size_t kRequestOverhead = 192;
/// With scatter-gather a whole 8 MiB read is one request; without it libusb would cut it into 16 KiB
/// pieces.
constexpr uint32_t kCapabilities = USBDEVFS_CAP_ZERO_PACKET | USBDEVFS_CAP_NO_PACKET_SIZE_LIM |
                                   USBDEVFS_CAP_BULK_SCATTER_GATHER | USBDEVFS_CAP_REAP_AFTER_DISCONNECT;

int status_code(TransferStatus status) {
  switch (status) {
    case TransferStatus::kCompleted:
      return 0;
    case TransferStatus::kStalled:
      return -EPIPE;
    case TransferStatus::kOverflow:
      return -EOVERFLOW;
    case TransferStatus::kError:
      return -EPROTO;
    case TransferStatus::kCancelled:
      return -ENOENT;
    case TransferStatus::kDisconnected:
      return -ESHUTDOWN;
  }
  return -EPROTO;
}

uint16_t word(const uint8_t* bytes) {
  return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
}

std::span<uint8_t> buffer_of(const usbdevfs_urb& urb) {
  return {static_cast<uint8_t*>(urb.buffer), static_cast<size_t>(urb.buffer_length)};
}

}  // namespace

class DeviceFile::Request final : public Transfer {
 public:
  Request(DeviceFile& file, usbdevfs_urb& urb, std::span<uint8_t> bytes)
      : Transfer(bytes),
        urb_(urb),
        cost_(static_cast<size_t>(urb.buffer_length) + kRequestOverhead),
        file_(file) {}

  void finished(TransferStatus status) override {
    status_ = status;
    file_.finished(*this);
  }

  void report() const {
    urb_.status = status_code(status_);
    urb_.actual_length = static_cast<int>(transferred);
  }

  usbdevfs_urb& urb_;
  const size_t cost_;
  bool done_ = false;
  Request* next_done_ = nullptr;

 private:
  DeviceFile& file_;
  TransferStatus status_ = TransferStatus::kError;
};

DeviceFile::DeviceFile(std::shared_ptr<BusDevice> device, MemoryBudget& budget)
    : device_(std::move(device)), budget_(budget) {}

DeviceFile::~DeviceFile() {
  close();
}

int DeviceFile::ioctl(unsigned long request, void* argument) noexcept try {
  return execute(request, argument);
} catch (const std::bad_alloc&) {
  return -ENOMEM;
}

int DeviceFile::execute(unsigned long request, void* argument) {
  // Finished requests can be fetched from a device that has left; nothing else works on it.
  if (request == USBDEVFS_REAPURBNDELAY || request == USBDEVFS_REAPURB) {
    return reap(static_cast<usbdevfs_urb**>(argument));
  }
  if (request == USBDEVFS_DISCARDURB) return discard(static_cast<usbdevfs_urb*>(argument));
  if (device_->gone()) return -ENODEV;
  switch (request) {
    case USBDEVFS_GET_CAPABILITIES:
      *static_cast<uint32_t*>(argument) = kCapabilities;
      return 0;
    case USBDEVFS_SUBMITURB:
      return submit(static_cast<usbdevfs_urb*>(argument));
    case USBDEVFS_CLAIMINTERFACE:
      return claim(*static_cast<unsigned*>(argument));
    case USBDEVFS_RELEASEINTERFACE:
      return release(*static_cast<unsigned*>(argument));
    case USBDEVFS_DISCONNECT_CLAIM:
      return disconnect_and_claim(*static_cast<usbdevfs_disconnect_claim*>(argument));
    case USBDEVFS_CLEAR_HALT:
    case USBDEVFS_RESETEP:
      return clear_halt(*static_cast<unsigned*>(argument));
    case USBDEVFS_RESET:
      return device_->camera().bus_reset() ? 0 : -ENODEV;
    case USBDEVFS_SETCONFIGURATION:
      return *static_cast<int*>(argument) == 1 ? 0 : -EINVAL;
    case USBDEVFS_SETINTERFACE: {
      const auto& setting = *static_cast<usbdevfs_setinterface*>(argument);
      return setting.interface == 0 && setting.altsetting == 0 ? 0 : -EINVAL;
    }
    case USBDEVFS_GETDRIVER:
      return get_driver(*static_cast<usbdevfs_getdriver*>(argument));
    case USBDEVFS_IOCTL:  // attach or detach a kernel driver: no driver wants this device
      return -ENODATA;
    default:
      return -ENOTTY;
  }
}

int DeviceFile::claim(unsigned interface) {
  if (interface != 0) return -ENOENT;
  if (device_->camera().claim_busy()) return -EBUSY;
  const DeviceFile* owner = nullptr;
  return device_->interface_owner.compare_exchange_strong(owner, this) || owner == this ? 0 : -EBUSY;
}

int DeviceFile::release(unsigned interface) {
  if (interface != 0) return -ENOENT;
  const DeviceFile* owner = this;
  return device_->interface_owner.compare_exchange_strong(owner, nullptr) ? 0 : -EINVAL;
}

int DeviceFile::disconnect_and_claim(const usbdevfs_disconnect_claim& request) {
  return claim(request.interface);
}

int DeviceFile::get_driver(usbdevfs_getdriver& driver) const {
  if (driver.interface != 0) return -EINVAL;
  if (device_->interface_owner == nullptr) return -ENODATA;
  std::strncpy(driver.driver, "usbfs", sizeof driver.driver);
  return 0;
}

int DeviceFile::clear_halt(unsigned endpoint) {
  if (endpoint != bulk_endpoint(device_->camera().model())) return -ENOENT;
  return device_->camera().clear_halt() ? 0 : -ENODEV;
}

int DeviceFile::submit(usbdevfs_urb* urb) {
  if (urb->buffer_length < 0) return -EINVAL;
  const auto bytes = buffer_of(*urb);
  if (urb->type == USBDEVFS_URB_TYPE_CONTROL) {
    if (bytes.size() < kSetupLength) return -EINVAL;
    return submit_control(std::make_shared<Request>(*this, *urb, bytes.subspan(kSetupLength)));
  }
  if (urb->type == USBDEVFS_URB_TYPE_BULK) return submit_bulk(std::make_shared<Request>(*this, *urb, bytes));
  return -EINVAL;
}

int DeviceFile::submit_control(const std::shared_ptr<Request>& request) {
  const auto* head = static_cast<const uint8_t*>(request->urb_.buffer);
  const ControlSetup setup{.request_type = head[0],
                           .request = head[1],
                           .value = word(head + 2),
                           .index = word(head + 4),
                           .length = word(head + 6)};
  if (setup.length > request->data.size()) return -EINVAL;
  request->data = request->data.first(setup.length);
  return submit_to(request, [&] { return device_->camera().submit_control(setup, *request); });
}

int DeviceFile::submit_bulk(const std::shared_ptr<Request>& request) {
  if (request->urb_.endpoint != bulk_endpoint(device_->camera().model())) return -ENOENT;
  // The kernel claims an interface for a program that forgot to, but does not take it from another.
  if (const int result = claim(0); result != 0) return result;
  return submit_to(request, [&] { return device_->camera().submit_bulk(*request); });
}

/// Enters the request before the camera gets it: it may be finished, and reaped, before `accept` returns.
int DeviceFile::submit_to(const std::shared_ptr<Request>& request, auto&& accept) {
  if (!budget_.take(request->cost_)) return -ENOMEM;
  const auto* key = &request->urb_;
  int error = -ENODEV;
  try {
    {
      const std::lock_guard lock(mutex_);
      requests_.insert_or_assign(key, request);
    }
    if (accept()) return 0;
  } catch (const std::bad_alloc&) {
    error = -ENOMEM;
  }
  const std::lock_guard lock(mutex_);
  if (request->done_) return 0;
  requests_.erase(key);
  budget_.give_back(request->cost_);
  return error;
}

void DeviceFile::finished(Request& request) {
  const std::lock_guard lock(mutex_);
  request.done_ = true;
  (first_done_ == nullptr ? first_done_ : last_done_->next_done_) = &request;
  last_done_ = &request;
  signal_.set_ready(true);
}

int DeviceFile::discard(const usbdevfs_urb* urb) {
  std::shared_ptr<Request> request;
  {
    const std::lock_guard lock(mutex_);
    const auto found = requests_.find(urb);
    if (found == requests_.end()) return -EINVAL;
    request = found->second;
  }
  return device_->camera().cancel(*request) ? 0 : -EINVAL;
}

int DeviceFile::reap(usbdevfs_urb** urb) {
  const std::lock_guard lock(mutex_);
  if (first_done_ == nullptr) return device_->gone() ? -ENODEV : -EAGAIN;
  auto* const request = first_done_;
  first_done_ = request->next_done_;
  signal_.set_ready(first_done_ != nullptr);
  request->report();
  *urb = &request->urb_;
  budget_.give_back(request->cost_);
  requests_.erase(*urb);
  return 0;
}

void DeviceFile::close() {
  std::vector<std::shared_ptr<Request>> open_requests;
  {
    const std::lock_guard lock(mutex_);
    signal_.break_off();
    for (const auto& [urb, request] : requests_) open_requests.push_back(request);
  }
  for (const auto& request : open_requests) device_->camera().cancel(*request);
  release(0);
  const std::lock_guard lock(mutex_);
  first_done_ = nullptr;
  for (const auto& [urb, request] : std::exchange(requests_, {})) budget_.give_back(request->cost_);
}

void DeviceFile::device_left() {
  const std::lock_guard lock(mutex_);
  signal_.break_off();
}

}  // namespace kxsim
