// SPDX-License-Identifier: Apache-2.0
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "attached.h"
#include "commands.h"
#include "error.h"

namespace kxcam {
namespace {

std::string as_json(const std::vector<AttachedCamera>& cameras) {
  auto list = nlohmann::ordered_json::array();
  for (const auto& camera : cameras) {
    list.push_back({{"index", camera.index},
                    {"name", camera.name},
                    {"serial", camera.serial},
                    {"model_row", camera.model_row},
                    {"product_id", fmt::format("{:04x}", camera.product_id)},
                    {"port", camera.port},
                    {"megabits_per_second", camera.megabits}});
  }
  return list.dump(2) + "\n";
}

std::string as_table(const std::vector<AttachedCamera>& cameras) {
  constexpr const char* kRow = "{:>5}  {:<20}  {:<12}  {:>3}  {:<7}  {:<8}  {}\n";
  std::string table = fmt::format(kRow, "index", "name", "serial", "row", "product", "port", "Mbit/s");
  for (const auto& camera : cameras) {
    const std::string name = camera.model_row == kUnknownModelRow ? "(unknown model)" : camera.name;
    table += fmt::format(kRow, camera.index, name, camera.serial, camera.model_row,
                         fmt::format("{:04x}", camera.product_id), camera.port, camera.megabits);
  }
  return table;
}

}  // namespace

void list(const ListOptions& options, StandardOutput& output) {
  std::vector<AttachedCamera> cameras;
  try {
    cameras = attached_cameras();
  } catch (const Error&) {
    if (options.json) output.print(as_json(cameras));
    throw;
  }
  output.print(options.json ? as_json(cameras) : as_table(cameras));
}

}  // namespace kxcam
