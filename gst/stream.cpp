// SPDX-License-Identifier: Apache-2.0
#include "stream.h"

#include <algorithm>
#include <chrono>
#include <string>

#include "failure.h"

namespace kxcam {
namespace {

using Clock = std::chrono::steady_clock;  // CLOCK_MONOTONIC, as the library's
using std::chrono::milliseconds;

int64_t now_ns() {
  return std::chrono::nanoseconds(Clock::now().time_since_epoch()).count();
}

constexpr milliseconds kForEver{-1};
// How often a silent camera that is to be brought back is looked after.
constexpr milliseconds kLook{1000};

}  // namespace

void Stream::begin() {
  began_ns_ = now_ns();
}

void Stream::interrupt(bool on) {
  interrupted_ = on;
  camera_.interrupt(on);
  if (const auto reconnection = reconnection_.load(); reconnection != nullptr) reconnection->wake();
}

void Stream::tell(const char* what) const {
  GstStructure* text = gst_structure_new(what, "serial", G_TYPE_STRING, camera_.serial().c_str(), nullptr);
  gst_element_post_message(element_, gst_message_new_element(GST_OBJECT(element_), text));
}

/// Raw frames are never turned, but the library tells the size of the picture.
bool Stream::shows(const kxcam_frame& frame, const PictureLayout& layout) const {
  const Size size{frame.width, frame.height};
  return size == layout.size || (layout.format->raw() && size.turned() == layout.size);
}

Stream::Wait Stream::wait(void* picture, const PictureLayout& layout, Patience patience,
                          kxcam_frame& frame) const {
  const auto begun = Clock::now();
  for (;;) {
    const auto waited = std::chrono::duration_cast<milliseconds>(Clock::now() - begun);
    auto left = patience.timeout_ms == 0
                    ? kForEver
                    : std::max(milliseconds(patience.timeout_ms) - waited, milliseconds(0));
    if (patience.reconnect && (left < milliseconds(0) || left > kLook)) left = kLook;
    const int cause = camera_.query(picture, layout, static_cast<int>(left.count()), frame);
    switch (cause) {
      case 0:
        return shows(frame, layout) ? Wait::kFrame : Wait::kOtherSize;
      case KXCAM_ERROR_INTERRUPTED:
        return Wait::kInterrupted;
      case KXCAM_ERROR_NO_DEVICE:
        return Wait::kLost;
      case KXCAM_ERROR_NO_FRAME:
        break;
      case KXCAM_ERROR_ARGUMENT:
        return Wait::kOtherSize;
      default:
        throw failure_of(camera_.name() + ": taking a frame", cause);
    }
    // A camera that the library had to reset answers, but need not send.
    if (patience.reconnect && camera_.statistics().resets != resets_) return Wait::kLost;
    if (patience.timeout_ms != 0 && Clock::now() - begun >= milliseconds(patience.timeout_ms))
      return Wait::kTimeout;
  }
}

bool Stream::come_back() {
  auto reconnection = reconnection_.load();
  if (reconnection == nullptr) {
    tell("kxcam-lost");
    reconnection = std::make_shared<Reconnection>([&camera = camera_] { return camera.reconnect(); });
    reconnection_ = reconnection;
  }
  if (!reconnection->wait([this] { return interrupted_.load(); })) return false;
  reconnection_.store(nullptr);
  resets_ = camera_.statistics().resets;
  broken_ = true;
  tell("kxcam-back");
  return true;
}

void Stream::follow(TakenFrame& frame) {
  const uint64_t number = frame.info.sequence;
  frame.lost = next_ && number > *next_ ? number - *next_ : 0;
  next_ = number + 1;
  // While nothing was read the camera may have dropped frames that have no number.
  const kxcam_statistics statistics = camera_.statistics();
  frame.broken = broken_ || frame.lost > 0 || statistics.ring_full_ns != ring_full_ns_;
  ring_full_ns_ = statistics.ring_full_ns;
}

Stream::Outcome Stream::take(void* picture, const PictureLayout& layout, Patience patience,
                             TakenFrame& frame) {
  for (;;) {
    if (reconnection_.load() != nullptr && !come_back()) return Outcome::kInterrupted;
    switch (wait(picture, layout, patience, frame.info)) {
      case Wait::kFrame:
        follow(frame);
        broken_ = frame.info.arrived_ns < began_ns_;
        if (broken_) break;
        return Outcome::kTaken;
      case Wait::kOtherSize:
        broken_ = true;
        return Outcome::kOtherSize;
      case Wait::kInterrupted:
        return Outcome::kInterrupted;
      case Wait::kLost:
        if (!patience.reconnect) {
          throw Failure(GST_RESOURCE_ERROR_READ,
                        camera_.name() +
                            " is gone. Check its cable and power; with reconnect=true the stream "
                            "goes on when it is back.");
        }
        if (!come_back()) return Outcome::kInterrupted;
        break;
      case Wait::kTimeout:
        throw Failure(GST_RESOURCE_ERROR_READ, camera_.name() + ": no frame within " +
                                                   std::to_string(patience.timeout_ms) + " ms. " +
                                                   kxcam_error_remedy(KXCAM_ERROR_NO_FRAME));
    }
  }
}

}  // namespace kxcam
