// SPDX-License-Identifier: Apache-2.0
#include "contenders.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <stdexcept>
#include <utility>

#include <emmintrin.h>
#include <fmt/format.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "core/picture/picture_settings.h"
#include "core/registry/camera_context.h"
#include "core/registry/contexts.h"
#include "core/registry/model_table.h"
#include "isp/develop.h"
#include "kxcam/kxcam.h"

namespace kxcam::bench {
namespace {

constexpr std::array<double, 9> kCcm = {1.62, -0.45, -0.17, -0.28, 1.51, -0.23, -0.04, -0.61, 1.65};

struct Task {
  const char* name;
  uint32_t mode = kGRBG;
  int format = KXCAM_FORMAT_COLOR;
  bool apply_matrix = false;
  bool mirror_x = false;
  bool mirror_y = false;
  bool rotate = false;
};

constexpr Task kTasks[] = {
    {.name = "tables"},
    {.name = "tables + matrix", .apply_matrix = true},
    {.name = "tables, four bytes", .format = KXCAM_FORMAT_COLOR | KXCAM_FORMAT_32BIT},
    {.name = "tables, mirror x", .mirror_x = true},
    {.name = "tables, mirror y", .mirror_y = true},
    {.name = "tables, rotate 180", .mirror_x = true, .mirror_y = true},
    {.name = "tables, rotate 90", .rotate = true},
    {.name = "tables, rotate 90 + mirror x", .mirror_x = true, .rotate = true},
    {.name = "tables, rotate 90 + mirror y", .mirror_y = true, .rotate = true},
    {.name = "tables, rotate 270", .mirror_x = true, .mirror_y = true, .rotate = true},
    {.name = "tables + matrix, rotate 90", .apply_matrix = true, .rotate = true},
    {.name = "grey", .format = KXCAM_FORMAT_GREY},
    {.name = "mono to colour", .mode = kMono8},
    {.name = "mono to grey", .mode = kMono8, .format = KXCAM_FORMAT_GREY},
};

/// Three different curves, none of them of a simple form.
ToneCurves tone_curves() {
  ToneCurves curves;
  Curve* const ends[] = {&curves.final_curve_r, &curves.final_curve_g, &curves.final_curve_b,
                         &curves.mono_curve};
  double exponent = 0.45;
  for (Curve* curve : ends) {
    for (size_t i = 0; i < curve->size(); ++i) {
      (*curve)[i] = static_cast<uint8_t>(std::pow(static_cast<double>(i) / 255, exponent) * 255 + 0.5);
    }
    exponent += 0.1;
  }
  return curves;
}

FrameSettings settings_for(const Task& task, int width, int height) {
  ColorMatrix matrix;
  init_saturation_matrix(matrix.color_matrix_table, 1.0, kCcm);
  init_saturation_matrix(matrix.grey_matrix_table, 0.0, {1, 0, 0, 0, 1, 0, 0, 0, 1});
  FrameSettings settings;
  settings.curves = std::make_shared<const ToneCurves>(tone_curves());
  settings.matrix = std::make_shared<const ColorMatrix>(matrix);
  settings.apply_matrix = task.apply_matrix;
  settings.index_map = IndexMap(width, height, task.mirror_x, task.mirror_y, task.rotate);
  return settings;
}

/// Entries as a calibration stores them: small multiples of 1/10000.
std::vector<double> fixed_pattern(int size, uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<double> entries(static_cast<size_t>(size));
  for (double& entry : entries) entry = (static_cast<int>(random() % 400) - 200) * 0.0001;
  return entries;
}

/// The product id of a colour model with such a sensor, or 0.
int color_model_of_size(int width, int height) {
  for (const CameraModel& model : model_table) {
    const bool fits = model.SENSOR_ARRAY.width == width && model.SENSOR_ARRAY.height == height;
    if (fits && !model.monochrome()) return static_cast<int>(model.PID);
  }
  return 0;
}

class Frames {
 public:
  Frames(int width, int height, std::vector<Buffers>& sets) : width_(width), height_(height), sets_(sets) {}

