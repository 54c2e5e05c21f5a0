// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kxsim {

enum class TransferStatus {
  kCompleted,     ///< all bytes moved, or the device ended the transfer with a short packet
  kStalled,       ///< the endpoint answered with a stall
  kOverflow,      ///< the device sent a packet that did not fit
  kError,         ///< the bus saw a protocol error
  kCancelled,     ///< withdrawn by the host
  kDisconnected,  ///< the device left the bus
};

/// The eight bytes that open a control transfer.
struct ControlSetup {
  uint8_t request_type = 0;
  uint8_t request = 0;
  uint16_t value = 0;
  uint16_t index = 0;
  uint16_t length = 0;

  constexpr bool device_to_host() const { return (request_type & 0x80) != 0; }
  constexpr bool vendor() const { return (request_type & 0x60) == 0x40; }
};

/// A transfer in flight. The front end owns it and keeps it, and the memory of `data`, until
/// finished() was called.
class Transfer {
 public:
  explicit Transfer(std::span<uint8_t> bytes) : data(bytes) {}
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  /// Called exactly once, on any thread and possibly from within submit; the camera is locked, so
  /// the call must not go back into it.
  virtual void finished(TransferStatus status) = 0;

  std::span<uint8_t> data;  ///< data stage: what goes out, or room for what comes in
  size_t transferred = 0;   ///< bytes moved so far; kept when the transfer is cancelled

 protected:
  ~Transfer() = default;
};

}  // namespace kxsim
