// SPDX-License-Identifier: Apache-2.0

// The part of the source that the streaming thread runs: from caps to buffers.

#include <algorithm>
#include <chrono>
#include <cstring>
#include <exception>

#include <gst/video/video.h>

#include "failure.h"
#include "source.h"

namespace kxcam {
namespace {

// What the largest picture takes from its arrival on, on a slow machine.
constexpr GstClockTime kProcessing = 100 * GST_MSECOND;
constexpr int kRing = 5;  // frames that the library keeps

GstClockTime frame_time(FrameRate rate) {
  if (rate.numerator <= 0) return GST_CLOCK_TIME_NONE;
  return gst_util_uint64_scale_int(GST_SECOND, rate.denominator, rate.numerator);
}

/// A buffer's memory for as long as the object lives.
class Mapping {
 public:
  explicit Mapping(GstBuffer* buffer) : buffer_(buffer) {
    if (gst_buffer_map(buffer, &map_, GST_MAP_WRITE) == FALSE)
      throw Failure(GST_RESOURCE_ERROR_FAILED, "The memory for a picture cannot be written.");
  }
  ~Mapping() { gst_buffer_unmap(buffer_, &map_); }
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;

  uint8_t* data() const { return map_.data; }
  size_t size() const { return map_.size; }

 private:
  GstBuffer* buffer_;
  GstMapInfo map_{};
};

}  // namespace

GstCaps* Source::caps() const {
  const Wanted wanted = this->wanted();
  const std::shared_lock lock(camera_mutex_);
  if (camera_ == nullptr) return template_caps();
  const bool chosen = !wanted.roi.empty() || wanted.resolution >= 0;
  const auto sizes = chosen ? std::vector{camera_->raw_size()} : camera_->presets();
  return caps_of(formats_of(camera_->description()), sizes, camera_->turned());
}

GstCaps* Source::fixate(GstCaps* caps) const {
  caps = gst_caps_make_writable(gst_caps_truncate(caps));
  const std::shared_lock lock(camera_mutex_);
  const FrameRate rate = camera_ != nullptr ? camera_->rate() : FrameRate();
  gst_structure_fixate_field_nearest_fraction(gst_caps_get_structure(caps, 0), "framerate", rate.numerator,
                                              rate.denominator);
  return caps;
}

void Source::post_no_caps(const GstCaps* offered) const {
  std::string text;
  {
    GstCaps* own = caps();
    for (guint i = 0; i < gst_caps_get_size(own); ++i)
      gst_structure_remove_fields(gst_caps_get_structure(own, i), "width", "height", nullptr);
    const bool format_fits = gst_caps_can_intersect(own, offered) != FALSE;
    gst_caps_unref(own);
    const std::shared_lock lock(camera_mutex_);
    if (camera_ == nullptr) return;
    std::vector<std::string> choice;
    if (format_fits) {
      const bool turned = camera_->turned();
      for (const Size& size : camera_->presets()) {
        const auto [width, height] = turned ? size.turned() : size;
        choice.push_back(std::to_string(width) + "x" + std::to_string(height));
      }
      text = camera_->name() + " has no resolution that fits the caps downstream. It has " + joined(choice) +
             "; roi=X,Y,WIDTH,HEIGHT selects a part of the first, and videoscale makes any size.";
    } else {
      for (const PixelFormat* format : formats_of(camera_->description())) choice.emplace_back(format->name);
      text = camera_->name() + " has no format that fits the caps downstream. It has " + joined(choice) +
             "; videoconvert makes others.";
    }
  }
  post_error(element(), Failure(GST_RESOURCE_ERROR_SETTINGS, text));
}

void Source::warn_of_raw() const {
  std::vector<std::string> idle;
  {
    const std::shared_lock lock(camera_mutex_);
    for (const kxcam_control& control : controls()) {
      const std::string name = control.name;
      const bool exposes = name == "auto-exposure" || name == "auto-gain";
      if (!exposes && name != "auto-white-balance") continue;
      const bool by_camera = exposes && (camera_->description().features & KXCAM_FEATURE_AUTO_EXPOSURE) != 0;
      if (!by_camera && camera_->get(control) == 1.0) idle.push_back(name);
    }
  }
  if (!idle.empty())
    post_warning(element(),
                 joined(idle) + " measures processed pictures only, and these caps are of raw ones.");
}

bool Source::set_caps(const GstCaps* caps) try {
  const auto layout = layout_of(caps);
  if (!layout) return false;
  const Wanted wanted = this->wanted();
  {
    const std::unique_lock lock(camera_mutex_);
    if (camera_ == nullptr) return false;
    const Size raw = camera_->turned() && !layout->format->raw() ? layout->size.turned() : layout->size;
    if (wanted.roi.empty() && wanted.resolution < 0 && (camera_->raw_size() != raw || !camera_->preset())) {
      const auto found = std::ranges::find(camera_->presets(), raw);
      if (found == camera_->presets().end()) return false;
      camera_->select_preset(static_cast<int>(found - camera_->presets().begin()));
      camera_->set_views(wanted.controls);
    }
    rate_ = rate_of(caps);
    if (rate_.numerator > 0) camera_->fix_rate(rate_);
  }
  layout_ = *layout;
  if (layout_.format->raw()) warn_of_raw();
  return true;
} catch (const std::exception& error) {
  post_error(element(), error);
  return false;
}

void Source::choose_pool(GstQuery* query) {
  const bool padded = layout_.stride != layout_.row_bytes;
  const bool video = layout_.format->bayer == KXCAM_BAYER_NONE;
  takes_video_meta_ =
      video && gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr) != FALSE;
  // A pool from downstream would have its rows padded.
  const bool as_they_are = padded && takes_video_meta_;
  if (!as_they_are && gst_query_get_n_allocation_pools(query) > 0) return;
  while (gst_query_get_n_allocation_pools(query) > 0) gst_query_remove_nth_allocation_pool(query, 0);
  GstBufferPool* pool = gst_buffer_pool_new();
  const size_t bytes = as_they_are ? layout_.bytes() : layout_.padded_bytes();
  gst_query_add_allocation_pool(query, pool, static_cast<guint>(bytes), 2, 0);
  gst_object_unref(pool);
}

