// SPDX-License-Identifier: Apache-2.0
#include "core/enumeration.h"

#include "usb/kxusb.h"

namespace kxcam {

namespace {

std::mutex& transport_mutex() {
  static std::mutex mutex;
  return mutex;
}

}  // namespace

Enumeration::Enumeration() : exclusive_(transport_mutex()), result_(kxusb_open()) {
  for (int i = 0; i < kxusb_opened_count(); ++i) devices_.emplace_back(kxusb_gethandle(i), kxusb_close);
}

}  // namespace kxcam
