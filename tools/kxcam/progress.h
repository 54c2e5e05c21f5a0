// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace kxcam {

/// One line on standard error that is rewritten in place and gone at the end; nothing where standard
/// error is no terminal.
class StatusLine {
 public:
  StatusLine();
  ~StatusLine();
  StatusLine(const StatusLine&) = delete;
  StatusLine& operator=(const StatusLine&) = delete;

  bool visible() const { return visible_; }
  void show(std::string_view text);

 private:
  bool visible_;
};

/// "[#####---------------] 3/12"
std::string progress_bar(int done, int total);

}  // namespace kxcam
