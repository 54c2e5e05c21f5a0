// SPDX-License-Identifier: Apache-2.0
#include "isp/kernels/fast_picture.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

#include <xmmintrin.h>

#include "isp/kernels/work_rows.h"
#include "isp/pixel_writers.h"

namespace kxcam {
namespace {

/// Pictures from this size on are written past the caches.
constexpr size_t kStreamedBytes = size_t{1} << 20;
constexpr size_t kLine = 64;

/// A row is made in pieces of this many pixels: two of them, and the rows that they are made of, fit the
/// first cache.
constexpr int kPiece = 4096;

/// Where the pixels of a picture go, and how they get there.
struct Output {
  FinishRow finish_row;
  const Finish* finish;
  uint8_t* pixels;
  int bytes_per_pixel;
};

/// Makes pieces of a picture, one after the other. Those of a large picture leave for its memory past the
/// caches, in whole cache lines and while the next piece is made; others are made there at once, unless
/// pixels behind the last one would be touched.
class PieceWriter {
 public:
  PieceWriter(const Output& output, size_t picture_bytes, int piece, uint8_t* memory)
      : output_(output),
        picture_bytes_(picture_bytes),
        stages_{memory + kLine, memory + kLine + stage_size(piece)},
        leaving_(nullptr),
        leaving_to_(output.pixels) {
    streamed_ =
        output.bytes_per_pixel != 4 && picture_bytes >= kStreamedBytes && piece >= static_cast<int>(kLine);
  }

  /// For pieces of up to so many pixels.
  static size_t memory_size(int piece) { return 2 * stage_size(piece) + kLine; }

  /// `patch` puts border pixels right, given the place of the piece's first pixel.
  template <class Patch>
  void write(RowTask& task, const Patch& patch) {
    const size_t bytes = static_cast<size_t>(task.width) * output_.bytes_per_pixel;
    if (streamed_) {
      task.out = stages_[current_];
      task.leaving = leaving_;
      task.leaving_to = leaving_to_;
      task.leaving_lines = leaving_lines_;
      output_.finish_row(*output_.finish, task);
      patch(task.out, output_.bytes_per_pixel);
      leave(bytes);
    } else {
      const bool direct = done_ + bytes + output_margin(output_.bytes_per_pixel) <= picture_bytes_;
      uint8_t* const place = output_.pixels + done_;
      task.out = direct ? place : stages_[current_];
      output_.finish_row(*output_.finish, task);
      patch(task.out, output_.bytes_per_pixel);
      if (!direct) copy_pixels(task.out, place, task.width);
    }
    done_ += bytes;
  }

  /// Writes what has not left yet.
  void finish() {
    if (streamed_) std::memcpy(leaving_to_, leaving_, leaving_lines_ * kLine + rest_);
    _mm_sfence();
  }

 private:
  /// With room for a line that was begun by the piece before.
  static size_t stage_size(int piece) {
    constexpr size_t kMostBytes = 4;
    return (piece * kMostBytes + output_margin(kMostBytes) + 2 * kLine) / kLine * kLine;
  }

  /// Lets the piece just made leave with the next one, but for its last line, which the next one completes.
  void leave(size_t bytes) {
    uint8_t* const stage = stages_[current_];
    uint8_t* const place = output_.pixels + done_;
    const size_t before = reinterpret_cast<uintptr_t>(place) % kLine;
    const size_t filled = before + bytes;
    leaving_ = stage - before;
    leaving_to_ = place - before;
    leaving_lines_ = static_cast<int>(filled / kLine);
    rest_ = filled % kLine;
    if (done_ == 0 && before != 0) {
      // The first line is not all the picture's.
      std::memcpy(place, stage, kLine - before);
      leaving_ += kLine;
      leaving_to_ += kLine;
      --leaving_lines_;
    }
    current_ = 1 - current_;
    std::memcpy(stages_[current_] - rest_, stage + bytes - rest_, rest_);
  }

  /// A fourth byte keeps its value.
  void copy_pixels(const uint8_t* from, uint8_t* to, int count) const {
    if (output_.bytes_per_pixel != 4) {
      std::memcpy(to, from, static_cast<size_t>(count) * output_.bytes_per_pixel);
      return;
    }
    for (int i = 0; i < 4 * count; i += 4) std::memcpy(to + i, from + i, 3);
  }

