// SPDX-License-Identifier: Apache-2.0
#include "simulated_run.h"

#include <cstdlib>
#include <iterator>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "process.h"

namespace {

// With the address sanitizer the preloaded simulation stands before the sanitizer's runtime, which
// does no harm: it hands every call on to it.
std::string sanitizer_options() {
  const char* own = std::getenv("ASAN_OPTIONS");
  return std::string("ASAN_OPTIONS=") + (own != nullptr ? own : "") + ":verify_asan_link_order=0";
}

std::vector<std::string> on_simulated_bus(const Cameras& cameras, const std::vector<std::string>& command) {
  std::vector<std::string> line = {"env", sanitizer_options(), KXSIM_PROGRAM, "run"};
  for (const auto& model : cameras.models) line.insert(line.end(), {"--camera", model});
  if (!cameras.faults.empty()) line.insert(line.end(), {"--fault", cameras.faults});
  line.emplace_back("--");
  line.insert(line.end(), command.begin(), command.end());
  return line;
}

Result finish(Process& process) {
  const int status = process.wait();
  return {status, process.output(), process.error()};
}

}  // namespace

std::vector<std::string> simulated(const Cameras& cameras, const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {KXCAM_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return on_simulated_bus(cameras, command);
}

Result run(const Cameras& cameras, const std::vector<std::string>& arguments) {
  Process process(simulated(cameras, arguments));
  return finish(process);
}

Result run_shell(const Cameras& cameras, const std::string& script) {
  Process process(on_simulated_bus(cameras, {"env", "KXCAM=" KXCAM_PROGRAM, "bash", "-c", script}));
  return finish(process);
}

Result run_with_configuration(const std::string& configuration, const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {"env", "KXUSB_CONF=" + configuration, KXCAM_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  Process process(command);
  return finish(process);
}

void expect_rows(const Cameras& cameras, const std::vector<Row>& rows) {
  for (const auto& [arguments, status, text] : rows) {
    std::istringstream words(arguments);
    const Result result = run(cameras, {std::istream_iterator<std::string>(words), {}});
    EXPECT_EQ(result.status, status) << arguments << '\n' << result.error;
    EXPECT_THAT(result.output + result.error, testing::HasSubstr(text)) << arguments;
    EXPECT_EQ(result.error.starts_with("kxcam: "), status != 0) << arguments << '\n' << result.error;
    EXPECT_TRUE(status != 2 || result.output.empty()) << arguments;
  }
}
