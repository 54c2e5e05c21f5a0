// SPDX-License-Identifier: Apache-2.0
#include "grabber.h"

#include <algorithm>
#include <array>

#include <kxcam/extra.h>

namespace kxcam::view {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds kInterest{2};  ///< for which a question for a frame lasts
constexpr milliseconds kQueryLimit{200};
constexpr milliseconds kStale{100};  ///< a picture that nobody fetched
constexpr milliseconds kPauseAfterFailure{50};
constexpr milliseconds kBetweenSearches{500};
constexpr seconds kBetweenRestarts{10};
constexpr seconds kSilence{3};
constexpr std::size_t kShownFrames = 4;

double control(int camera, const char* name) {
  double value = 0;
  return kxcam_get(camera, name, &value) == 0 ? value : 0;
}

bool is_triggered(int camera) {
  return control(camera, "trigger") != 0;
}

bool is_automatic(int camera) {
  constexpr std::array kLoops = {"auto-exposure", "auto-gain", "auto-white-balance"};
  return std::ranges::any_of(kLoops, [&](const char* name) { return control(camera, name) != 0; });
}

bool answers(int camera) {
  int count = 0;
  return CameraGetResolutionCount(camera, &count) == 0;
}

}  // namespace

Grabber::Grabber(const ViewedCamera& camera, Recorder& recorder)
    : camera_(camera), recorder_(recorder), bayer_(camera.description().bayer), thread_([this] { run(); }) {}

Grabber::~Grabber() {
  stop();
  thread_.join();
}

void Grabber::stop() {
  {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
  }
  kxcam_interrupt(camera_.index(), true);
  changed_.notify_all();
}

std::shared_ptr<const Frame> Grabber::next(uint64_t number, milliseconds limit) {
  std::unique_lock lock(mutex_);
  last_asked_ = Clock::now();
  if (number > frames_) number = 0;
  ++waiting_;
  changed_.notify_all();
  const bool come = changed_.wait_for(
      lock, limit, [&] { return stopped_ || (newest_ != nullptr && newest_->number > number); });
  --waiting_;
  last_asked_ = Clock::now();
  if (!come || stopped_) return nullptr;
  newest_was_given_ = true;
  if (shown_.empty() || shown_.back() != newest_) shown_.push_back(newest_);
  if (shown_.size() > kShownFrames) shown_.pop_front();
  return newest_;
}

std::shared_ptr<const Frame> Grabber::shown(uint64_t number) const {
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find(shown_, number, [](const auto& frame) { return frame->number; });
  return found == shown_.end() ? nullptr : *found;
}

Grabber::Report Grabber::report() const {
  const std::lock_guard lock(mutex_);
  return report_;
}

void Grabber::set_state(State state) {
  const std::lock_guard lock(mutex_);
  report_.state = state;
}

void Grabber::run() {
  for (;;) {
    wait_until_wanted();
    {
      const std::lock_guard lock(mutex_);
      if (stopped_) return;
    }
    take_frame();
    measure_rates();
  }
}

bool Grabber::is_wanted() const {
  return waiting_ > 0 || Clock::now() - last_asked_ < kInterest;
}

void Grabber::wait_until_wanted() {
  std::unique_lock lock(mutex_);
  // Whoever starts a recording looks at its progress, so that there is a question to wake up for.
  while (!stopped_ && !is_wanted() && !recorder_.is_on()) {
    resumed_ = true;
    changed_.wait(lock);
  }
  if (!resumed_) return;
  resumed_ = false;
  measured_at_ = last_frame_ = Clock::now();
  measured_ = camera_.statistics();
  lock.unlock();
  // What waits may be as old as the pause; that a trigger asked for is welcome all the same.
  if (is_triggered(camera_.index())) return;
  const Frame::Layout layout = read_layout();
  if (const auto frame = pool_->take()) {
    frame->begin(layout);
    kxcam_query(camera_.index(), frame->raw_samples.data(), frame->raw_samples.size(), KXCAM_FORMAT_RAW, 0,
                KXCAM_QUERY_NEWEST, nullptr, 0);
  }
}

Frame::Layout Grabber::read_layout() const {
  Frame::Layout layout;
  const int index = camera_.index();
  CameraGetImageSize(index, &layout.width, &layout.height);
  CameraGetImageDepth(index, &layout.raw_bits);
  const bool rotated = control(index, "rotate-90") != 0;
  layout.raw_width = rotated ? layout.height : layout.width;
  layout.raw_height = rotated ? layout.width : layout.height;
  layout.bayer = bayer_;
  layout.channels = bayer_ == KXCAM_BAYER_NONE || recorder_.wants_grey() ? 1 : 3;
  return layout;
}

