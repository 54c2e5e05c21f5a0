// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "isp/kernels/row_kernels.h"

namespace kxcam {

/// Look-ups in 256 bytes for processors whose shuffle chooses among 16 only, and gives 0 for an index
/// with the highest bit set.
///
/// The table is cut into 16 pieces. A saturating subtraction moves the index so that a piece above
/// its own gives 0; pieces q and q + 4 of a half then are combined with an exclusive-or, the upper one
/// being stored with the lower one's values taken out. Bits 4 and 5 of the index choose among the four
/// results.
template <class V>
struct ShuffleLookup {
  using Bytes = typename V::Bytes;
  using Table = const Lookup*;

  static void arrange(const uint8_t* table, Lookup& lookup) {
    for (int i = 0; i < 256; ++i) {
      const bool upper = (i & 0x40) != 0;
      lookup.bytes[i] = upper ? table[i] ^ table[i - 0x40] : table[i];
    }
  }

  static Table table(const Lookup& lookup) { return &lookup; }

  [[gnu::always_inline]] static Bytes look_up(Table table, Bytes index) {
    const Bytes index1 = V::subtract_signed_saturated(index, V::set8(0x40));
    const Bytes index2 = V::bit_xor(index, V::set8(0x80));
    const Bytes index3 = V::subtract_signed_saturated(index2, V::set8(0x40));
    Bytes found[4];
#pragma GCC unroll 4
    for (int q = 0; q < 4; ++q) {
      const uint8_t* piece = table->bytes + 16 * q;
      found[q] = V::bit_xor(V::bit_xor(V::shuffle(V::load_piece(piece), index),
                                       V::shuffle(V::load_piece(piece + 0x40), index1)),
                            V::bit_xor(V::shuffle(V::load_piece(piece + 0x80), index2),
                                       V::shuffle(V::load_piece(piece + 0xC0), index3)));
    }
    const auto bit4 = V::highest_bits(V::shift_left16(index, 3));
    const auto bit5 = V::highest_bits(V::shift_left16(index, 2));
    return V::select(bit5, V::select(bit4, found[3], found[2]), V::select(bit4, found[1], found[0]));
  }
};

}  // namespace kxcam
