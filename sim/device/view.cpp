// SPDX-License-Identifier: Apache-2.0
#include "device/view.h"

#include <algorithm>
#include <array>

#include "device/numbered_frame.h"

namespace kxsim {
namespace {

std::shared_ptr<const Scene> make_scene(const std::string& name, const Model& model) {
  constexpr Light kGrey{0.18F, 0.18F, 0.18F};
  if (name == "grey") return make_uniform(kGrey);
  if (name.empty() || name == "chart") return make_chart(static_cast<double>(model.width) / model.height);
  return load_scene(name);
}

}  // namespace

void set_view(SimulatedCamera& camera, const std::string& name) {
  if (name == "numbers") return camera.set_frame_source(fill_numbered_frame);
  camera.set_scene(make_scene(name, camera.model()));
}

bool is_built_in_view(std::string_view name) {
  constexpr std::array<std::string_view, 4> kNames = {"", "chart", "grey", "numbers"};
  return std::ranges::find(kNames, name) != kNames.end();
}

}  // namespace kxsim
