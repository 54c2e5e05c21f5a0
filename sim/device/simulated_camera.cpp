// SPDX-License-Identifier: Apache-2.0
#include "device/simulated_camera.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <random>
#include <utility>

#include "device/descriptors.h"
#include "device/dma_write.h"

namespace kxsim {
namespace {

/// Old entries go, so that a program may run for days.
constexpr size_t kLongestLog = 100000;
/// What a missing frame costs at least, so that a camera without a frame rate does not spin.
constexpr std::chrono::milliseconds kMissingFramePause{1};

std::string next_serial_number() {
  static std::atomic<unsigned> made{0};
  std::string digits = std::to_string(++made);
  return "KXSIM" + std::string(7 - std::min<size_t>(7, digits.size()), '0') + digits;
}

CameraOptions complete(CameraOptions options) {
  if (options.serial.empty()) options.serial = next_serial_number();
  return options;
}

void reply(Transfer& transfer, std::span<const uint8_t> bytes) {
  [[maybe_unused]] const DmaWrite dma;
  transfer.transferred = std::min(bytes.size(), transfer.data.size());
  std::copy_n(bytes.begin(), transfer.transferred, transfer.data.begin());
}

std::optional<std::vector<uint8_t>> unless_empty(std::vector<uint8_t> bytes) {
  return bytes.empty() ? std::nullopt : std::optional(std::move(bytes));
}

std::vector<uint8_t> noise(size_t length, uint64_t seed) {
  std::minstd_rand random(static_cast<unsigned>(seed));
  std::vector<uint8_t> bytes(length);
  std::ranges::generate(bytes, [&] { return static_cast<uint8_t>(random() >> 8); });
  return bytes;
}

std::vector<uint8_t> distort(const RequestFault& fault, std::vector<uint8_t> bytes, uint64_t seed) {
  switch (fault.action) {
    case RequestFault::Action::kShort:
      bytes.resize(std::min(bytes.size(), fault.length));
      return bytes;
    case RequestFault::Action::kGarbage:
      return noise(bytes.size(), seed);
    case RequestFault::Action::kReply:
      return fault.reply;
    default:
      return bytes;
  }
}

/// Of some of the samples, as a part of full scale.
double mean_level(std::span<const uint8_t> frame, ColorMode mode) {
  constexpr size_t kSamples = 4096;
  const bool two_bytes = mode == ColorMode::kMono12;
  const size_t size = two_bytes ? 2 : 1;
  const size_t stride = std::max<size_t>(frame.size() / size / kSamples, 1) * size;
  uint64_t sum = 0;
  size_t count = 0;
  for (size_t at = 0; at + size <= frame.size(); at += stride, ++count) {
    sum += two_bytes ? frame[at] | frame[at + 1] << 8 : frame[at];
  }
  return static_cast<double>(sum) / (std::max<size_t>(count, 1) * (two_bytes ? 4095.0 : 255.0));
}

void shape(WireFrame& frame, const FrameFault& fault) {
  const size_t size = frame.bytes.size();
  switch (fault.action) {
    case FrameFault::Action::kShort:
      return frame.bytes.resize(size - std::min(size, fault.bytes));
    case FrameFault::Action::kLong:
      return frame.bytes.resize(size + fault.bytes);
    case FrameFault::Action::kSplit:
      frame.segment = fault.bytes;
      return;
    case FrameFault::Action::kUnended:
      frame.bytes.resize(size - std::min(size, fault.bytes));
      frame.ended = false;
      return;
    case FrameFault::Action::kMissing:
      return;
  }
}

}  // namespace

SimulatedCamera::SimulatedCamera(CameraOptions options)
    : options_(complete(std::move(options))),
      maker_(options_),
      bridge_(options_),
      pipe_(bulk_packet_size(options_.speed)),
      clock_(bridge_.frame_period()),
      fifo_(options_.fifo),
      thread_([this] { run(); }) {}

SimulatedCamera::~SimulatedCamera() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    replug_at_.reset();
    power_down_locked();
  }
  wake_.notify_all();
  thread_.join();
}

void SimulatedCamera::power_up() {
  const std::lock_guard lock(mutex_);
  power_up_locked();
  wake_.notify_all();
}

void SimulatedCamera::power_up_locked() {
  if (powered_) return;
  powered_ = true;
  powered_since_ = Clock::now();
  plug_events_.clear();
  replug_at_.reset();
  bridge_.restart();
  frame_number_ = 0;
  restart_clock();
}

