// SPDX-License-Identifier: Apache-2.0
// Rates of the picture conversions, each beside a plain memcpy of as many bytes as it writes. Both take
// turns in one loop and are measured in processor time of the thread, so that other work on the machine
// disturbs their ratio as little as may be.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "isp/demosaic.h"
#include "isp/frame_settings.h"
#include "isp/mono.h"
#include "kxcam/kxcam.h"

namespace kxcam {
namespace {

using Converter = int32_t (*)(const FrameSettings&, const ImageView&, uint8_t*, int);

struct Pipeline {
  const char* name;
  Converter convert;
  int bytes_per_pixel;
  bool apply_matrix = false;
  bool mirror_x = false;
  bool rotate = false;
};

constexpr Pipeline kPipelines[] = {
    {.name = "colour, tables", .convert = BGGRtoRGB888, .bytes_per_pixel = 3},
    {.name = "colour, tables + matrix", .convert = BGGRtoRGB888, .bytes_per_pixel = 3, .apply_matrix = true},
    {.name = "colour, tables, mirror x", .convert = BGGRtoRGB888, .bytes_per_pixel = 3, .mirror_x = true},
    {.name = "colour, tables, rotate", .convert = BGGRtoRGB888, .bytes_per_pixel = 3, .rotate = true},
    {.name = "grey", .convert = BGGRtoGray8, .bytes_per_pixel = 1},
    {.name = "mono to colour", .convert = RAW8toRGB888, .bytes_per_pixel = 3},
    {.name = "mono to grey", .convert = RAW8toGray8, .bytes_per_pixel = 1},
};

FrameSettings settings_for(const Pipeline& pipeline, SensorSize size) {
  ToneCurves curves;
  curves.gamma_curve = build_gamma_curve(1.3);
  curves.contrast_curve = build_contrast_curve(1.1, 8);
  compose(curves);
  ColorMatrix matrix;
  constexpr std::array<double, 9> kCcm = {1.6, -0.4, -0.2, -0.3, 1.5, -0.2, 0.1, -0.6, 1.5};
  init_saturation_matrix(matrix.color_matrix_table, 1.2, kCcm);
  init_saturation_matrix(matrix.grey_matrix_table, 0.0, {1, 0, 0, 0, 1, 0, 0, 0, 1});
  FrameSettings settings;
  settings.curves = std::make_shared<const ToneCurves>(curves);
  settings.matrix = std::make_shared<const ColorMatrix>(matrix);
  settings.apply_matrix = pipeline.apply_matrix;
  settings.index_map = IndexMap(size.width, size.height, pipeline.mirror_x, false, pipeline.rotate);
  return settings;
}

std::vector<uint8_t> noise(size_t bytes) {
  std::mt19937 random;  // NOLINT(cert-msc51-cpp): the same picture in every run
  std::vector<uint8_t> samples(bytes);
  std::ranges::generate(samples, [&] { return static_cast<uint8_t>(random()); });
  return samples;
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::ranges::nth_element(values, middle);
  return *middle;
}

double processor_seconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

template <class Work>
double seconds(const Work& work) {
  const double start = processor_seconds();
  work();
  return processor_seconds() - start;
}

void run(benchmark::State& state, const Pipeline& pipeline, SensorSize size) {
  const FrameSettings settings = settings_for(pipeline, size);
  const std::vector<uint8_t> frame = noise(size.pixels());
  const ImageView raw(frame, size.width, size.height);
  const std::vector<uint8_t> source = noise(frame.size() * pipeline.bytes_per_pixel);
  std::vector<uint8_t> out(source.size());
  std::vector<uint8_t> copy(source.size());

  std::vector<double> conversion_times;
  std::vector<double> copy_times;
  while (state.KeepRunning()) {
    conversion_times.push_back(seconds([&] {
      benchmark::DoNotOptimize(pipeline.convert(settings, raw, out.data(), KXCAM_FORMAT_COLOR));
      benchmark::ClobberMemory();
    }));
    state.SetIterationTime(conversion_times.back());
    copy_times.push_back(seconds([&] {
      std::memcpy(copy.data(), source.data(), source.size());
      benchmark::ClobberMemory();
    }));
  }

  const double conversion = median(conversion_times);
  state.counters["Mpixel/s"] = size.pixels() / conversion * 1e-6;
  state.counters["memcpy_ms"] = median(copy_times) * 1e3;
  state.counters["x_memcpy"] = conversion / median(copy_times);
}

const bool registered = [] {
  for (const SensorSize size : {SensorSize{2592, 1944}, SensorSize{5472, 3648}}) {
    for (const Pipeline& pipeline : kPipelines) {
      const std::string name =
          std::string(pipeline.name) + "/" + std::to_string(size.width) + "x" + std::to_string(size.height);
      benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) { run(state, pipeline, size); })
          ->UseManualTime()
          ->Unit(benchmark::kMillisecond);
    }
  }
  return true;
}();

}  // namespace
}  // namespace kxcam
