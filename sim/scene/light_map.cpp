// SPDX-License-Identifier: Apache-2.0
#include "scene/light_map.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <iterator>
#include <system_error>
#include <thread>
#include <utility>

#include "scene/scene.h"

namespace kxsim {
namespace {

/// What a site passes of each channel.
using Filter = Light;

constexpr Filter kRed{1, 0, 0};
constexpr Filter kGreen{0, 1, 0};
constexpr Filter kBlue{0, 0, 1};
constexpr Filter kClear{0.2126F, 0.7152F, 0.0722F};

/// The filters of a cell of 2 x 2 sites in reading order.
std::array<Filter, 4> filters_of(ColorMode mode) {
  switch (mode) {
    case ColorMode::kRggb:
      return {kRed, kGreen, kGreen, kBlue};
    case ColorMode::kBggr:
      return {kBlue, kGreen, kGreen, kRed};
    case ColorMode::kGrbg:
      return {kGreen, kRed, kBlue, kGreen};
    case ColorMode::kGbrg:
      return {kGreen, kBlue, kRed, kGreen};
    case ColorMode::kMono8:
    case ColorMode::kMono12:
      break;
  }
  return {kClear, kClear, kClear, kClear};
}

/// Far beyond saturation, and far from overflow in the arithmetic that follows.
constexpr float kBrightest = 1.0e4F;

float through(const Filter& filter, const Light& light) {
  const float sum = filter.r * light.r + filter.g * light.g + filter.b * light.b;
  return sum > 0 ? std::min(sum, kBrightest) : 0.0F;  // also when it is not a number
}

/// Below this a second thread costs more than it saves.
constexpr int kSitesWorthAThread = 100'000;
constexpr unsigned kMostThreads = 4;

}  // namespace

LightMap::LightMap(int width, int height, ColorMode mode) : width_(width), height_(height), mode_(mode) {}

void LightMap::set_scene(std::shared_ptr<const Scene> scene) {
  scene_ = std::move(scene);
  ready_.assign(static_cast<size_t>(height_), 0);
}

void LightMap::prepare(std::span<const int> rows) {
  std::vector<int> missing;
  std::ranges::copy_if(rows, std::back_inserter(missing), [this](int y) { return ready_[y] == 0; });
  if (missing.empty()) return;
  light_.resize(static_cast<size_t>(width_) * height_);

  std::atomic<size_t> next{0};
  const auto work = [&] {
    for (size_t i = next++; i < missing.size(); i = next++) look_at_row(missing[i]);
  };
  const size_t worthwhile = missing.size() * width_ / kSitesWorthAThread;
  const size_t threads = std::min<size_t>({worthwhile, kMostThreads, std::thread::hardware_concurrency()});
  std::vector<std::jthread> workers;
  try {
    for (size_t i = 1; i < threads; ++i) workers.emplace_back(work);
  } catch (const std::system_error&) {
    // It takes longer with fewer of them.
  }
  work();
}

std::span<const float> LightMap::row(int y) const {
  return std::span(light_).subspan(static_cast<size_t>(y) * width_, width_);
}

void LightMap::look_at_row(int y) {
  const std::array<Filter, 4> filters = filters_of(mode_);
  const size_t cell_row = (y & 1) * 2;
  const float size_u = 1.0F / static_cast<float>(width_);
  const float size_v = 1.0F / static_cast<float>(height_);
  const float v = (static_cast<float>(y) + 0.5F) * size_v;
  float* const row = &light_[static_cast<size_t>(y) * width_];
  for (int x = 0; x < width_; ++x) {
    const float u = (static_cast<float>(x) + 0.5F) * size_u;
    row[x] = through(filters[cell_row + (x & 1)], scene_->at(u, v, size_u, size_v));
  }
  ready_[y] = 1;
}

}  // namespace kxsim