bool Source::follows_picture() const {
  const std::shared_lock lock(camera_mutex_);
  const Size raw = camera_->raw_size();
  return layout_.size == (camera_->turned() && !layout_.format->raw() ? raw.turned() : raw);
}

GstFlowReturn Source::create(GstBuffer** buffer) try {
  constexpr int kMostChanges = 100;
  for (int changes = 0; changes < kMostChanges; ++changes) {
    // The picture may have been turned, or another part of it been chosen.
    if (!follows_picture() && gst_base_src_negotiate(element_) == FALSE)
      return GST_PAD_IS_FLUSHING(GST_BASE_SRC_PAD(element_)) ? GST_FLOW_FLUSHING : GST_FLOW_NOT_NEGOTIATED;
    GstBuffer* made = nullptr;
    const auto bytes = static_cast<guint>(layout_.padded_bytes());
    const GstFlowReturn result = GST_BASE_SRC_GET_CLASS(element_)->alloc(element_, 0, bytes, &made);
    if (result != GST_FLOW_OK) return result;
    const std::unique_ptr<GstBuffer, void (*)(GstBuffer*)> owner(made, gst_buffer_unref);
    TakenFrame frame;
    switch (fill(made, frame)) {
      case Stream::Outcome::kTaken:
        stamp(made, frame);
        if (frame.lost > 0) post_loss(made);
        *buffer = gst_buffer_ref(made);
        return GST_FLOW_OK;
      case Stream::Outcome::kInterrupted:
        return GST_FLOW_FLUSHING;
      case Stream::Outcome::kOtherSize:
        break;
    }
  }
  throw Failure(GST_RESOURCE_ERROR_READ, "The size of the pictures does not stay.");
} catch (const std::exception& error) {
  post_error(element(), error);
  return GST_FLOW_ERROR;
}

