// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <utility>

#include "features/feature_table.h"

namespace kxcam::gentl {

namespace {

constexpr const char* kDigitalIoControl = "DigitalIOControl";
constexpr int64_t kMostLines = 0xFF;

enum Line : int64_t { kTriggerInput, kStrobeOutput };

/// The two lines that have a meaning of their own.
void add_lines(FeatureTable& table) {
  Camera& camera = table.camera();
  const bool strobe = (camera.description().features & KXCAM_FEATURE_STROBE) != 0;
  const bool trigger = (camera.description().features & KXCAM_FEATURE_TRIGGER) != 0;
  const bool polarity_taken = trigger && camera.takes("trigger-polarity");
  for (const char* control : {"strobe", "strobe-polarity"}) table.pass_over(control);
  if (!strobe && !trigger) return;
  std::vector<Choice> lines;
  if (trigger) lines.push_back({"Line0", kTriggerInput});
  if (strobe) lines.push_back({"Line1", kStrobeOutput});
  std::vector<std::string> selected = {"LineMode", "LineInverter"};
  if (strobe) selected.emplace_back("LineSource");
  const auto line = std::make_shared<int64_t>(lines.front().value);
  const auto is_strobe = [line] { return *line == kStrobeOutput; };
  table.add({.name = "LineSelector",
             .kind = Feature::Kind::kChoice,
             .category = kDigitalIoControl,
             .tooltip = "Line0 is the trigger input, Line1 the strobe output",
             .choices = lines,
             .selects = std::move(selected),
             .get = [line] { return Value(*line); },
             .set = [line](const Value& value) { *line = integer_of(value); }});
  table.add({.name = "LineMode",
             .kind = Feature::Kind::kChoice,
             .category = kDigitalIoControl,
             .tooltip = "Direction of the chosen line",
             .choices = {{"Input", 0}, {"Output", 1}},
             .get = [is_strobe] { return Value(int64_t{is_strobe()}); }});
  const auto polarity = [is_strobe] { return is_strobe() ? "strobe-polarity" : "trigger-polarity"; };
  table.add(
      {.name = "LineInverter",
       .kind = Feature::Kind::kSwitch,
       .category = kDigitalIoControl,
       .tooltip = "The chosen line is active while it is low (controls trigger-polarity, strobe-polarity)",
       .get = [&camera, polarity] { return Value(int64_t{camera.get(polarity()) == 0}); },
       .set = [&camera,
               polarity](const Value& value) { camera.set(polarity(), integer_of(value) != 0 ? 0 : 1); },
       .locked = [is_strobe, polarity_taken] { return !is_strobe() && !polarity_taken; }});
  if (!strobe) return;
  table.add(
      {.name = "LineSource",
       .kind = Feature::Kind::kChoice,
       .category = kDigitalIoControl,
       .tooltip = "What the strobe output shows (control strobe)",
       .choices = {{"Off", 0}, {"ExposureActive", 1}},
       .get = [&camera] { return Value(int64_t{camera.get("strobe") != 0}); },
       .set = [&camera](const Value& value) { camera.set("strobe", static_cast<double>(integer_of(value))); },
       .available = is_strobe});
}

}  // namespace

void add_line_control(FeatureTable& table) {
  Camera& camera = table.camera();
  add_lines(table);
  int levels = 0;
  if (CameraGetGPIO(camera.index(), &levels) != 0) return;
  table.add({.name = "LineStatusAll",
             .kind = Feature::Kind::kInteger,
             .category = kDigitalIoControl,
             .tooltip = "Levels of all lines, a bit each",
             .visibility = Feature::Visibility::kExpert,
             .get = [&camera] {
               int now = 0;
               if (CameraGetGPIO(camera.index(), &now) != 0)
                 fail_of_library(kxcam_thread_error(), "reading the lines");
               return Value(int64_t{now});
             }});
  const auto mask = std::make_shared<int64_t>(0);
  const auto value_all = std::make_shared<int64_t>(0);
  table.add({.name = "UserOutputValueAllMask",
             .kind = Feature::Kind::kInteger,
             .category = kDigitalIoControl,
             .tooltip = "The lines that UserOutputValueAll drives",
             .visibility = Feature::Visibility::kExpert,
             .get = [mask] { return Value(*mask); },
             .set = [mask](const Value& value) { *mask = integer_of(value); },
             .range =
                 [] {
                   return Range{0, kMostLines, 1};
                 }});
  table.add({.name = "UserOutputValueAll",
             .kind = Feature::Kind::kInteger,
             .category = kDigitalIoControl,
             .tooltip = "Drives the lines of UserOutputValueAllMask to these levels, a bit each",
             .visibility = Feature::Visibility::kExpert,
             .get = [value_all] { return Value(*value_all); },
             .set =
                 [&camera, mask, value_all](const Value& value) {
                   const auto drive = [&] {
                     const auto lines = static_cast<int>(*mask);
                     const bool failed =
                         CameraSetGPIO(camera.index(), lines, static_cast<int>(integer_of(value))) != 0;
                     return failed ? kxcam_thread_error() : 0;
                   };
                   camera.change(drive, "driving the lines");
                   *value_all = integer_of(value);
                 },
             .range =
                 [] {
                   return Range{0, kMostLines, 1};
                 }});
}

}  // namespace kxcam::gentl
