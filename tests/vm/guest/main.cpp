// SPDX-License-Identifier: Apache-2.0

// What is checked inside the virtual machine, over the public header only.

#include <cstring>
#include <exception>
#include <iostream>

#include "bench.h"
#include "check.h"

namespace {

void run(const vm::Case& one) {
  const auto begin = vm::Clock::now();
  std::string failure;
  try {
    one.run();
  } catch (const std::exception& error) {
    failure = error.what();
    vm::restore_cables();
  }
  std::cout << (failure.empty() ? "@passed " : "@failed ") << one.name;
  if (!failure.empty()) std::cout << ": " << failure;
  std::cout << " (" << static_cast<int>(vm::milliseconds_since(begin)) << " ms)" << std::endl;
}

}  // namespace

/// Runs all cases, or names them with --list. Every case has its line of output, and so has the end.
int main(int argc, char** argv) {
  const bool list = argc > 1 && std::strcmp(argv[1], "--list") == 0;
  for (const auto* cases :
       {&vm::one_camera, &vm::cables, &vm::refusals, &vm::several_cameras, &vm::tool, &vm::restarts}) {
    for (const auto& one : *cases) {
      if (list) {
        std::cout << one.name << '\n';
      } else {
        run(one);
      }
    }
  }
}
