// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdint>

#include <fmt/format.h>

#include "core/acquisition/frame_reader.h"
#include "doctor/checks.h"

namespace kxcam::doctor {
namespace {

constexpr int64_t kMegabyte = 1 << 20;
// The kernel counts its own bookkeeping of a transfer too: a list entry for each 16 KiB, and less than a
// page besides.
constexpr int64_t kBytesPerEntry = 16384;
constexpr int64_t kEntry = 32;
constexpr int64_t kOverhead = 4096;

int64_t transfer_memory(const CameraFacts& camera) {
  const int row = model_row(camera);
  const int64_t bytes = row == kUnknownModel
                            ? kLargestTransfer
                            : largest_transfer(model_table[static_cast<std::size_t>(row)].SENSOR_ARRAY);
  return bytes + (bytes / kBytesPerEntry + 1) * kEntry + kOverhead;
}

int64_t whole_megabytes(int64_t bytes) {
  return (bytes + kMegabyte - 1) / kMegabyte;
}

std::string raise_to(int64_t megabytes) {
  return fmt::format(
      "echo {0} | sudo tee /sys/module/usbcore/parameters/usbfs_memory_mb\n"
      "raises it until the next start; usbcore.usbfs_memory_mb={0} on the kernel's command line for good.",
      megabytes);
}

}  // namespace

void check_memory(const Facts& facts, Findings& findings) {
  if (facts.simulated || facts.cameras.empty() || !facts.usbfs_memory_mb) return;
  const int64_t limit = *facts.usbfs_memory_mb;
  int64_t largest = 0;
  int64_t together = 0;
  for (const auto& camera : facts.cameras) {
    const int64_t bytes = transfer_memory(camera);
    largest = std::max(largest, bytes);
    together += bytes;
  }
  const std::string check = "memory";
  // All programs of the machine share the limit, so that twice the need is none too much.
  const std::string remedy = raise_to(2 * whole_megabytes(together));
  if (limit == 0 || together <= limit * kMegabyte) {
    const std::string bound = limit == 0 ? "unlimited" : fmt::format("{} MB", limit);
    findings.push_back({Severity::kOk, check, "",
                        fmt::format("memory for USB transfers is {}, the cameras take {} MB", bound,
                                    whole_megabytes(together))});
  } else if (largest > limit * kMegabyte) {
    findings.push_back({Severity::kProblem, check, "",
                        fmt::format("memory for USB transfers is {} MB, a camera alone takes {} MB", limit,
                                    whole_megabytes(largest)),
                        remedy});
  } else {
    findings.push_back(
        {Severity::kWarning, check, "",
         fmt::format("memory for USB transfers is {} MB, {} cameras at once take {} MB: one of "
                     "them will give no frames",
                     limit, facts.cameras.size(), whole_megabytes(together)),
         remedy});
  }
}

}  // namespace kxcam::doctor
