// SPDX-License-Identifier: Apache-2.0
#include <immintrin.h>

#include "isp/kernels/shuffle_lookup.h"
#include "isp/kernels/vector_kernels.h"

namespace kxcam {
namespace {

/// In every lane of 16 bytes, of three vectors that take the bytes of three channels in turn: byte k
/// holds byte index[channel][k] of its channel, whichever vector it is in, and is the channel's own
/// in the first vector where mask[channel][k] is set.
struct Interleave3 {
  alignas(32) uint8_t index[3][32];
  alignas(32) uint8_t mask[3][32];
};

constexpr Interleave3 interleave3() {
  Interleave3 result{};
  for (int channel = 0; channel < 3; ++channel) {
    for (int i = 0; i < 32; ++i) {
      const int k = i % 16;
      const int vector = (channel + 2 * k) % 3;  // 16 is 1 modulo 3, so the channel moves on by a vector
      result.index[channel][i] = static_cast<uint8_t>((16 * vector + k) / 3);
      result.mask[channel][i] = static_cast<uint8_t>(k % 3 == channel ? 0xFF : 0);
    }
  }
  return result;
}

constexpr Interleave3 kInterleave3 = interleave3();
alignas(16) constexpr uint8_t kReversed[16] = {15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0};

struct Avx2 {
  using Bytes = __m256i;
  using Selector = __m256i;  // the highest bit of a byte counts
  using Shift = __m128i;
  using Lookups = ShuffleLookup<Avx2>;
  using Table = const Lookup*;
  static constexpr int kBytes = 32;
  static constexpr bool kTablesInRegisters = false;
  static constexpr int kLaneBits = 2;  // of equal_lanes()
  static constexpr int kLookUpsAtOnce = 2;

  static Bytes load(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
  static void store(uint8_t* p, Bytes v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
  static void stream(uint8_t* p, Bytes v) { _mm256_stream_si256(reinterpret_cast<__m256i*>(p), v); }
  static Bytes load_lanes(const uint8_t* p, ptrdiff_t stride) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(load16(p)), load16(p + stride), 1);
  }
  static Bytes load_piece(const uint8_t* p) { return _mm256_broadcastsi128_si256(load16(p)); }
  static Bytes set8(int v) { return _mm256_set1_epi8(static_cast<char>(v)); }
  static Bytes set16(uint16_t v) { return _mm256_set1_epi16(static_cast<int16_t>(v)); }

  static Bytes complement(Bytes v) { return _mm256_xor_si256(v, set8(0xFF)); }
  static Bytes bit_xor(Bytes a, Bytes b) { return _mm256_xor_si256(a, b); }
  static Bytes bit_and(Bytes a, Bytes b) { return _mm256_and_si256(a, b); }
  static Bytes bit_or(Bytes a, Bytes b) { return _mm256_or_si256(a, b); }
  static Selector highest_bits(Bytes v) { return v; }
  static Bytes select(Selector s, Bytes a, Bytes b) { return _mm256_blendv_epi8(b, a, s); }

  static Bytes average(Bytes a, Bytes b) { return _mm256_avg_epu8(a, b); }
  static Bytes add(Bytes a, Bytes b) { return _mm256_add_epi8(a, b); }
  static Bytes subtract(Bytes a, Bytes b) { return _mm256_sub_epi8(a, b); }
  static Bytes add_saturated(Bytes a, Bytes b) { return _mm256_adds_epu8(a, b); }
  static Bytes add_signed_saturated(Bytes a, Bytes b) { return _mm256_adds_epi8(a, b); }
  static Bytes subtract_signed_saturated(Bytes a, Bytes b) { return _mm256_subs_epi8(a, b); }
  static Bytes maximum(Bytes a, Bytes b) { return _mm256_max_epu8(a, b); }
  static bool any_above(Bytes a, Bytes b) {
    const Bytes excess = _mm256_subs_epu8(a, b);
    return _mm256_testz_si256(excess, excess) == 0;
  }
  static Bytes select_above(Bytes a, Bytes b, Bytes if_above, Bytes otherwise) {
    return select(equal(_mm256_subs_epu8(a, b), _mm256_setzero_si256()), otherwise, if_above);
  }
  static bool same(Bytes a, Bytes b) {
    const Bytes difference = bit_xor(a, b);
    return _mm256_testz_si256(difference, difference) != 0;
  }
  static Bytes equal(Bytes a, Bytes b) { return _mm256_cmpeq_epi8(a, b); }

