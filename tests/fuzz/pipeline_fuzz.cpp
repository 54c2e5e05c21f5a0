// SPDX-License-Identifier: Apache-2.0
// Corrects and develops a frame at every level that the processor has, and stops at the first difference.
#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/registry/model_table.h"
#include "input.h"
#include "isp/color_tables.h"
#include "isp/develop.h"
#include "kxcam/kxcam.h"
#include "noise.h"
#include "require.h"

namespace kxcam {
namespace {

/// Any double, or one with two decimals.
double coefficient(Input& input) {
  return input.byte() % 2 == 0 ? input.real() : (input.word() - 32768) / 100.0;
}

/// Mostly hundredths around 0, like the entries of a real fixed pattern.
double deviation(Input& input) {
  const int choice = input.byte();
  return choice < 0xF8 ? (choice - 0x7C) / 100.0 : coefficient(input);
}

struct Frame {
  uint32_t mode;
  int format;
  int width;
  int height;
  size_t shift;  ///< of the picture from its buffer's beginning

  size_t pixels() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
  size_t picture_bytes() const {
    if ((format & KXCAM_FORMAT_GREY) != 0) return pixels();
    return pixels() * ((format & KXCAM_FORMAT_32BIT) != 0 ? 4 : 3);
  }
};

Frame frame_of(Input& input) {
  Frame frame{};
  frame.mode = kRGGB + input.byte() % 6;
  frame.format = (input.byte() % 2 == 0 ? KXCAM_FORMAT_GREY : KXCAM_FORMAT_COLOR) |
                 (input.word() & (KXCAM_FORMAT_BGR | KXCAM_FORMAT_32BIT));
  frame.width = 1 + input.byte();
  frame.height = 1 + input.byte() % 80;
  frame.shift = input.byte() % 64;
  return frame;
}

std::array<double, 9> matrix_of(Input& input) {
  std::array<double, 9> matrix{};
  std::ranges::generate(matrix, [&] { return coefficient(input); });
  return matrix;
}

Curve curve_of(Input& input) {
  const int factor = input.byte();
  const int offset = input.byte();
  Curve curve{};
  for (size_t i = 0; i < curve.size(); ++i)
    curve[i] = static_cast<uint8_t>(static_cast<int>(i) * factor + offset);
  return curve;
}

FrameSettings settings_of(Input& input, const Frame& frame) {
  const int flags = input.byte();
  ToneCurves curves;
  curves.final_curve_r = curve_of(input);
  curves.final_curve_g = curve_of(input);
  curves.final_curve_b = curve_of(input);
  curves.mono_curve = curve_of(input);
  ColorMatrix matrix;
  init_saturation_matrix(matrix.color_matrix_table, 1.0, matrix_of(input));
  init_saturation_matrix(matrix.grey_matrix_table, 0.0, matrix_of(input));
  return {
      .curves = std::make_shared<const ToneCurves>(curves),
      .matrix = std::make_shared<const ColorMatrix>(matrix),
      .user_lut = nullptr,
      .apply_matrix = (flags & 8) != 0,
      .index_map = IndexMap(frame.width, frame.height, (flags & 1) != 0, (flags & 2) != 0, (flags & 4) != 0)};
}

std::vector<double> deviations(Input& input, int count) {
  std::vector<double> table(static_cast<size_t>(count));
  std::ranges::generate(table, [&] { return deviation(input); });
  return table;
}

FlatField field_of(Input& input, const Frame& frame) {
  FlatField field({frame.width + 3, frame.height + 3});
  const std::vector<double> even = deviations(input, frame.width);
  field.set_columns(even, deviations(input, frame.width));
  field.set_rows(deviations(input, frame.height));
  return field;
}

DeadPixelList dead_pixels_of(Input& input) {
  DeadPixelList list;
  list.dead_pixel_count = input.byte() % (kMaxDeadPixels + 2);
  for (size_t i = 0; i < std::min<size_t>(list.dead_pixel_count, kMaxDeadPixels); ++i)
    list.dead_pixels[i] = {input.byte(), static_cast<uint16_t>(input.byte() % 90)};
  return list;
}

RawCorrections corrections_of(Input& input, const Frame& frame) {
  const int flags = input.byte();
  RawCorrections corrections;
  corrections.despeckled = (flags & 1) != 0;
  corrections.placement = {.readout = static_cast<Readout>(flags / 16 % 3),
                           .x0 = input.byte() % 8 - 2,
                           .y0 = input.byte() % 8 - 2};
  if ((flags & 2) != 0) corrections.flat_field = std::make_shared<const FlatField>(field_of(input, frame));
  if ((flags & 4) != 0)
    corrections.dead_pixels = std::make_shared<const DeadPixelList>(dead_pixels_of(input));
  return corrections;
}

/// Samples of one byte; those of a 12-bit model go through a table first.
std::vector<uint8_t> samples_of(Input& input, const Frame& frame) {
  if (frame.mode != kMono12) return noise(input, frame.pixels());
  UserLut lut{};
  const int factor = input.byte();
  for (size_t i = 0; i < lut.size(); ++i) lut[i] = static_cast<uint8_t>((i * factor) >> 8);
  std::vector<uint8_t> reduced(frame.pixels());
  reduce_to_8_bits(noise(input, 2 * frame.pixels()).data(), frame.pixels(), lut, reduced.data());
  return reduced;
}

struct Result {
  std::vector<uint8_t> raw;
  std::vector<uint8_t> picture;
  int32_t mean;

  bool operator==(const Result&) const = default;
};

Result run(CpuLevel level, const Frame& frame, const FrameSettings& settings,
           const RawCorrections& corrections, std::vector<uint8_t> raw) {
  std::vector<uint8_t> picture(frame.shift + frame.picture_bytes(), 0xA5);
  WorkMemory memory;
  const int32_t mean =
      develop_corrected(level, frame.mode, settings, {raw, frame.width, frame.height}, corrections, true,
                        picture.data() + frame.shift, frame.format, memory);
  return {std::move(raw), std::move(picture), mean};
}

}  // namespace
}  // namespace kxcam

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kxcam;
  Input input({data, size});
  const Frame frame = frame_of(input);
  const FrameSettings settings = settings_of(input, frame);
  const RawCorrections corrections = corrections_of(input, frame);
  const std::vector<uint8_t> raw = samples_of(input, frame);
  const Result wanted = run(CpuLevel::kScalar, frame, settings, corrections, raw);
  for (const CpuLevel level : kCpuLevels) {
    if (!is_available(level)) continue;
    require(run(level, frame, settings, corrections, raw) == wanted, "every level makes the same picture");
  }
  return 0;
}