  Output output_;
  size_t picture_bytes_;
  bool streamed_;
  size_t done_ = 0;  ///< bytes
  uint8_t* stages_[2];
  int current_ = 0;
  const uint8_t* leaving_;
  uint8_t* leaving_to_;
  int leaving_lines_ = 0;
  size_t rest_ = 0;  ///< bytes behind these lines
};

/// A picture in the making.
class Picture {
 public:
  Picture(const RowKernels& kernels, const RawRows& raw, const OrientedFrame& frame,
          const WorkRowWindow::Counted& counted, const Output& output, uint8_t* memory)
      : frame_(frame),
        piece_(piece_of(frame)),
        writer_(output, static_cast<size_t>(width()) * height() * output.bytes_per_pixel, piece_, memory),
        corrector_(corrector_of(kernels, raw, frame_, memory + PieceWriter::memory_size(piece_))),
        window_(kernels, raw.view, frame_, counted, corrector_ ? &*corrector_ : nullptr,
                memory + PieceWriter::memory_size(piece_) + corrector_size(raw)) {}

  /// What a picture of a frame has to be given to work in; null when memory runs out.
  static uint8_t* reserve(WorkMemory& memory, const RawRows& raw, const OrientedFrame& frame) {
    return memory.reserve(PieceWriter::memory_size(piece_of(frame)) + corrector_size(raw) +
                          WorkRowWindow::memory_size(frame));
  }

  const OrientedFrame& frame() const { return frame_; }
  bool is_border_row(int y) const { return y == 0 || y == height() - 1; }
  int width() const { return frame_.columns.size; }
  int height() const { return frame_.rows.size; }

  /// Makes row `y` and its neighbours available.
  void enter_row(int y) { window_.advance_to(std::min(y + 1, height() - 1)); }

  WorkRow row(int y) const { return window_.row(y); }

  /// Writes row `y` out of what `task` says of its channels; nothing of use is left in that. `put_border`
  /// writes pixel x of it: the first and the last one.
  template <class PutBorder>
  void write_row(int y, RowTask& task, const PutBorder& put_border) {
    const auto [ahead, step] = window_.ahead_of(y);
    task.ahead_step = step;
    for (int x = 0; x < width(); x += piece_) {
      if (x != 0) go_on(task, piece_);
      task.ahead = ahead + x / 64 * step;
      task.width = std::min(piece_, width() - x);
      writer_.write(task, [&](uint8_t* pixels, int bytes_per_pixel) {
        if (x == 0) put_border(0, pixels);
        if (x + task.width == width()) put_border(width() - 1, pixels + (task.width - 1) * bytes_per_pixel);
      });
    }
  }

  /// The mean level of the finished picture.
  int32_t finish(int weight) {
    writer_.finish();
    return static_cast<int32_t>(window_.sum() * weight / height() / width());
  }

 private:
  /// Equal pieces, in whole blocks of any level.
  static int piece_of(const OrientedFrame& frame) {
    constexpr int kBlock = 128;
    const int pieces = (frame.columns.size + kPiece - 1) / kPiece;
    return ((frame.columns.size + pieces - 1) / pieces + kBlock - 1) / kBlock * kBlock;
  }

  static size_t corrector_size(const RawRows& raw) {
    return raw.corrections != nullptr ? RowCorrector::memory_size(*raw.corrections) : 0;
  }

  /// Nothing when there is nothing to correct, or when all of it has to be and is corrected at once.
  static std::optional<RowCorrector> corrector_of(const RowKernels& kernels, const RawRows& raw,
                                                  const OrientedFrame& frame, uint8_t* memory) {
    if (raw.corrections == nullptr) return std::nullopt;
    if (WorkRowWindow::in_raw_order(frame)) return RowCorrector(kernels, *raw.corrections, memory);
    correct_rows(kernels, *raw.corrections, memory);
    return std::nullopt;
  }

  static void go_on(RowTask& task, int pixels) {
    const auto advance = [&](WorkRow& row) {
      for (const uint8_t*& samples : row.samples) {
        if (samples != nullptr) samples += pixels / 2;
      }
    };
    for (WorkRow* row : {&task.above, &task.centre, &task.below}) advance(*row);
    for (WorkRow& channel : task.channels) advance(channel);
  }

