// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "random.h"
#include "stage.h"

namespace kxcam::soak {

/// Lets things go wrong with one camera, and reconnects it as a program would.
class Mischief {
 public:
  Mischief(Stage& stage, int index, uint64_t seed) : stage_(stage), index_(index), random_(seed) {}

  /// Does mischief until the run ends.
  void run();

 private:
  void act();
  void spoil_frames();
  void withhold_ends();
  void spoil_requests();
  void break_transfers();
  void pull_cable();
  void loose_contact();
  void reconnect();
  void inject(const char* what, const kxsim::FaultPlan& plan);
  SoakCamera& camera() const { return *stage_.at_index[static_cast<size_t>(index_)]; }

  Stage& stage_;
  const int index_;
  Random random_;
  uint64_t deliveries_before_ = 0;
};

/// Waits until a camera that a fault has unplugged is back; false when it stays away.
bool wait_for_plug(const kxsim::SimulatedCamera& device);

}  // namespace kxcam::soak
