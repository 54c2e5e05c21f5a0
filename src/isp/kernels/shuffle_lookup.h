// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "isp/kernels/row_kernels.h"

namespace kxcam {

/// Look-ups in 256 bytes for processors whose shuffle chooses among 16 only, and gives 0 for an index
/// with the highest bit set.
///
/// The table is cut into 16 pieces. A saturating subtraction moves an index so that the shuffle gives 0
/// unless the index belongs to a piece or one above it; pieces q, q + 4, q + 8 and q + 12 then combine
/// with an exclusive-or, those of which the one below answers as well being stored without its values.
/// Bits 4 and 5 of the index choose among the four results.
template <class V>
class ShuffleLookup {
 public:
  using Bytes = typename V::Bytes;
  using Table = const Lookup*;

  static void arrange(const uint8_t* table, Lookup& lookup) {
    for (int i = 0; i < 256; ++i) {
      const bool answered_below = (i & 0x40) != 0;
      lookup.bytes[i] = static_cast<uint8_t>(answered_below ? table[i] ^ table[i - 0x40] : table[i]);
    }
  }

  static Table table(const Lookup& lookup) { return &lookup; }

  /// Replaces indices by entries, V::kLookUpsAtOnce vectors sharing the pieces they load.
  template <int kCount>
  [[gnu::always_inline]] static void look_up(Table table, Bytes (&v)[kCount]) {
    constexpr int kAtOnce = V::kLookUpsAtOnce;
    static_assert(kCount % kAtOnce == 0);
#pragma GCC unroll 4
    for (int i = 0; i < kCount; i += kAtOnce) {
      look_up_group(table->bytes, reinterpret_cast<Bytes(&)[kAtOnce]>(v[i]));
    }
  }

 private:
  template <int kCount>
  [[gnu::always_inline]] static void look_up_group(const uint8_t* bytes, Bytes (&v)[kCount]) {
    Bytes indices[kCount][4];
#pragma GCC unroll 2
    for (int i = 0; i < kCount; ++i) {
      indices[i][0] = v[i];
      indices[i][1] = V::subtract_signed_saturated(v[i], V::set8(0x40));
      indices[i][2] = V::bit_xor(v[i], V::set8(0x80));
      indices[i][3] = V::subtract_signed_saturated(indices[i][2], V::set8(0x40));
    }
    Bytes even[kCount];
    Bytes odd[kCount];
    Bytes low[kCount];
    combine(bytes, indices, even);
    combine(bytes + 0x10, indices, odd);
#pragma GCC unroll 2
    for (int i = 0; i < kCount; ++i) low[i] = V::select(bit<4>(v[i]), odd[i], even[i]);
    combine(bytes + 0x20, indices, even);
    combine(bytes + 0x30, indices, odd);
#pragma GCC unroll 2
    for (int i = 0; i < kCount; ++i) {
      v[i] = V::select(bit<5>(v[i]), V::select(bit<4>(v[i]), odd[i], even[i]), low[i]);
    }
  }

  template <int kCount>
  [[gnu::always_inline]] static void combine(const uint8_t* bytes, const Bytes (&indices)[kCount][4],
                                             Bytes (&found)[kCount]) {
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
      const Bytes piece = V::load_piece(bytes + 0x40 * k);
#pragma GCC unroll 2
      for (int i = 0; i < kCount; ++i) {
        const Bytes answer = V::shuffle(piece, indices[i][k]);
        found[i] = k == 0 ? answer : V::bit_xor(found[i], answer);
      }
    }
  }

  template <int kBit>
  [[gnu::always_inline]] static typename V::Selector bit(Bytes index) {
    return V::highest_bits(V::shift_left16(index, 7 - kBit));
  }
};

}  // namespace kxcam
