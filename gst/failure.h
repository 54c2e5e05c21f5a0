// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

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

// As messages on the bus.
void post_error(GstElement* element, const std::exception& error);
void post_warning(GstElement* element, const std::string& text);

/// "a, b, c"
std::string joined(const std::vector<std::string>& words);

}  // namespace kxcam
