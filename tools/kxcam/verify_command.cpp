// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <kxcam/extra.h>

#include "attached.h"
#include "camera.h"
#include "commands.h"
#include "error.h"
#include "interrupt.h"
#include "output_file.h"
#include "verify/endurance.h"
#include "verify/verification.h"
#include "verify/walk.h"

namespace kxcam {
namespace {

using verify::CheckResult;
using verify::CheckResults;
using verify::EnduranceOptions;
using verify::Outcome;
using verify::Verification;
using verify::VerifiedCamera;
using verify::WalkOptions;

/// Whether the camera's memory may be written to: what was asked for, or what the user answers.
bool may_write(const VerifyOptions& options) {
  if (options.write || isatty(STDIN_FILENO) == 0) return options.write;
  print_message(
      "One check stores settings in slot 1 of each camera, loads them and puts back what was there.\n"
      "If the camera loses power meanwhile, slot 1 is left changed. Make this check? [y/N] ");
  std::string answer;
  std::getline(std::cin, answer);
  return answer == "y" || answer == "Y" || answer == "yes";
}

std::vector<CameraChoice> choices(const VerifyOptions& options) {
  if (options.camera) return {*options.camera};
  std::vector<CameraChoice> all;
  for (const AttachedCamera& camera : attached_cameras())
    all.push_back({.index = camera.index, .serial = {}});
  return all;
}

/// Opens a camera again and again: each time it must deliver.
CheckResult reopen(const CameraChoice& choice) {
  constexpr int kTimes = 3;
  CheckResult result{.check = "opening again", .outcome = Outcome::kPassed, .detail = {}};
  for (int i = 0; i < kTimes; ++i) {
    const Camera camera(choice);
    std::vector<uint8_t> frame;
    const int code = camera.query(PixelFormat::kRaw, std::chrono::seconds(10), frame);
    if (code == 0) continue;
    result.outcome = Outcome::kFailed;
    result.detail = fmt::format("no frame after opening: {}", kxcam_error_text(code));
    return result;
  }
  result.detail = fmt::format("{} times, a frame each time", kTimes);
  return result;
}

VerifiedCamera described(const CameraChoice& choice) {
  VerifiedCamera camera;
  kxcam_describe(Camera(choice).index(), &camera.description, sizeof camera.description);
  return camera;
}

VerifiedCamera verify_alone(const CameraChoice& choice, const WalkOptions& options) {
  VerifiedCamera verified;
  {
    const Camera camera(choice);
    kxcam_describe(camera.index(), &verified.description, sizeof verified.description);
    verified.results = verify::walk(camera, options);
  }
  if (!interrupted()) verified.results.push_back(reopen(choice));
  return verified;
}

void verify_together(const std::vector<CameraChoice>& chosen, const EnduranceOptions& options,
                     Verification& verification) {
  std::vector<std::unique_ptr<const Camera>> open;
  std::vector<int> cameras;
  for (const CameraChoice& choice : chosen) {
    open.push_back(std::make_unique<const Camera>(choice));
    cameras.push_back(open.back()->index());
  }
  verification.endurance = verify::endure(cameras, options);
  for (size_t i = 0; i < cameras.size(); ++i) {
    CheckResults& results = verification.cameras[i].results;
    const CheckResults& more = verification.endurance->results[i];
    results.insert(results.end(), more.begin(), more.end());
  }
}

}  // namespace

void verify_cameras(const VerifyOptions& options, StandardOutput& output) {
  const auto chosen = choices(options);
  const WalkOptions walk_options{.write = may_write(options), .numbered = options.numbered};
  Verification verification;
  // The single checks take every camera to be whole.
  const bool together_only = options.faults && options.seconds > 0;
  for (const CameraChoice& choice : chosen)
    verification.cameras.push_back(together_only ? described(choice) : verify_alone(choice, walk_options));
  if (options.seconds > 0 && !interrupted()) {
    verify_together(chosen,
                    {.seconds = options.seconds,
                     .seed = options.seed,
                     .numbered = options.numbered,
                     .faults = options.faults},
                    verification);
  }
  const std::string json = verification.json().dump(2) + "\n";
  output.print(options.json ? json : verification.text());
  if (!options.report.empty())
    write_file(options.report, {reinterpret_cast<const uint8_t*>(json.data()), json.size()});
  if (!verification.passed()) throw Error(ExitCode::kFailure, "a check has failed");
}

}  // namespace kxcam