void SimulatedCamera::power_down() {
  const std::lock_guard lock(mutex_);
  plug_events_.clear();
  replug_at_.reset();
  power_down_locked();
}

void SimulatedCamera::power_down_locked() {
  powered_ = false;
  clock_.stop();
  ++epoch_;
  finish_waiting(TransferStatus::kDisconnected);
}

bool SimulatedCamera::powered() const {
  const std::lock_guard lock(mutex_);
  return powered_;
}

void SimulatedCamera::finish_waiting(TransferStatus status) {
  pipe_.reset(status);
  for (auto* transfer : std::exchange(unanswered_, {})) transfer->finished(status);
}

bool SimulatedCamera::submit_control(const ControlSetup& setup, Transfer& transfer) {
  const std::lock_guard lock(mutex_);
  if (!powered_) return false;
  if (setup.vendor()) {
    vendor_request(setup, transfer);
  } else {
    standard_request(setup, transfer);
  }
  return true;
}

void SimulatedCamera::vendor_request(const ControlSetup& setup, Transfer& transfer) {
  ++counters_.requests;
  log(setup, transfer.data);
  execute(setup, transfer, faults_.next_request(setup.request));
  pull(faults_.request_done());
}

void SimulatedCamera::execute(const ControlSetup& setup, Transfer& transfer,
                              const std::optional<RequestFault>& fault) {
  if (fault) ++counters_.faults;
  if (fault &&
      (fault->action == RequestFault::Action::kTimeout || fault->action == RequestFault::Action::kUnplug)) {
    unanswered_.push_back(&transfer);
    if (fault->action == RequestFault::Action::kUnplug) pull(UnplugFault());
    return;
  }
  if (fault && fault->action == RequestFault::Action::kStall)
    return transfer.finished(TransferStatus::kStalled);
  auto answer = bridge_.execute(setup, transfer.data);
  if (answer.unknown) ++counters_.unknown;
  clock_.set_period(bridge_.frame_period(), Clock::now());
  if (answer.stalled && !fault) return transfer.finished(TransferStatus::kStalled);
  if (fault) answer.reply = distort(*fault, std::move(answer.reply), counters_.requests);
  if (setup.device_to_host()) {
    reply(transfer, answer.reply);
  } else {
    const bool cut = fault && fault->action == RequestFault::Action::kShort;
    transfer.transferred = cut ? std::min(fault->length, transfer.data.size()) : transfer.data.size();
  }
  apply(answer.effect);
  transfer.finished(TransferStatus::kCompleted);
}

void SimulatedCamera::log(const ControlSetup& setup, std::span<const uint8_t> data) {
  LoggedRequest request{.in = setup.device_to_host(),
                        .code = setup.request,
                        .value = setup.value,
                        .index = setup.index,
                        .length = setup.length,
                        .data = {}};
  if (!setup.device_to_host()) request.data.assign(data.begin(), data.end());
  if (log_.size() == kLongestLog) log_.pop_front();
  log_.push_back(std::move(request));
}

void SimulatedCamera::standard_request(const ControlSetup& setup, Transfer& transfer) {
  enum StandardRequest : uint8_t {
    kGetStatus = 0,
    kClearFeature = 1,
    kSetFeature = 3,
    kGetDescriptor = 6,
    kGetConfiguration = 8,
    kSetConfiguration = 9,
    kGetInterface = 10,
    kSetInterface = 11,
  };
  std::optional<std::vector<uint8_t>> answer;
  switch (setup.request) {
    case kGetStatus:
      answer = {0, 0};
      break;
    case kClearFeature:
      pipe_.clear_halt();
      answer.emplace();
      break;
    case kSetFeature:
    case kSetConfiguration:
    case kSetInterface:
      answer.emplace();
      break;
    case kGetDescriptor:
      answer = descriptor(setup.value);
      break;
    case kGetConfiguration:
      answer = {1};
      break;
    case kGetInterface:
      answer = {0};
      break;
    default:
      break;
  }
  if (!answer) return transfer.finished(TransferStatus::kStalled);
  reply(transfer, *answer);
  transfer.finished(TransferStatus::kCompleted);
}

std::optional<std::vector<uint8_t>> SimulatedCamera::descriptor(uint16_t value) const {
  const auto number = static_cast<uint8_t>(value);
  switch (value >> 8) {
    case 1:
      return device_descriptor(options_);
    case 2:
      return number == 0 ? std::optional(configuration_descriptor(options_)) : std::nullopt;
    case 3:
      return unless_empty(string_descriptor(options_, number));
    case 15:
      return unless_empty(object_store_descriptor(options_));
    default:
      return std::nullopt;
  }
}