Stream::Outcome Source::fill(GstBuffer* buffer, TakenFrame& frame) {
  const GstVideoMeta* meta = gst_buffer_get_video_meta(buffer);
  const size_t stride = meta != nullptr ? static_cast<size_t>(meta->stride[0]) : layout_.stride;
  const size_t offset = meta != nullptr ? meta->offset[0] : 0;
  const auto rows = static_cast<size_t>(layout_.size.height);
  const bool told = meta == nullptr && takes_video_meta_ && stride != layout_.row_bytes;
  const bool direct = told || stride == layout_.row_bytes;
  Stream::Outcome outcome{};
  {
    const Mapping memory(buffer);
    const size_t needed = direct ? layout_.bytes() : stride * (rows - 1) + layout_.row_bytes;
    if ((stride < layout_.row_bytes && !told) || memory.size() < offset + needed)
      throw Failure(GST_RESOURCE_ERROR_FAILED, "The memory that downstream gave is too small for a picture.");
    uint8_t* const to = memory.data() + offset;
    if (!direct) scratch_.resize(layout_.bytes());
    outcome = stream_->take(direct ? to : scratch_.data(), layout_, wanted().patience, frame);
    for (size_t row = 0; !direct && outcome == Stream::Outcome::kTaken && row < rows; ++row)
      std::memcpy(to + row * stride, scratch_.data() + row * layout_.row_bytes, layout_.row_bytes);
  }
  if (told) {
    gsize offsets[GST_VIDEO_MAX_PLANES] = {};
    gint strides[GST_VIDEO_MAX_PLANES] = {static_cast<gint>(layout_.row_bytes)};
    gst_buffer_add_video_meta_full(
        buffer, GST_VIDEO_FRAME_FLAG_NONE, gst_video_format_from_string(layout_.format->name),
        static_cast<guint>(layout_.size.width), static_cast<guint>(layout_.size.height), 1, offsets, strides);
  }
  return outcome;
}

void Source::stamp(GstBuffer* buffer, const TakenFrame& frame) {
  using std::chrono::nanoseconds;
  const auto clock_ns = [](auto now) { return nanoseconds(now.time_since_epoch()).count(); };
  GST_BUFFER_OFFSET(buffer) = frame.info.sequence;
  GST_BUFFER_OFFSET_END(buffer) = frame.info.sequence + 1;
  GST_BUFFER_DURATION(buffer) = frame_time(rate_);
  if (frame.broken) GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);

  const int64_t age =
      std::max<int64_t>(clock_ns(std::chrono::steady_clock::now()) - frame.info.arrived_ns, 0);
  static GstStaticCaps unix_time = GST_STATIC_CAPS("timestamp/x-unix");
  GstCaps* reference = gst_static_caps_get(&unix_time);
  gst_buffer_add_reference_timestamp_meta(
      buffer, reference, static_cast<GstClockTime>(clock_ns(std::chrono::system_clock::now()) - age),
      GST_CLOCK_TIME_NONE);
  gst_caps_unref(reference);

  GstClock* clock = gst_element_get_clock(element());
  if (clock == nullptr) return;
  const GstClockTimeDiff running =
      GST_CLOCK_DIFF(gst_element_get_base_time(element()), gst_clock_get_time(clock)) - age;
  gst_object_unref(clock);
  last_stamp_ = std::max(last_stamp_, static_cast<GstClockTime>(std::max<GstClockTimeDiff>(running, 0)));
  GST_BUFFER_PTS(buffer) = last_stamp_;
}

void Source::post_loss(const GstBuffer* buffer) const {
  const kxcam_statistics now = camera_->statistics();
  const GstClockTime stamp = GST_BUFFER_PTS(buffer);
  GstMessage* message =
      gst_message_new_qos(GST_OBJECT(element_), TRUE, stamp, stamp, stamp, GST_BUFFER_DURATION(buffer));
  gst_message_set_qos_stats(message, GST_FORMAT_BUFFERS, now.delivered,
                            now.ended - now.delivered - static_cast<uint64_t>(now.waiting));
  gst_element_post_message(element(), message);
}

bool Source::latency(GstClockTime& least, GstClockTime& most) const {
  const std::shared_lock lock(camera_mutex_);
  if (camera_ == nullptr) return false;
  const GstClockTime interval = frame_time(camera_->rate());
  const GstClockTime one = GST_CLOCK_TIME_IS_VALID(interval) ? interval : kProcessing;
  // A stamp is the time of arrival: all that lies between is the processing, however slow the camera is.
  least = std::min(one, kProcessing);
  most = kRing * one;
  return true;
}

}  // namespace kxcam