void Grabber::take_frame() {
  const auto frame = pool_->take();
  if (frame == nullptr) return pause(milliseconds(5));
  const bool recording = recorder_.is_on();
  frame->begin(read_layout());
  const int code = kxcam_query(camera_.index(), frame->raw_samples.data(), frame->raw_samples.size(),
                               KXCAM_FORMAT_RAW, static_cast<int>(kQueryLimit.count()),
                               recording ? 0 : KXCAM_QUERY_NEWEST, &frame->about, sizeof frame->about);
  if (code != 0) return note_failure(code);
  last_frame_ = Clock::now();
  set_state(State::kStreaming);
  if (frame->about.width != frame->layout().width || frame->about.height != frame->layout().height) return;
  const bool pictured = needs_picture();
  if (pictured && !make_picture(*frame)) return;
  frame->has_picture = pictured;
  if (recording) recorder_.add(frame);
  if (pictured) publish(frame);
}

/// A picture is made when somebody waits for it, or has taken the one before: who is slow costs less.
bool Grabber::needs_picture() const {
  if (recorder_.needs_picture() || (recorder_.is_on() && is_automatic(camera_.index()))) return true;
  const std::lock_guard lock(mutex_);
  return waiting_ > 0 || newest_was_given_ || Clock::now() - published_at_ > kStale;
}

/// False when the geometry was changed meanwhile. The raw frame is developed in a copy, which is corrected.
bool Grabber::make_picture(Frame& frame) {
  const int index = camera_.index();
  const Frame::Layout& layout = frame.layout();
  const int format = layout.channels == 3 ? KXCAM_FORMAT_COLOR : KXCAM_FORMAT_GREY;
  scratch_.assign(frame.raw_samples.begin(), frame.raw_samples.end());
  if (CameraISP(index, scratch_.data(), frame.samples.data(), layout.width, layout.height, format) != 0)
    return false;
  // Every raw frame and every picture counts for the library's loops, which run on multiples of four. Two a
  // frame might miss these for ever; with a third, each loop runs on every fourth picture.
  if (is_automatic(index)) {
    unused_.resize(scratch_.size());
    CameraISP(index, scratch_.data(), unused_.data(), layout.width, layout.height,
              KXCAM_FORMAT_RAW | KXCAM_FORMAT_UNCORRECTED);
  }
  return read_layout() == layout;
}

void Grabber::publish(const std::shared_ptr<Frame>& frame) {
  {
    const std::lock_guard lock(mutex_);
    frame->number = ++frames_;
    newest_ = frame;
    newest_was_given_ = false;
    published_at_ = Clock::now();
  }
  changed_.notify_all();
}

void Grabber::note_failure(int code) {
  switch (code) {
    case KXCAM_ERROR_NO_FRAME:
      return note_silence();
    case KXCAM_ERROR_NO_DEVICE:
      return bring_back(State::kGone);
    case KXCAM_ERROR_INTERRUPTED:
      return;
    case KXCAM_ERROR_ARGUMENT:  // the size was changed between asking for it and the query
      return pause(milliseconds(5));
    default:
      return pause(kPauseAfterFailure);
  }
}

void Grabber::note_silence() {
  const int index = camera_.index();
  if (is_triggered(index)) {
    last_frame_ = Clock::now();
    return set_state(State::kWaiting);
  }
  if (Clock::now() - last_frame_ < longest_silence()) return;
  bring_back(answers(index) ? State::kSilent : State::kGone);
}

/// Without a frame in free run: some exposures and some periods of a rate that is fixed.
milliseconds Grabber::longest_silence() const {
  const int index = camera_.index();
  double milliseconds_more = 3 * control(index, "exposure-ms");
  const double rate = control(index, "frame-rate");
  if (control(index, "fixed-rate") != 0 && rate > 0) milliseconds_more += 3000 / rate;
  return kSilence + milliseconds(static_cast<int64_t>(std::min(milliseconds_more, 1e8)));
}

void Grabber::bring_back(State state) {
  set_state(state);
  if (Clock::now() < next_attempt_) return pause(kPauseAfterFailure);
  if (CameraReconnect(camera_.index()) != 0) {
    next_attempt_ = Clock::now() + kBetweenSearches;
    return;
  }
  last_frame_ = Clock::now();
  next_attempt_ = last_frame_ + kBetweenRestarts;
  if (state == State::kGone) next_attempt_ = last_frame_ + kBetweenSearches;
  const std::lock_guard lock(mutex_);
  report_.state = State::kStreaming;
  ++report_.returns;
}

void Grabber::measure_rates() {
  const auto now = Clock::now();
  const std::chrono::duration<double> elapsed = now - measured_at_;
  if (elapsed < seconds(1)) return;
  const kxcam_statistics statistics = camera_.statistics();
  const std::lock_guard lock(mutex_);
  report_.frames_per_second = static_cast<double>(statistics.ended - measured_.ended) / elapsed.count();
  report_.megabytes_per_second =
      static_cast<double>(statistics.bytes - measured_.bytes) / 1e6 / elapsed.count();
  measured_ = statistics;
  measured_at_ = now;
}

void Grabber::pause(milliseconds duration) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, duration, [&] { return stopped_; });
}

}  // namespace kxcam::view
