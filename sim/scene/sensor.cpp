// SPDX-License-Identifier: Apache-2.0
#include "scene/sensor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "scene/light_map.h"
#include "scene/noise.h"

namespace kxsim {
namespace {

constexpr int kLargestSide = 16384;

/// Charge that reads as full scale at gain 1, in electrons.
constexpr float kFullScaleCharge = 10'000;
constexpr float kWhiteCharge = 0.85F * kFullScaleCharge;
/// Reached before full scale only when the gain is well below 1.
constexpr float kFullWell = 1.5F * kFullScaleCharge;
/// About half a grey level of eight bits.
constexpr float kReadNoise = 20;

/// Numbers that keep the random values of one seed apart.
enum Purpose : uint64_t { kFrameNoise, kColumnGain, kRowGain, kStuckPlace, kStuckKind };

constexpr std::array<float, kNoiseStretch> kNoNoise{};

/// Beyond any camera's range; keeps the arithmetic finite whatever the caller asks for.
float bounded_factor(double factor) {
  return factor > 0 ? static_cast<float>(std::min(factor, 1.0e6)) : 0.0F;
}

/// From light to sample values.
struct Chain {
  float charge = 0;         ///< electrons at light 1.0
  float read_variance = 0;  ///< electrons squared
  float levels = 0;         ///< sample values per electron
  float full_scale = 0;     ///< largest sample value
};

template <typename Sample>
void develop(const Chain& chain, const float* light, const float* noise, size_t count, Sample* samples) {
  for (size_t i = 0; i < count; ++i) {
    const float charge = std::min(light[i] * chain.charge, kFullWell);
    const float noisy = charge + noise[i] * std::sqrt(charge + chain.read_variance);
    const float level = std::min(std::max(noisy, 0.0F), kFullWell) * chain.levels + 0.5F;
    samples[i] = static_cast<Sample>(static_cast<int>(std::min(level, chain.full_scale)));
  }
}

/// Position along one axis of the sensor of sample `index` of a readout: whole cells of two are skipped.
int64_t site_of(int64_t start, int64_t step, int64_t index) {
  return start + index / 2 * 2 * step + (index & 1);
}

int64_t sensor_row(const Readout& readout, int64_t row) {
  return site_of(readout.y, readout.step, readout.scan ? row & 1 : row);
}

/// The inverse of `site_of`, or -1 for a site that is skipped or lies before the start.
int64_t index_of(int64_t start, int64_t step, int64_t site) {
  const int64_t distance = site - start;
  if (distance < 0) return -1;
  const int64_t within = distance % (2 * step);
  return within > 1 ? -1 : distance / (2 * step) * 2 + within;
}

std::vector<float> make_gains(uint64_t seed, uint64_t purpose, uint64_t part, int count, double deviation) {
  std::vector<float> gains(static_cast<size_t>(count), 1.0F);
  if (!(deviation > 0)) return gains;
  const auto spread = static_cast<float>(std::min(deviation, 1.0));
  for (size_t i = 0; i < gains.size(); ++i) {
    gains[i] = std::max(0.0F, 1.0F + spread * random_normal({seed, purpose, part, i}));
  }
  return gains;
}

/// Distinct places by Floyd's method: each round adds exactly one, however many there are already.
std::vector<StuckPixel> make_stuck_pixels(const SensorDescription& description) {
  const int64_t sites = int64_t{description.width} * description.height;
  const int64_t count = std::clamp<int64_t>(description.dead_pixels, 0, sites);
  std::set<int64_t> places;
  for (int64_t last = sites - count; last < sites; ++last) {
    const uint64_t bits = random_bits({description.seed, kStuckPlace, static_cast<uint64_t>(last)});
    const auto place = static_cast<int64_t>(bits % static_cast<uint64_t>(last + 1));
    if (!places.insert(place).second) places.insert(last);
  }
  std::vector<StuckPixel> pixels;
  for (const int64_t place : places) {
    const bool hot = (random_bits({description.seed, kStuckKind, static_cast<uint64_t>(place)}) & 1) != 0;
    pixels.push_back(
        {static_cast<int>(place % description.width), static_cast<int>(place / description.width), hot});
  }
  return pixels;
}

const SensorDescription& checked(const SensorDescription& description) {
  const auto fits = [](int side) { return side >= 1 && side <= kLargestSide; };
  if (!fits(description.width) || !fits(description.height)) {
    throw std::invalid_argument("sensor size out of range");
  }
  return description;
}

}  // namespace

struct Sensor::Impl {
  explicit Impl(const SensorDescription& d);

  size_t sample_size() const { return static_cast<size_t>(sample_bytes(description.color_mode)); }
  Chain chain_for(const Exposure& exposure) const;
  void prepare_rows(const Readout& readout, int64_t rows);
  void collect(const Readout& readout, int64_t row, int64_t column, std::span<float> light) const;
  void store(const Chain& chain, const float* light, const float* noise, size_t count, uint8_t* out) const;
  void stick(const Readout& readout, size_t samples, std::span<uint8_t> out) const;

