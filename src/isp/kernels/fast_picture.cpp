// SPDX-License-Identifier: Apache-2.0
#include "isp/kernels/fast_picture.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include <xmmintrin.h>

#include "isp/kernels/oriented_frame.h"
#include "isp/kernels/work_rows.h"
#include "isp/pixel_layout.h"

namespace kxcam {
namespace {

constexpr uint16_t kEvenColumns = 0x00FF;
constexpr uint16_t kOddColumns = 0xFF00;
constexpr uint16_t kAllColumns = 0xFFFF;

/// Pictures from this size on are written past the caches.
constexpr size_t kStreamedBytes = size_t{1} << 20;

/// Memory that begins at a cache line; none when there is none left.
class WorkMemory {
 public:
  explicit WorkMemory(size_t bytes) : data_(new (kAlignment, std::nothrow) uint8_t[bytes]()) {}

  uint8_t* data() const { return data_.get(); }

 private:
  static constexpr std::align_val_t kAlignment{64};

  struct Delete {
    void operator()(uint8_t* data) const { ::operator delete[](data, kAlignment); }
  };

  std::unique_ptr<uint8_t[], Delete> data_;
};

/// Colours of a pixel as its row sees them: the red or blue of the row, green, and the other one.
struct RowPlanes {
  uint8_t* own;
  uint8_t* green;
  uint8_t* other;
};

/// Where the pixels of a picture go, and how they get there.
struct Output {
  FinishRow finish_row;
  const Finish* finish;
  uint8_t* pixels;
  int bytes_per_pixel;
};

/// A picture in the making: the rows that are worked on, and the sum of the samples that count for the
/// mean level.
class Picture {
 public:
  Picture(const RowKernels& kernels, const ImageView& raw, const IndexMap& map, const Output& output)
      : kernels_(kernels),
        output_(output),
        frame_(map),
        stride_(work_row_stride(frame_.columns.size)),
        memory_(WorkRowWindow::memory_size(frame_) + 3 * stride_),
        window_(kernels, raw, frame_, memory_.data() + 3 * stride_) {}

  bool has_memory() const { return memory_.data() != nullptr; }
  const OrientedFrame& frame() const { return frame_; }
  int width() const { return frame_.columns.size; }
  int height() const { return frame_.rows.size; }
  uint8_t* plane(int i) const { return memory_.data() + i * stride_ + kRowMargin; }

  /// Makes row `y` and its neighbours available and counts the samples of `columns`.
  void enter_row(int y, uint16_t columns) {
    window_.advance_to(std::min(y + 1, height() - 1));
    const int samples = columns == kAllColumns ? width() : (width() + (columns == kEvenColumns ? 1 : 0)) / 2;
    sum_ += uint64_t{255} * samples - kernels_.sum(row(y), width(), columns);
  }

  const uint8_t* row(int y) const { return window_.row(y); }
  WorkRows rows_around(int y) const { return {row(y - 1), row(y), row(y + 1)}; }

  void write_row(int y, const Planes& planes) const {
    const size_t row_bytes = static_cast<size_t>(width()) * output_.bytes_per_pixel;
    const bool stream = row_bytes * height() >= kStreamedBytes;
    output_.finish_row(*output_.finish, planes, output_.pixels + y * row_bytes, width(), stream);
  }

  int32_t mean(int weight) const { return static_cast<int32_t>(sum_ * weight / height() / width()); }

