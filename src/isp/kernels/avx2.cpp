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
  using Lookups = ShuffleLookup<Avx2>;
  using Table = const Lookup*;
  static constexpr int kBytes = 32;
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
  static Selector selector(uint16_t columns) { return set16(columns); }
  static Selector highest_bits(Bytes v) { return v; }
  static Bytes select(Selector s, Bytes a, Bytes b) { return _mm256_blendv_epi8(b, a, s); }

  static Bytes average(Bytes a, Bytes b) { return _mm256_avg_epu8(a, b); }
  static Bytes add(Bytes a, Bytes b) { return _mm256_add_epi8(a, b); }
  static Bytes subtract(Bytes a, Bytes b) { return _mm256_sub_epi8(a, b); }
  static Bytes add_saturated(Bytes a, Bytes b) { return _mm256_adds_epu8(a, b); }
  static Bytes subtract_signed_saturated(Bytes a, Bytes b) { return _mm256_subs_epi8(a, b); }
  static Bytes maximum(Bytes a, Bytes b) { return _mm256_max_epu8(a, b); }
  /// A bit for every byte of a that is above b's.
  static uint64_t above(Bytes a, Bytes b) {
    return static_cast<uint32_t>(
        ~_mm256_movemask_epi8(equal(_mm256_subs_epu8(a, b), _mm256_setzero_si256())));
  }
  static Bytes equal(Bytes a, Bytes b) { return _mm256_cmpeq_epi8(a, b); }

  /// Does nothing and returns false if rounding might matter. The minimum of 1000 and what is no number is
  /// the latter, in this order of operands, and becomes a negative integer.
  static bool flatten16_rounded(uint8_t* p, float gain, const float* columns) {
    const __m128i raw = load16(p);
    const Rounded first = flatten8_rounded(raw, gain, columns);
    const Rounded second = flatten8_rounded(_mm_srli_si128(raw, 8), gain, columns + 8);
    const __m256i sure = _mm256_and_si256(_mm256_cmpeq_epi32(first.low, first.high),
                                          _mm256_cmpeq_epi32(second.low, second.high));
    if (_mm256_movemask_epi8(sure) != -1) return false;
    const __m256i words =
        _mm256_permute4x64_epi64(_mm256_packs_epi32(first.low, second.low), _MM_SHUFFLE(3, 1, 2, 0));
    const __m128i flat = _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
    const __m128i saturated = _mm_cmpeq_epi8(raw, _mm_set1_epi8(-1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_or_si128(flat, saturated));
    return true;
  }

  static void flatten16(uint8_t* p, double gain, const double* columns) {
    const __m128i raw = load16(p);
    const __m128i quarters[4] = {flatten4(raw, gain, columns),
                                 flatten4(_mm_srli_si128(raw, 4), gain, columns + 4),
                                 flatten4(_mm_srli_si128(raw, 8), gain, columns + 8),
                                 flatten4(_mm_srli_si128(raw, 12), gain, columns + 12)};
    const __m128i flat = _mm_packus_epi16(_mm_packs_epi32(quarters[0], quarters[1]),
                                          _mm_packs_epi32(quarters[2], quarters[3]));
    const __m128i saturated = _mm_cmpeq_epi8(raw, _mm_set1_epi8(-1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_or_si128(flat, saturated));
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
  static Bytes shift_left16(Bytes v, int bits) { return _mm256_slli_epi16(v, bits); }
  /// From the upper half of each 16 bits to all of them, with the sign.
  static Bytes shift_right_signed16(Bytes v) { return _mm256_srai_epi16(v, 8); }

  static Bytes shuffle(Bytes table, Bytes index) { return _mm256_shuffle_epi8(table, index); }
  static Bytes reverse(Bytes v) {
    return _mm256_permute4x64_epi64(shuffle(v, load_piece(kReversed)), _MM_SHUFFLE(1, 0, 3, 2));
  }
  static void arrange(const uint8_t* table, Lookup& lookup) { Lookups::arrange(table, lookup); }
  static Table table(const Lookup& lookup) { return &lookup; }
  template <int kCount>
  static void look_up(Table table, Bytes (&v)[kCount]) {
    Lookups::look_up(table, v);
  }

  template <class Put>
  static void put_interleaved3(uint8_t* to, Bytes a, Bytes b, Bytes c) {
    const Bytes sa = shuffle(a, load(kInterleave3.index[0]));
    const Bytes sb = shuffle(b, load(kInterleave3.index[1]));
    const Bytes sc = shuffle(c, load(kInterleave3.index[2]));
    const Bytes mask[3] = {load(kInterleave3.mask[0]), load(kInterleave3.mask[1]),
                           load(kInterleave3.mask[2])};
    const Bytes v0 = select(mask[2], sc, select(mask[1], sb, sa));
    const Bytes v1 = select(mask[1], sc, select(mask[0], sb, sa));
    const Bytes v2 = select(mask[0], sc, select(mask[2], sb, sa));
    Put::put(to, _mm256_permute2x128_si256(v0, v1, 0x20));
    Put::put(to + 32, _mm256_blend_epi32(v2, v0, 0xF0));
    Put::put(to + 64, _mm256_permute2x128_si256(v1, v2, 0x31));
  }

  static void put_interleaved4(uint8_t* to, Bytes a, Bytes b, Bytes c) {
    const Bytes zero = _mm256_setzero_si256();
    const Bytes ab[2] = {_mm256_unpacklo_epi8(a, b), _mm256_unpackhi_epi8(a, b)};
    const Bytes c0[2] = {_mm256_unpacklo_epi8(c, zero), _mm256_unpackhi_epi8(c, zero)};
    for (int i = 0; i < 2; ++i) {
      const Bytes low = _mm256_unpacklo_epi16(ab[i], c0[i]);
      const Bytes high = _mm256_unpackhi_epi16(ab[i], c0[i]);
      put_beside_fourth(to + 32 * i, _mm256_permute2x128_si256(low, high, 0x20));
      put_beside_fourth(to + 64 + 32 * i, _mm256_permute2x128_si256(low, high, 0x31));
    }
  }

 private:
  static __m128i load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

  struct Rounded {
    __m256i low;
    __m256i high;
  };

  static Rounded flatten8_rounded(__m128i levels, float gain, const float* columns) {
    const __m256 gains = _mm256_sub_ps(_mm256_set1_ps(gain), _mm256_loadu_ps(columns));
    const __m256 product = _mm256_mul_ps(gains, _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(levels)));
    const __m256 flat = _mm256_min_ps(_mm256_set1_ps(1000), product);
    return {_mm256_cvttps_epi32(_mm256_sub_ps(flat, _mm256_set1_ps(kRoundingError))),
            _mm256_cvttps_epi32(_mm256_add_ps(flat, _mm256_set1_ps(kRoundingError)))};
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
