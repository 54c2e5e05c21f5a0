// SPDX-License-Identifier: Apache-2.0
#include "kxsim/fault_option.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "device/fault_script.h"

namespace kxsim {

std::string read_fault_option(const std::string& option) {
  std::string script = option;
  if (option.starts_with('@')) {
    std::ifstream file(option.substr(1));
    script.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (!file) throw std::runtime_error("cannot read the fault script " + option.substr(1));
  }
  parse_fault_script(script);
  return script;
}

}  // namespace kxsim
