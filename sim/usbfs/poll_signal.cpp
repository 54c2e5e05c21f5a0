// SPDX-License-Identifier: Apache-2.0
#include "usbfs/poll_signal.h"

#include <array>

#include <fcntl.h>
#include <unistd.h>

#include "usbfs/libc.h"

namespace kxsim {

int PollSignal::open() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return -1;
  reader_ = ends[0];
  writer_ = ends[1];
  constexpr int kOnePage = 4096;
  constexpr char kFiller = 0;
  if (fcntl(writer_, F_SETPIPE_SZ, kOnePage) < 0 || write(writer_, &kFiller, 1) != 1) {
    libc::close(writer_);
    break_off();
    return -1;
  }
  return writer_;
}

void PollSignal::set_ready(bool ready) {
  if (reader_ < 0 || ready == ready_) return;
  ready_ = ready;
  char filler = 0;
  [[maybe_unused]] const auto moved = ready ? read(reader_, &filler, 1) : write(writer_, &filler, 1);
}

void PollSignal::break_off() {
  if (reader_ >= 0) libc::close(reader_);
  reader_ = -1;
}

}  // namespace kxsim
