// SPDX-License-Identifier: Apache-2.0
#include <immintrin.h>

#include "isp/kernels/shuffle_lookup.h"
#include "isp/kernels/vector_kernels.h"

namespace kxcam {
namespace {

/// For each channel of three, and each of three vectors of 16 interleaved bytes: which of the channel's
/// bytes a byte is, or 0x80 where it is another channel's.
struct Interleave3 {
  alignas(16) uint8_t index[3][3][16];
};

constexpr Interleave3 interleave3() {
  Interleave3 result{};
  for (int channel = 0; channel < 3; ++channel) {
    for (int k = 0; k < 48; ++k) {
      result.index[channel][k / 16][k % 16] = static_cast<uint8_t>(k % 3 == channel ? k / 3 : 0x80);
    }
  }
  return result;
}

constexpr Interleave3 kInterleave3 = interleave3();
alignas(16) constexpr uint8_t kReversed[16] = {15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0};

struct Ssse3 {
  using Bytes = __m128i;
  using Selector = __m128i;  // all bits of a byte or none
  using Shift = __m128i;
  using Lookups = ShuffleLookup<Ssse3>;
  using Table = const Lookup*;
  static constexpr int kBytes = 16;
  static constexpr bool kTablesInRegisters = false;
  static constexpr int kLaneBits = 2;  // of equal_lanes()
  static constexpr int kLookUpsAtOnce = 1;

  static Bytes load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
  static void store(uint8_t* p, Bytes v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
  static void stream(uint8_t* p, Bytes v) { _mm_stream_si128(reinterpret_cast<__m128i*>(p), v); }
  static Bytes load_lanes(const uint8_t* p, ptrdiff_t) { return load(p); }
  static Bytes load_piece(const uint8_t* p) { return load(p); }
  static Bytes set8(int v) { return _mm_set1_epi8(static_cast<char>(v)); }
  static Bytes set16(uint16_t v) { return _mm_set1_epi16(static_cast<int16_t>(v)); }

  static Bytes complement(Bytes v) { return _mm_xor_si128(v, set8(0xFF)); }
  static Bytes bit_xor(Bytes a, Bytes b) { return _mm_xor_si128(a, b); }
  static Bytes bit_and(Bytes a, Bytes b) { return _mm_and_si128(a, b); }
  static Bytes bit_or(Bytes a, Bytes b) { return _mm_or_si128(a, b); }
  static Selector highest_bits(Bytes v) { return _mm_cmpgt_epi8(_mm_setzero_si128(), v); }
  static Bytes select(Selector s, Bytes a, Bytes b) {
    return _mm_or_si128(_mm_and_si128(s, a), _mm_andnot_si128(s, b));
  }

  static Bytes average(Bytes a, Bytes b) { return _mm_avg_epu8(a, b); }
  static Bytes add(Bytes a, Bytes b) { return _mm_add_epi8(a, b); }
  static Bytes subtract(Bytes a, Bytes b) { return _mm_sub_epi8(a, b); }
  static Bytes add_saturated(Bytes a, Bytes b) { return _mm_adds_epu8(a, b); }
  static Bytes add_signed_saturated(Bytes a, Bytes b) { return _mm_adds_epi8(a, b); }
  static Bytes subtract_signed_saturated(Bytes a, Bytes b) { return _mm_subs_epi8(a, b); }
  static Bytes maximum(Bytes a, Bytes b) { return _mm_max_epu8(a, b); }
  static bool any_above(Bytes a, Bytes b) { return !same(_mm_subs_epu8(a, b), _mm_setzero_si128()); }
  static Bytes select_above(Bytes a, Bytes b, Bytes if_above, Bytes otherwise) {
    return select(equal(_mm_subs_epu8(a, b), _mm_setzero_si128()), otherwise, if_above);
  }
  static bool same(Bytes a, Bytes b) { return _mm_movemask_epi8(equal(a, b)) == 0xFFFF; }
  static Bytes equal(Bytes a, Bytes b) { return _mm_cmpeq_epi8(a, b); }

  static void flatten16(const uint8_t* from, double gain, const double* columns, uint8_t* to) {
    const Bytes raw = load(from);
    const Bytes zero = _mm_setzero_si128();
    const Bytes low = _mm_unpacklo_epi8(raw, zero);
    const Bytes high = _mm_unpackhi_epi8(raw, zero);
    const Bytes flat_low = _mm_packs_epi32(flatten4(_mm_unpacklo_epi16(low, zero), gain, columns),
                                           flatten4(_mm_unpackhi_epi16(low, zero), gain, columns + 4));
    const Bytes flat_high = _mm_packs_epi32(flatten4(_mm_unpacklo_epi16(high, zero), gain, columns + 8),
                                            flatten4(_mm_unpackhi_epi16(high, zero), gain, columns + 12));
    store(to, keep_saturated(raw, _mm_packus_epi16(flat_low, flat_high)));
  }
  /// `flat`, but for what was 255 before.
  static Bytes keep_saturated(Bytes raw, Bytes flat) { return _mm_or_si128(flat, equal(raw, set8(0xFF))); }
  static Bytes even_and_odd(Bytes even, Bytes odd) { return select(set16(0xFF00), odd, even); }
  /// kLaneBits bits for every 16 bits, the lowest of which is set when they are equal.
  static uint64_t equal_lanes(Bytes a, Bytes b) {
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi16(a, b))) & 0x5555U;
  }

