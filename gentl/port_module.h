// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "event.h"
#include "feature_port.h"
#include "handle_table.h"

namespace kxcam::gentl {

/// A module of the system: it has registers and events.
class PortModule : public Module {
 public:
  virtual FeaturePort& port() = 0;
  /// Throws for kinds that the module does not have.
  virtual std::shared_ptr<Event> new_event(EventKind kind) {
    if (kind != EventKind::kError) fail(kNotImplemented, "no such event here");
    return std::make_shared<ErrorEvent>();
  }
  Events& events() { return events_; }

 private:
  Events events_;
};

/// Of an id that a consumer hands in.
inline std::string id_of(const char* id) {
  return &required(id);
}

}  // namespace kxcam::gentl
