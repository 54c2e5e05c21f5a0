// SPDX-License-Identifier: Apache-2.0
#include "consumer.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace kxcam::test {

Producer::Producer() : library_(dlopen(KXCAM_CTI, RTLD_NOW | RTLD_LOCAL)) {
  if (library_ == nullptr) ADD_FAILURE() << dlerror();
}

Producer::~Producer() {
  dlclose(library_);
}

void* Producer::find(const char* name) const {
  void* function = dlsym(library_, name);
  if (function == nullptr) {
    std::fprintf(stderr, "no function %s\n", name);
    std::abort();
  }
  return function;
}

std::string Producer::last_error() const {
  int32_t code = 0;
  size_t size = 0;
  call("GCGetLastError", &code, static_cast<char*>(nullptr), &size);
  std::string text(size, '\0');
  call("GCGetLastError", &code, text.data(), &size);
  return std::to_string(code) + " " + text.c_str();
}

std::string text_info(const Producer& producer, const char* name, Handle handle, int32_t command) {
  int32_t type = 0;
  size_t size = 0;
  if (producer.call(name, handle, command, &type, static_cast<void*>(nullptr), &size) != 0) return "?";
  std::string text(size, '\0');
  EXPECT_EQ(producer.call(name, handle, command, &type, static_cast<void*>(text.data()), &size), 0);
  EXPECT_EQ(type, 1);
  EXPECT_EQ(text.find('\0'), size - 1);
  return text.c_str();
}

Features::Features(const Producer& producer, Handle port) : producer_(producer), port_(port) {
  size_t size = 0;
  EXPECT_EQ(producer.call("GCGetPortURL", port, static_cast<char*>(nullptr), &size), 0);
  std::string url(size, '\0');
  producer.call("GCGetPortURL", port, url.data(), &size);
  unsigned long long address = 0;
  unsigned long long length = 0;
  EXPECT_EQ(std::sscanf(url.c_str(), "Local:///%*[^;];%llx;%llx", &address, &length), 2) << url;
  xml_.resize(length);
  size = length;
  EXPECT_EQ(producer.call("GCReadPort", port, uint64_t{address}, static_cast<void*>(xml_.data()), &size), 0);
  const auto parsed = document_.load_buffer(xml_.data(), xml_.size());
  EXPECT_TRUE(parsed) << parsed.description() << " at " << parsed.offset;
  for (const auto each : document_.child("RegisterDescription").children())
    EXPECT_TRUE(nodes_.emplace(each.attribute("Name").value(), each).second)
        << each.attribute("Name").value();
}

std::vector<std::string> Features::names() const {
  std::vector<std::string> all;
  for (const auto category : node("Root").children("pFeature")) {
    for (const auto feature : node(category.child_value()).children("pFeature"))
      all.emplace_back(feature.child_value());
  }
  return all;
}

pugi::xml_node Features::node(const std::string& name) const {
  const auto found = nodes_.find(name);
  EXPECT_TRUE(found != nodes_.end()) << "no node " << name;
  return found == nodes_.end() ? pugi::xml_node() : found->second;
}

pugi::xml_node Features::value_register(const std::string& name) const {
  const pugi::xml_node is = node(name);
  const pugi::xml_node pointer = is.child("pValue");
  return pointer ? node(pointer.child_value()) : is;
}

bool Features::flag(const std::string& name, const char* pointer, bool without) const {
  const pugi::xml_node named = node(name).child(pointer);
  return named ? read_number(value_register(named.child_value())) != 0 : without;
}

bool Features::readable(const std::string& name) const {
  return flag(name, "pIsAvailable", true) &&
         std::string(value_register(name).child_value("AccessMode")) != "WO";
}

bool Features::writable(const std::string& name) const {
  return flag(name, "pIsAvailable", true) && !flag(name, "pIsLocked", false) &&
         std::string(value_register(name).child_value("AccessMode")) != "RO";
}

double Features::read_number(pugi::xml_node reg) const {
  const uint64_t address = std::strtoull(reg.child_value("Address"), nullptr, 16);
  uint64_t bits = 0;
  size_t size = sizeof bits;
  EXPECT_EQ(producer_.call("GCReadPort", port_, address, static_cast<void*>(&bits), &size), 0)
      << reg.attribute("Name").value() << ": " << producer_.last_error();
  if (std::string(reg.name()) == "IntReg") return static_cast<double>(static_cast<int64_t>(bits));
  double number = 0;
  std::memcpy(&number, &bits, sizeof number);
  return number;
}

int32_t Features::write_number(pugi::xml_node reg, double number) const {
  const uint64_t address = std::strtoull(reg.child_value("Address"), nullptr, 16);
  const auto whole = static_cast<int64_t>(std::llround(number));
  const bool is_whole = std::string(reg.name()) == "IntReg";
  const void* data = is_whole ? static_cast<const void*>(&whole) : &number;
  size_t size = sizeof number;
  return producer_.call("GCWritePort", port_, address, data, &size);
}

int64_t Features::integer(const std::string& name) const {
  return static_cast<int64_t>(read_number(value_register(name)));
}

double Features::real(const std::string& name) const {
  return read_number(value_register(name));
}

double Features::number(const std::string& name) const {
  return read_number(value_register(name));
}

