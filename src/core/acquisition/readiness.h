// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

/// A descriptor that poll() finds readable while it is set.
class Readiness {
 public:
  /// Not set. Throws std::system_error.
  Readiness();
  ~Readiness();
  Readiness(const Readiness&) = delete;
  Readiness& operator=(const Readiness&) = delete;

  void set(bool readable);
  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
  bool readable_ = false;
};

}  // namespace kxcam
