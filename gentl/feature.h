// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <variant>
#include <vector>

namespace kxcam::gentl {

using Value = std::variant<int64_t, double, std::string>;

struct Range {
  double minimum;
  double maximum;
  double increment = 0;
};

struct Choice {
  std::string name;
  int64_t value;
};

/// What a consumer can read, write or execute: a row of which both the description and the registers of a
/// port are made, so that they cannot differ. The functions are called with the port's lock held.
struct Feature {
  enum class Kind : uint8_t { kInteger, kReal, kText, kChoice, kSwitch, kCommand };
  enum class Visibility : uint8_t { kBeginner, kExpert, kGuru };

  std::string name;
  Kind kind;
  std::string category;
  std::string tooltip;
  Visibility visibility = Visibility::kBeginner;
  bool standard = true;  ///< a name of the standard feature naming convention
  std::string unit = {};
  std::vector<Choice> choices = {};
  std::vector<std::string> selects = {};  ///< the features whose meaning it chooses
  bool locked_by_stream = false;          ///< cannot be written while TLParamsLocked is not 0

  /// Null: cannot be read. An integer, a choice's value, 0 or 1 of a switch; a real number; a text.
  std::function<Value()> get = {};
  std::function<void(const Value&)> set = {};
  std::function<Range()> range = {};     ///< null: any value
  std::function<bool()> locked = {};     ///< cannot be written as things are
  std::function<bool()> available = {};  ///< means something as things are
};

/// The names that features refer to each other by.
inline constexpr const char* kStreamLock = "TLParamsLocked";

/// Where a feature's registers are. All but texts have eight bytes, little-endian.
struct RegisterMap {
  enum Part : uint32_t { kValue, kMinimum, kMaximum, kIncrement, kLocked, kAvailable, kParts };

  static constexpr uint64_t kFirst = 0x1000;
  static constexpr uint64_t kSpacing = 0x200;
  static constexpr uint64_t kOthers = 0x100;  ///< of the parts behind the value
  static constexpr size_t kNumberLength = 8;
  static constexpr size_t kTextLength = 0x100;
  static constexpr uint64_t kDescription = 0x1000000;

  static constexpr uint64_t address(size_t feature, Part part) {
    const uint64_t base = kFirst + kSpacing * feature;
    return part == kValue ? base : base + kOthers + kNumberLength * part;
  }
};

/// Those that never change.
inline Feature fixed_text(const char* name, const char* category, const char* tooltip,
                          const std::string& value) {
  return {
      .name = name, .kind = Feature::Kind::kText, .category = category, .tooltip = tooltip, .get = [value] {
        return Value(value);
      }};
}
inline Feature fixed_number(const char* name, const char* category, const char* tooltip, int64_t value,
                            const char* unit = "") {
  return {.name = name,
          .kind = Feature::Kind::kInteger,
          .category = category,
          .tooltip = tooltip,
          .visibility = Feature::Visibility::kExpert,
          .unit = unit,
          .get = [value] { return Value(value); }};
}

inline int64_t integer_of(const Value& value) {
  return std::get<int64_t>(value);
}
inline double real_of(const Value& value) {
  return std::get<double>(value);
}

}  // namespace kxcam::gentl
