// SPDX-License-Identifier: Apache-2.0
#include "description.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace kxcam::gentl {

namespace {

constexpr const char* kNamespace = "http://www.genicam.org/GenApi/Version_1_1";
constexpr const char* kSchema = "http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd";

std::string element(std::string_view name, const std::string& text) {
  std::string is;
  is.append("<").append(name).append(">").append(text).append("</").append(name).append(">");
  return is;
}

std::string open_node(std::string_view kind, const std::string& name, bool standard) {
  std::string is = "<";
  is.append(kind).append(" Name=\"").append(name).append("\"");
  if (standard) is += " NameSpace=\"Standard\"";
  return is + ">";
}

std::string close_node(std::string_view kind) {
  return std::string("</").append(kind).append(">\n");
}

std::string_view visibility_of(const Feature& feature) {
  constexpr std::array<std::string_view, 3> kNames = {"Beginner", "Expert", "Guru"};
  return kNames[static_cast<size_t>(feature.visibility)];
}

/// "AcquisitionFrameRate" as people write it: "Acquisition Frame Rate".
std::string display_name(const std::string& name) {
  std::string is;
  for (size_t i = 0; i < name.size(); ++i) {
    const auto is_upper = [&](size_t at) { return at < name.size() && name[at] >= 'A' && name[at] <= 'Z'; };
    const bool word = i > 0 && is_upper(i) && (!is_upper(i - 1) || (i + 1 < name.size() && !is_upper(i + 1)));
    if (word) is += ' ';
    is += name[i];
  }
  return is;
}

/// Writes the nodes of one feature.
class FeatureNodes {
 public:
  FeatureNodes(const Feature& feature, size_t number) : feature_(feature), number_(number) {}

  std::string text() const {
    switch (feature_.kind) {
      case Feature::Kind::kInteger:
        return number("Integer", "IntReg");
      case Feature::Kind::kReal:
        return number("Float", "FloatReg");
      case Feature::Kind::kText:
        return text_register();
      case Feature::Kind::kChoice:
        return choice();
      case Feature::Kind::kSwitch:
        return node("Boolean", value_pointer() + element("OnValue", "1") + element("OffValue", "0")) +
               value_register("IntReg") + state_registers();
      case Feature::Kind::kCommand:
        return node("Command", value_pointer() + element("CommandValue", "1")) + value_register("IntReg") +
               state_registers();
    }
    return {};
  }

 private:
  using Part = RegisterMap::Part;

  std::string part_name(const char* part) const { return feature_.name + "_" + part; }
  std::string value_pointer() const { return element("pValue", part_name("Value")); }

  const char* access() const {
    if (feature_.get == nullptr) return "WO";
    return feature_.set == nullptr ? "RO" : "RW";
  }

  /// What every feature has, in the order of the schema.
  std::string head() const {
    std::string is = element("ToolTip", xml_text(feature_.tooltip)) +
                     element("Description", xml_text(feature_.tooltip)) +
                     element("DisplayName", display_name(feature_.name)) +
                     element("Visibility", std::string(visibility_of(feature_)));
    if (feature_.available != nullptr) is += element("pIsAvailable", part_name("Available"));
    if (feature_.locked != nullptr) {
      is += element("pIsLocked", part_name("Locked"));
    } else if (feature_.locked_by_stream) {
      is += element("pIsLocked", kStreamLock);
    }
    return is;
  }

  std::string selected() const {
    std::string is;
    for (const std::string& name : feature_.selects) is += element("pSelected", name);
    return is;
  }

  std::string node(std::string_view kind, const std::string& rest) const {
    return open_node(kind, feature_.name, feature_.standard) + head() + rest + close_node(kind);
  }

  std::string number_register(std::string_view kind, const std::string& name, Part part,
                              const char* mode) const {
    const std::string sign = kind == "IntReg" ? element("Sign", "Signed") : "";
    return open_node(kind, name, false) +
           element("Address", "0x" + hexadecimal(RegisterMap::address(number_, part))) +
           element("Length", std::to_string(RegisterMap::kNumberLength)) + element("AccessMode", mode) +
           element("pPort", "Device") + element("Cachable", "NoCache") + sign +
           element("Endianess", "LittleEndian") + close_node(kind);
  }

  std::string value_register(std::string_view kind) const {
    return number_register(kind, part_name("Value"), RegisterMap::kValue, access());
  }

  std::string state_registers() const {
    std::string is;
    if (feature_.available != nullptr)
      is += number_register("IntReg", part_name("Available"), RegisterMap::kAvailable, "RO");
    if (feature_.locked != nullptr)
      is += number_register("IntReg", part_name("Locked"), RegisterMap::kLocked, "RO");
    return is;
  }

