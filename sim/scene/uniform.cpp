// SPDX-License-Identifier: Apache-2.0
#include "scene/scene.h"

namespace kxsim {
namespace {

class Uniform final : public Scene {
 public:
  explicit Uniform(Light light) : light_(light) {}

  Light at(float, float, float, float) const override { return light_; }

 private:
  Light light_;
};

}  // namespace

std::shared_ptr<const Scene> make_uniform(Light light) {
  return std::make_shared<Uniform>(light);
}

}  // namespace kxsim
