// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <string_view>

#include <fmt/format.h>

#include "attached.h"
#include "command.h"
#include "doctor/bug_report.h"
#include "doctor/checks.h"
#include "doctor/collector.h"
#include "doctor/findings_output.h"
#include "doctor/privacy.h"
#include "doctor/system_versions.h"
#include "error.h"
#include "output_file.h"

namespace kxcam {
namespace {

using doctor::Facts;
using doctor::Findings;

struct Options {
  bool json = false;
  bool serials = false;
  std::string report;
};

// The library ends the process over a configuration file with a mistake in it, so that it is not asked then.
std::vector<AttachedCamera> cameras_by_name(const Facts& facts) {
  const bool readable = facts.configuration.error == 0;
  const bool sound = doctor::read_device_list(facts.configuration.text).bad_line == 0;
  return readable && sound ? attached_cameras() : std::vector<AttachedCamera>{};
}

std::string make_report(const Options& options, const Facts& facts, const Findings& findings) {
  doctor::ReportInput input{doctor::system_versions(), facts, findings, options.serials, {}};
  if (options.serials) input.named = cameras_by_name(facts);
  return doctor::without(doctor::private_words(), doctor::bug_report(input));
}

void store(const std::string& file, const std::string& text) {
  write_file(file, {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
  print_message(fmt::format("Stored {}. Review it before sending.\n", file));
}

void run(const Options& options, StandardOutput& output) {
  const Facts facts = collect(doctor::own_sources(), doctor::scan_usb());
  const Findings findings = examine(facts);
  if (options.report != "-") output.print(options.json ? as_json(facts, findings) : as_text(facts, findings));
  if (!options.report.empty()) {
    const std::string text = make_report(options, facts, findings);
    options.report == "-" ? output.print(text) : store(options.report, text);
  }
  if (has_problem(findings)) throw Error(ExitCode::kFailure, summary(findings));
}

}  // namespace

void add_doctor_command(CLI::App& app, Command& chosen) {
  auto* command = app.add_subcommand("doctor", "Find out why a camera cannot be used, and what to do");
  const auto options = std::make_shared<Options>();
  add_json_option(*command, options->json);
  auto* report =
      command
          ->add_option("--report", options->report, "Store all that a bug report needs; - is standard output")
          ->type_name("FILE");
  command->add_flag("--serials", options->serials, "Put serial numbers and names of cameras into the report")
      ->needs(report);
  command->callback(
      [options, &chosen] { chosen = [options](StandardOutput& output) { run(*options, output); }; });
}

}  // namespace kxcam
