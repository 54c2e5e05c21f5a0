// SPDX-License-Identifier: Apache-2.0
#include "kxsim/model_list.h"

#include <array>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "device/descriptors.h"
#include "device/model.h"

namespace kxsim {
namespace {

const char* color_name(const Model& model) {
  static constexpr std::array kNames = {"RGGB", "BGGR", "GRBG", "GBRG", "MONO8", "MONO12"};
  return kNames.at(static_cast<size_t>(model.color));
}

const char* bridge_name(const Model& model) {
  return model.newer_bridge() ? "newer" : "older";
}

}  // namespace

std::string model_table_text() {
  constexpr auto kLine = "{:<8}{:<18}{:>11}  {:<8}{}\n";
  auto text = fmt::format(kLine, "ID", "NAME", "SIZE", "COLOR", "BRIDGE");
  for (const auto& model : all_models()) {
    text +=
        fmt::format(kLine, fmt::format("0x{:04X}", model.product_id), model.name,
                    fmt::format("{}x{}", model.width, model.height), color_name(model), bridge_name(model));
  }
  return text;
}

std::string model_table_json() {
  auto list = nlohmann::ordered_json::array();
  for (const auto& model : all_models()) {
    list.push_back({{"product_id", fmt::format("0x{:04X}", model.product_id)},
                    {"name", model.name},
                    {"width", model.width},
                    {"height", model.height},
                    {"color", color_name(model)},
                    {"bridge", bridge_name(model)},
                    {"endpoint", fmt::format("0x{:02X}", bulk_endpoint(model))}});
  }
  return list.dump(2) + "\n";
}

}  // namespace kxsim
