// SPDX-License-Identifier: Apache-2.0
// Develops a frame at every level that the processor has, and stops at the first difference.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "core/model_table.h"
#include "input.h"
#include "isp/develop.h"
#include "isp/raw_corrections.h"
#include "kxcam/kxcam.h"

namespace kxcam {
namespace {

/// Any double, or one with two decimals.
double coefficient(Input& input) {
  return input.byte() % 2 == 0 ? input.real() : (input.word() - 32768) / 100.0;
}

struct Frame {
  uint32_t mode;
  int format;
  int width;
  int height;
  size_t shift;  ///< of the picture from its buffer's beginning
};

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

RawCorrections corrections_of(Input& input, const Frame& frame) {
  const int flags = input.byte();
  RawCorrections corrections;
  corrections.despeckled = (flags & 1) != 0;
  if ((flags & 2) == 0) return corrections;
  FlatField field({frame.width + 3, frame.height + 3});
  std::vector<double> columns(static_cast<size_t>(frame.width));
  for (double& entry : columns) entry = coefficient(input);
  field.set_columns(columns, columns);
  corrections.flat_field = std::make_shared<const FlatField>(std::move(field));
  corrections.placement.x0 = input.byte() % 8 - 2;
  return corrections;
}

struct Result {
  std::vector<uint8_t> raw;
  std::vector<uint8_t> picture;
  int32_t mean;

  bool operator==(const Result&) const = default;
};

Result run(CpuLevel level, const Frame& frame, const FrameSettings& settings,
           const RawCorrections& corrections, std::vector<uint8_t> raw) {
  correct(level, {raw, frame.width, frame.height}, corrections);
  std::vector<uint8_t> picture(frame.shift + raw.size() * 4, 0xA5);
  WorkMemory memory;
  const int32_t mean = develop(level, frame.mode, settings, ImageView(raw, frame.width, frame.height),
                               picture.data() + frame.shift, frame.format, memory);
  return {std::move(raw), std::move(picture), mean};
}

}  // namespace
}  // namespace kxcam

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kxcam;
  Input input({data, size});
  Frame frame{};
  frame.mode = kRGGB + input.byte() % 5;
  frame.format = (input.byte() % 2 == 0 ? KXCAM_FORMAT_GREY : KXCAM_FORMAT_COLOR) |
                 (input.word() & (KXCAM_FORMAT_BGR | KXCAM_FORMAT_32BIT));
  frame.width = 1 + input.byte();
  frame.height = 1 + input.byte() % 80;
  frame.shift = input.byte() % 64;
  const FrameSettings settings = settings_of(input, frame);
  const RawCorrections corrections = corrections_of(input, frame);
  std::vector<uint8_t> raw(static_cast<size_t>(frame.width) * frame.height);
  uint32_t state = 1;
  for (uint8_t& sample : raw) {
    state = state * 1664525 + 1013904223;
    sample = static_cast<uint8_t>(input.byte() ^ state >> 24);
  }
  const Result wanted = run(CpuLevel::kScalar, frame, settings, corrections, raw);
  for (const CpuLevel level : kCpuLevels) {
    if (is_available(level) && run(level, frame, settings, corrections, raw) != wanted) std::abort();
  }
  return 0;
}
