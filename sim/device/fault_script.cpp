// SPDX-License-Identifier: Apache-2.0
#include "device/fault_script.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <string>
#include <utility>

namespace kxsim {
namespace {

/// Sizes and counts above it are slips of the pen.
constexpr uint64_t kLargestNumber = 1'000'000'000;

/// The words of one statement, read one after the other.
class Words {
 public:
  Words(std::string_view text, int line) : line_(line) {
    while (true) {
      const auto begin = text.find_first_not_of(" \t\r");
      if (begin == std::string_view::npos) return;
      text.remove_prefix(begin);
      const auto end = std::min(text.find_first_of(" \t\r"), text.size());
      words_.push_back(text.substr(0, end));
      text.remove_prefix(end);
    }
  }

  bool done() const { return at_ == words_.size(); }
  std::string_view peek() const { return done() ? std::string_view() : words_[at_]; }
  std::string_view next() { return done() ? std::string_view() : words_[at_++]; }

  bool accept(std::string_view word) {
    if (peek() != word) return false;
    next();
    return true;
  }
  void expect(std::string_view word) {
    if (!accept(word)) refuse("'" + std::string(word) + "'");
  }
  void expect_end() const {
    if (!done()) refuse("the end of the fault");
  }

  [[noreturn]] void refuse(std::string_view expected) const {
    const auto found = done() ? std::string("the end of the line") : "'" + std::string(peek()) + "'";
    throw BadFaultScript("fault script, line " + std::to_string(line_) + ": expected " +
                         std::string(expected) + ", found " + found);
  }

