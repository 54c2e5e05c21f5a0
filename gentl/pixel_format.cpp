// SPDX-License-Identifier: Apache-2.0
#include "pixel_format.h"

#include <array>

namespace kxcam::gentl {

namespace {

// A sample of 12 bits lies in the lower bits of two bytes: the formats named "12", neither packed ones nor
// "16".
constexpr PixelFormat kMono8 = {"Mono8", 0x01080001, KXCAM_FORMAT_GREY};
constexpr PixelFormat kMono12 = {"Mono12", 0x01100005, KXCAM_FORMAT_RAW};
constexpr PixelFormat kRgb8 = {"RGB8", 0x02180014, KXCAM_FORMAT_COLOR};
constexpr PixelFormat kBgr8 = {"BGR8", 0x02180015, KXCAM_FORMAT_COLOR | KXCAM_FORMAT_BGR};

/// By #kxcam_bayer.
constexpr std::array<PixelFormat, 5> kBayer8 = {{
    {},
    {"BayerRG8", 0x01080009, KXCAM_FORMAT_RAW},
    {"BayerGR8", 0x01080008, KXCAM_FORMAT_RAW},
    {"BayerGB8", 0x0108000A, KXCAM_FORMAT_RAW},
    {"BayerBG8", 0x0108000B, KXCAM_FORMAT_RAW},
}};
constexpr std::array<PixelFormat, 5> kBayer12 = {{
    {},
    {"BayerRG12", 0x01100011, KXCAM_FORMAT_RAW},
    {"BayerGR12", 0x01100010, KXCAM_FORMAT_RAW},
    {"BayerGB12", 0x01100012, KXCAM_FORMAT_RAW},
    {"BayerBG12", 0x01100013, KXCAM_FORMAT_RAW},
}};

}  // namespace

std::vector<PixelFormat> pixel_formats_of(const kxcam_description& camera) {
  const bool twelve_bits = camera.bits == 12;
  const auto order = static_cast<size_t>(camera.bayer);
  if (order == KXCAM_BAYER_NONE || order >= kBayer8.size()) {
    // The raw samples of eight bits are Mono8 too, but without the corrections.
    if (twelve_bits) return {kMono8, kMono12};
    return {kMono8};
  }
  return {kRgb8, kBgr8, kMono8, (twelve_bits ? kBayer12 : kBayer8)[order]};
}

}  // namespace kxcam::gentl
