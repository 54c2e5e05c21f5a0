// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxsim {

/// The file descriptor that a program polls in place of a device node. It is the writing end of a pipe
/// of one slot: a full pipe polls as "nothing there", a drained one as POLLOUT, and one that lost its
/// reader as POLLERR, just what usbfs shows for nothing to reap, something to reap, and gone. The owner
/// serialises the calls.
class PollSignal {
 public:
  PollSignal() = default;
  ~PollSignal() { break_off(); }
  PollSignal(const PollSignal&) = delete;
  PollSignal& operator=(const PollSignal&) = delete;

  /// The descriptor for the program, which closes it; -1 with errno set when there is none to have.
  int open();
  void set_ready(bool ready);
  void break_off();

 private:
  int reader_ = -1;
  int writer_ = -1;  // the program's
  bool ready_ = false;
};

}  // namespace kxsim
