// SPDX-License-Identifier: Apache-2.0
#include "usb/message.h"

#include <mutex>
#include <string>

namespace kxcam {

namespace {

struct Receiver {
  std::mutex mutex;  ///< held while the handler runs
  MessageHandler handler = nullptr;
  void* data = nullptr;
};

// Never destroyed: threads may have something to say while the process ends.
Receiver& receiver() {
  static Receiver& one = *new Receiver;
  return one;
}

}  // namespace

void say(std::FILE* stream, std::string_view text) {
  Receiver& to = receiver();
  const std::lock_guard lock(to.mutex);
  if (to.handler == nullptr) {
    if (stream != nullptr) std::fwrite(text.data(), 1, text.size(), stream);
    return;
  }
  const size_t end = text.find_last_not_of(" \n");
  to.handler(std::string(text.substr(0, end + 1)).c_str(), to.data);
}

bool has_message_handler() {
  Receiver& to = receiver();
  const std::lock_guard lock(to.mutex);
  return to.handler != nullptr;
}

void set_message_handler(MessageHandler handler, void* data) {
  Receiver& to = receiver();
  const std::lock_guard lock(to.mutex);
  to.handler = handler;
  to.data = data;
}

}  // namespace kxcam
