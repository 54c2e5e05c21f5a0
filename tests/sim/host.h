// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <future>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "device/numbered_frame.h"
#include "device/simulated_camera.h"

namespace kxsim {

using Bytes = std::vector<uint8_t>;

/// A transfer with memory of its own, to wait for.
class HostTransfer final : public Transfer {
 public:
  explicit HostTransfer(Bytes bytes) : Transfer({}), memory_(std::move(bytes)) { data = memory_; }
  explicit HostTransfer(size_t length) : HostTransfer(Bytes(length)) {}

  void finished(TransferStatus status) override { status_.set_value(status); }

  /// Nothing when it is still pending after that time.
  std::optional<TransferStatus> wait(std::chrono::milliseconds longest = std::chrono::seconds(10)) {
    if (future_.wait_for(longest) != std::future_status::ready) return std::nullopt;
    return future_.get();
  }
  Bytes bytes() const { return {memory_.begin(), memory_.begin() + static_cast<ptrdiff_t>(transferred)}; }

 private:
  Bytes memory_;
  std::promise<TransferStatus> status_;
  std::future<TransferStatus> future_ = status_.get_future();
};

/// What a host does with a camera that is plugged straight into it and sends numbered frames.
class Host {
 public:
  explicit Host(const char* description) : camera(parse_camera_options(description)) {
    camera.set_frame_source(fill_numbered_frame);
    camera.power_up();
  }

  /// The reply to a vendor request; nothing when it was refused or not answered at once.
  std::optional<Bytes> ask(uint8_t request, uint16_t index = 0, uint16_t value = 0, uint16_t length = 10) {
    HostTransfer transfer(length);
    if (!camera.submit_control({0xC0, request, value, index, length}, transfer)) return std::nullopt;
    if (camera.cancel(transfer)) return std::nullopt;
    if (transfer.wait() != TransferStatus::kCompleted) return std::nullopt;
    return transfer.bytes();
  }

  bool tell(uint8_t request, uint16_t index, uint16_t value, const Bytes& data = {}) {
    HostTransfer transfer(data);
    const ControlSetup setup{0x40, request, value, index, static_cast<uint16_t>(data.size())};
    return camera.submit_control(setup, transfer) && transfer.wait() == TransferStatus::kCompleted;
  }

  /// Reads up to that many bytes; what comes of it in one word, or the number of bytes. "nothing" when the
  /// read was given up, with what it held by then in `bytes`.
  std::string read(size_t length, std::chrono::milliseconds patience = std::chrono::seconds(10)) {
    HostTransfer transfer(length);
    if (!camera.submit_bulk(transfer)) return "gone";
    auto status = transfer.wait(patience);
    if (!status && !camera.cancel(transfer)) status = transfer.wait();
    bytes = transfer.bytes();
    if (!status) return "nothing";
    switch (*status) {
      case TransferStatus::kCompleted:
        return std::to_string(bytes.size());
      case TransferStatus::kStalled:
        return "stalled";
      case TransferStatus::kOverflow:
        return "overflow";
      case TransferStatus::kDisconnected:
        return "gone";
      default:
        return "error";
    }
  }
  std::string read_briefly(size_t length) { return read(length, std::chrono::milliseconds(20)); }

  SimulatedCamera camera;
  Bytes bytes;  ///< of the last read
};

}  // namespace kxsim
