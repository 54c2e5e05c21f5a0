// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "answer.h"
#include "description.h"
#include "feature.h"

namespace kxcam::gentl {

/// What a port says of itself.
struct PortIdentity {
  std::string id;
  std::string module;  ///< "TLSystem", "TLInterface", "TLDevice", "TLDataStream"; "Device" for a camera
  std::string model;
};

/// Registers and the description of them, both made of one table of features. Thread-safe: one access
/// follows the other.
class FeaturePort {
 public:
  FeaturePort(PortIdentity identity, const DescriptionTitle& title, std::vector<Feature> features);
  FeaturePort(const FeaturePort&) = delete;
  FeaturePort& operator=(const FeaturePort&) = delete;

  /// Address and length as the consumer gives them.
  void read(uint64_t address, void* data, size_t size);
  void write(uint64_t address, const void* data, size_t size);

  /// Refuses every write from then on.
  void make_read_only();
  /// Waits for the access that is running; those that come later are refused.
  void close();

  const std::string& description() const { return description_; }
  std::string url() const;
  void info(PortInfo command, const Answer& answer) const;
  void url_info(UrlInfo command, const Answer& answer) const;

 private:
  struct Position {
    const Feature& feature;
    RegisterMap::Part part;
  };

  // Hold mutex_.
  Position position_of(uint64_t address) const;
  void require_open() const;
  void require_writable(const Feature& feature) const;
  bool stream_locked() const;

  void read_description(uint64_t address, char* data, size_t size) const;
  std::string file_name() const;

  const PortIdentity identity_;
  const std::vector<Feature> features_;
  const std::string description_;
  const Feature* stream_lock_ = nullptr;
  std::mutex mutex_;
  bool closed_ = false;
  bool read_only_ = false;
};

}  // namespace kxcam::gentl
