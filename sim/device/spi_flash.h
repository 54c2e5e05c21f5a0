// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

namespace kxsim {

/// The bridge's SPI NOR flash, addressed by 256-byte pages: writing only clears bits, erasing sets
/// them.
class SpiFlash {
 public:
  static constexpr size_t kPageSize = 256;
  static constexpr size_t kPages = 0x10000;

  /// Bytes that would lie behind the last page read as erased.
  std::vector<uint8_t> read(size_t page, size_t length) const;
  /// False when the data would run over the last page, or the flash dies on the way.
  bool write(size_t page, std::span<const uint8_t> data);
  bool erase(size_t first_page, size_t pages);

  /// The supply fails: after `bytes` more bytes written nothing changes any more.
  void die_after(uint64_t bytes) { bytes_left_ = bytes; }
  void revive() { bytes_left_.reset(); }

 private:
  using Page = std::array<uint8_t, kPageSize>;
  /// The bytes of `data` that are written before the flash dies.
  std::span<const uint8_t> taken(std::span<const uint8_t> data);

  std::optional<uint64_t> bytes_left_;
  std::map<size_t, Page> pages_;  // pages not in the map are erased
};

}  // namespace kxsim
