// SPDX-License-Identifier: Apache-2.0

// What is checked inside the virtual machine, over the public header only.

#include <exception>
#include <iostream>
#include <string>

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

/// Runs all cases, or those with a certain text in their names, or names them with --list.
int main(int argc, char** argv) {
  const std::string argument = argc > 1 ? argv[1] : "";
  const bool list = argument == "--list";
  for (const auto* cases :
       {&vm::one_camera, &vm::cables, &vm::refusals, &vm::several_cameras, &vm::tool, &vm::aftermath}) {
    for (const auto& one : *cases) {
      if (list) {
        std::cout << one.name << '\n';
      } else if (std::string(one.name).find(argument) != std::string::npos) {
        run(one);
      }
    }
  }
}
