// SPDX-License-Identifier: Apache-2.0
#include "simulated_run.h"

#include <cstdlib>
#include <future>
#include <iterator>
#include <sstream>

#include <gmock/gmock.h>
#include <sys/wait.h>

#include "saved_picture.h"
#include "temporary_folder.h"

namespace {

std::string quoted(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& word : words) {
    line += " '";
    for (const char c : word) line += c == '\'' ? std::string("'\\''") : std::string(1, c);
    line += '\'';
  }
  return line;
}

/// Runs a command line without input.
Result finished(const std::string& command) {
  const TemporaryFolder folder;
  const std::string output = folder.path() / "output";
  const std::string error = folder.path() / "error";
  const int status = std::system((command + " </dev/null >" + output + " 2>" + error).c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_file(output), read_file(error)};
}

/// With the address sanitizer the preloaded simulation stands before the sanitizer's runtime, which
/// does no harm: it hands every call on to it.
std::string on_simulated_bus(const Cameras& cameras, const std::vector<std::string>& command) {
  std::vector<std::string> line = {KXSIM_PROGRAM, "run"};
  for (const auto& model : cameras.models) line.insert(line.end(), {"--camera", model});
  if (!cameras.faults.empty()) line.insert(line.end(), {"--fault", cameras.faults});
  line.emplace_back("--");
  line.insert(line.end(), command.begin(), command.end());
  return "env ASAN_OPTIONS=\"$ASAN_OPTIONS:verify_asan_link_order=0\"" + quoted(line);
}

std::vector<std::string> tool(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), KXCAM_PROGRAM);
  return arguments;
}

}  // namespace

Result run(const Cameras& cameras, const std::vector<std::string>& arguments, const std::string& wrapper) {
  return finished(wrapper + " " + on_simulated_bus(cameras, tool(arguments)));
}

std::string output_of(const Cameras& cameras, const std::vector<std::string>& arguments) {
  const Result result = run(cameras, arguments);
  EXPECT_EQ(result.status, 0) << testing::PrintToString(arguments) << '\n' << result.error;
  return result.output;
}

Result run_shell(const Cameras& cameras, const std::string& script) {
  return finished(on_simulated_bus(cameras, {"env", "KXCAM=" KXCAM_PROGRAM, "bash", "-c", script}));
}

Result run_with_configuration(const std::string& configuration, const std::vector<std::string>& arguments) {
  return finished("env KXUSB_CONF=" + configuration + quoted(tool(arguments)));
}

void expect_rows(const Cameras& cameras, const std::vector<Row>& rows) {
  // Side by side, as most of a run is waiting.
  std::vector<std::future<Result>> results;
  for (const Row& row : rows) {
    std::istringstream words(row.arguments);
    results.push_back(std::async(std::launch::async, run, cameras,
                                 std::vector<std::string>(std::istream_iterator<std::string>(words), {}),
                                 ""));
  }
  for (size_t i = 0; i < rows.size(); ++i) {
    const auto& [arguments, status, text] = rows[i];
    const Result result = results[i].get();
    EXPECT_EQ(result.status, status) << arguments << '\n' << result.error;
    EXPECT_THAT(result.output + result.error, testing::HasSubstr(text)) << arguments;
    EXPECT_EQ(result.error.starts_with("kxcam: "), status != 0) << arguments << '\n' << result.error;
    EXPECT_TRUE(status != 2 || result.output.empty()) << arguments;
  }
}
