// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "attached.h"
#include "camera_settings.h"
#include "picture_output.h"
#include "pixel_format.h"
#include "standard_output.h"
#include "stored_settings.h"

/// What each command is given on the command line, and the command itself, which throws Error.
namespace kxcam {

struct ListOptions {
  bool json = false;
};
void list(const ListOptions& options, StandardOutput& output);

struct InfoOptions {
  CameraChoice camera;
  bool json = false;
};
void info(const InfoOptions& options, StandardOutput& output);

struct CaptureOptions {
  CameraChoice camera;
  PictureTarget target;
  int frames = 1;
  int skip = 0;
  int timeout_ms = 10'000;  ///< a busy machine may take long for a frame
  CameraSettings settings;
  bool trigger = false;
};
void capture(const CaptureOptions& options, StandardOutput& output);

struct StreamOptions {
  CameraChoice camera;
  std::optional<double> seconds;
  std::optional<uint64_t> frames;
  int timeout_ms = 2'000;
  std::optional<PixelFormat> format;
  bool json = false;
  bool reconnect = false;
  CameraSettings settings;
};
void stream(const StreamOptions& options, StandardOutput& output);

struct ControlOptions {
  CameraChoice camera;
  bool json = false;                   ///< controls only
  bool store = false;                  ///< set only
  std::vector<std::string> arguments;  ///< names to get, or assignments
};
void list_controls(const ControlOptions& options, StandardOutput& output);
void get_controls(const ControlOptions& options, StandardOutput& output);
void set_controls(const ControlOptions& options, StandardOutput& output);

struct ParamsOptions {
  CameraChoice camera;
  int slot = kSlotLoadedAtOpen;
  std::string file;
  std::vector<std::string> assignments;
};
void save_params(const ParamsOptions& options, StandardOutput& output);
void load_params(const ParamsOptions& options, StandardOutput& output);
void store_params(const ParamsOptions& options, StandardOutput& output);
void reset_params(const ParamsOptions& options, StandardOutput& output);

struct DevelopOptions {
  std::vector<std::string> files;
  std::string model;
  std::optional<int> width;
  std::optional<int> height;
  std::vector<double> matrix;
  PictureTarget target;
  CameraSettings settings;
};
void develop(const DevelopOptions& options, StandardOutput& output);

struct VerifyOptions {
  std::optional<CameraChoice> camera;  ///< nothing: all attached cameras
  double seconds = 30;                 ///< of the run with threads; 0: none
  uint64_t seed = 1;
  bool write = false;
  bool faults = false;
  bool numbered = false;
  bool json = false;
  std::string report;  ///< "" none
};
void verify_cameras(const VerifyOptions& options, StandardOutput& output);

struct ViewOptions {
  CameraChoice camera;
  int port = 0;  ///< any free one
  bool no_open = false;
  std::string directory = ".";  ///< for recordings
};
void view_camera(const ViewOptions& options, StandardOutput& output);

struct DoctorOptions {
  bool json = false;
  bool serials = false;
  std::string report;  ///< "" none
};
void examine(const DoctorOptions& options, StandardOutput& output);

}  // namespace kxcam
