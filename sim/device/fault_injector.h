// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "device/fault_plan.h"

namespace kxsim {

/// Counts the events of one camera and says which of them go wrong. Of several faults that meet the same
/// event the first one wins. Not thread-safe.
class FaultInjector {
 public:
  void add(const FaultPlan& plan);
  void clear();

  std::optional<RequestFault> next_request(uint8_t code);
  std::optional<BulkFault::Action> next_bulk();
  std::optional<FrameFault> next_frame();
  /// To be called once for a frame that was sent completely.
  std::optional<UnplugFault> frame_sent();
  std::optional<UnplugFault> request_done();
  /// Unplugs whose time has come, `since_plug` after plugging in.
  std::optional<UnplugFault> take_timed(std::chrono::steady_clock::duration since_plug);
  std::optional<std::chrono::milliseconds> next_timed() const;

  bool stream_ended() const;

 private:
  template <class Fault>
  struct Counted {
    Fault fault;
    uint64_t seen = 0;
  };

  template <class Fault>
  static std::optional<Fault> advance(std::vector<Counted<Fault>>& faults);
  std::optional<UnplugFault> take_counted(UnplugFault::When when);

  std::vector<Counted<RequestFault>> requests_;
  std::vector<Counted<BulkFault>> bulk_;
  std::vector<Counted<FrameFault>> frames_;
  std::vector<Counted<UnplugFault>> unplugs_;
  std::optional<uint64_t> frames_left_;
};

}  // namespace kxsim
