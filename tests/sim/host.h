// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <future>
#include <optional>
#include <span>
#include <thread>
#include <utility>
#include <vector>

#include "device/simulated_camera.h"

namespace kxsim {

/// A transfer with memory of its own, to wait for.
class HostTransfer final : public Transfer {
 public:
  explicit HostTransfer(std::vector<uint8_t> bytes) : Transfer({}), memory_(std::move(bytes)) {
    data = memory_;
  }
  explicit HostTransfer(size_t length) : HostTransfer(std::vector<uint8_t>(length)) {}

  void finished(TransferStatus status) override { status_.set_value(status); }

  /// Nothing when it is still pending after that time.
  std::optional<TransferStatus> wait(std::chrono::milliseconds longest = std::chrono::seconds(10)) {
    if (future_.wait_for(longest) != std::future_status::ready) return std::nullopt;
    return future_.get();
  }
  std::vector<uint8_t> bytes() const {
    return {memory_.begin(), memory_.begin() + static_cast<ptrdiff_t>(transferred)};
  }

 private:
  std::vector<uint8_t> memory_;
  std::promise<TransferStatus> status_;
  std::future<TransferStatus> future_ = status_.get_future();
};

/// What a host does with a camera that is plugged straight into it.
class Host {
 public:
  using Bytes = std::vector<uint8_t>;

  explicit Host(const char* description, const FaultPlan& faults = {})
      : camera(parse_camera_options(description)) {
    camera.inject(faults);
    camera.power_up();
  }

  /// The reply to a vendor request; nothing when it was refused or not answered at once.
  std::optional<Bytes> ask(uint8_t request, uint16_t index = 0, uint16_t value = 0, uint16_t length = 10) {
    HostTransfer transfer(length);
    const ControlSetup setup{0xC0, request, value, index, length};
    if (!camera.submit_control(setup, transfer)) return std::nullopt;
    if (camera.cancel(transfer)) return std::nullopt;
    if (transfer.wait() != TransferStatus::kCompleted) return std::nullopt;
    return transfer.bytes();
  }

  bool tell(uint8_t request, uint16_t index, uint16_t value, const Bytes& data = {}) {
    HostTransfer transfer(data);
    const ControlSetup setup{0x40, request, value, index, static_cast<uint16_t>(data.size())};
    return camera.submit_control(setup, transfer) && transfer.wait() == TransferStatus::kCompleted;
  }

  struct Read {
    std::optional<TransferStatus> status;  ///< nothing: cancelled by the host after its time-out
    Bytes bytes;
  };

  Read read(size_t length, std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
    HostTransfer transfer(length);
    if (!camera.submit_bulk(transfer)) return {TransferStatus::kDisconnected, {}};
    auto status = transfer.wait(timeout);
    if (!status && !camera.cancel(transfer)) status = transfer.wait();
    return {status, transfer.bytes()};
  }

  /// Waits until it holds; false when it does not in good time.
  template <class Condition>
  static bool eventually(Condition holds) {
    for (int i = 0; i < 5000; ++i) {
      if (holds()) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
  }

  SimulatedCamera camera;
};

/// A byte that tells frames and places apart.
constexpr uint8_t pattern(uint64_t frame, size_t place) {
  return static_cast<uint8_t>(place * 31 + (place >> 8) + frame * 101);
}

inline std::vector<uint8_t> pattern_frame(uint64_t frame, size_t size) {
  std::vector<uint8_t> bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = pattern(frame, i);
  return bytes;
}

inline void fill_with_pattern(const FrameRequest& request, std::span<uint8_t> out) {
  for (size_t i = 0; i < out.size(); ++i) out[i] = pattern(request.number, i);
}

}  // namespace kxsim
