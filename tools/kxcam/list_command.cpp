// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "attached.h"
#include "bus_device.h"
#include "command.h"
#include "configuration.h"
#include "diagnosis.h"

namespace kxcam {
namespace {

std::string as_json(const std::vector<AttachedCamera>& cameras) {
  auto list = nlohmann::ordered_json::array();
  for (const auto& camera : cameras) {
    list.push_back({{"index", camera.index},
                    {"name", camera.name},
                    {"serial", camera.serial},
                    {"model_row", camera.model_row},
                    {"product_id", fmt::format("{:04x}", camera.product_id)}});
  }
  return list.dump(2) + "\n";
}

std::string as_table(const std::vector<AttachedCamera>& cameras) {
  if (cameras.empty()) return "";
  std::string table =
      fmt::format("{:>5}  {:<20}  {:<12}  {:>3}  {}\n", "index", "name", "serial", "row", "product");
  for (const auto& camera : cameras) {
    const std::string name = camera.model_row == kUnknownModelRow ? "(unknown model)" : camera.name;
    table += fmt::format("{:>5}  {:<20}  {:<12}  {:>3}  {:04x}\n", camera.index, name, camera.serial,
                         camera.model_row, camera.product_id);
  }
  return table;
}

void run(bool json, StandardOutput& output) {
  require_configuration();
  const auto cameras = attached_cameras();
  output.print(json ? as_json(cameras) : as_table(cameras));
  if (cameras.empty()) throw no_camera_error(find_bus_devices());
}

}  // namespace

void add_list_command(CLI::App& app, Command& chosen) {
  auto* command = app.add_subcommand("list", "List the attached cameras");
  const auto json = std::make_shared<bool>(false);
  add_json_option(*command, *json);
  command->callback([json, &chosen] { chosen = [json](StandardOutput& output) { run(*json, output); }; });
}

}  // namespace kxcam
