// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <kxcam/extra.h>

#include "frame_figures.h"
#include "picture.h"
#include "requests.h"

namespace kxcam::view {

/// A raw frame and the picture of it, with what was made of them for the clients so far: that is made once,
/// however many they are.
class Frame {
 public:
  /// Sizes of the memory for the next frame.
  struct Layout {
    int raw_width = 0;
    int raw_height = 0;
    int raw_bits = 8;
    int bayer = KXCAM_BAYER_NONE;
    int width = 0;
    int height = 0;
    int channels = 1;
    bool operator==(const Layout&) const = default;
  };
  struct Histograms {
    std::vector<Histogram> picture;
    std::vector<Histogram> raw;
  };

  /// Forgets the frame that was there before.
  void begin(const Layout& layout);

  Picture picture() const;
  Picture raw() const;
  const Layout& layout() const { return layout_; }

  std::shared_ptr<const std::string> jpeg(const Look& look, Rectangle& part, int& step) const;
  const Histograms& histograms() const;

  uint64_t number = 0;  ///< counted by the grabber, from 1
  kxcam_frame about{};
  bool has_picture = false;
  std::vector<uint8_t> raw_samples;
  std::vector<uint8_t> samples;  ///< of the picture

 private:
  struct Shown {
    Look look;
    Rectangle part;
    int step;
    std::shared_ptr<const std::string> jpeg;
  };

  Layout layout_;
  mutable std::mutex mutex_;
  mutable std::optional<Histograms> histograms_;
  mutable std::vector<Shown> shown_;
};

/// Frames that nobody uses any more, for those to come: their memory is large.
class FramePool : public std::enable_shared_from_this<FramePool> {
 public:
  /// Null while too many are in use.
  std::shared_ptr<Frame> take();

 private:
  std::mutex mutex_;
  std::vector<std::unique_ptr<Frame>> free_;
  int in_use_ = 0;
};

}  // namespace kxcam::view