  static void flatten16(const uint8_t* from, double gain, const double* columns, uint8_t* to) {
    const __m128i raw = load16(from);
    const __m128i quarters[4] = {flatten4(raw, gain, columns),
                                 flatten4(_mm_srli_si128(raw, 4), gain, columns + 4),
                                 flatten4(_mm_srli_si128(raw, 8), gain, columns + 8),
                                 flatten4(_mm_srli_si128(raw, 12), gain, columns + 12)};
    const __m128i flat = _mm_packus_epi16(_mm_packs_epi32(quarters[0], quarters[1]),
                                          _mm_packs_epi32(quarters[2], quarters[3]));
    const __m128i saturated = _mm_cmpeq_epi8(raw, _mm_set1_epi8(-1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_or_si128(flat, saturated));
  }
  /// `flat`, but for what was 255 before.
  static Bytes keep_saturated(Bytes raw, Bytes flat) { return _mm256_or_si256(flat, equal(raw, set8(0xFF))); }
  static Bytes even_and_odd(Bytes even, Bytes odd) { return select(set16(0xFF00), odd, even); }
  /// kLaneBits bits for every 16 bits, the lowest of which is set when they are equal.
  static uint64_t equal_lanes(Bytes a, Bytes b) {
    return static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(a, b))) & 0x55555555U;
  }

  static Bytes no_sums() { return _mm256_setzero_si256(); }
  static Bytes add_sums(Bytes sums, Bytes v) {
    return _mm256_add_epi64(sums, _mm256_sad_epu8(v, _mm256_setzero_si256()));
  }
  static uint64_t total(Bytes sums) {
    const __m128i half = _mm_add_epi64(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
    return static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_add_epi64(half, _mm_unpackhi_epi64(half, half))));
  }

  static Bytes interleave_low(Bytes a, Bytes b) { return _mm256_unpacklo_epi8(a, b); }
  static Bytes interleave_high(Bytes a, Bytes b) { return _mm256_unpackhi_epi8(a, b); }
  static Bytes widen_low(Bytes v) { return _mm256_unpacklo_epi8(v, _mm256_setzero_si256()); }
  static Bytes widen_high(Bytes v) { return _mm256_unpackhi_epi8(v, _mm256_setzero_si256()); }
  static Bytes narrow(Bytes low, Bytes high) { return _mm256_packus_epi16(low, high); }
  static Bytes add16(Bytes a, Bytes b) { return _mm256_add_epi16(a, b); }
  static Bytes subtract16(Bytes a, Bytes b) { return _mm256_sub_epi16(a, b); }
  static Bytes multiply16(Bytes a, Bytes b) { return _mm256_mullo_epi16(a, b); }
  static Bytes multiply_high16(Bytes a, Bytes b) { return _mm256_mulhi_epu16(a, b); }
  static Bytes multiply_high_signed16(Bytes a, Bytes b) { return _mm256_mulhi_epi16(a, b); }
  static Bytes shift_left16(Bytes v, int bits) { return _mm256_slli_epi16(v, bits); }
  static Bytes shift_right16(Bytes v, int bits) { return _mm256_srli_epi16(v, bits); }
  static Shift shift(int bits) { return _mm_cvtsi32_si128(bits); }
  static Bytes shift_right_signed16(Bytes v, Shift bits) { return _mm256_sra_epi16(v, bits); }
  /// From the upper half of each 16 bits to all of them, with the sign.
  static Bytes shift_right_signed16(Bytes v) { return _mm256_srai_epi16(v, 8); }

  static Bytes shuffle(Bytes table, Bytes index) { return _mm256_shuffle_epi8(table, index); }
  /// The even and the odd bytes of two vectors that follow each other, and the other way round.
  static void split(Bytes first, Bytes second, Bytes (&halves)[2]) {
    const Bytes low = set16(0x00FF);
    halves[0] = in_order(_mm256_packus_epi16(bit_and(first, low), bit_and(second, low)));
    halves[1] = in_order(_mm256_packus_epi16(shift_right16(first, 8), shift_right16(second, 8)));
  }
  static void join(const Bytes (&halves)[2], Bytes (&vectors)[2]) {
    const Bytes low = interleave_low(halves[0], halves[1]);
    const Bytes high = interleave_high(halves[0], halves[1]);
    vectors[0] = low_lanes(low, high);
    vectors[1] = high_lanes(low, high);
  }
  /// The vector that begins two bytes before v.
  static Bytes from_left(Bytes before, Bytes v) {
    return _mm256_alignr_epi8(v, _mm256_permute2x128_si256(before, v, 0x21), 14);
  }
  static Bytes reverse(Bytes v) {
    return _mm256_permute4x64_epi64(shuffle(v, load_piece(kReversed)), _MM_SHUFFLE(1, 0, 3, 2));
  }
  static void arrange(const uint8_t* table, Lookup& lookup) { Lookups::arrange(table, lookup); }
  static Table table(const Lookup& lookup) { return &lookup; }
  template <int kCount>
  static void look_up(Table table, Bytes (&v)[kCount]) {
    Lookups::look_up(table, v);
  }