void SimulatedCamera::apply(Bridge::Effect effect) {
  switch (effect) {
    case Bridge::Effect::kNone:
      return;
    case Bridge::Effect::kStreamChanged:
      ++epoch_;
      if (!bridge_.streaming() || pipe_.holds_untouched_frame()) pipe_.drop_frame();
      restart_clock();
      return;
    case Bridge::Effect::kGeometryChanged:
      ++epoch_;
      pipe_.cut_frame();
      wake_.notify_all();
      return;
    case Bridge::Effect::kTriggerPulse:
      return pulse();
  }
}

void SimulatedCamera::pulse() {
  if (++pulses_ < bridge_.pulses_per_frame()) return;
  pulses_ = 0;
  clock_.pulse(Clock::now() + bridge_.trigger_delay(), bridge_.snap_count());
  wake_.notify_all();
}

void SimulatedCamera::restart_clock() {
  pulses_ = 0;
  clock_.set_period(bridge_.frame_period(), Clock::now());
  if (!powered_ || !bridge_.streaming()) {
    clock_.stop();
  } else if (bridge_.waits_for_trigger()) {
    clock_.wait_for_triggers();
  } else {
    clock_.run_free(Clock::now());
  }
  wake_.notify_all();
}

bool SimulatedCamera::submit_bulk(Transfer& transfer) {
  const std::lock_guard lock(mutex_);
  if (!powered_) return false;
  ++counters_.bulk_reads;
  if (const auto since = std::exchange(unread_since_, std::nullopt)) pause_listener_(Clock::now() - *since);
  if (fifo_.limited() && !pipe_.has_reads()) {
    asked_at_ = Clock::now();
    overflow(asked_at_);
  }
  // The bridge holds one frame; a newer one has overwritten it meanwhile.
  if (!fifo_.limited() && pipe_.holds_untouched_frame() && clock_.newer_frame(Clock::now())) {
    pipe_.drop_frame();
    ++stale_frames_;
  }
  const auto fault = faults_.next_bulk();
  if (fault) ++counters_.faults;
  pipe_.read(transfer, fault);
  if (fault == BulkFault::Action::kUnplug) pull(UnplugFault());
  reads_ended();
  if (fifo_.limited() || pipe_.wants_frame()) wake_.notify_all();
  return true;
}

/// The host has asked for nothing until then.
void SimulatedCamera::overflow(Clock::time_point until) {
  if (!pipe_.holds_frame()) return;
  const size_t lost = fifo_.overflow(until, pipe_.sent());
  if (lost == 0) return;
  pipe_.lose(pipe_.sent() + fifo_.depth(), lost);
  counters_.bytes_lost += lost;
  counters_.frames_cut += cut_ ? 0 : 1;
  cut_ = true;
}

/// Passes on what has come of the frame.
void SimulatedCamera::feed(Clock::time_point now) {
  if (!pipe_.waits_for_bytes()) return;
  pipe_.arrive(fifo_.kept(now));
  const auto done = Clock::now();  // what it takes to copy the bytes costs the host nothing
  if (!pipe_.holds_frame()) {
    taken_at_ = done;
  } else if (!pipe_.has_reads()) {
    fifo_.taken_all(done, pipe_.sent());
  }
  reads_ended();
}

bool SimulatedCamera::fifo_work() {
  const auto now = Clock::now();
  if (!fifo_.limited() || !pipe_.waits_for_bytes() || now < fifo_.when(pipe_.wanted())) return false;
  feed(now);
  return true;
}

/// After everything that may end one.
void SimulatedCamera::reads_ended() {
  if (pause_listener_ && !pipe_.has_reads() && !unread_since_) unread_since_ = Clock::now();
  for (; counted_frames_ < pipe_.counters().sent; ++counted_frames_) pull(faults_.frame_sent());
}

bool SimulatedCamera::cancel(Transfer& transfer) {
  const std::lock_guard lock(mutex_);
  if (std::erase(unanswered_, &transfer) == 0) return pipe_.cancel(transfer);
  transfer.finished(TransferStatus::kCancelled);
  return true;
}

bool SimulatedCamera::clear_halt() {
  const std::lock_guard lock(mutex_);
  if (powered_) pipe_.clear_halt();
  reads_ended();
  return powered_;
}

bool SimulatedCamera::bus_reset() {
  const std::lock_guard lock(mutex_);
  if (!powered_) return false;
  ++counters_.resets;
  ++epoch_;
  finish_waiting(TransferStatus::kError);
  bridge_.restart();
  restart_clock();
  return true;
}