  OrientedFrame frame_;
  int piece_;
  PieceWriter writer_;
  std::optional<RowCorrector> corrector_;
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
template <class Writer>
void write_border_pixel(const Picture& picture, BayerPhase phase, int x, int y, const Writer& write,
                        uint8_t* pixel) {
  const auto sample = [](const WorkRow& row, int column) {
    return 255 - row.samples[column & 1][column >> 1];
  };
  const WorkRow row = picture.row(y);
  const WorkRow down = picture.row(picture.frame().rows.partner(y));
  const int across = picture.frame().columns.partner(x);
  int own = sample(row, across);
  int green = sample(row, x);
  int other = sample(down, x);
  if ((x & 1) != phase.green_x(y)) {
    std::swap(own, green);
    if (picture.frame().turned) green = other;
    other = sample(down, across);
  }
  if (phase.red_row(y)) {
    write(pixel, own, green, other);
  } else {
    write(pixel, other, green, own);
  }
}

/// The first or last row, every pixel of which is a border pixel.
void border_row(const Picture& picture, int own, int green_x, int y, RowTask& task) {
  task.interpolate = false;
  const Axis& columns = picture.frame().columns;
  const WorkRow centre = picture.row(y);
  const WorkRow down = picture.row(picture.frame().rows.partner(y));
  // The cells of a mirrored frame of odd width begin at an odd column.
  const int shift = columns.mirrored && columns.size % 2 != 0 ? 1 : 0;
  const int to_own = green_x == 0 ? -shift : shift;  // from a green site to its cell's other one, in samples
  const int own_x = 1 - green_x;
  WorkRow& own_channel = task.channels[own];
  WorkRow& other_channel = task.channels[2 - own];
  own_channel.samples[own_x] = centre.samples[own_x];
  own_channel.samples[green_x] = centre.samples[own_x] + to_own;
  other_channel.samples[green_x] = down.samples[green_x];
  other_channel.samples[own_x] = down.samples[green_x] - to_own;
  task.channels[1].samples[green_x] = centre.samples[green_x];
  task.channels[1].samples[own_x] =
      picture.frame().turned ? down.samples[own_x] : centre.samples[green_x] - to_own;
}

void inner_row(const Picture& picture, int own, int green_x, int y, RowTask& task) {
  task.interpolate = true;
  task.above = picture.row(y - 1);
  task.centre = picture.row(y);
  task.below = picture.row(y + 1);
  task.green_column = green_x;
  task.own_is_first = own == 0;
}

/// `red_channel`: 0, or 2 for B, G, R bytes. `write` makes the pixels that `output` does, one by one.
template <class Writer>
std::optional<int32_t> demosaic(const RowKernels& kernels, BayerPhase raw_phase, const RawRows& raw,
                                const IndexMap& map, int red_channel, const Output& output,
                                const Writer& write, WorkMemory& memory) {
  const OrientedFrame frame(map);
  uint8_t* rows = Picture::reserve(memory, raw, frame);
  if (rows == nullptr) return std::nullopt;
  const BayerPhase phase = frame.turn(raw_phase);
  Picture picture(kernels, raw, frame, {1 << phase.green_x(0), 1 << phase.green_x(1)}, output, rows);
  for (int y = 0; y < picture.height(); ++y) {
    const int own = phase.red_row(y) ? red_channel : 2 - red_channel;
    picture.enter_row(y);
    RowTask task{};
    const auto describe = picture.is_border_row(y) ? border_row : inner_row;
    describe(picture, own, phase.green_x(y), y, task);
    picture.write_row(y, task,
                      [&](int x, uint8_t* pixel) { write_border_pixel(picture, phase, x, y, write, pixel); });
  }
  return picture.finish(2);
}

/// `smoothed`: inner pixels are. Border pixels are not.
std::optional<int32_t> mono(const RowKernels& kernels, const FrameSettings& settings, const RawRows& raw,
                            Output output, bool smoothed, WorkMemory& memory) {
  Finish finish;
  const OrientedFrame frame(settings.index_map);
  uint8_t* rows = Picture::reserve(memory, raw, frame);
  if (rows == nullptr) return std::nullopt;
  const Curve& curve = settings.curves->mono_curve;
  arrange_curve(kernels, curve, finish.lookups[0]);
  output.finish = &finish;
  Picture picture(kernels, raw, frame, {3, 3}, output, rows);
  for (int y = 0; y < picture.height(); ++y) {
    picture.enter_row(y);
    RowTask task{};
    task.interpolate = smoothed && !picture.is_border_row(y);
    if (task.interpolate) {
      task.above = picture.row(y - 1);
      task.centre = picture.row(y);
      task.below = picture.row(y + 1);
    } else {
      task.channels[0] = picture.row(y);
    }
    const auto put_border = [&](int x, uint8_t* pixel) {
      const uint8_t sample = ~picture.row(y).samples[x & 1][x >> 1];
      std::fill_n(pixel, std::min(output.bytes_per_pixel, 3), curve[sample]);
    };
    picture.write_row(y, task, put_border);
  }
  return picture.finish(1);
}

FinishRow of_pixel(const FinishColors& colors, const PixelLayout& layout) {
  return layout.bytes == 4 ? colors.bytes4 : colors.bytes3;
}

bool has_shape_of(const IndexMap& map, const RawRows& raw) {
  return raw.view.width() == map.width() && raw.view.height() == map.height();
}

}  // namespace

std::optional<int32_t> fast_bayer_color(const RowKernels& kernels, BayerPhase phase,
                                        const FrameSettings& settings, const RawRows& raw, uint8_t* out,
                                        int format, WorkMemory& memory) {
  if (!has_shape_of(settings.index_map, raw)) return std::nullopt;
  const PixelLayout layout(format);
  Finish finish;
  auto curves = final_curves(*settings.curves);
  if (layout.red_at != 0) std::swap(curves[0], curves[2]);
  for (size_t i = 0; i < curves.size(); ++i) arrange_curve(kernels, *curves[i], finish.lookups[i]);
  if (!settings.apply_matrix) {
    return demosaic(kernels, phase, raw, settings.index_map, layout.red_at,
                    {of_pixel(kernels.tables, layout), &finish, out, layout.bytes},
                    ToneWriter(*settings.curves, layout), memory);
  }
  const MatrixTable& table = settings.matrix->color_matrix_table;
  if (!build_fixed_matrix(table, layout.red_at != 0, finish.matrix)) return std::nullopt;
  const FinishColors& finish_row = finish.matrix.plain ? kernels.plain_matrix : kernels.any_matrix;
  return demosaic(kernels, phase, raw, settings.index_map, layout.red_at,
                  {of_pixel(finish_row, layout), &finish, out, layout.bytes},
                  MatrixWriter(*settings.curves, table, layout), memory);
}

std::optional<int32_t> fast_bayer_grey(const RowKernels& kernels, BayerPhase phase,
                                       const FrameSettings& settings, const RawRows& raw, uint8_t* out,
                                       WorkMemory& memory) {
  if (!has_shape_of(settings.index_map, raw)) return std::nullopt;
  const auto curves = final_curves(*settings.curves);
  const MatrixTable& table = settings.matrix->grey_matrix_table;
  Finish finish;
  for (size_t i = 0; i < curves.size(); ++i) {
    // Curve and product in one table. Bytes add up like integers as long as none is negative: both
    // ways a sum beyond 255 becomes 255.
    const auto& products = table[3 + i];
    const auto [least, greatest] = std::ranges::minmax(products);
    if (least < 0 || greatest > 255) return std::nullopt;
    Curve luma;
    std::ranges::transform(*curves[i], luma.begin(),
                           [&](uint8_t v) { return static_cast<uint8_t>(products[v]); });
    arrange_curve(kernels, luma, finish.lookups[i]);
  }
  return demosaic(kernels, phase, raw, settings.index_map, 0, {kernels.luma, &finish, out, 1},
                  GreyWriter(*settings.curves, table), memory);
}

std::optional<int32_t> fast_mono_color(const RowKernels& kernels, const FrameSettings& settings,
                                       const RawRows& raw, uint8_t* out, int format, WorkMemory& memory) {
  if (!has_shape_of(settings.index_map, raw)) return std::nullopt;
  const PixelLayout layout(format);
  return mono(kernels, settings, raw, {of_pixel(kernels.mono, layout), nullptr, out, layout.bytes}, true,
              memory);
}

std::optional<int32_t> fast_mono_grey(const RowKernels& kernels, const FrameSettings& settings,
                                      const RawRows& raw, uint8_t* out, WorkMemory& memory) {
  if (!has_shape_of(settings.index_map, raw)) return std::nullopt;
  return mono(kernels, settings, raw, {kernels.mono_grey, nullptr, out, 1}, false, memory);
}

const RowKernels* kernels_of(CpuLevel level) {
  switch (level) {
    case CpuLevel::kSsse3:
      return &kSsse3Kernels;
    case CpuLevel::kAvx2:
      return &kAvx2Kernels;
    case CpuLevel::kAvx512:
      return &kAvx512Kernels;
    default:
      return nullptr;
  }
}

}  // namespace kxcam