  std::string number(std::string_view kind, std::string_view register_kind) const {
    const bool whole = feature_.kind == Feature::Kind::kInteger;
    std::string rest = value_pointer();
    std::string registers = value_register(register_kind);
    if (feature_.range != nullptr) {
      rest += element("pMin", part_name("Min")) + element("pMax", part_name("Max"));
      registers += number_register(register_kind, part_name("Min"), RegisterMap::kMinimum, "RO") +
                   number_register(register_kind, part_name("Max"), RegisterMap::kMaximum, "RO");
      if (whole) {
        rest += element("pInc", part_name("Inc"));
        registers += number_register(register_kind, part_name("Inc"), RegisterMap::kIncrement, "RO");
      }
    }
    if (!feature_.unit.empty()) rest += element("Unit", xml_text(feature_.unit));
    return node(kind, rest + selected()) + registers + state_registers();
  }

  std::string text_register() const {
    return node("StringReg",
                element("Address", "0x" + hexadecimal(RegisterMap::address(number_, RegisterMap::kValue))) +
                    element("Length", std::to_string(RegisterMap::kTextLength)) +
                    element("AccessMode", "RO") + element("pPort", "Device") +
                    element("Cachable", "NoCache")) +
           state_registers();
  }

  std::string choice() const {
    std::string entries;
    for (const Choice& each : feature_.choices) {
      entries += open_node("EnumEntry", each.name, feature_.standard) +
                 element("DisplayName", display_name(each.name)) +
                 element("Value", std::to_string(each.value)) + "</EnumEntry>";
    }
    return node("Enumeration", entries + value_pointer() + selected()) + value_register("IntReg") +
           state_registers();
  }

  const Feature& feature_;
  size_t number_;
};

std::string categories(std::span<const Feature> features) {
  std::vector<std::string> names;
  for (const Feature& feature : features) {
    if (std::ranges::find(names, feature.category) == names.end()) names.push_back(feature.category);
  }
  std::string root = open_node("Category", "Root", true);
  std::string all;
  for (const std::string& name : names) {
    root += element("pFeature", name);
    all += open_node("Category", name, name.find("kxcam") != 0) + element("DisplayName", display_name(name));
    for (const Feature& feature : features) {
      if (feature.category == name) all += element("pFeature", feature.name);
    }
    all += close_node("Category");
  }
  return root + close_node("Category") + all;
}

/// Of the same features always the same, of others most likely another one: consumers cache descriptions by
/// it.
std::string version_guid(const std::string& text) {
  uint64_t sum = 0xCBF29CE484222325;
  for (const char each : text) sum = (sum ^ static_cast<uint8_t>(each)) * 0x100000001B3;
  std::string digits = hexadecimal(sum);
  digits.insert(0, 16 - digits.size(), '0');
  return digits.substr(0, 8) + "-" + digits.substr(8, 4) + "-4" + digits.substr(12, 3) + "-8000-6b7863616d00";
}

}  // namespace

std::string hexadecimal(uint64_t number) {
  std::array<char, 16> digits{};
  auto first = digits.end();
  do {
    *--first = "0123456789ABCDEF"[number % digits.size()];
    number /= digits.size();
  } while (number != 0);
  return {first, digits.end()};
}

std::string xml_text(const std::string& text) {
  std::string is;
  for (const char each : text) {
    const bool printable = each >= ' ' && each <= '~';
    switch (each) {
      case '&':
        is += "&amp;";
        break;
      case '<':
        is += "&lt;";
        break;
      case '>':
        is += "&gt;";
        break;
      case '"':
        is += "&quot;";
        break;
      default:
        is += printable ? each : '?';
    }
  }
  return is;
}

std::string describe(const DescriptionTitle& title, std::span<const Feature> features) {
  std::string nodes = categories(features);
  for (size_t i = 0; i < features.size(); ++i) nodes += FeatureNodes(features[i], i).text();

  std::string is = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<RegisterDescription";
  const auto attribute = [&is](const char* name, const std::string& value) {
    is.append(" ").append(name).append("=\"").append(value).append("\"");
  };
  attribute("ModelName", title.model);
  attribute("VendorName", "kxcam");
  attribute("ToolTip", xml_text(title.tooltip));
  attribute("StandardNameSpace", "None");
  attribute("SchemaMajorVersion", "1");
  attribute("SchemaMinorVersion", "1");
  attribute("SchemaSubMinorVersion", "0");
  attribute("MajorVersion", "1");
  attribute("MinorVersion", "0");
  attribute("SubMinorVersion", "0");
  attribute("ProductGuid", title.product_guid);
  attribute("VersionGuid", version_guid(nodes));
  attribute("xmlns", kNamespace);
  attribute("xmlns:xsi", "http://www.w3.org/2001/XMLSchema-instance");
  attribute("xsi:schemaLocation", std::string(kNamespace) + " " + kSchema);
  return is + ">\n" + nodes + "<Port Name=\"Device\"/>\n</RegisterDescription>\n";
}

}  // namespace kxcam::gentl