void SimulatedCamera::on_plug_event(std::function<void(SimulatedCamera&, const PlugEvent&)> listener) {
  const std::lock_guard lock(mutex_);
  listener_ = std::move(listener);
}

void SimulatedCamera::on_read_after_pause(std::function<void(std::chrono::nanoseconds)> listener) {
  const std::lock_guard lock(mutex_);
  pause_listener_ = std::move(listener);
}

void SimulatedCamera::trigger(std::chrono::microseconds width) {
  const std::lock_guard lock(mutex_);
  if (width >= bridge_.debouncer_time()) apply(Bridge::Effect::kTriggerPulse);
}

void SimulatedCamera::set_gpio_inputs(uint8_t levels) {
  modify([&](Bridge& bridge) { bridge.set_gpio_inputs(levels); });
}

void SimulatedCamera::inject(const FaultPlan& plan) {
  const std::lock_guard lock(mutex_);
  faults_.add(plan);
  if (plan.eeprom_writes) bridge_.eeprom().die_after(*plan.eeprom_writes);
  if (plan.flash_bytes) bridge_.flash().die_after(*plan.flash_bytes);
  open_denied_ |= plan.open_denied;
  claim_busy_ |= plan.claim_busy;
  wake_.notify_all();
}

void SimulatedCamera::clear_faults() {
  const std::lock_guard lock(mutex_);
  faults_.clear();
  bridge_.eeprom().revive();
  bridge_.flash().revive();
  open_denied_ = false;
  claim_busy_ = false;
  wake_.notify_all();
}

bool SimulatedCamera::open_denied() const {
  const std::lock_guard lock(mutex_);
  return open_denied_;
}

bool SimulatedCamera::claim_busy() const {
  const std::lock_guard lock(mutex_);
  return claim_busy_;
}

CameraCounters SimulatedCamera::counters() const {
  const std::lock_guard lock(mutex_);
  auto counters = counters_;
  const BulkPipe::Counters& pipe = pipe_.counters();
  counters.cut_reads = pipe.cut_reads;
  counters.frames_sent = pipe.sent;
  counters.frames_unended = pipe.unended;
  counters.frames_stale = stale_frames_;
  counters.frames_withdrawn = pipe.withdrawn - stale_frames_ + void_frames_;
  counters.frames_dropped = stale_frames_ + clock_.missed(Clock::now());
  return counters;
}

std::vector<LoggedRequest> SimulatedCamera::requests() const {
  const std::lock_guard lock(mutex_);
  return {log_.begin(), log_.end()};
}

std::vector<LoggedRequest> SimulatedCamera::requests(uint8_t code) const {
  auto all = requests();
  std::erase_if(all, [code](const LoggedRequest& request) { return request.code != code; });
  return all;
}

void SimulatedCamera::clear_requests() {
  const std::lock_guard lock(mutex_);
  log_.clear();
}

bool SimulatedCamera::streaming() const {
  return inspect([](const Bridge& bridge) { return bridge.streaming(); });
}
Readout SimulatedCamera::readout() const {
  return inspect([](const Bridge& bridge) { return bridge.readout(); });
}
size_t SimulatedCamera::frame_bytes() const {
  return inspect([](const Bridge& bridge) { return bridge.geometry().frame_bytes(); });
}
bool SimulatedCamera::waits_for_trigger() const {
  return inspect([](const Bridge& bridge) { return bridge.waits_for_trigger(); });
}
uint16_t SimulatedCamera::sensor_register(uint16_t address) const {
  return inspect([&](const Bridge& bridge) { return bridge.sensor_register(address); });
}
uint16_t SimulatedCamera::isp_register(uint16_t address) const {
  return inspect([&](const Bridge& bridge) { return bridge.isp_register(address); });
}
uint8_t SimulatedCamera::eeprom(uint16_t address) const {
  return inspect([&](const Bridge& bridge) { return bridge.eeprom().bytes().at(address); });
}
void SimulatedCamera::set_eeprom(uint16_t address, uint8_t byte) {
  modify([&](Bridge& bridge) { bridge.eeprom().program(address, byte); });
}
uint8_t SimulatedCamera::gpio() const {
  return inspect([](const Bridge& bridge) { return bridge.gpio(); });
}

void SimulatedCamera::pull(const std::optional<UnplugFault>& fault) {
  if (!fault || !powered_) return;
  power_down_locked();
  plug_events_.push_back({.plugged = false, .port = {}});
  if (fault->back_after) replug_at_ = Clock::now() + *fault->back_after;
  replug_port_ = fault->port;
  wake_.notify_all();
}

