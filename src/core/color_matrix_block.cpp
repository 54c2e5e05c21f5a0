// SPDX-License-Identifier: Apache-2.0
#include "core/color_matrix_block.h"

#include <algorithm>
#include <array>

#include "core/eeprom_cells.h"
#include "core/eeprom_map.h"
#include "isp/saturating_cast.h"

namespace kxcam {

namespace {

constexpr std::array kIdentity = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};

uint32_t offset_of(size_t element) {
  return static_cast<uint32_t>(2 * element);
}

bool is_plausible(std::span<const double, 9> ccm) {
  constexpr std::array<size_t, 3> kDiagonal = {0, 4, 8};
  return std::ranges::all_of(kDiagonal, [&](size_t i) { return ccm[i] >= 0.1 && ccm[i] <= 5.0; });
}

}  // namespace

bool WriteCcm(int camera, std::span<const double, 9> ccm) {
  EepromWriter block(camera, kMatrixAddress);
  for (size_t i = 0; i < ccm.size(); ++i) {
    block.word(offset_of(i), static_cast<uint16_t>(saturating_cast<int16_t>(ccm[i] * 100)));
  }
  return block.ok();
}

bool ReadCcm(int camera, std::span<double, 9> ccm) {
  EepromReader block(camera, kMatrixAddress);
  for (size_t i = 0; i < ccm.size(); ++i) ccm[i] = static_cast<int16_t>(block.word(offset_of(i))) * 0.01;
  if (!block.ok()) return false;
  if (!is_plausible(ccm)) std::ranges::copy(kIdentity, ccm.begin());
  return true;
}

}  // namespace kxcam