  static Bytes no_sums() { return _mm_setzero_si128(); }
  static Bytes add_sums(Bytes sums, Bytes v) {
    return _mm_add_epi64(sums, _mm_sad_epu8(v, _mm_setzero_si128()));
  }
  static uint64_t total(Bytes sums) {
    return static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_add_epi64(sums, _mm_unpackhi_epi64(sums, sums))));
  }

  static Bytes interleave_low(Bytes a, Bytes b) { return _mm_unpacklo_epi8(a, b); }
  static Bytes interleave_high(Bytes a, Bytes b) { return _mm_unpackhi_epi8(a, b); }
  static Bytes widen_low(Bytes v) { return _mm_unpacklo_epi8(v, _mm_setzero_si128()); }
  static Bytes widen_high(Bytes v) { return _mm_unpackhi_epi8(v, _mm_setzero_si128()); }
  static Bytes narrow(Bytes low, Bytes high) { return _mm_packus_epi16(low, high); }
  static Bytes add16(Bytes a, Bytes b) { return _mm_add_epi16(a, b); }
  static Bytes subtract16(Bytes a, Bytes b) { return _mm_sub_epi16(a, b); }
  static Bytes multiply16(Bytes a, Bytes b) { return _mm_mullo_epi16(a, b); }
  static Bytes multiply_high16(Bytes a, Bytes b) { return _mm_mulhi_epu16(a, b); }
  static Bytes multiply_high_signed16(Bytes a, Bytes b) { return _mm_mulhi_epi16(a, b); }
  static Bytes shift_left16(Bytes v, int bits) { return _mm_slli_epi16(v, bits); }
  static Bytes shift_right16(Bytes v, int bits) { return _mm_srli_epi16(v, bits); }
  static Shift shift(int bits) { return _mm_cvtsi32_si128(bits); }
  static Bytes shift_right_signed16(Bytes v, Shift bits) { return _mm_sra_epi16(v, bits); }
  /// From the upper half of each 16 bits to all of them, with the sign.
  static Bytes shift_right_signed16(Bytes v) { return _mm_srai_epi16(v, 8); }

  static Bytes shuffle(Bytes table, Bytes index) { return _mm_shuffle_epi8(table, index); }
  /// The even and the odd bytes of two vectors that follow each other, and the other way round.
  static void split(Bytes first, Bytes second, Bytes (&halves)[2]) {
    const Bytes low = set16(0x00FF);
    halves[0] = _mm_packus_epi16(bit_and(first, low), bit_and(second, low));
    halves[1] = _mm_packus_epi16(shift_right16(first, 8), shift_right16(second, 8));
  }
  static void join(const Bytes (&halves)[2], Bytes (&vectors)[2]) {
    vectors[0] = interleave_low(halves[0], halves[1]);
    vectors[1] = interleave_high(halves[0], halves[1]);
  }
  /// The vector that begins two bytes before v.
  static Bytes from_left(Bytes before, Bytes v) { return _mm_alignr_epi8(v, before, 14); }
  static Bytes reverse(Bytes v) { return shuffle(v, load(kReversed)); }
  static void arrange(const uint8_t* table, Lookup& lookup) { Lookups::arrange(table, lookup); }
  static Table table(const Lookup& lookup) { return &lookup; }
  template <int kCount>
  static void look_up(Table table, Bytes (&v)[kCount]) {
    Lookups::look_up(table, v);
  }

  static void put3(uint8_t* to, const Bytes (&c)[3][2]) {
    Bytes joined[3][2];
#pragma GCC unroll 3
    for (int i = 0; i < 3; ++i) join(c[i], joined[i]);
    const auto& index = kInterleave3.index;
#pragma GCC unroll 2
    for (int half = 0; half < 2; ++half) {
#pragma GCC unroll 3
      for (int i = 0; i < 3; ++i, to += 16) {
        const Bytes ab = _mm_or_si128(shuffle(joined[0][half], load(index[0][i])),
                                      shuffle(joined[1][half], load(index[1][i])));
        store(to, _mm_or_si128(ab, shuffle(joined[2][half], load(index[2][i]))));
      }
    }
  }

  static void put4(uint8_t* to, const Bytes (&c)[3][2]) {
    const Bytes zero = _mm_setzero_si128();
    Bytes joined[3][2];
#pragma GCC unroll 3
    for (int i = 0; i < 3; ++i) join(c[i], joined[i]);
#pragma GCC unroll 2
    for (int half = 0; half < 2; ++half) {
      const Bytes a = joined[0][half];
      const Bytes b = joined[1][half];
      const Bytes ab[2] = {interleave_low(a, b), interleave_high(a, b)};
      const Bytes c0[2] = {interleave_low(joined[2][half], zero), interleave_high(joined[2][half], zero)};
#pragma GCC unroll 2
      for (int i = 0; i < 2; ++i, to += 32) {
        put_beside_fourth(to, _mm_unpacklo_epi16(ab[i], c0[i]));
        put_beside_fourth(to + 16, _mm_unpackhi_epi16(ab[i], c0[i]));
      }
    }
  }

 private:
  static Bytes flatten4(Bytes levels, double gain, const double* columns) {
    const Bytes upper = _mm_shuffle_epi32(levels, _MM_SHUFFLE(1, 0, 3, 2));
    return _mm_unpacklo_epi64(flatten2(levels, gain, columns), flatten2(upper, gain, columns + 2));
  }

  /// The maximum of what is no number and 0 is 0, in this order of operands.
  static Bytes flatten2(Bytes levels, double gain, const double* columns) {
    const __m128d gains = _mm_sub_pd(_mm_set1_pd(gain), _mm_loadu_pd(columns));
    const __m128d flat = _mm_max_pd(_mm_mul_pd(gains, _mm_cvtepi32_pd(levels)), _mm_setzero_pd());
    return _mm_cvttpd_epi32(_mm_min_pd(flat, _mm_set1_pd(255)));
  }

  static void put_beside_fourth(uint8_t* to, Bytes pixels) {
    const Bytes fourth = _mm_set1_epi32(static_cast<int>(0xFF000000U));
    store(to, _mm_or_si128(pixels, _mm_and_si128(load(to), fourth)));
  }
};

}  // namespace

constinit const RowKernels kSsse3Kernels = row_kernels<Ssse3>();

}  // namespace kxcam
