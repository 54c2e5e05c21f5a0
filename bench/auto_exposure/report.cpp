// SPDX-License-Identifier: Apache-2.0

// How the exposure loop of every sensor family comes to rest on simulated cameras.

#include <cstdio>
#include <exception>

#include "exposure_run.h"

namespace {

using kxcam::ExposureRun;

struct Start {
  const char* name;
  ExposureRun::Options options;
};

const Start kStarts[] = {
    {"dark", {.first_exposure = 1}},
    {"bright", {.first_exposure = 4000}},
    {"dark, gain too", {.first_exposure = 1, .gain = true}},
    {"bright, gain too", {.first_exposure = 4000, .gain = true}},
    {"50 Hz lamp", {.first_exposure = 1, .mains_hz = 50}},
    {"60 Hz lamp", {.first_exposure = 4000, .mains_hz = 60}},
};

void report(const kxcam::CameraModel& model, const Start& start) {
  ExposureRun run(model, start.options);
  std::printf("%04X  %-16s ", model.MID, start.name);
  if (const auto rest = run.settle(2000)) {
    std::printf("%6d %6d %8d %5d\n", rest->frames, rest->mean - ExposureRun::kTarget, rest->exposure,
                rest->gain);
  } else {
    std::printf("  does not settle: mean %d exposure %d gain %d\n", run.context().picture.mean_level.load(),
                run.context().parameter.exposure.load(), run.context().parameter.gain.load());
  }
}

}  // namespace

int main() try {
  std::puts("MID   start            frames  error exposure  gain");
  for (const kxcam::CameraModel* model : kxcam::exposable_models()) {
    for (const Start& start : kStarts) report(*model, start);
  }
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "report_auto_exposure: %s\n", error.what());
  return 1;
}
