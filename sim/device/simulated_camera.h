// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "device/bridge.h"
#include "device/bulk_pipe.h"
#include "device/camera_options.h"
#include "device/fault_injector.h"
#include "device/frame_clock.h"
#include "device/frame_maker.h"
#include "device/sensor_fifo.h"
#include "device/transfer.h"

namespace kxsim {

/// A vendor request as it arrived.
struct LoggedRequest {
  bool in = false;
  uint8_t code = 0;
  uint16_t value = 0;
  uint16_t index = 0;
  uint16_t length = 0;
  std::vector<uint8_t> data;  ///< of an OUT request

  bool operator==(const LoggedRequest&) const = default;
};

/// Since the camera was made.
///
/// invariant: frames_made = frames_sent + frames_stale + frames_withdrawn, and at most one more that is being
/// made or waits for the host.
struct CameraCounters {
  uint64_t requests = 0;          ///< vendor requests, answered or not
  uint64_t unknown = 0;           ///< of those: requests, or registers, that the camera does not have
  uint64_t bulk_reads = 0;        ///< submitted by the host
  uint64_t cut_reads = 0;         ///< of those: given up by the host with part of a frame in them
  uint64_t frames_made = 0;       ///< pixels rendered
  uint64_t frames_sent = 0;       ///< completely
  uint64_t frames_unended = 0;    ///< of those sent: without the short packet at the end
  uint64_t frames_withdrawn = 0;  ///< made, then void by a reset, an unplugging, a stop or a new geometry
  uint64_t frames_stale = 0;      ///< made, then replaced by a newer one because the host did not read
  uint64_t frames_dropped = 0;    ///< lost because the host did not read, made or not
  uint64_t frames_cut = 0;        ///< of those sent: without bytes that the FIFO had no room for
  uint64_t bytes_lost = 0;        ///< of those frames
  uint64_t resets = 0;            ///< bus resets
  uint64_t faults = 0;            ///< requests, bulk reads and frames that went wrong by a fault
};

/// The camera went off the bus or came back by itself.
struct PlugEvent {
  bool plugged = false;
  std::optional<int> port;  ///< where it came back, if not where it was
};

/// One camera as seen through its USB connector: control requests, bulk reads, bus resets, power. Knows
/// nothing of the host's side. All calls are thread-safe; transfers finish on the caller's thread or on
/// the camera's own.
class SimulatedCamera {
 public:
  explicit SimulatedCamera(CameraOptions options = {});
  ~SimulatedCamera();
  SimulatedCamera(const SimulatedCamera&) = delete;
  SimulatedCamera& operator=(const SimulatedCamera&) = delete;

  const CameraOptions& options() const { return options_; }
  const Model& model() const { return *options_.model; }

  // The connector.

  /// Plugs into a host port: power comes up and everything volatile is as new.
  void power_up();
  /// Also keeps a camera that a fault unplugged from coming back by itself.
  void power_down();
  bool powered() const;
  /// False, and the transfer stays untouched, when the camera is not on the bus.
  bool submit_control(const ControlSetup& setup, Transfer& transfer);
  bool submit_bulk(Transfer& transfer);
  /// Finishes a pending transfer as cancelled; false when it is not pending any more.
  bool cancel(Transfer& transfer);
  bool clear_halt();
  bool bus_reset();
  /// Called on the camera's thread without any lock held, when a fault pulls or plugs the cable. Set it
  /// before power_up(); it must stay callable while the camera lives.
  void on_plug_event(std::function<void(SimulatedCamera&, const PlugEvent&)> listener);

  /// Called with the camera locked whenever the host asks for bytes after a time in which it asked for none,
  /// that began with the end of a read. Set it before the host reads.
  void on_read_after_pause(std::function<void(std::chrono::nanoseconds)> listener);

  // What it sees.

  void set_scene(std::shared_ptr<const Scene> scene) { maker_.set_scene(std::move(scene)); }
  void set_frame_source(FrameSource source) { maker_.set_source(std::move(source)); }
  /// The exposure where there is no lighting, or no exposure register.
  void set_exposure(const Exposure& exposure) { maker_.set_exposure(exposure); }
  void set_lighting(const std::optional<Lighting>& lighting) { maker_.set_lighting(lighting); }
  /// A pulse on the external trigger line.
  void trigger(std::chrono::microseconds width = std::chrono::seconds(1));
  void set_gpio_inputs(uint8_t levels);

