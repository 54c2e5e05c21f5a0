// SPDX-License-Identifier: Apache-2.0
#include "isp/kernels/fast_picture.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include <xmmintrin.h>

#include "isp/kernels/oriented_frame.h"
#include "isp/kernels/work_rows.h"
#include "isp/pixel_layout.h"

namespace kxcam {
namespace {

/// Pictures from this size on are written past the caches.
constexpr size_t kStreamedBytes = size_t{1} << 20;

/// Every second column.
uint16_t columns_from(int first) {
  return first == 0 ? kEvenColumns : kOddColumns;
}

/// Where the pixels of a picture go, and how they get there.
struct Output {
  FinishRow finish_row;
  const Finish* finish;
  uint8_t* pixels;
  int bytes_per_pixel;
};

/// A picture in the making.
class Picture {
 public:
  Picture(const RowKernels& kernels, const ImageView& raw, const OrientedFrame& frame,
          const WorkRowWindow::Counted& counted, const Output& output, uint8_t* memory)
      : output_(output),
        frame_(frame),
        stride_(work_row_stride(frame_.columns.size)),
        memory_(memory),
        window_(kernels, raw, frame_, counted, memory_ + 3 * stride_) {}

  /// What a picture of a frame has to be given to work in; null when memory runs out.
  static uint8_t* reserve(WorkMemory& memory, const OrientedFrame& frame) {
    return memory.reserve(WorkRowWindow::memory_size(frame) + 3 * work_row_stride(frame.columns.size));
  }

  const OrientedFrame& frame() const { return frame_; }
  bool is_border_row(int y) const { return y == 0 || y == height() - 1; }
  int width() const { return frame_.columns.size; }
  int height() const { return frame_.rows.size; }
  uint8_t* plane(int i) const { return memory_ + i * stride_ + kRowMargin; }

  /// Makes row `y` and its neighbours available.
  void enter_row(int y) { window_.advance_to(std::min(y + 1, height() - 1)); }

  const uint8_t* row(int y) const { return window_.row(y); }
  WorkRows rows_around(int y) const { return {row(y - 1), row(y), row(y + 1)}; }

  /// Writes row `y` out of what `task` says of its channels.
  void write_row(int y, RowTask task) const {
    const size_t row_bytes = static_cast<size_t>(width()) * output_.bytes_per_pixel;
    const auto [ahead, step] = window_.ahead_of(y);
    task.ahead = ahead;
    task.ahead_step = step;
    task.out = output_.pixels + y * row_bytes;
    task.width = width();
    task.stream = row_bytes * height() >= kStreamedBytes;
    output_.finish_row(*output_.finish, task);
  }

  int32_t mean(int weight) const { return static_cast<int32_t>(window_.sum() * weight / height() / width()); }