  SensorDescription description;
  LightMap light_map;
  /// Even and odd rows leave the sensor through column amplifiers of their own.
  std::array<std::vector<float>, 2> column_gains;
  std::vector<float> row_gains;
  std::vector<StuckPixel> stuck;
};

Sensor::Impl::Impl(const SensorDescription& d)
    : description(checked(d)),
      light_map(d.width, d.height, d.color_mode),
      column_gains{make_gains(d.seed, kColumnGain, 0, d.width, d.fixed_pattern),
                   make_gains(d.seed, kColumnGain, 1, d.width, d.fixed_pattern)},
      row_gains(make_gains(d.seed, kRowGain, 0, d.height, d.fixed_pattern)),
      stuck(make_stuck_pixels(d)) {}

Chain Sensor::Impl::chain_for(const Exposure& exposure) const {
  const float full_scale = sample_size() == 2 ? 4095.0F : 255.0F;
  return {.charge = kWhiteCharge * bounded_factor(exposure.exposure),
          .read_variance = kReadNoise * kReadNoise,
          .levels = full_scale / kFullScaleCharge * bounded_factor(exposure.gain),
          .full_scale = full_scale};
}

void Sensor::Impl::prepare_rows(const Readout& readout, int64_t rows) {
  std::vector<int> wanted;
  for (int64_t row = 0; row < rows; ++row) {
    const int64_t y = sensor_row(readout, row);
    if (y >= description.height) break;
    if (y >= 0) wanted.push_back(static_cast<int>(y));
  }
  light_map.prepare(wanted);
}

/// The light of `light.size()` samples of a row from `column` on, with the fixed pattern in it.
void Sensor::Impl::collect(const Readout& readout, int64_t row, int64_t column,
                           std::span<float> light) const {
  const int64_t y = sensor_row(readout, row);
  if (y < 0 || y >= description.height) {
    std::ranges::fill(light, 0.0F);
    return;
  }
  const float* const source = light_map.row(static_cast<int>(y)).data();
  const float* const gains = column_gains[y & 1].data();
  const float row_gain = row_gains[static_cast<size_t>(y)];
  const int64_t first = site_of(readout.x, readout.step, column);
  const auto count = static_cast<int64_t>(light.size());
  if (readout.step == 1 && first >= 0 && first + count <= description.width) {
    for (int64_t i = 0; i < count; ++i) light[i] = source[first + i] * (gains[first + i] * row_gain);
    return;
  }
  for (int64_t i = 0; i < count; ++i) {
    const int64_t x = site_of(readout.x, readout.step, column + i);
    light[i] = x >= 0 && x < description.width ? source[x] * (gains[x] * row_gain) : 0.0F;
  }
}

void Sensor::Impl::store(const Chain& chain, const float* light, const float* noise, size_t count,
                         uint8_t* out) const {
  if (sample_size() == 1) {
    develop(chain, light, noise, count, out);
    return;
  }
  std::array<uint16_t, kNoiseStretch> samples;
  develop(chain, light, noise, count, samples.data());
  for (size_t i = 0; i < count; ++i) {
    out[2 * i] = static_cast<uint8_t>(samples[i]);
    out[2 * i + 1] = static_cast<uint8_t>(samples[i] >> 8);
  }
}

void Sensor::Impl::stick(const Readout& readout, size_t samples, std::span<uint8_t> out) const {
  for (const StuckPixel& pixel : stuck) {
    const int64_t column = index_of(readout.x, readout.step, pixel.x);
    const int64_t first = index_of(readout.y, readout.step, pixel.y);
    const int64_t rows = readout.scan ? 2 : readout.height;
    if (column < 0 || column >= readout.width || first < 0 || first >= rows) continue;
    for (int64_t row = first; row < readout.height; row += readout.scan ? 2 : readout.height) {
      const auto place = static_cast<size_t>(row * readout.width + column);
      if (place >= samples) break;
      if (sample_size() == 1) {
        out[place] = pixel.hot ? 0xFF : 0;
      } else {
        out[2 * place] = pixel.hot ? 0xFF : 0;
        out[2 * place + 1] = pixel.hot ? 0x0F : 0;
      }
    }
  }
}

Sensor::Sensor(const SensorDescription& description, std::shared_ptr<const Scene> scene)
    : impl_(std::make_unique<Impl>(description)) {
  set_scene(std::move(scene));
}

Sensor::~Sensor() = default;

void Sensor::set_scene(std::shared_ptr<const Scene> scene) {
  if (!scene) throw std::invalid_argument("sensor without a scene");
  impl_->light_map.set_scene(std::move(scene));
}

void Sensor::expose(const Readout& readout, const Exposure& exposure, uint64_t number,
                    std::span<uint8_t> out) {
  if (readout.width <= 0 || readout.height <= 0) return;
  Readout window = readout;
  window.step = std::max(window.step, 1);

  const size_t sample_size = impl_->sample_size();
  const size_t width = static_cast<size_t>(window.width);
  const size_t samples = std::min(width * static_cast<size_t>(window.height), out.size() / sample_size);
  impl_->prepare_rows(window, static_cast<int64_t>((samples + width - 1) / width));

  const Chain chain = impl_->chain_for(exposure);
  std::array<float, kNoiseStretch> light;
  for (size_t done = 0; done < samples;) {
    const size_t row = done / width;
    const size_t column = done % width;
    const size_t count = std::min({kNoiseStretch, width - column, samples - done});
    impl_->collect(window, static_cast<int64_t>(row), static_cast<int64_t>(column), {light.data(), count});
    const uint64_t position = random_bits({impl_->description.seed, kFrameNoise, number, row, column});
    if (row < exposure.row_light.size()) {
      for (float& sample : std::span(light).first(count)) sample *= exposure.row_light[row];
    }
    const float* const noise = impl_->description.noise ? noise_at(position).data() : kNoNoise.data();
    impl_->store(chain, light.data(), noise, count, &out[done * sample_size]);
    done += count;
  }
  impl_->stick(window, samples, out);
}

std::span<const StuckPixel> Sensor::stuck_pixels() const {
  return impl_->stuck;
}

}  // namespace kxsim