  Contender develop_with(CpuLevel level, const Task& task) const {
    const FrameSettings settings = settings_for(task, width_, height_);
    return {task.name, std::string(name_of(level)), Scene::kSmooth, [=, *this](size_t set) {
              const ImageView raw(sets_[set].raw, width_, height_);
              develop(level, task.mode, settings, raw, sets_[set].out.data(), task.format, sets_[set].memory);
            }};
  }

  Contender copy(const char* name, size_t frames) const {
    return {name, "memcpy", Scene::kSmooth, [=, *this](size_t set) {
              std::memcpy(sets_[set].out.data(), sets_[set].raw.data(), frames * pixels());
            }};
  }

  Contender opencv(const char* name, cv::ColorConversionCodes code, bool lut_and_matrix) const {
    const cv::Mat lut = opencv_lut();
    const cv::Mat matrix = cv::Mat(3, 3, CV_64F, const_cast<double*>(kCcm.data())).clone();
    return {name, "opencv", Scene::kSmooth, [=, *this](size_t set) {
              const cv::Mat raw(height_, width_, CV_8UC1, sets_[set].raw.data());
              const int type = code == cv::COLOR_BayerBG2GRAY ? CV_8UC1 : CV_8UC3;
              cv::Mat picture(height_, width_, type, sets_[set].out.data());
              cv::cvtColor(raw, picture, code);
              if (!lut_and_matrix) return;
              cv::Mat result(height_, width_, type, sets_[set].more.data());
              cv::LUT(picture, lut, picture);
              cv::transform(picture, result, matrix);
            }};
  }

  /// Raw corrections, tables and matrix.
  Contender whole_with(CpuLevel level, Scene scene) const {
    const FrameSettings settings =
        settings_for({.name = "", .mode = kGRBG, .apply_matrix = true}, width_, height_);
    FlatField field({width_, height_});
    field.set_columns(fixed_pattern(width_, 1), fixed_pattern(width_, 2));
    field.set_rows(fixed_pattern(height_, 3));
    const RawCorrections corrections = {.dead_pixels = nullptr,
                                        .flat_field = std::make_shared<const FlatField>(std::move(field)),
                                        .despeckled = true,
                                        .placement = {}};
    const std::string task = scene == Scene::kSmooth ? "whole" : fmt::format("whole, {}", name_of(scene));
    return {task, std::string(name_of(level)), scene, [=, *this](size_t set) {
              const MutableImageView raw(sets_[set].raw, width_, height_);
              develop_corrected(level, kGRBG, settings, raw, corrections, true, sets_[set].out.data(),
                                KXCAM_FORMAT_COLOR, sets_[set].memory);
            }};
  }

  /// The same through the exported interface, which chooses the level itself.
  Contender whole_exported() const {
    open_camera();
    return {"whole, CameraISP", std::string(name_of(cpu_choice().level)), Scene::kSmooth,
            [=, *this](size_t set) {
              Buffers& buffers = sets_[set];
              if (CameraISP(kCamera, buffers.raw.data(), buffers.out.data(), width_, height_,
                            KXCAM_FORMAT_COLOR) != 0) {
                throw std::runtime_error("CameraISP failed");
              }
            }};
  }

  /// From the ring of a camera to the caller.
  Contender whole_query(Scene scene) const {
    const auto camera = open_camera();
    const std::string task =
        scene == Scene::kSmooth ? "whole, query" : fmt::format("whole, query, {}", name_of(scene));
    return {task, std::string(name_of(cpu_choice().level)), scene,
            [=, *this](size_t set) {
              int size = static_cast<int>(3 * pixels());
              if (CameraQueryImage(kCamera, sets_[set].out.data(), &size, KXCAM_FORMAT_COLOR) != 0)
                throw std::runtime_error("CameraQueryImage failed");
            },
            [=, *this](size_t set) {
              FrameRing& ring = *camera->stream.ring;
              const int i = ring.wait_for_free_buffer().value();
              const auto buffer = ring.buffer(i).first(pixels());
              std::ranges::copy(std::span(sets_[set].raw).first(pixels()), buffer.begin());
              for (size_t at = 0; at < buffer.size(); at += 64) _mm_clflush(&buffer[at]);
              ring.mark_ready(i, camera->stream.geometry);
            }};
  }

