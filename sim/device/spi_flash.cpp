// SPDX-License-Identifier: Apache-2.0
#include "device/spi_flash.h"

#include <algorithm>

namespace kxsim {

std::vector<uint8_t> SpiFlash::read(size_t page, size_t length) const {
  std::vector<uint8_t> bytes(length, 0xFF);
  for (size_t at = 0; at < length; at += kPageSize, ++page) {
    const auto found = pages_.find(page);
    if (found == pages_.end()) continue;
    std::copy_n(found->second.begin(), std::min(kPageSize, length - at), bytes.begin() + at);
  }
  return bytes;
}

bool SpiFlash::write(size_t page, std::span<const uint8_t> data) {
  if (page * kPageSize + data.size() > kPages * kPageSize) return false;
  const bool survives = !bytes_left_ || *bytes_left_ >= data.size();
  data = taken(data);
  for (size_t at = 0; at < data.size(); at += kPageSize, ++page) {
    auto [place, fresh] = pages_.try_emplace(page);
    if (fresh) place->second.fill(0xFF);
    const auto piece = data.subspan(at, std::min(kPageSize, data.size() - at));
    std::ranges::transform(piece, place->second, place->second.begin(),
                           [](uint8_t bits, uint8_t cell) { return bits & cell; });
  }
  return survives;
}

std::span<const uint8_t> SpiFlash::taken(std::span<const uint8_t> data) {
  if (!bytes_left_) return data;
  const auto bytes = std::min<uint64_t>(data.size(), *bytes_left_);
  *bytes_left_ -= bytes;
  return data.first(bytes);
}

bool SpiFlash::erase(size_t first_page, size_t pages) {
  if (bytes_left_ == 0U) return false;
  pages_.erase(pages_.lower_bound(first_page), pages_.lower_bound(first_page + pages));
  return true;
}

}  // namespace kxsim