 private:
  Output output_;
  OrientedFrame frame_;
  size_t stride_;
  uint8_t* memory_;
  WorkRowWindow window_;
};

void arrange_curve(const RowKernels& kernels, const Curve& curve, Lookup& lookup) {
  Curve complemented = curve;
  std::ranges::reverse(complemented);
  kernels.arrange(complemented.data(), lookup);
}

std::array<const Curve*, 3> final_curves(const ToneCurves& curves) {
  return {&curves.final_curve_r, &curves.final_curve_g, &curves.final_curve_b};
}

/// A border pixel takes what it lacks from its own cell, without averaging.
void border_pixel(const Picture& picture, int own, int green_x, int x, int y, uint8_t (&channels)[3]) {
  const uint8_t* centre = picture.row(y);
  const uint8_t* down = picture.row(picture.frame().rows.partner(y));
  const int across = picture.frame().columns.partner(x);
  if ((x & 1) == green_x) {
    channels[own] = centre[across];
    channels[1] = centre[x];
    channels[2 - own] = down[x];
  } else {
    channels[own] = centre[x];
    channels[1] = picture.frame().turned ? down[x] : centre[across];
    channels[2 - own] = down[across];
  }
}

/// The first or last row, every pixel of which is a border pixel.
RowTask border_row(const Picture& picture, int own, int green_x, int y) {
  RowTask task{};
  for (int x = 0; x < picture.width(); ++x) {
    uint8_t pixel[3];
    border_pixel(picture, own, green_x, x, y, pixel);
    for (int i = 0; i < 3; ++i) picture.plane(i)[x] = pixel[i];
  }
  for (int i = 0; i < 3; ++i) task.planes[i] = picture.plane(i);
  return task;
}

RowTask inner_row(const Picture& picture, int own, int green_x, int y) {
  RowTask task{};
  task.interpolate = true;
  task.rows = picture.rows_around(y);
  task.green_columns = columns_from(green_x);
  task.own_is_first = own == 0;
  border_pixel(picture, own, green_x, 0, y, task.border_pixels[0]);
  border_pixel(picture, own, green_x, picture.width() - 1, y, task.border_pixels[1]);
  return task;
}

/// `red_channel`: 0, or 2 for B, G, R bytes.
std::optional<int32_t> demosaic(const RowKernels& kernels, BayerPhase raw_phase, const ImageView& raw,
                                const IndexMap& map, int red_channel, const Output& output,
                                WorkMemory& memory) {
  const OrientedFrame frame(map);
  uint8_t* rows = Picture::reserve(memory, frame);
  if (rows == nullptr) return std::nullopt;
  const BayerPhase phase = frame.turn(raw_phase);
  Picture picture(kernels, raw, frame, {columns_from(phase.green_x(0)), columns_from(phase.green_x(1))},
                  output, rows);
  for (int y = 0; y < picture.height(); ++y) {
    const int green_x = phase.green_x(y);
    const int own = phase.red_row(y) ? red_channel : 2 - red_channel;
    picture.enter_row(y);
    const auto make_row = picture.is_border_row(y) ? border_row : inner_row;
    picture.write_row(y, make_row(picture, own, green_x, y));
  }
  _mm_sfence();
  return picture.mean(2);
}

RowTask mono_row(const Picture& picture, int y) {
  RowTask task{};
  task.planes[0] = picture.row(y);
  return task;
}

RowTask smoothed_row(const Picture& picture, int y) {
  RowTask task{};
  task.interpolate = true;
  task.rows = picture.rows_around(y);
  task.border_pixels[0][0] = task.rows.centre[0];
  task.border_pixels[1][0] = task.rows.centre[picture.width() - 1];
  return task;
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
                                        int format, WorkMemory& memory) {
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
                  {finish_row, &finish, out, layout.bytes}, memory);
}

std::optional<int32_t> fast_bayer_grey(const RowKernels& kernels, BayerPhase phase,
                                       const FrameSettings& settings, const ImageView& raw, uint8_t* out,
                                       WorkMemory& memory) {
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
  return demosaic(kernels, phase, raw, settings.index_map, 0, {kernels.luma, &finish, out, 1}, memory);
}

std::optional<int32_t> fast_mono_color(const RowKernels& kernels, const FrameSettings& settings,
                                       const ImageView& raw, uint8_t* out, int format, WorkMemory& memory) {
  if (!has_shape_of(settings.index_map, raw)) return std::nullopt;
  const PixelLayout layout(format);
  Finish finish;
  const OrientedFrame frame(settings.index_map);
  uint8_t* rows = Picture::reserve(memory, frame);
  if (rows == nullptr) return std::nullopt;
  arrange_curve(kernels, settings.curves->mono_curve, finish.lookups[0]);
  Picture picture(kernels, raw, frame, {kAllColumns, kAllColumns},
                  {of_pixel(kernels.mono, layout), &finish, out, layout.bytes}, rows);
  for (int y = 0; y < picture.height(); ++y) {
    picture.enter_row(y);
    picture.write_row(y, picture.is_border_row(y) ? mono_row(picture, y) : smoothed_row(picture, y));
  }
  _mm_sfence();
  return picture.mean(1);
}

std::optional<int32_t> fast_mono_grey(const RowKernels& kernels, const FrameSettings& settings,
                                      const ImageView& raw, uint8_t* out, WorkMemory& memory) {
  if (!has_shape_of(settings.index_map, raw)) return std::nullopt;
  Finish finish;
  const OrientedFrame frame(settings.index_map);
  uint8_t* rows = Picture::reserve(memory, frame);
  if (rows == nullptr) return std::nullopt;
  arrange_curve(kernels, settings.curves->mono_curve, finish.lookups[0]);
  Picture picture(kernels, raw, frame, {kAllColumns, kAllColumns}, {kernels.mono_grey, &finish, out, 1},
                  rows);
  for (int y = 0; y < picture.height(); ++y) {
    picture.enter_row(y);
    picture.write_row(y, mono_row(picture, y));
  }
  _mm_sfence();
  return picture.mean(1);
}

}  // namespace kxcam
