// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

#include "http.h"

namespace kxcam::view {

/// The head of a request as the HTTP library is to see it.
struct RequestHead {
  std::string text;
  std::size_t body_bytes = 0;
};

/// Why a head is not passed on.
struct HeadRefusal {
  int status;
  const char* reason;
};

/// Leaves of a head, its empty line included, the request line and the few headers that matter here. So the
/// HTTP library never sees ranges, encodings, forms and whatever else it would make something of, with code
/// that was not written for strangers. A header that matters may come once.
std::variant<RequestHead, HeadRefusal> sift_head(std::string_view head);

}  // namespace kxcam::view
