// SPDX-License-Identifier: Apache-2.0

// libusb destroys a transfer's mutex that its event thread has just unlocked: a race inside libusb 1.0.26
// that the thread sanitizer reports for every program with synchronous transfers on two threads.

extern "C" const char* __tsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)

extern "C" const char* __tsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
  return "race:libusb_free_transfer\n";
}
