// SPDX-License-Identifier: Apache-2.0
#include "formats.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include <gst/video/video.h>

namespace kxcam {
namespace {

constexpr const char* kVideo = "video/x-raw";
constexpr const char* kBayer = "video/x-bayer";

constexpr PixelFormat kFormats[] = {
    {kVideo, "RGB", KXCAM_FORMAT_COLOR, 3, KXCAM_BAYER_NONE},
    {kVideo, "BGR", KXCAM_FORMAT_COLOR | KXCAM_FORMAT_BGR, 3, KXCAM_BAYER_NONE},
    {kVideo, "RGBx", KXCAM_FORMAT_COLOR | KXCAM_FORMAT_32BIT, 4, KXCAM_BAYER_NONE},
    {kVideo, "BGRx", KXCAM_FORMAT_COLOR | KXCAM_FORMAT_BGR | KXCAM_FORMAT_32BIT, 4, KXCAM_BAYER_NONE},
    {kVideo, "GRAY8", KXCAM_FORMAT_GREY, 1, KXCAM_BAYER_NONE},
    {kVideo, "GRAY16_LE", KXCAM_FORMAT_RAW, 2, KXCAM_BAYER_NONE},
    {kBayer, "rggb", KXCAM_FORMAT_RAW, 1, KXCAM_BAYER_RGGB},
    {kBayer, "grbg", KXCAM_FORMAT_RAW, 1, KXCAM_BAYER_GRBG},
    {kBayer, "gbrg", KXCAM_FORMAT_RAW, 1, KXCAM_BAYER_GBRG},
    {kBayer, "bggr", KXCAM_FORMAT_RAW, 1, KXCAM_BAYER_BGGR},
};

constexpr int kMostPixels = 32768;  // in a row or a column
constexpr int kMostRate = 65535;    // tenths of a frame a second

bool gives(const kxcam_description& camera, const PixelFormat& format) {
  if (!format.raw()) return true;
  if (camera.bits > 8) return camera.bayer == KXCAM_BAYER_NONE && format.pixel_bytes == 2;
  return camera.bayer != KXCAM_BAYER_NONE && camera.bayer == format.bayer;
}

GstStructure* structure_of(const char* media, std::span<const PixelFormat* const> formats) {
  GstStructure* structure =
      gst_structure_new(media, "framerate", GST_TYPE_FRACTION_RANGE, 0, 1, kMostRate, 10, nullptr);
  GValue names = G_VALUE_INIT;
  gst_value_list_init(&names, static_cast<guint>(formats.size()));
  for (const PixelFormat* format : formats) {
    GValue name = G_VALUE_INIT;
    g_value_init(&name, G_TYPE_STRING);
    g_value_set_static_string(&name, format->name);
    gst_value_list_append_and_take_value(&names, &name);
  }
  if (formats.size() == 1) {
    gst_structure_set(structure, "format", G_TYPE_STRING, formats.front()->name, nullptr);
    g_value_unset(&names);
  } else {
    gst_structure_take_value(structure, "format", &names);
  }
  return structure;
}

/// The formats of that media type that are, or are not, raw.
std::vector<const PixelFormat*> only(std::span<const PixelFormat* const> formats, std::string_view media,
                                     bool raw) {
  std::vector<const PixelFormat*> some;
  for (const PixelFormat* format : formats) {
    if (format->media == media && format->raw() == raw) some.push_back(format);
  }
  return some;
}

}  // namespace

std::vector<const PixelFormat*> formats_of(const kxcam_description& camera) {
  std::vector<const PixelFormat*> formats;
  for (const PixelFormat& format : kFormats) {
    if (gives(camera, format)) formats.push_back(&format);
  }
  const bool colour = camera.bayer != KXCAM_BAYER_NONE;
  std::stable_partition(formats.begin(), formats.end(), [&](const PixelFormat* format) {
    return colour || format->word == KXCAM_FORMAT_GREY;
  });
  return formats;
}

GstCaps* template_caps() {
  std::vector<const PixelFormat*> formats;
  for (const PixelFormat& format : kFormats) formats.push_back(&format);
  GstCaps* caps = gst_caps_new_empty();
  for (const char* media : {kVideo, kBayer}) {
    std::vector<const PixelFormat*> some;
    std::ranges::copy_if(formats, std::back_inserter(some),
                         [&](const PixelFormat* format) { return format->media == media; });
    GstStructure* structure = structure_of(media, some);
    for (const char* side : {"width", "height"})
      gst_structure_set(structure, side, GST_TYPE_INT_RANGE, 1, kMostPixels, nullptr);
    gst_caps_append_structure(caps, structure);
  }
  return caps;
}

GstCaps* caps_of(std::span<const PixelFormat* const> formats, std::span<const Size> raw_sizes, bool turned) {
  GstCaps* caps = gst_caps_new_empty();
  struct Kind {
    const char* media;
    bool raw;
  };
  for (const auto& [media, raw] : {Kind{kVideo, false}, Kind{kVideo, true}, Kind{kBayer, true}}) {
    const auto some = only(formats, media, raw);
    if (some.empty()) continue;
    for (const Size& size : raw_sizes) {
      const auto [width, height] = turned && !raw ? size.turned() : size;
      GstStructure* structure = structure_of(media, some);
      gst_structure_set(structure, "width", G_TYPE_INT, width, "height", G_TYPE_INT, height, nullptr);
      gst_caps_append_structure(caps, structure);
    }
  }
  return caps;
}

std::optional<PictureLayout> layout_of(const GstCaps* caps) {
  const GstStructure* structure = gst_caps_get_structure(caps, 0);
  const char* name = gst_structure_get_string(structure, "format");
  Size size{};
  if (name == nullptr || gst_structure_get_int(structure, "width", &size.width) == FALSE ||
      gst_structure_get_int(structure, "height", &size.height) == FALSE)
    return std::nullopt;
  const auto* format = std::ranges::find_if(kFormats, [&](const PixelFormat& known) {
    return std::string_view(known.name) == name && gst_structure_has_name(structure, known.media) != FALSE;
  });
  if (format == std::end(kFormats) || size.width < 1 || size.height < 1) return std::nullopt;
  const size_t row_bytes = static_cast<size_t>(size.width) * static_cast<size_t>(format->pixel_bytes);
  return PictureLayout{
      .format = format, .size = size, .row_bytes = row_bytes, .stride = GST_ROUND_UP_4(row_bytes)};
}

FrameRate rate_of(const GstCaps* caps) {
  FrameRate rate;
  gst_structure_get_fraction(gst_caps_get_structure(caps, 0), "framerate", &rate.numerator,
                             &rate.denominator);
  return rate;
}

}  // namespace kxcam