  // What goes wrong.

  /// Adds to the faults in force; events count from now.
  void inject(const FaultPlan& plan);
  void clear_faults();
  bool open_denied() const;
  bool claim_busy() const;

  // What happened inside.

  CameraCounters counters() const;
  /// The last vendor requests, oldest first.
  std::vector<LoggedRequest> requests() const;
  /// Those with that code only.
  std::vector<LoggedRequest> requests(uint8_t code) const;
  void clear_requests();
  bool streaming() const;
  Readout readout() const;
  size_t frame_bytes() const;
  bool waits_for_trigger() const;

  /// Calls `look` with the bridge's state while nothing changes it, and returns its result.
  template <class Look>
  auto inspect(Look look) const {
    const std::lock_guard lock(mutex_);
    return look(bridge_);
  }
  /// The same, and `change` may change it.
  template <class Change>
  auto modify(Change change) {
    const std::lock_guard lock(mutex_);
    return change(bridge_);
  }

  uint16_t sensor_register(uint16_t address) const;
  uint16_t isp_register(uint16_t address) const;
  uint8_t eeprom(uint16_t address) const;
  void set_eeprom(uint16_t address, uint8_t byte);
  uint8_t gpio() const;

 private:
  using Clock = std::chrono::steady_clock;
  using Lock = std::unique_lock<std::mutex>;

  // All below are called with mutex_ held.
  void vendor_request(const ControlSetup& setup, Transfer& transfer);
  void execute(const ControlSetup& setup, Transfer& transfer, const std::optional<RequestFault>& fault);
  void standard_request(const ControlSetup& setup, Transfer& transfer);
  std::optional<std::vector<uint8_t>> descriptor(uint16_t value) const;
  void log(const ControlSetup& setup, std::span<const uint8_t> data);
  void apply(Bridge::Effect effect);
  void pulse();
  void restart_clock();
  void reads_ended();
  void power_up_locked();
  void power_down_locked();
  void finish_waiting(TransferStatus status);
  void pull(const std::optional<UnplugFault>& fault);

  void run();
  bool work(Lock& lock);
  std::optional<Clock::time_point> next_work() const;
  std::optional<Clock::time_point> frame_due() const;
  bool plug_work(Lock& lock);
  bool frame_work(Lock& lock);
  bool fifo_work();
  void overflow(Clock::time_point until);
  void feed(Clock::time_point now);
  std::optional<WireFrame> make_frame(Lock& lock, const FrameRequest& request,
                                      const std::optional<FrameFault>& fault);

  const CameraOptions options_;
  FrameMaker maker_;
  std::function<void(SimulatedCamera&, const PlugEvent&)> listener_;
  std::function<void(std::chrono::nanoseconds)> pause_listener_;

  mutable std::mutex mutex_;  // guards all below
  std::condition_variable wake_;
  Bridge bridge_;
  BulkPipe pipe_;
  FrameClock clock_;
  SensorFifo fifo_;
  std::optional<Clock::time_point> unread_since_;
  Clock::time_point asked_at_;  // when the host last asked after a pause
  Clock::time_point taken_at_;  // when the frame before was taken
  bool cut_ = false;            // something of the frame is lost
  FaultInjector faults_;
  bool open_denied_ = false;
  bool claim_busy_ = false;
  bool powered_ = false;
  Clock::time_point powered_since_;
  std::vector<Transfer*> unanswered_;  // control requests that wait for the host to give up
  std::deque<PlugEvent> plug_events_;  // not yet told
  std::optional<Clock::time_point> replug_at_;
  std::optional<int> replug_port_;
  Clock::time_point pause_until_;
  int pulses_ = 0;      // towards a frame of lines
  uint64_t epoch_ = 0;  // changes whenever a frame being made becomes void
  uint64_t frame_number_ = 0;
  uint64_t counted_frames_ = 0;  // of those the pipe has sent
  uint64_t stale_frames_ = 0;    // made, but replaced by a newer one before the host read
  uint64_t void_frames_ = 0;     // made, but void before they were done
  CameraCounters counters_;
  std::deque<LoggedRequest> log_;
  bool stopping_ = false;

  std::thread thread_;
};

}  // namespace kxsim