 private:
  const RowKernels& kernels_;
  Output output_;
  OrientedFrame frame_;
  size_t stride_;
  WorkMemory memory_;
  WorkRowWindow window_;
  uint64_t sum_ = 0;
};

void arrange_curve(const RowKernels& kernels, const Curve& curve, Lookup& lookup) {
  Curve complemented = curve;
  std::ranges::reverse(complemented);
  kernels.arrange(complemented.data(), lookup);
}

std::array<const Curve*, 3> final_curves(const ToneCurves& curves) {
  return {&curves.final_curve_r, &curves.final_curve_g, &curves.final_curve_b};
}

/// Border pixels take what they lack from their own cell, without averaging.
void fill_border_pixel(const Picture& picture, const RowPlanes& planes, int green_x, int x, int y) {
  const uint8_t* centre = picture.row(y);
  const uint8_t* down = picture.row(picture.frame().rows.partner(y));
  const int across = picture.frame().columns.partner(x);
  if ((x & 1) == green_x) {
    planes.own[x] = centre[across];
    planes.green[x] = centre[x];
    planes.other[x] = down[x];
  } else {
    planes.own[x] = centre[x];
    planes.green[x] = picture.frame().turned ? down[x] : centre[across];
    planes.other[x] = down[across];
  }
}

void fill_row(const RowKernels& kernels, const Picture& picture, const RowPlanes& planes, int green_x,
              int y) {
  const int last_x = picture.width() - 1;
  if (y == 0 || y == picture.height() - 1) {
    for (int x = 0; x <= last_x; ++x) fill_border_pixel(picture, planes, green_x, x, y);
    return;
  }
  kernels.demosaic(picture.rows_around(y), picture.width(), green_x == 0 ? kEvenColumns : kOddColumns,
                   planes.own, planes.green, planes.other);
  fill_border_pixel(picture, planes, green_x, 0, y);
  fill_border_pixel(picture, planes, green_x, last_x, y);
}

/// `red_channel`: the place of red among the planes that the output takes, 0 or 2.
std::optional<int32_t> demosaic(const RowKernels& kernels, BayerPhase raw_phase, const ImageView& raw,
                                const IndexMap& map, int red_channel, const Output& output) {
  Picture picture(kernels, raw, map, output);
  if (!picture.has_memory()) return std::nullopt;
  const BayerPhase phase = picture.frame().turn(raw_phase);
  uint8_t* const red = picture.plane(red_channel);
  uint8_t* const green = picture.plane(1);
  uint8_t* const blue = picture.plane(2 - red_channel);
  const Planes planes = {{picture.plane(0), green, picture.plane(2)}};
  for (int y = 0; y < picture.height(); ++y) {
    const int green_x = phase.green_x(y);
    picture.enter_row(y, green_x == 0 ? kEvenColumns : kOddColumns);
    const RowPlanes row_planes = phase.red_row(y) ? RowPlanes{red, green, blue} : RowPlanes{blue, green, red};
    fill_row(kernels, picture, row_planes, green_x, y);
    picture.write_row(y, planes);
  }
  _mm_sfence();
  return picture.mean(2);
}

FinishRow of_pixel(const FinishColors& colors, const PixelLayout& layout) {
  return layout.bytes == 4 ? colors.bytes4 : colors.bytes3;
}

bool has_shape_of(const IndexMap& map, const ImageView& raw) {
  return raw.width() == map.width() && raw.height() == map.height();
}

}  // namespace

std::optional<int32_t> fast_bayer_color(const RowKernels& kernels, BayerPhase phase,
                                        const FrameSettings& settings, const ImageView& raw, uint8_t* out,
                                        int format) {
  if (!has_shape_of(settings.index_map, raw)) return std::nullopt;
  const PixelLayout layout(format);
  Finish finish;
  FinishRow finish_row = of_pixel(kernels.tables, layout);
  if (settings.apply_matrix) {
    if (!build_fixed_matrix(settings.matrix->color_matrix_table, layout.red_at != 0, finish.matrix))
      return std::nullopt;
    finish_row = of_pixel(finish.matrix.plain ? kernels.plain_matrix : kernels.any_matrix, layout);
  }
  auto curves = final_curves(*settings.curves);
  if (layout.red_at != 0) std::swap(curves[0], curves[2]);
  for (size_t i = 0; i < curves.size(); ++i) arrange_curve(kernels, *curves[i], finish.lookups[i]);
  return demosaic(kernels, phase, raw, settings.index_map, layout.red_at,
                  {finish_row, &finish, out, layout.bytes});
}

std::optional<int32_t> fast_bayer_grey(const RowKernels& kernels, BayerPhase phase,
                                       const FrameSettings& settings, const ImageView& raw, uint8_t* out) {
  if (!has_shape_of(settings.index_map, raw)) return std::nullopt;
  const auto curves = final_curves(*settings.curves);
  Finish finish;
  for (size_t i = 0; i < curves.size(); ++i) {
    // Curve and product in one table. Bytes add up like integers as long as none is negative: both
    // ways a sum beyond 255 becomes 255.
    const auto& products = settings.matrix->grey_matrix_table[3 + i];
    const auto [least, greatest] = std::ranges::minmax(products);
    if (least < 0 || greatest > 255) return std::nullopt;
    Curve luma;
    std::ranges::transform(*curves[i], luma.begin(),
                           [&](uint8_t v) { return static_cast<uint8_t>(products[v]); });
    arrange_curve(kernels, luma, finish.lookups[i]);
  }
  return demosaic(kernels, phase, raw, settings.index_map, 0, {kernels.grey, &finish, out, 1});
}

std::optional<int32_t> fast_mono_color(const RowKernels& kernels, const FrameSettings& settings,
                                       const ImageView& raw, uint8_t* out, int format) {
  if (!has_shape_of(settings.index_map, raw)) return std::nullopt;
  const PixelLayout layout(format);
  Finish finish;
  arrange_curve(kernels, settings.curves->mono_curve, finish.lookups[0]);
  Picture picture(kernels, raw, settings.index_map,
                  {of_pixel(kernels.mono, layout), &finish, out, layout.bytes});
  if (!picture.has_memory()) return std::nullopt;
  const int last_x = picture.width() - 1;
  for (int y = 0; y < picture.height(); ++y) {
    picture.enter_row(y, kAllColumns);
    if (y == 0 || y == picture.height() - 1) {
      picture.write_row(y, {{picture.row(y)}});
      continue;
    }
    uint8_t* smoothed = picture.plane(0);
    kernels.smooth(picture.rows_around(y), picture.width(), smoothed);
    smoothed[0] = picture.row(y)[0];
    smoothed[last_x] = picture.row(y)[last_x];
    picture.write_row(y, {{smoothed}});
  }
  _mm_sfence();
  return picture.mean(1);
}

std::optional<int32_t> fast_mono_grey(const RowKernels& kernels, const FrameSettings& settings,
                                      const ImageView& raw, uint8_t* out) {
  if (!has_shape_of(settings.index_map, raw)) return std::nullopt;
  Finish finish;
  arrange_curve(kernels, settings.curves->mono_curve, finish.lookups[0]);
  Picture picture(kernels, raw, settings.index_map, {kernels.mono_grey, &finish, out, 1});
  if (!picture.has_memory()) return std::nullopt;
  for (int y = 0; y < picture.height(); ++y) {
    picture.enter_row(y, kAllColumns);
    picture.write_row(y, {{picture.row(y)}});
  }
  _mm_sfence();
  return picture.mean(1);
}

}  // namespace kxcam
