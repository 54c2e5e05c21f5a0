// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "features/feature_table.h"

namespace kxcam::gentl {

namespace {

constexpr const char* kAnalogControl = "AnalogControl";
constexpr std::array kRatios = {"wb-red", "wb-green", "wb-blue"};

Feature analog_number(const char* name) {
  return {.name = name, .kind = Feature::Kind::kReal, .category = kAnalogControl, .tooltip = ""};
}

void add_white_balance(FeatureTable& table) {
  Camera& camera = table.camera();
  enum Automatic : int64_t { kOff, kOnce, kContinuous };
  const auto is_automatic = [&camera] { return camera.get("auto-white-balance") != 0; };
  table.add_control(
      "auto-white-balance",
      {.name = "BalanceWhiteAuto",
       .kind = Feature::Kind::kChoice,
       .category = kAnalogControl,
       .tooltip = "Measures the white balance: Once makes the centre of the next picture grey",
       .choices = {{"Off", kOff}, {"Once", kOnce}, {"Continuous", kContinuous}},
       .get = [is_automatic] { return Value(int64_t{is_automatic() ? kContinuous : kOff}); },
       .set =
           [&camera](const Value& value) {
             camera.set("auto-white-balance", integer_of(value) == kContinuous ? 1 : 0);
             if (integer_of(value) != kOnce) return;
             camera.change([&] { return CameraOnePushWB(camera.index()) == 0 ? 0 : kxcam_thread_error(); },
                           "measuring the white balance");
           }});
  const auto channel = std::make_shared<int64_t>(0);
  const auto control = [channel] { return kRatios[static_cast<size_t>(*channel)]; };
  table.add({.name = "BalanceRatioSelector",
             .kind = Feature::Kind::kChoice,
             .category = kAnalogControl,
             .tooltip = "The colour that BalanceRatio is of",
             .choices = {{"Red", 0}, {"Green", 1}, {"Blue", 2}},
             .selects = {"BalanceRatio"},
             .get = [channel] { return Value(*channel); },
             .set = [channel](const Value& value) { *channel = integer_of(value); }});
  const double most = find_control(kRatios[0])->maximum;
  table.add({.name = "BalanceRatio",
             .kind = Feature::Kind::kReal,
             .category = kAnalogControl,
             .tooltip = "Gain of the chosen colour (controls wb-red, wb-green, wb-blue)",
             .get = [&camera, control] { return Value(camera.get(control())); },
             .set = [&camera, control](const Value& value) { camera.set(control(), real_of(value)); },
             // One that was measured may be larger than can be set.
             .range =
                 [&camera, control, most] {
                   return Range{0, std::max(most, camera.get(control()))};
                 },
             .locked = is_automatic});
}

}  // namespace

void add_analog_control(FeatureTable& table) {
  Camera& camera = table.camera();
  Feature gain = analog_number("Gain");
  gain.locked = [&camera] { return camera.offers("auto-gain") && camera.get("auto-gain") != 0; };
  table.add_control("gain", std::move(gain));
  table.add_control("auto-gain", {.name = "GainAuto",
                                  .kind = Feature::Kind::kChoice,
                                  .category = kAnalogControl,
                                  .tooltip = "",
                                  .choices = {{"Off", 0}, {"Continuous", 1}}});
  table.add_control("black-level", analog_number("BlackLevel"));
  table.add_control("gamma", analog_number("Gamma"));
  const bool is_coloured = camera.description().bayer != KXCAM_BAYER_NONE;
  if (is_coloured) add_white_balance(table);
  for (const char* control : kRatios) table.pass_over(control);
  table.pass_over("auto-white-balance");
}

}  // namespace kxcam::gentl
