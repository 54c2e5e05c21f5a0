// SPDX-License-Identifier: Apache-2.0
#include "feature_port.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "version.h"

namespace kxcam::gentl {

namespace {

constexpr int64_t kMost = int64_t{1} << 62;  // far beyond every setting

/// As a register has it; a number that no register holds is the nearest one.
int64_t whole(double number) {
  if (!(number > -static_cast<double>(kMost))) return -kMost;
  return number < static_cast<double>(kMost) ? std::llround(number) : kMost;
}

template <class T>
void store(T number, void* data) {
  static_assert(sizeof number == RegisterMap::kNumberLength);
  std::memcpy(data, &number, sizeof number);
}

template <class T>
T fetch(const void* data) {
  T number;
  static_assert(sizeof number == RegisterMap::kNumberLength);
  std::memcpy(&number, data, sizeof number);
  return number;
}

bool is_real(const Feature& feature) {
  return feature.kind == Feature::Kind::kReal;
}

double part_of(const Range& range, RegisterMap::Part part) {
  switch (part) {
    case RegisterMap::kMinimum:
      return range.minimum;
    case RegisterMap::kMaximum:
      return range.maximum;
    default:
      return range.increment;
  }
}

/// Refuses what the description rules out, whoever writes it.
void require_in_range(const Feature& feature, const Value& value) {
  const auto refuse = [&] { fail(kInvalidValue, feature.name + " does not take this value"); };
  if (feature.kind == Feature::Kind::kChoice) {
    if (std::ranges::find(feature.choices, integer_of(value), &Choice::value) == feature.choices.end())
      refuse();
    return;
  }
  if (feature.kind == Feature::Kind::kSwitch && integer_of(value) != 0 && integer_of(value) != 1) refuse();
  if (feature.kind == Feature::Kind::kCommand && integer_of(value) != 1) refuse();
  if (feature.range == nullptr) return;
  const Range range = feature.range();
  if (is_real(feature)) {
    if (!(real_of(value) >= range.minimum && real_of(value) <= range.maximum)) refuse();
    return;
  }
  const int64_t number = integer_of(value);
  const int64_t least = whole(range.minimum);
  const int64_t step = std::max<int64_t>(1, whole(range.increment));
  if (number < least || number > whole(range.maximum) || (number - least) % step != 0) refuse();
}

}  // namespace

FeaturePort::FeaturePort(PortIdentity identity, const DescriptionTitle& title, std::vector<Feature> features)
    : identity_(std::move(identity)),
      features_(std::move(features)),
      description_(describe(title, features_)) {
  const auto lock = std::ranges::find(features_, kStreamLock, &Feature::name);
  if (lock != features_.end()) stream_lock_ = &*lock;
}

void FeaturePort::close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
}

void FeaturePort::make_read_only() {
  const std::lock_guard lock(mutex_);
  read_only_ = true;
}

void FeaturePort::require_open() const {
  if (closed_) fail(kInvalidHandle, "the module is closed");
}

bool FeaturePort::stream_locked() const {
  return stream_lock_ != nullptr && integer_of(stream_lock_->get()) != 0;
}

FeaturePort::Position FeaturePort::position_of(uint64_t address) const {
  const uint64_t number = address / RegisterMap::kSpacing - RegisterMap::kFirst / RegisterMap::kSpacing;
  if (address < RegisterMap::kFirst || number >= features_.size())
    fail(kInvalidAddress, "no register is there");
  const Feature& feature = features_[number];
  const uint64_t offset = address % RegisterMap::kSpacing;
  if (offset == 0) return {feature, RegisterMap::kValue};
  const uint64_t part = (offset - RegisterMap::kOthers) / RegisterMap::kNumberLength;
  const bool exists =
      offset >= RegisterMap::kOthers && offset % RegisterMap::kNumberLength == 0 &&
      (part == RegisterMap::kLocked ? feature.locked != nullptr
       : part == RegisterMap::kAvailable
           ? feature.available != nullptr
           : part >= RegisterMap::kMinimum && part <= RegisterMap::kIncrement && feature.range != nullptr);
  if (!exists) fail(kInvalidAddress, "no register is there");
  return {feature, static_cast<RegisterMap::Part>(part)};
}

void FeaturePort::read_description(uint64_t address, char* data, size_t size) const {
  const uint64_t offset = address - RegisterMap::kDescription;
  if (offset > description_.size()) fail(kInvalidAddress, "behind the description");
  const size_t there = std::min<size_t>(size, description_.size() - offset);
  std::memcpy(data, description_.data() + offset, there);
  std::memset(data + there, 0, size - there);  // consumers read whole blocks
}

