// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <memory>
#include <utility>

#include "features/feature_table.h"

namespace kxcam::gentl {

namespace {

constexpr const char* kAcquisitionControl = "AcquisitionControl";
constexpr double kUsPerMs = 1000;

enum Mode : int64_t { kContinuous, kSingleFrame, kMultiFrame };
enum Source : int64_t { kSoftware, kLine0 };

/// What the features choose and no camera knows of.
struct Choices {
  int64_t mode = kContinuous;
  int64_t frames = 1;
  int64_t source = kSoftware;
  int64_t lock = 0;
};

Feature choice(const char* name, const char* tooltip, std::vector<Choice> choices, int64_t* chosen) {
  return {.name = name,
          .kind = Feature::Kind::kChoice,
          .category = kAcquisitionControl,
          .tooltip = tooltip,
          .choices = std::move(choices),
          .get = [chosen] { return Value(*chosen); },
          .set = [chosen](const Value& value) { *chosen = integer_of(value); }};
}

void add_start_and_stop(FeatureTable& table, const std::shared_ptr<Choices>& chosen) {
  Camera& camera = table.camera();
  Feature mode =
      choice("AcquisitionMode", "How many pictures AcquisitionStart takes",
             {{"Continuous", kContinuous}, {"SingleFrame", kSingleFrame}, {"MultiFrame", kMultiFrame}},
             &chosen->mode);
  mode.locked_by_stream = true;
  table.add(std::move(mode));
  table.add({.name = "AcquisitionStart",
             .kind = Feature::Kind::kCommand,
             .category = kAcquisitionControl,
             .tooltip = "Begins with pictures that are taken from then on",
             .set = [&camera, chosen](const Value&) {
               const int64_t frames = chosen->mode == kMultiFrame ? chosen->frames : 1;
               camera.start(chosen->mode == kContinuous ? 0 : static_cast<uint64_t>(frames));
             }});
  table.add({.name = "AcquisitionStop",
             .kind = Feature::Kind::kCommand,
             .category = kAcquisitionControl,
             .tooltip = "Ends at once",
             .set = [&camera](const Value&) { camera.stop(); }});
  table.add({.name = "AcquisitionFrameCount",
             .kind = Feature::Kind::kInteger,
             .category = kAcquisitionControl,
             .tooltip = "Pictures that AcquisitionStart takes in the mode MultiFrame",
             .locked_by_stream = true,
             .get = [chosen] { return Value(chosen->frames); },
             .set = [chosen](const Value& value) { chosen->frames = integer_of(value); },
             .range =
                 [] {
                   return Range{1, 1e9, 1};
                 }});
}

void add_exposure(FeatureTable& table) {
  Camera& camera = table.camera();
  const auto is_automatic = [&camera] {
    return camera.offers("auto-exposure") && camera.get("auto-exposure") != 0;
  };
  table.add_control(
      "exposure-ms",
      {.name = "ExposureTime",
       .kind = Feature::Kind::kReal,
       .category = kAcquisitionControl,
       .tooltip = "Exposure time; the camera takes the nearest whole number of lines, which is read back",
       .unit = "us",
       .get = [&camera] { return Value(camera.get("exposure-ms") * kUsPerMs); },
       .set = [&camera](const Value& value) { camera.set("exposure-ms", real_of(value) / kUsPerMs); },
       .range =
           [&camera] {
             double line_ms = 0;
             CameraGetExposureUnit(camera.index(), &line_ms);
             const int longest = camera.description().longest_exposure;
             const double most_ms = longest > 0 ? longest * line_ms : find_control("exposure-ms")->maximum;
             const double present_ms = camera.get("exposure-ms");
             return Range{std::min(line_ms, present_ms) * kUsPerMs, std::max(most_ms, present_ms) * kUsPerMs};
           },
       .locked = is_automatic});
  table.add_control("auto-exposure", {.name = "ExposureAuto",
                                      .kind = Feature::Kind::kChoice,
                                      .category = kAcquisitionControl,
                                      .tooltip = "",
                                      .choices = {{"Off", 0}, {"Continuous", 1}}});
}

void add_frame_rate(FeatureTable& table) {
  Camera& camera = table.camera();
  table.add_control("fixed-rate", {.name = "AcquisitionFrameRateEnable",
                                   .kind = Feature::Kind::kSwitch,
                                   .category = kAcquisitionControl,
                                   .tooltip = ""});
  table.add_control("frame-rate", {.name = "AcquisitionFrameRate",
                                   .kind = Feature::Kind::kReal,
                                   .category = kAcquisitionControl,
                                   .tooltip = "Frame rate while AcquisitionFrameRateEnable is on",
                                   .unit = "Hz",
                                   .locked = [&camera] { return camera.get("fixed-rate") == 0; }});
}

void add_trigger(FeatureTable& table, const std::shared_ptr<Choices>& chosen) {
  Camera& camera = table.camera();
  if ((camera.description().features & KXCAM_FEATURE_TRIGGER) == 0) {
    for (const char* control : {"trigger", "trigger-frames", "trigger-polarity"}) table.pass_over(control);
    return;
  }
  table.add({.name = "TriggerSelector",
             .kind = Feature::Kind::kChoice,
             .category = kAcquisitionControl,
             .tooltip = "What a trigger begins",
             .choices = {{"FrameStart", 0}},
             .selects = {"TriggerMode", "TriggerSource", "TriggerSoftware"},
             .get = [] { return Value(int64_t{0}); },
             .set = [](const Value&) {}});
  table.add_control("trigger", {.name = "TriggerMode",
                                .kind = Feature::Kind::kChoice,
                                .category = kAcquisitionControl,
                                .tooltip = "",
                                .choices = {{"Off", 0}, {"On", 1}}});
  table.add(choice("TriggerSource",
                   "Where triggers are taken from; the camera's input triggers whatever is chosen here",
                   {{"Software", kSoftware}, {"Line0", kLine0}}, &chosen->source));
  table.add(
      {.name = "TriggerSoftware",
       .kind = Feature::Kind::kCommand,
       .category = kAcquisitionControl,
       .tooltip = "Takes a picture",
       .set =
           [&camera](const Value&) {
             camera.require_present();
             if (CameraTriggerShot(camera.index()) != 0)
               fail_of_library(kxcam_thread_error(), "triggering a picture");
           },
       .available = [&camera, chosen] { return chosen->source == kSoftware && camera.get("trigger") != 0; }});
  table.add_control_if_taken("trigger-polarity", {.name = "TriggerActivation",
                                                  .kind = Feature::Kind::kChoice,
                                                  .category = kAcquisitionControl,
                                                  .tooltip = "",
                                                  .choices = {{"FallingEdge", 0}, {"RisingEdge", 1}}});
  table.add_control_if_taken("trigger-frames", {.name = "AcquisitionBurstFrameCount",
                                                .kind = Feature::Kind::kInteger,
                                                .category = kAcquisitionControl,
                                                .tooltip = "",
                                                .range = [] {
                                                  return Range{1, find_control("trigger-frames")->maximum, 1};
                                                }});
}

}  // namespace

void add_acquisition_control(FeatureTable& table) {
  const auto chosen = std::make_shared<Choices>();
  table.add({.name = kStreamLock,
             .kind = Feature::Kind::kInteger,
             .category = "TransportLayerControl",
             .tooltip = "Not 0: pictures are taken, and what their size depends on cannot be changed",
             .visibility = Feature::Visibility::kGuru,
             .get = [chosen] { return Value(chosen->lock); },
             .set = [chosen](const Value& value) { chosen->lock = integer_of(value); },
             .range =
                 [] {
                   return Range{0, 1, 1};
                 }});
  add_start_and_stop(table, chosen);
  add_exposure(table);
  add_frame_rate(table);
  add_trigger(table, chosen);
}

}  // namespace kxcam::gentl
