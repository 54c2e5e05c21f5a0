// SPDX-License-Identifier: Apache-2.0

// `kxcam verify` with cameras that fail at random. KXCAM_SOAK_SECONDS and KXCAM_SOAK_SEED make it longer and
// other; each seed makes the same decisions.

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "camera_bus.h"
#include "eventually.h"
#include "kxcam/extra.h"
#include "mischief.h"
#include "verify/endurance.h"

namespace kxcam::test {

namespace {

using SoakTest = CameraBus;
using verify::CheckResult;
using verify::EnduranceResult;
using verify::Outcome;

double number_from(const char* variable, double otherwise) {
  const char* text = std::getenv(variable);
  return text == nullptr ? otherwise : std::strtod(text, nullptr);
}

kxcam_statistics statistics_of(int camera) {
  kxcam_statistics statistics{};
  EXPECT_EQ(kxcam_get_statistics(camera, &statistics, sizeof statistics), 0);
  return statistics;
}

/// Frames whose end reached the host; that of a frame without one comes with the next, or with the end of the
/// read that brought part of it.
uint64_t frames_ended(const kxsim::SimulatedCamera& camera) {
  const kxsim::CameraCounters counters = camera.counters();
  return counters.frames_sent - (counters.frames_unended - counters.cut_reads);
}

}  // namespace

TEST_F(SoakTest, EveryFrameIsAccountedForWhateverGoesWrong) {
  // A bridge of the older kind at high speed, a large sensor whose whole frame takes two transfers, 12 bits.
  const std::vector<std::string> descriptions = {"003B,fps=150,serial=OLD", "3A00,fps=60,serial=LARGE",
                                                 "369B,fps=200,serial=TWELVE"};
  constexpr int kPortsEach = 8;
  std::vector<std::shared_ptr<Camera>> cameras;
  std::vector<int> indices;
  for (const std::string& description : descriptions) {
    const auto camera = std::make_shared<Camera>(kxsim::parse_camera_options(description));
    camera->set_frame_source(kxsim::fill_numbered_frame);
    bus_.plug(camera, 1 + kPortsEach * static_cast<int>(cameras.size()));
    cameras.push_back(camera);
  }
  for (const auto& camera : cameras) {
    indices.emplace_back();
    ASSERT_EQ(kxcam_open(camera->options().serial.c_str(), &indices.back()), 0);
  }

  const auto seed = static_cast<uint64_t>(number_from("KXCAM_SOAK_SEED", 1));
  EnduranceResult result;
  {
    std::vector<std::unique_ptr<Mischief>> mischief;
    for (size_t i = 0; i < cameras.size(); ++i)
      mischief.push_back(
          std::make_unique<Mischief>(cameras[i], 1 + kPortsEach * static_cast<int>(i), 100 * seed + i));
    result = verify::endure(indices, {.seconds = number_from("KXCAM_SOAK_SECONDS", 8),
                                      .seed = seed,
                                      .numbered = true,
                                      .faults = true,
                                      .at_rest = [&](bool on) {
                                        for (const auto& one : mischief) one->rest(on);
                                      }});
  }

  for (size_t i = 0; i < cameras.size(); ++i) {
    SCOPED_TRACE(descriptions[i]);
    for (const CheckResult& one : result.results[i]) EXPECT_EQ(one.outcome, Outcome::kPassed) << one.detail;
    EXPECT_GT(result.statistics[i].delivered, 0U);
    // Frames may be under way: the two sides agree in the end, and then for good.
    cameras[i]->inject({.stream_frames = 0});
    EXPECT_TRUE(eventually([&] { return statistics_of(indices[i]).ended == frames_ended(*cameras[i]); }))
        << statistics_of(indices[i]).ended << " frames arrived of " << frames_ended(*cameras[i]) << " sent";
    CameraFree(indices[i]);
  }
  for (const CheckResult& one : result.program) EXPECT_NE(one.outcome, Outcome::kFailed) << one.detail;
}

}  // namespace kxcam::test