  static void put3(uint8_t* to, const Bytes (&c)[3][2]) {
    const Bytes mask[3] = {load(kInterleave3.mask[0]), load(kInterleave3.mask[1]),
                           load(kInterleave3.mask[2])};
    // Lane k of the vectors of half h holds the bytes of pixels 32 k + 16 h and the next fifteen.
    Bytes v[2][3];
#pragma GCC unroll 2
    for (int h = 0; h < 2; ++h) {
      const Bytes s0 = shuffle(half(c[0], h), load(kInterleave3.index[0]));
      const Bytes s1 = shuffle(half(c[1], h), load(kInterleave3.index[1]));
      const Bytes s2 = shuffle(half(c[2], h), load(kInterleave3.index[2]));
      v[h][0] = select(mask[2], s2, select(mask[1], s1, s0));
      v[h][1] = select(mask[1], s2, select(mask[0], s1, s0));
      v[h][2] = select(mask[0], s2, select(mask[2], s1, s0));
    }
    store(to, low_lanes(v[0][0], v[0][1]));
    store(to + 32, low_lanes(v[0][2], v[1][0]));
    store(to + 64, low_lanes(v[1][1], v[1][2]));
    store(to + 96, high_lanes(v[0][0], v[0][1]));
    store(to + 128, high_lanes(v[0][2], v[1][0]));
    store(to + 160, high_lanes(v[1][1], v[1][2]));
  }

  static void put4(uint8_t* to, const Bytes (&c)[3][2]) {
    const Bytes zero = _mm256_setzero_si256();
#pragma GCC unroll 2
    for (int h = 0; h < 2; ++h, to += 64) {
      const Bytes a = half(c[0], h);
      const Bytes b = half(c[1], h);
      const Bytes ab[2] = {interleave_low(a, b), interleave_high(a, b)};
      const Bytes c0[2] = {interleave_low(half(c[2], h), zero), interleave_high(half(c[2], h), zero)};
#pragma GCC unroll 2
      for (int i = 0; i < 2; ++i) {
        const Bytes low = _mm256_unpacklo_epi16(ab[i], c0[i]);
        const Bytes high = _mm256_unpackhi_epi16(ab[i], c0[i]);
        put_beside_fourth(to + 32 * i, low_lanes(low, high));
        put_beside_fourth(to + 128 + 32 * i, high_lanes(low, high));
      }
    }
  }

 private:
  /// From a vector of even and one of odd samples, in lane k pixels 32 k + 16 h and the next fifteen.
  static Bytes half(const Bytes (&channel)[2], int h) {
    return h == 0 ? interleave_low(channel[0], channel[1]) : interleave_high(channel[0], channel[1]);
  }
  static Bytes low_lanes(Bytes a, Bytes b) {
    return _mm256_permute2x128_si256(a, b, 0x20);
  }
  static Bytes high_lanes(Bytes a, Bytes b) {
    return _mm256_permute2x128_si256(a, b, 0x31);
  }
  static Bytes in_order(Bytes packed) {
    return _mm256_permute4x64_epi64(packed, _MM_SHUFFLE(3, 1, 2, 0));
  }
  static __m128i load16(const uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  }

  /// The maximum of what is no number and 0 is 0, in this order of operands.
  static __m128i flatten4(__m128i levels, double gain, const double* columns) {
    const __m256d gains = _mm256_sub_pd(_mm256_set1_pd(gain), _mm256_loadu_pd(columns));
    const __m256d product = _mm256_mul_pd(gains, _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(levels)));
    const __m256d flat = _mm256_max_pd(product, _mm256_setzero_pd());
    return _mm256_cvttpd_epi32(_mm256_min_pd(flat, _mm256_set1_pd(255)));
  }

  static void put_beside_fourth(uint8_t* to, Bytes pixels) {
    const Bytes fourth = _mm256_set1_epi32(static_cast<int>(0xFF000000U));
    store(to, _mm256_or_si256(pixels, _mm256_and_si256(load(to), fourth)));
  }
};

}  // namespace

constinit const RowKernels kAvx2Kernels = row_kernels<Avx2>();

}  // namespace kxcam
