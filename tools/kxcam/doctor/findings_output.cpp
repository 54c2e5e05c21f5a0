// SPDX-License-Identifier: Apache-2.0
#include "doctor/findings_output.h"

#include <algorithm>
#include <string_view>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "doctor/checks.h"

namespace kxcam::doctor {
namespace {

std::string_view name_of(Severity severity) {
  switch (severity) {
    case Severity::kOk:
      return "ok";
    case Severity::kWarning:
      return "warning";
    case Severity::kProblem:
      return "problem";
  }
  return "";
}

auto count(const Findings& findings, Severity severity) {
  return std::ranges::count(findings, severity, &Finding::severity);
}

std::string plural(auto number, std::string_view noun) {
  return fmt::format("{} {}{}", number, noun, number == 1 ? "" : "s");
}

std::string indented(std::string_view lines) {
  constexpr std::string_view kIndent = "\n             ";
  std::string text(kIndent);
  for (const char c : lines) {
    if (c == '\n') {
      text += kIndent;
    } else {
      text += c;
    }
  }
  return text;
}

// The findings about one camera, or for "" those about the machine.
std::string section(const Findings& findings, std::string_view camera) {
  std::string text;
  for (const auto& finding : findings) {
    if (finding.camera != camera) continue;
    text += fmt::format("  {:<9}{}", name_of(finding.severity), finding.text);
    if (!finding.remedy.empty()) text += indented(finding.remedy);
    text += '\n';
  }
  return text;
}

}  // namespace

bool has_problem(const Findings& findings) {
  return count(findings, Severity::kProblem) != 0;
}

std::string summary(const Findings& findings) {
  return plural(count(findings, Severity::kProblem), "problem") + ", " +
         plural(count(findings, Severity::kWarning), "warning");
}

std::string as_text(const Facts& facts, const Findings& findings) {
  std::string text = fmt::format("The machine{}\n{}", facts.simulated ? " (cameras simulated by kxsim)" : "",
                                 section(findings, ""));
  for (const auto& camera : facts.cameras) {
    text += fmt::format("Camera at USB port {} ({})\n{}", camera.port, usb_id(camera),
                        section(findings, camera.port));
  }
  text += summary(findings) + ".\n";
  if (!has_problem(findings)) text += "Next, `kxcam stream --seconds 5` shows whether pictures arrive.\n";
  return text;
}

std::string as_json(const Facts& facts, const Findings& findings) {
  auto cameras = nlohmann::ordered_json::array();
  for (const auto& camera : facts.cameras) {
    cameras.push_back({{"port", camera.port},
                       {"product_id", fmt::format("{:04x}", camera.product_id)},
                       {"model_row", model_row(camera)},
                       {"node", camera.node.path},
                       {"megabits_per_second", camera.megabits}});
  }
  auto checks = nlohmann::ordered_json::array();
  for (const auto& [severity, check, camera, text, remedy, prevents_use] : findings) {
    nlohmann::ordered_json entry = {{"check", check}, {"result", name_of(severity)}, {"text", text}};
    if (!camera.empty()) entry["camera"] = camera;
    if (!remedy.empty()) entry["remedy"] = remedy;
    checks.push_back(std::move(entry));
  }
  const nlohmann::ordered_json json = {{"simulated", facts.simulated},
                                       {"problems", count(findings, Severity::kProblem)},
                                       {"warnings", count(findings, Severity::kWarning)},
                                       {"cameras", cameras},
                                       {"checks", checks}};
  return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace kxcam::doctor
