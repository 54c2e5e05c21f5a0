// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

namespace kxsim {

/// Which of a series of events: the first is number 1, both ends belong to the range.
struct Ordinals {
  uint64_t first = 1;
  uint64_t last = std::numeric_limits<uint64_t>::max();

  constexpr bool contains(uint64_t number) const { return first <= number && number <= last; }
};

struct RequestFault {
  enum class Action {
    kStall,
    kTimeout,  ///< no answer until the host gives up; the request has no effect
    kShort,    ///< the reply ends after `length` bytes
    kGarbage,  ///< the reply's bytes are replaced by noise
    kReply,    ///< the device lies: `reply` instead of its own
    kUnplug,   ///< the cable is pulled while the host waits for the answer
  };
  Action action = Action::kStall;
  Ordinals which = {};
  std::optional<uint8_t> code = {};  ///< only requests of this code count
  size_t length = 0;
  std::vector<uint8_t> reply = {};
};

struct BulkFault {
  enum class Action {
    kStall,
    kOverflow,
    kError,
    kTimeout,  ///< nothing arrives until the host gives up; what there was to send waits for the next read
    kUnplug,   ///< the cable is pulled while the host waits
  };
  Action action = Action::kStall;
  Ordinals which = {};
};

struct FrameFault {
  enum class Action {
    kShort,    ///< `bytes` bytes fewer
    kLong,     ///< `bytes` bytes more
    kSplit,    ///< a short packet after every `bytes` bytes
    kUnended,  ///< `bytes` bytes fewer and no short packet: the transfer stays open
    kMissing,  ///< nothing is sent
  };
  Action action = Action::kShort;
  Ordinals which = {};
  size_t bytes = 0;
};

/// The cable is pulled, once.
struct UnplugFault {
  static constexpr int kLastPort = 64;  ///< of the bus
  enum class When { kTime, kFrames, kRequests };
  When when = When::kTime;
  std::chrono::milliseconds time{0};  ///< after plugging in
  uint64_t count = 0;                 ///< of frames sent or vendor requests
  std::optional<std::chrono::milliseconds> back_after = {};
  std::optional<int> port = {};  ///< where it comes back, if not where it was
};

/// Everything that goes wrong with one camera. Events are counted from when the plan is handed to the
/// camera.
struct FaultPlan {
  std::vector<RequestFault> requests = {};
  std::vector<BulkFault> bulk = {};
  std::vector<FrameFault> frames = {};
  std::vector<UnplugFault> unplugs = {};
  std::optional<uint64_t> stream_frames = {};  ///< the stream stops for good after so many frames
  std::optional<uint64_t> eeprom_writes = {};  ///< the EEPROM fails after so many bytes written
  std::optional<uint64_t> flash_bytes = {};    ///< the flash fails after so many bytes written
  bool open_denied = false;                    ///< the device node may not be opened (EACCES)
  bool claim_busy = false;                     ///< another program has the interface (EBUSY)
};

}  // namespace kxsim