void SimulatedCamera::run() {
  Lock lock(mutex_);
  while (!stopping_) {
    try {
      if (work(lock)) continue;
    } catch (const std::bad_alloc&) {
      // What could not be done is lost; there may be memory for the next thing.
      if (!lock.owns_lock()) lock.lock();
      wake_.wait_for(lock, kMissingFramePause);
      continue;
    }
    if (const auto time = next_work()) {
      wake_.wait_until(lock, *time);
    } else {
      wake_.wait(lock);
    }
  }
}

bool SimulatedCamera::work(Lock& lock) {
  return plug_work(lock) || fifo_work() || frame_work(lock);
}

std::optional<SimulatedCamera::Clock::time_point> SimulatedCamera::next_work() const {
  std::optional<Clock::time_point> next = replug_at_;
  const auto consider = [&](std::optional<Clock::time_point> time) {
    if (time && (!next || *time < *next)) next = time;
  };
  if (!powered_) return next;
  if (const auto timed = faults_.next_timed()) consider(powered_since_ + *timed);
  if (const auto due = frame_due()) consider(due);
  if (fifo_.limited() && pipe_.waits_for_bytes()) consider(fifo_.when(pipe_.wanted()));
  return next;
}

bool SimulatedCamera::plug_work(Lock& lock) {
  const auto now = Clock::now();
  if (powered_) pull(faults_.take_timed(now - powered_since_));
  // The listener hears of the departure before the camera can be back.
  if (plug_events_.empty() && replug_at_ && *replug_at_ <= now) {
    power_up_locked();
    plug_events_.push_back({.plugged = true, .port = std::exchange(replug_port_, std::nullopt)});
  }
  if (plug_events_.empty()) return false;
  const auto event = plug_events_.front();
  plug_events_.pop_front();
  const auto listener = listener_;
  lock.unlock();
  if (listener) listener(*this, event);
  lock.lock();
  return true;
}

std::optional<SimulatedCamera::Clock::time_point> SimulatedCamera::frame_due() const {
  // A sensor behind a FIFO does not wait for the host.
  const bool room = fifo_.limited() ? !pipe_.holds_frame() : pipe_.wants_frame();
  if (!room || faults_.stream_ended()) return std::nullopt;
  const auto due = clock_.next_due();
  return due ? std::optional(std::max(*due, pause_until_)) : std::nullopt;
}

bool SimulatedCamera::frame_work(Lock& lock) {
  const auto now = Clock::now();
  const auto due = frame_due();
  if (!due || *due > now) return false;
  clock_.take(now);
  const auto fault = faults_.next_frame();
  if (fault) ++counters_.faults;
  const FrameRequest request{
      .number = frame_number_++, .readout = bridge_.readout(), .shutter = bridge_.shutter()};
  if (fault && fault->action == FrameFault::Action::kMissing) {
    pause_until_ = now + kMissingFramePause;
    return true;
  }
  const auto epoch = epoch_;
  auto frame = make_frame(lock, request, fault);
  if (epoch != epoch_ || !frame) {
    ++void_frames_;
    return true;
  }
  if (bridge_.exposes_itself()) bridge_.follow_level(mean_level(frame->bytes, model().color));
  if (!fifo_.limited()) {
    pipe_.send(std::move(*frame));
  } else {
    cut_ = false;
    fifo_.begin(std::max(*due, taken_at_), frame->bytes.size(), bridge_.frame_period() * 9 / 10);
    pipe_.send(std::move(*frame), 0);
    if (pipe_.has_reads()) overflow(asked_at_);
  }
  reads_ended();
  return true;
}

/// Makes the frame without the lock: requests go on meanwhile. Nothing when there is no memory for it.
std::optional<WireFrame> SimulatedCamera::make_frame(Lock& lock, const FrameRequest& request,
                                                     const std::optional<FrameFault>& fault) {
  ++counters_.frames_made;
  std::optional<WireFrame> frame({.bytes = pipe_.take_spare()});
  const auto size = bridge_.geometry().frame_bytes();
  lock.unlock();
  try {
    frame->bytes.resize(size);
    maker_.make(request, frame->bytes);
    if (fault) shape(*frame, *fault);
  } catch (const std::bad_alloc&) {
    frame.reset();
  }
  lock.lock();
  if (!frame) pause_until_ = Clock::now() + kMissingFramePause;
  return frame;
}

}  // namespace kxsim
