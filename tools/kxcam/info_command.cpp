// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <memory>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <kxcam/kxcam.h>

#include "camera.h"
#include "command.h"
#include "configuration.h"
#include "isp/kernels/cpu_level.h"
#include "stored_settings.h"

namespace kxcam {
namespace {

struct Options {
  int camera = 0;
  bool json = false;
};

struct Size {
  int width = 0;
  int height = 0;
};

struct Tone {
  double gamma = 0;
  double contrast = 0;
  double saturation = 0;
  int black_level = 0;
  bool enhancement = false;
};

struct Info {
  int major = 0;
  int minor = 0;
  std::string configuration = configuration_file();
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
  Tone tone;
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

Tone read_tone(const Camera& camera) {
  const int index = camera.index();
  Tone tone;
  camera.require("reading gamma", CameraGetGamma(index, &tone.gamma));
  camera.require("reading contrast", CameraGetContrast(index, &tone.contrast));
  camera.require("reading saturation", CameraGetSaturation(index, &tone.saturation));
  camera.require("reading the black level", CameraGetBlackLevel(index, &tone.black_level));
  camera.require("reading enhancement", CameraGetEnhancement(index, &tone.enhancement));
  return tone;
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
  info.tone = read_tone(camera);
  info.blank = has_blank_settings(camera);
  return info;
}

nlohmann::ordered_json as_json(const Size& size) {
  return {{"width", size.width}, {"height", size.height}};
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
                                       {"firmware", fmt::format("{:04x}", info.firmware)},
                                       {"sensor", as_json(info.maximum)},
                                       {"resolutions", resolutions},
                                       {"picture", as_json(info.picture)},
                                       {"mirror_x", info.mirror_x},
                                       {"mirror_y", info.mirror_y},
                                       {"depth", info.depth},
                                       {"timeout_ms", info.timeout},
                                       {"stored_settings", info.blank ? "blank" : "loaded"},
                                       {"tone",
                                        {{"gamma", info.tone.gamma},
                                         {"contrast", info.tone.contrast},
                                         {"saturation", info.tone.saturation},
                                         {"black_level", info.tone.black_level},
                                         {"enhancement", info.tone.enhancement}}}};
  return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::string as_text(const Info& info) {
  std::string presets;
  for (int preset = 0; const auto& size : info.resolutions) {
    presets += fmt::format("\n  preset {:<8}{} x {}", preset++, size.width, size.height);
  }
  return fmt::format(
      "library          {}.{}\n"
      "configuration    {}\n"
      "instructions     {}{}\n"
      "camera           {}\n"
      "name             {}\n"
      "model            row {}, product {:04x}\n"
      "serial           {}\n"
      "firmware         {:04x}\n"
      "sensor           {} x {}, {} bits\n"
      "resolutions      {}{}\n"
      "picture          {} x {}, mirror X {}, mirror Y {}\n"
      "time-out         {} ms\n"
      "stored settings  {}\n"
      "gamma            {:.2f}\n"
      "contrast         {:.2f}\n"
      "saturation       {:.2f}\n"
      "black level      {}\n"
      "enhancement      {}\n",
      info.major, info.minor, info.configuration, name_of(info.processor.level),
      info.processor.refused ? ", not what KXCAM_CPU asks for: unknown or not available" : "",
      info.identity.index, info.identity.name, info.identity.model_row, info.identity.product_id,
      info.identity.serial, info.firmware, info.maximum.width, info.maximum.height, info.depth,
      info.resolutions.size(), presets, info.picture.width, info.picture.height, info.mirror_x ? "on" : "off",
      info.mirror_y ? "on" : "off", info.timeout,
      info.blank ? "blank, nothing was ever stored; `kxcam params reset` stores the factory's" : "loaded",
      info.tone.gamma, info.tone.contrast, info.tone.saturation, info.tone.black_level,
      info.tone.enhancement ? "on" : "off");
}

void run(const Options& options, StandardOutput& output) {
  const Info info = read_info(Camera(options.camera));
  output.print(options.json ? as_json(info) : as_text(info));
}

}  // namespace

void add_info_command(CLI::App& app, Command& chosen) {
  auto* command = app.add_subcommand("info", "Show what a camera is and how it is set");
  const auto options = std::make_shared<Options>();
  add_camera_option(*command, options->camera);
  add_json_option(*command, options->json);
  command->callback(
      [options, &chosen] { chosen = [options](StandardOutput& output) { run(*options, output); }; });
}

}  // namespace kxcam
