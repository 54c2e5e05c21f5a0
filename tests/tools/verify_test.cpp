// SPDX-License-Identifier: Apache-2.0
#include <future>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "simulated_run.h"

namespace {

using nlohmann::json;

std::string outcome(const json& report, const std::string& check) {
  for (const json& one : report.at("cameras").at(0).at("results")) {
    if (one.at("check") == check) return one.at("outcome");
  }
  return "not made";
}

TEST(Verify, JudgesEachThingOnItsOwn) {
  struct Judgement {
    Cameras cameras;
    std::vector<std::string> options;
    int status;
    std::string check;
    std::string outcome;
  };
  const std::vector<Judgement> rows = {
      {{{"3600,fps=40"}}, {"--write"}, 0, "stored settings", "passed"},
      {{{"3600,fps=40"}}, {}, 0, "stored settings", "skipped"},
      {{{"3600,fps=40"}}, {}, 0, "exposure", "passed"},
      {{{"3600,fps=40,light=off"}}, {}, 1, "exposure", "failed"},
      {{{"3600,fps=40"}, "request all of AD stall"}, {}, 1, "regions", "failed"},
      {{{"3600,fps=40"}, "unplug after 20 frames back after 100ms"}, {"--faults"}, 0, "endurance", "passed"},
      {{{"3600,fps=40"}, "eeprom dies after 4"}, {"--write"}, 1, "stored settings", "failed"},
  };
  // A request fails after a tenth of a second, in which a busy machine may give the simulated camera no time:
  // the judgement must be the right one sooner or later.
  const auto judged = [](const Judgement& row) {
    std::vector<std::string> command = {"verify", "--seconds", "1", "--json"};
    command.insert(command.end(), row.options.begin(), row.options.end());
    Result result;
    for (int attempt = 0; attempt < 5; ++attempt) {
      result = run(row.cameras, command);
      if (result.status == row.status && outcome(json::parse(result.output), row.check) == row.outcome) break;
    }
    return result;
  };
  // All at once, as each mostly waits for frames.
  std::vector<std::future<Result>> runs;
  for (const Judgement& row : rows)
    runs.push_back(std::async(std::launch::async, [&] { return judged(row); }));
  for (size_t i = 0; i < rows.size(); ++i) {
    const Judgement& row = rows[i];
    SCOPED_TRACE(row.check + " " + row.outcome);
    const Result result = runs[i].get();
    EXPECT_EQ(result.status, row.status) << result.error;
    const json report = json::parse(result.output);
    EXPECT_EQ(outcome(report, row.check), row.outcome) << report.dump(1);
    EXPECT_EQ(report.at("passed"), row.status == 0) << report.dump(1);
  }
}

}  // namespace
