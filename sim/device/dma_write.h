// SPDX-License-Identifier: Apache-2.0
#pragma once

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KXSIM_THREAD_SANITIZER
#endif
#endif
#ifdef __SANITIZE_THREAD__
#define KXSIM_THREAD_SANITIZER
#endif

#ifdef KXSIM_THREAD_SANITIZER
extern "C" {
void AnnotateIgnoreWritesBegin(const char* file, int line);
void AnnotateIgnoreWritesEnd(const char* file, int line);
}
#endif

namespace kxsim {

/// While one exists, this thread writes into the host's memory as hardware does, unseen by the thread
/// sanitizer. It would take these writes for a race: libusb 1.0.26 tells the thread that waits for a
/// synchronous transfer of its end by a plain int, and sees no harm in that as no thread of the program has
/// written the bytes.
class DmaWrite {
 public:
#ifdef KXSIM_THREAD_SANITIZER
  DmaWrite() {
    AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
  }
  ~DmaWrite() {
    AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
  }
#else
  DmaWrite() = default;
  ~DmaWrite() = default;
#endif
  DmaWrite(const DmaWrite&) = delete;
  DmaWrite& operator=(const DmaWrite&) = delete;
};

}  // namespace kxsim
