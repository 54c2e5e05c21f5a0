// SPDX-License-Identifier: Apache-2.0
#include "frame.h"

#include <algorithm>
#include <string>

#include "jpeg.h"
#include "preview.h"

namespace kxcam::view {
namespace {

constexpr int kMostFrames = 16;
constexpr std::size_t kMostLooks = 8;
constexpr int kQuality = 80;
constexpr int kQualityOfDetails = 92;  ///< where every pixel is seen

std::size_t bytes_of(int width, int height, int bytes_per_pixel) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
         static_cast<std::size_t>(bytes_per_pixel);
}

}  // namespace

void Frame::begin(const Layout& layout) {
  layout_ = layout;
  has_picture = false;
  raw_samples.resize(bytes_of(layout.raw_width, layout.raw_height, layout.raw_bits > 8 ? 2 : 1));
  samples.resize(bytes_of(layout.width, layout.height, layout.channels));
  histograms_.reset();
  shown_.clear();
}

Picture Frame::picture() const {
  return {.width = layout_.width, .height = layout_.height, .channels = layout_.channels, .samples = samples};
}

Picture Frame::raw() const {
  return {.width = layout_.raw_width,
          .height = layout_.raw_height,
          .channels = 1,
          .bits = layout_.raw_bits,
          .samples = raw_samples};
}

std::shared_ptr<const std::string> Frame::jpeg(const Look& look, Rectangle& part, int& step) const {
  const std::lock_guard lock(mutex_);
  auto found = std::ranges::find(shown_, look, &Shown::look);
  if (found == shown_.end()) {
    if (shown_.size() >= kMostLooks) shown_.clear();
    const Preview preview = make_preview(picture(), look);
    const int quality = preview.step == 1 ? kQualityOfDetails : kQuality;
    shown_.push_back({look, preview.part, preview.step,
                      std::make_shared<const std::string>(encode_jpeg(preview, quality))});
    found = std::prev(shown_.end());
  }
  part = found->part;
  step = found->step;
  return found->jpeg;
}

const Frame::Histograms& Frame::histograms() const {
  const std::lock_guard lock(mutex_);
  if (!histograms_) histograms_ = {picture_histograms(picture()), raw_histograms(raw(), layout_.bayer)};
  return *histograms_;
}

std::shared_ptr<Frame> FramePool::take() {
  const std::lock_guard lock(mutex_);
  if (in_use_ >= kMostFrames) return nullptr;
  std::unique_ptr<Frame> frame;
  if (free_.empty()) {
    frame = std::make_unique<Frame>();
  } else {
    frame = std::move(free_.back());
    free_.pop_back();
  }
  ++in_use_;
  return {frame.release(), [pool = shared_from_this()](Frame* returned) {
            const std::lock_guard lock_again(pool->mutex_);
            pool->free_.emplace_back(returned);
            --pool->in_use_;
          }};
}

}  // namespace kxcam::view