std::string Features::text(const std::string& name) const {
  const pugi::xml_node reg = node(name);
  std::string text(std::strtoull(reg.child_value("Length"), nullptr, 10), 'x');
  size_t size = text.size();
  const uint64_t address = std::strtoull(reg.child_value("Address"), nullptr, 16);
  EXPECT_EQ(producer_.call("GCReadPort", port_, address, static_cast<void*>(text.data()), &size), 0);
  return text.c_str();
}

std::vector<std::string> Features::choices(const std::string& name) const {
  std::vector<std::string> all;
  for (const auto entry : node(name).children("EnumEntry")) all.emplace_back(entry.attribute("Name").value());
  return all;
}

std::string Features::choice(const std::string& name) const {
  const std::string value = std::to_string(integer(name));
  for (const auto entry : node(name).children("EnumEntry")) {
    if (value == entry.child_value("Value")) return entry.attribute("Name").value();
  }
  return "none, but " + value;
}

std::optional<Features::Limits> Features::limits(const std::string& name) const {
  const auto limit = [&](const char* pointer) {
    return read_number(value_register(node(name).child_value(pointer)));
  };
  if (!node(name).child("pMin")) return std::nullopt;
  return Limits{limit("pMin"), limit("pMax"), node(name).child("pInc") ? limit("pInc") : 0};
}

int32_t Features::set(const std::string& name, double number) const {
  int32_t status = write_number(value_register(name), number);
  // On a busy machine the simulated camera may not answer a request in time.
  for (int tries = 0; status == kIo && tries < 4; ++tries)
    status = write_number(value_register(name), number);
  return status;
}

int32_t Features::set(const std::string& name, const std::string& choice) const {
  for (const auto entry : node(name).children("EnumEntry")) {
    if (choice == entry.attribute("Name").value())
      return set(name, static_cast<double>(std::strtoll(entry.child_value("Value"), nullptr, 10)));
  }
  ADD_FAILURE() << name << " has no " << choice;
  return kInvalidValue;
}

Acquisition::Acquisition(const Producer& producer, Handle device, const Features& camera)
    : producer_(producer), camera_(camera) {
  EXPECT_EQ(producer.call("DevOpenDataStream", device, "Stream0", &stream_), 0) << producer.last_error();
  EXPECT_EQ(producer.call("GCRegisterEvent", stream_, 1, &event_), 0);
}

Acquisition::~Acquisition() {
  producer_.call("DSClose", stream_);
}

void Acquisition::announce(int buffers, bool own_memory, size_t size) {
  if (size == 0) size = static_cast<size_t>(camera_.integer("PayloadSize"));
  for (int n = 0; n < buffers; ++n) {
    Handle buffer = nullptr;
    void* user = reinterpret_cast<void*>(uintptr_t{100} + static_cast<uintptr_t>(n));
    if (own_memory) {
      memory_.emplace_back(size, uint8_t{0xEE});
      void* memory = memory_.back().data();
      ASSERT_EQ(producer_.call("DSAnnounceBuffer", stream_, memory, size, user, &buffer), 0);
    } else {
      ASSERT_EQ(producer_.call("DSAllocAndAnnounceBuffer", stream_, size, user, &buffer), 0);
    }
    queue(buffer);
  }
}

void Acquisition::queue(Handle buffer) const {
  EXPECT_EQ(producer_.call("DSQueueBuffer", stream_, buffer), 0) << producer_.last_error();
}

void Acquisition::start(uint64_t pictures) {
  ASSERT_EQ(producer_.call("DSStartAcquisition", stream_, 0, pictures), 0) << producer_.last_error();
  ASSERT_EQ(camera_.set("TLParamsLocked", 1), 0);
  ASSERT_EQ(camera_.execute("AcquisitionStart"), 0) << producer_.last_error();
}

void Acquisition::stop() {
  EXPECT_EQ(camera_.execute("AcquisitionStop"), 0) << producer_.last_error();
  EXPECT_EQ(producer_.call("DSStopAcquisition", stream_, 0), 0) << producer_.last_error();
  EXPECT_EQ(camera_.set("TLParamsLocked", 0), 0);
}

Acquisition::Delivered Acquisition::take(uint64_t timeout_ms) {
  struct {
    Handle buffer;
    void* user;
  } entry{};
  size_t size = sizeof entry;
  Delivered is;
  is.status = producer_.call("EventGetData", event_, static_cast<void*>(&entry), &size, timeout_ms);
  if (is.status != 0) return is;
  is.buffer = entry.buffer;
  const auto* bytes = static_cast<const uint8_t*>(buffer_info<void*>(entry.buffer, 0));
  is.bytes.assign(bytes, bytes + buffer_info<size_t>(entry.buffer, 9));
  is.frame = buffer_info<uint64_t>(entry.buffer, 16);
  is.arrived_ns = buffer_info<uint64_t>(entry.buffer, 28);
  is.width = buffer_info<size_t>(entry.buffer, 10);
  is.height = buffer_info<size_t>(entry.buffer, 11);
  is.pixel_format = buffer_info<uint64_t>(entry.buffer, 20);
  is.incomplete = buffer_info<uint8_t>(entry.buffer, 7) != 0;
  return is;
}

Acquisition::Delivered Acquisition::next(uint64_t timeout_ms) {
  Delivered is = take(timeout_ms);
  if (is.status == 0) queue(is.buffer);
  return is;
}

}  // namespace kxcam::test
