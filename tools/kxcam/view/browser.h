// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace kxcam::view {

/// Opens an address in the user's browser, where there is a desktop. Every user of the machine can read
/// command lines, so the browser is given a file that only its user can read, and that leads to the address.
class Browser {
 public:
  explicit Browser(const std::string& address);
  ~Browser();
  Browser(const Browser&) = delete;
  Browser& operator=(const Browser&) = delete;

  /// Removes the file: the page has come.
  void arrived();

 private:
  std::filesystem::path file_;
};

}  // namespace kxcam::view