void FeaturePort::read(uint64_t address, void* data, size_t size) {
  required(static_cast<char*>(data));
  const std::lock_guard lock(mutex_);
  require_open();
  if (address >= RegisterMap::kDescription) return read_description(address, static_cast<char*>(data), size);
  const Position at = position_of(address);
  const Feature& feature = at.feature;
  if (feature.kind == Feature::Kind::kText) {
    if (size == 0 || size > RegisterMap::kTextLength) fail(kInvalidParameter, "no text is that long");
    std::string text = std::get<std::string>(feature.get());
    text.resize(RegisterMap::kTextLength - 1);  // zeros
    std::memcpy(data, text.c_str(), size);
    return;
  }
  if (size != RegisterMap::kNumberLength) fail(kInvalidParameter, "registers have eight bytes");
  if (at.part == RegisterMap::kLocked) return store(int64_t{feature.locked()}, data);
  if (at.part == RegisterMap::kAvailable) return store(int64_t{feature.available()}, data);
  if (at.part != RegisterMap::kValue) {
    const double number = part_of(feature.range(), at.part);
    return is_real(feature) ? store(number, data) : store(whole(number), data);
  }
  if (feature.get == nullptr) fail(kAccessDenied, feature.name + " cannot be read");
  const Value value = feature.get();
  return is_real(feature) ? store(real_of(value), data) : store(integer_of(value), data);
}

void FeaturePort::require_writable(const Feature& feature) const {
  if (feature.set == nullptr) fail(kAccessDenied, feature.name + " cannot be written");
  if (feature.available != nullptr && !feature.available())
    fail(kAccessDenied, feature.name + " is not available as the camera is set");
  if (feature.locked != nullptr && feature.locked())
    fail(kAccessDenied, feature.name + " cannot be written as the camera is set");
  if (feature.locked_by_stream && stream_locked())
    fail(kAccessDenied, feature.name + " cannot be written while pictures are taken");
}

void FeaturePort::write(uint64_t address, const void* data, size_t size) {
  required(static_cast<const char*>(data));
  const std::lock_guard lock(mutex_);
  require_open();
  if (read_only_) fail(kAccessDenied, "the device is open for reading only");
  if (address >= RegisterMap::kDescription) fail(kAccessDenied, "the description cannot be written");
  const Position at = position_of(address);
  if (at.part != RegisterMap::kValue) fail(kAccessDenied, "limits cannot be written");
  require_writable(at.feature);
  if (size != RegisterMap::kNumberLength) fail(kInvalidParameter, "registers have eight bytes");
  const Value value = is_real(at.feature) ? Value(fetch<double>(data)) : Value(fetch<int64_t>(data));
  require_in_range(at.feature, value);
  at.feature.set(value);
}

std::string FeaturePort::file_name() const {
  return "kxcam-" + identity_.module + "-" + kVersionText + ".xml";
}

std::string FeaturePort::url() const {
  return "Local:///" + file_name() + ";" + hexadecimal(RegisterMap::kDescription) + ";" +
         hexadecimal(description_.size()) + "?SchemaVersion=1.1.0";
}

void FeaturePort::info(PortInfo command, const Answer& answer) const {
  switch (command) {
    case PortInfo::kId:
      return answer.text(identity_.id);
    case PortInfo::kVendor:
      return answer.text(kVendorText);
    case PortInfo::kModel:
      return answer.text(identity_.model);
    case PortInfo::kType:
      return answer.text(kTypeText);
    case PortInfo::kModule:
      return answer.text(identity_.module);
    case PortInfo::kLittleEndian:
    case PortInfo::kReadable:
    case PortInfo::kWritable:
      return answer.flag(true);
    case PortInfo::kBigEndian:
    case PortInfo::kNotAccessible:
    case PortInfo::kNotImplemented:
      return answer.flag(false);
    case PortInfo::kVersion:
      return answer.text(kVersionText);
    case PortInfo::kName:
      return answer.text("Device");
  }
  fail_unknown_info();
}

void FeaturePort::url_info(UrlInfo command, const Answer& answer) const {
  switch (command) {
    case UrlInfo::kUrl:
      return answer.text(url());
    case UrlInfo::kSchemaMajor:
    case UrlInfo::kSchemaMinor:
    case UrlInfo::kFileMajor:
      return answer.int32(1);
    case UrlInfo::kFileMinor:
    case UrlInfo::kFileSubMinor:
      return answer.int32(0);
    case UrlInfo::kAddress:
      return answer.uint64(RegisterMap::kDescription);
    case UrlInfo::kSize:
      return answer.uint64(description_.size());
    case UrlInfo::kScheme:
      return answer.int32(kSchemeLocal);
    case UrlInfo::kFileName:
      return answer.text(file_name());
    case UrlInfo::kSha1:
      break;
  }
  fail_unknown_info();
}

}  // namespace kxcam::gentl
