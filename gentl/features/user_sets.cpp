// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "features/feature_table.h"

namespace kxcam::gentl {

namespace {

constexpr const char* kUserSetControl = "UserSetControl";

/// The camera's memory has room for two sets.
enum UserSet : int64_t { kNeutral, kSet0, kSet1 };

int slot_of(int64_t set) {
  return set == kSet1 ? 1 : 0;
}

}  // namespace

void add_user_sets(FeatureTable& table) {
  Camera& camera = table.camera();
  const auto chosen = std::make_shared<int64_t>(kSet0);
  const std::vector<Choice> sets = {{"Default", kNeutral}, {"UserSet0", kSet0}, {"UserSet1", kSet1}};
  table.add({.name = "UserSetSelector",
             .kind = Feature::Kind::kChoice,
             .category = kUserSetControl,
             .tooltip = "The set that UserSetLoad and UserSetSave are for; Default is that of the driver",
             .choices = sets,
             .selects = {"UserSetLoad", "UserSetSave"},
             .get = [chosen] { return Value(*chosen); },
             .set = [chosen](const Value& value) { *chosen = integer_of(value); }});
  table.add({.name = "UserSetLoad",
             .kind = Feature::Kind::kCommand,
             .category = kUserSetControl,
             .tooltip = "Takes the settings of the chosen set; the region stays",
             .locked_by_stream = true,
             .set = [&camera, chosen](const Value&) {
               if (*chosen == kNeutral) return camera.set_neutral();
               camera.load_set(slot_of(*chosen));
             }});
  table.add({.name = "UserSetSave",
             .kind = Feature::Kind::kCommand,
             .category = kUserSetControl,
             .tooltip = "Stores the settings in the chosen set, in half a second: keep the power on",
             .set = [&camera, chosen](const Value&) { camera.save_set(slot_of(*chosen)); },
             .locked = [chosen] { return *chosen == kNeutral; }});
  table.add({.name = "UserSetDefault",
             .kind = Feature::Kind::kChoice,
             .category = kUserSetControl,
             .tooltip = "The set that is loaded when the camera is opened",
             .visibility = Feature::Visibility::kExpert,
             .choices = sets,
             .get = [] { return Value(int64_t{kSet0}); }});
}

}  // namespace kxcam::gentl
