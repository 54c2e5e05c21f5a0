// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

#include <gst/gst.h>

namespace kxcam {

/// Why something cannot be done, in the words that the user is to read: what is wrong and what helps.
class Failure : public std::runtime_error {
 public:
  Failure(GstResourceError kind, const std::string& text) : std::runtime_error(text), kind_(kind) {}

  GstResourceError kind() const { return kind_; }

 private:
  GstResourceError kind_;
};

/// "ACTION failed: " with the library's text and remedy for that cause.
Failure failure_of(const std::string& action, int cause);

/// As a message on the bus, an error or a warning.
void post(GstElement* element, GstMessageType type, const Failure& failure);

}  // namespace kxcam
