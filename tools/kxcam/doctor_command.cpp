// SPDX-License-Identifier: Apache-2.0
#include <string_view>

#include <fmt/format.h>

#include "attached.h"
#include "commands.h"
#include "doctor/bug_report.h"
#include "doctor/checks.h"
#include "doctor/collector.h"
#include "doctor/findings_output.h"
#include "doctor/privacy.h"
#include "error.h"
#include "output_file.h"
#include "versions.h"

namespace kxcam {
namespace {

using doctor::Facts;
using doctor::Findings;

std::vector<AttachedCamera> cameras_by_name() try { return attached_cameras(); } catch (const Error&) {
  return {};  // why is among the findings
}

std::string make_report(const DoctorOptions& options, const Facts& facts, const Findings& findings) {
  doctor::ReportInput input{system_versions(), facts, findings, options.serials, {}};
  if (options.serials) input.named = cameras_by_name();
  return doctor::without(doctor::private_words(), doctor::bug_report(input));
}

void store(const std::string& file, const std::string& text) {
  write_file(file, {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
  print_message(fmt::format("Stored {}. Review it before sending.\n", file));
}

}  // namespace

void examine(const DoctorOptions& options, StandardOutput& output) {
  const Facts facts = collect(doctor::own_sources(), doctor::scan_usb([](const auto&) { return true; }));
  const Findings findings = doctor::examine(facts);
  if (options.report != "-") output.print(options.json ? as_json(facts, findings) : as_text(facts, findings));
  if (!options.report.empty()) {
    const std::string text = make_report(options, facts, findings);
    options.report == "-" ? output.print(text) : store(options.report, text);
  }
  if (has_problem(findings)) throw Error(ExitCode::kFailure, summary(findings));
}

}  // namespace kxcam
