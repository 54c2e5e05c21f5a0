// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <kxcam/kxcam.h>

#include "camera.h"
#include "commands.h"
#include "configuration.h"
#include "controls.h"
#include "isp/kernels/cpu_level.h"
#include "stored_settings.h"

namespace kxcam {
namespace {

struct Size {
  int width = 0;
  int height = 0;
};

/// What decides how a picture looks that is made now; all else is listed by `kxcam controls`.
bool is_tone(const Control& control) {
  return std::string_view(control.group) == "tone" && control.name != std::string_view("interpolation");
}

struct Info {
  int major = 0;
  int minor = 0;
  std::string configuration = config_file_path();
  CpuChoice processor = cpu_choice();
  AttachedCamera identity;
  int firmware = 0;
  Size maximum;
  std::vector<Size> resolutions;
  Size picture;
  bool mirror_x = false;
  bool mirror_y = false;
  int depth = 0;
  int timeout = 0;
  std::vector<Assignment> tone;
  bool blank = false;  ///< nothing was ever stored in it
};

// The count comes from the device, which can claim any number up to 255.
std::vector<Size> read_resolutions(const Camera& camera) {
  int count = 0;
  camera.require("reading the resolutions", CameraGetResolutionCount(camera.index(), &count));
  std::vector<Size> resolutions(static_cast<std::size_t>(std::clamp(count, 0, 255)));
  int preset = 0;
  for (auto& [width, height] : resolutions) {
    camera.require("reading a resolution", CameraGetResolution(camera.index(), preset++, &width, &height));
  }
  return resolutions;
}

Info read_info(const Camera& camera) {
  const int index = camera.index();
  Info info;
  CameraGetVersion(&info.major, &info.minor);
  info.identity = camera.identity();
  camera.require("reading the firmware version", CameraGetFirmVersion(index, &info.firmware));
  camera.require("reading the sensor size",
                 CameraGetResolutionMax(index, &info.maximum.width, &info.maximum.height));
  info.resolutions = read_resolutions(camera);
  camera.require("reading the picture size",
                 CameraGetImageSize(index, &info.picture.width, &info.picture.height));
  camera.require("reading mirror X", CameraGetMirrorX(index, &info.mirror_x));
  camera.require("reading mirror Y", CameraGetMirrorY(index, &info.mirror_y));
  camera.require("reading the depth", CameraGetImageDepth(index, &info.depth));
  camera.require("reading the time-out", CameraGetTimeout(index, &info.timeout));
  for (const Control& control : control_table()) {
    if (is_tone(control)) info.tone.push_back({&control, read_control(camera, control)});
  }
  info.blank = has_blank_settings(camera);
  return info;
}

nlohmann::ordered_json as_json(const Size& size) {
  return {{"width", size.width}, {"height", size.height}};
}

nlohmann::ordered_json tone_as_json(const Info& info) {
  auto json = nlohmann::ordered_json::object();
  for (const auto& [control, value] : info.tone) {
    std::string key = control->name;
    std::ranges::replace(key, '-', '_');
    if (control->choices != nullptr) {
      json[key] = value != 0;
    } else {
      json[key] =
          control->whole() ? nlohmann::ordered_json(static_cast<int>(value)) : nlohmann::ordered_json(value);
    }
  }
  return json;
}

std::string as_json(const Info& info) {
  auto resolutions = nlohmann::ordered_json::array();
  for (const auto& size : info.resolutions) resolutions.push_back(as_json(size));
  const nlohmann::ordered_json json = {{"library", fmt::format("{}.{}", info.major, info.minor)},
                                       {"configuration", info.configuration},
                                       {"instructions", name_of(info.processor.level)},
                                       {"instructions_refused", info.processor.refused},
                                       {"index", info.identity.index},
                                       {"name", info.identity.name},
                                       {"model_row", info.identity.model_row},
                                       {"product_id", fmt::format("{:04x}", info.identity.product_id)},
                                       {"serial", info.identity.serial},
                                       {"port", info.identity.port},
                                       {"megabits_per_second", info.identity.megabits},
                                       {"firmware", fmt::format("{:04x}", info.firmware)},
                                       {"sensor", as_json(info.maximum)},
                                       {"resolutions", resolutions},
                                       {"picture", as_json(info.picture)},
                                       {"mirror_x", info.mirror_x},
                                       {"mirror_y", info.mirror_y},
                                       {"depth", info.depth},
                                       {"timeout_ms", info.timeout},
                                       {"stored_settings", info.blank ? "blank" : "loaded"},
                                       {"tone", tone_as_json(info)}};
  return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::string as_text(const Info& info) {
  std::string presets;
  for (int preset = 0; const auto& size : info.resolutions) {
    presets += fmt::format("\n  preset {:<8}{} x {}", preset++, size.width, size.height);
  }
  std::string text = fmt::format(
      "library          {}.{}\n"
      "configuration    {}\n"
      "instructions     {}{}\n"
      "camera           {}\n"
      "name             {}\n"
      "model            row {}, product {:04x}\n"
      "serial           {}\n"
      "connection       USB port {}, {} Mbit/s\n"
      "firmware         {:04x}\n"
      "sensor           {} x {}, {} bits\n"
      "resolutions      {}{}\n"
      "picture          {} x {}, mirror X {}, mirror Y {}\n"
      "time-out         {} ms\n"
      "stored settings  {}\n",
      info.major, info.minor, info.configuration, name_of(info.processor.level),
      info.processor.refused ? " (KXCAM_CPU asks for one that is unknown or not available)" : "",
      info.identity.index, info.identity.name, info.identity.model_row, info.identity.product_id,
      info.identity.serial, info.identity.port, info.identity.megabits, info.firmware, info.maximum.width,
      info.maximum.height, info.depth, info.resolutions.size(), presets, info.picture.width,
      info.picture.height, info.mirror_x ? "on" : "off", info.mirror_y ? "on" : "off", info.timeout,
      info.blank ? "blank: nothing was ever stored; `kxcam params reset` stores factory settings" : "loaded");
  for (const auto& [control, value] : info.tone) {
    text += fmt::format("{:<17}{}\n", control->name, value_text(*control, value));
  }
  return text;
}

}  // namespace

void info(const InfoOptions& options, StandardOutput& output) {
  const Info info = read_info(Camera(options.camera));
  output.print(options.json ? as_json(info) : as_text(info));
}

}  // namespace kxcam
