// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "attached.h"

namespace kxcam {

/// A camera that the library has open at its index, with a device or without. It is closed when the object
/// goes, whatever the reason.
class OpenCamera {
 public:
  OpenCamera(const OpenCamera&) = delete;
  OpenCamera& operator=(const OpenCamera&) = delete;

  int index() const { return identity_.index; }
  const AttachedCamera& identity() const { return identity_; }

  /// Throws Error with the library's reason when `status` is a failure.
  void require(const std::string& action, uint32_t status) const;

 protected:
  /// Whoever derives from this opens the index.
  explicit OpenCamera(AttachedCamera identity);
  ~OpenCamera();

 private:
  AttachedCamera identity_;
};

}  // namespace kxcam