  size_t pixels() const { return static_cast<size_t>(width_) * height_; }

 private:
  static constexpr int kCamera = 0;

  /// A virtual camera with everything switched on, and with a ring as if it had a device.
  ContextRef open_camera() const {
    const ISPParam param = {.ccm = {1.62, -0.45, -0.17, -0.28, 1.51, -0.23, -0.04, -0.61, 1.65},
                            .gamma = 1.4,
                            .saturation = 1.2,
                            .contrast = 1.1,
                            .wb_gain_r = 1.3,
                            .wb_gain_g = 1.0,
                            .wb_gain_b = 1.5,
                            .black_level = 8,
                            .rotate = 0,
                            .mirror_x = 0,
                            .mirror_y = 0,
                            .enhancement = 1,
                            .fpn = 1,
                            .denoise = 1};
    ContextRef camera = context_at(kCamera);
    const SensorSize size = {width_, height_};
    if (camera != nullptr && camera->model().SENSOR_ARRAY.width == width_ &&
        camera->model().SENSOR_ARRAY.height == height_) {
      return camera;
    }
    CameraFree(kCamera);
    if (CameraInitVirtual(kCamera, color_model_of_size(width_, height_), &param) != 0)
      throw std::runtime_error("no virtual camera");
    CameraSetSaturation(kCamera, param.saturation);
    camera = context_at(kCamera);
    set_fpn_data(*camera, fixed_pattern(width_, 1).data(), fixed_pattern(width_, 2).data(),
                 fixed_pattern(height_, 3).data(), width_, height_);
    camera->stream.ring = std::make_unique<FrameRing>(
        size.pixels(), FrameRing::Acquisition{camera->stream.geometry, camera->stream.running});
    camera->stream.geometry = FrameGeometry{static_cast<uint16_t>(width_), static_cast<uint16_t>(height_), 1};
    camera->stream.running = true;
    return camera;
  }

  static cv::Mat opencv_lut() {
    const ToneCurves curves = tone_curves();
    cv::Mat lut(1, 256, CV_8UC3);
    for (int i = 0; i < 256; ++i) {
      lut.at<cv::Vec3b>(0, i) = {curves.final_curve_r[i], curves.final_curve_g[i], curves.final_curve_b[i]};
    }
    return lut;
  }

  int width_;
  int height_;
  std::vector<Buffers>& sets_;
};

}  // namespace

Buffers::Buffers(int width, int height, uint32_t seed)
    : raw(2 * static_cast<size_t>(width) * height), out(2 * raw.size()), more(out.size()) {
  for (const Scene scene : kScenes)
    scenes[static_cast<size_t>(scene)] = raw_frame(scene, width, height, seed);
}

std::vector<Contender> contenders(int width, int height, std::vector<Buffers>& sets,
                                  const std::vector<CpuLevel>& levels) {
  const Frames frames(width, height, sets);
  std::vector<Contender> all = {
      frames.copy(kCopyForColor, 2),
      frames.copy(kCopyForGrey, 1),
      frames.opencv(kDemosaic, cv::COLOR_BayerBG2RGB, false),
      frames.opencv("demosaic + LUT + transform", cv::COLOR_BayerBG2RGB, true),
      frames.opencv("demosaic to grey", cv::COLOR_BayerBG2GRAY, false),
  };
  for (const CpuLevel level : levels) {
    for (const Task& task : kTasks) all.push_back(frames.develop_with(level, task));
    for (const Scene scene : kScenes) all.push_back(frames.whole_with(level, scene));
  }
  if (color_model_of_size(width, height) != 0) {
    all.push_back(frames.whole_exported());
    all.push_back(frames.whole_query(Scene::kSmooth));
    all.push_back(frames.whole_query(Scene::kChart));
  }
  return all;
}

}  // namespace kxcam::bench