 private:
  std::vector<std::string_view> words_;
  size_t at_ = 0;
  int line_;
};

std::optional<uint64_t> to_number(std::string_view text, int base) {
  uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  return whole && number <= kLargestNumber ? std::optional(number) : std::nullopt;
}

uint64_t read_number(Words& words, std::string_view what, uint64_t least = 0) {
  const auto number = to_number(words.peek(), 10);
  if (!number || *number < least) words.refuse(what);
  words.next();
  return *number;
}

uint8_t read_byte(Words& words, std::string_view what) {
  auto text = words.peek();
  if (text.starts_with("0x") || text.starts_with("0X")) text.remove_prefix(2);
  const auto number = to_number(text, 16);
  if (!number || *number > 0xFF) words.refuse(what);
  words.next();
  return static_cast<uint8_t>(*number);
}

std::chrono::milliseconds read_time(Words& words) {
  constexpr std::string_view kWhat = "a time such as 500ms or 2s";
  auto text = words.peek();
  int unit = 1000;
  if (text.ends_with("ms")) {
    unit = 1;
    text.remove_suffix(2);
  } else if (text.ends_with("s")) {
    text.remove_suffix(1);
  } else {
    words.refuse(kWhat);
  }
  const auto number = to_number(text, 10);
  if (!number) words.refuse(kWhat);
  words.next();
  return std::chrono::milliseconds(*number * unit);
}

Ordinals read_which(Words& words) {
  constexpr std::string_view kWhat = "a number from 1, a range such as 2-5 or 3-, or 'all'";
  if (words.accept("all")) return {};
  const auto text = words.peek();
  const auto dash = text.find('-');
  const auto first = to_number(text.substr(0, dash), 10);
  if (!first || *first == 0) words.refuse(kWhat);
  Ordinals which{.first = *first, .last = *first};
  if (dash != std::string_view::npos) {
    const auto rest = text.substr(dash + 1);
    const auto last = to_number(rest, 10);
    if (!rest.empty() && (!last || *last < *first)) words.refuse(kWhat);
    which.last = rest.empty() ? Ordinals().last : *last;
  }
  words.next();
  return which;
}

template <class Action>
struct Named {
  std::string_view name;
  Action action;
};

template <class Action, size_t N>
Action read_action(Words& words, const std::array<Named<Action>, N>& actions) {
  const auto found = std::ranges::find(actions, words.peek(), &Named<Action>::name);
  if (found == actions.end()) {
    std::string names;
    for (const auto& [name, action] : actions) names += (names.empty() ? "" : ", ") + std::string(name);
    words.refuse("one of " + names);
  }
  words.next();
  return found->action;
}

void read_request(Words& words, FaultPlan& plan) {
  using Action = RequestFault::Action;
  static constexpr std::array kActions = {
      Named<Action>{"stall", Action::kStall},     Named<Action>{"timeout", Action::kTimeout},
      Named<Action>{"garbage", Action::kGarbage}, Named<Action>{"short", Action::kShort},
      Named<Action>{"reply", Action::kReply},     Named<Action>{"unplug", Action::kUnplug}};
  RequestFault fault;
  fault.which = read_which(words);
  if (words.accept("of")) fault.code = read_byte(words, "a request code such as 0xB3");
  fault.action = read_action(words, kActions);
  if (fault.action == Action::kShort) fault.length = read_number(words, "a number of bytes");
  if (fault.action == Action::kReply) {
    do {
      fault.reply.push_back(read_byte(words, "a byte in hexadecimal"));
    } while (!words.done());
  }
  plan.requests.push_back(std::move(fault));
}

void read_bulk(Words& words, FaultPlan& plan) {
  using Action = BulkFault::Action;
  static constexpr std::array kActions = {
      Named<Action>{"stall", Action::kStall}, Named<Action>{"overflow", Action::kOverflow},
      Named<Action>{"error", Action::kError}, Named<Action>{"timeout", Action::kTimeout},
      Named<Action>{"unplug", Action::kUnplug}};
  const auto which = read_which(words);
  plan.bulk.push_back({.action = read_action(words, kActions), .which = which});
}

void read_frame(Words& words, FaultPlan& plan) {
  using Action = FrameFault::Action;
  static constexpr std::array kActions = {
      Named<Action>{"missing", Action::kMissing}, Named<Action>{"short", Action::kShort},
      Named<Action>{"long", Action::kLong}, Named<Action>{"split", Action::kSplit},
      Named<Action>{"unended", Action::kUnended}};
  FrameFault fault;
  fault.which = read_which(words);
  fault.action = read_action(words, kActions);
  if (fault.action != Action::kMissing) fault.bytes = read_number(words, "a number of bytes from 1", 1);
  plan.frames.push_back(fault);
}

int read_port(Words& words) {
  constexpr const char* kExpected = "a port number from 1 to 64";
  const auto port = read_number(words, kExpected, 1);
  if (port > UnplugFault::kLastPort) words.refuse(kExpected);
  return static_cast<int>(port);
}

void read_unplug(Words& words, FaultPlan& plan) {
  UnplugFault fault;
  if (words.accept("at")) {
    fault.time = read_time(words);
  } else if (words.accept("after")) {
    fault.count = read_number(words, "a number from 1", 1);
    using When = UnplugFault::When;
    static constexpr std::array kEvents = {Named<When>{"frames", When::kFrames},
                                           Named<When>{"requests", When::kRequests}};
    fault.when = read_action(words, kEvents);
  } else {
    words.refuse("'at' or 'after'");
  }
  if (words.accept("back")) {
    words.expect("after");
    fault.back_after = read_time(words);
    if (words.accept("on")) {
      words.expect("port");
      fault.port = read_port(words);
    }
  }
  plan.unplugs.push_back(fault);
}

void read_fault(Words& words, FaultPlan& plan) {
  if (words.accept("request")) {
    read_request(words, plan);
  } else if (words.accept("bulk")) {
    read_bulk(words, plan);
  } else if (words.accept("frame")) {
    read_frame(words, plan);
  } else if (words.accept("unplug")) {
    read_unplug(words, plan);
  } else if (words.accept("stream")) {
    words.expect("ends");
    words.expect("after");
    plan.stream_frames = read_number(words, "a number of frames");
  } else if (words.accept("eeprom")) {
    words.expect("dies");
    words.expect("after");
    plan.eeprom_writes = read_number(words, "a number of bytes");
  } else if (words.accept("flash")) {
    words.expect("dies");
    words.expect("after");
    plan.flash_bytes = read_number(words, "a number of bytes");
  } else if (words.accept("open")) {
    words.expect("denied");
    plan.open_denied = true;
  } else if (words.accept("claim")) {
    words.expect("busy");
    plan.claim_busy = true;
  } else {
    words.refuse("one of camera, request, bulk, frame, stream, eeprom, flash, unplug, open, claim");
  }
  words.expect_end();
}

void read_statement(std::string_view text, int line, int camera, FaultPlan& plan) {
  Words words(text, line);
  if (words.done()) return;
  FaultPlan others;
  bool mine = true;
  if (words.accept("camera")) {
    mine = read_number(words, "the number of a camera, counted from 1", 1) == static_cast<uint64_t>(camera);
  }
  read_fault(words, mine ? plan : others);
}

std::string_view cut(std::string_view& rest, char separator) {
  const auto end = std::min(rest.find(separator), rest.size());
  const auto piece = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return piece;
}

}  // namespace

FaultPlan parse_fault_script(std::string_view script, int camera) {
  FaultPlan plan;
  for (int line = 1; !script.empty(); ++line) {
    auto text = cut(script, '\n');
    text = text.substr(0, text.find('#'));
    while (!text.empty()) read_statement(cut(text, ';'), line, camera, plan);
  }
  return plan;
}

}  // namespace kxsim
