// Vectors of 16 bytes, and all that the converters do with them: in SSSE3 on x86-64, in the base
// set of arm64. Both forms of an operation give the same bits for all operands, unless it says
// otherwise. No other file knows an instruction set.
//
// A step of a kernel is one instruction of SSSE3, and the kernels are laid out for that; what arm64
// has no instruction for is a few of them there.
#pragma once

#include <climits>
#include <cstdint>

#if defined(__SSSE3__)
#include <tmmintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#else
#error "vectors are told in SSSE3 and in NEON of 64 bits"
#endif

// For functions called in the inner loops: by its own judgement the compiler leaves calls there,
// with all registers saved and all constants loaded again.
#define KVX_ALWAYS_INLINE inline __attribute__((always_inline))

// One of two expressions.
#if defined(__SSSE3__)
#define KVX_VECTOR_FORM(ssse3, neon) (ssse3)
#else
#define KVX_VECTOR_FORM(ssse3, neon) (neon)
#endif

namespace KVX::Vector128 {

// Bytes, words of 16 bits, double words of 32 or quad words of 64, as an operation's name tells.
// The first one is the lowest in memory. Words and double words are signed where nothing else is
// said.
#if defined(__SSSE3__)
using Integers = __m128i;
using Floats = __m128;
#else
using Integers = int64x2_t;
using Floats = float32x4_t;

namespace neon {

KVX_ALWAYS_INLINE uint8x16_t UnsignedBytes(Integers v) {
    return vreinterpretq_u8_s64(v);
}
KVX_ALWAYS_INLINE int16x8_t Words(Integers v) {
    return vreinterpretq_s16_s64(v);
}
KVX_ALWAYS_INLINE uint16x8_t UnsignedWords(Integers v) {
    return vreinterpretq_u16_s64(v);
}
KVX_ALWAYS_INLINE int32x4_t Dwords(Integers v) {
    return vreinterpretq_s32_s64(v);
}
KVX_ALWAYS_INLINE uint32x4_t UnsignedDwords(Integers v) {
    return vreinterpretq_u32_s64(v);
}

KVX_ALWAYS_INLINE Integers Of(int8x16_t v) {
    return vreinterpretq_s64_s8(v);
}
KVX_ALWAYS_INLINE Integers Of(uint8x16_t v) {
    return vreinterpretq_s64_u8(v);
}
KVX_ALWAYS_INLINE Integers Of(int16x8_t v) {
    return vreinterpretq_s64_s16(v);
}
KVX_ALWAYS_INLINE Integers Of(uint16x8_t v) {
    return vreinterpretq_s64_u16(v);
}
KVX_ALWAYS_INLINE Integers Of(int32x4_t v) {
    return vreinterpretq_s64_s32(v);
}
KVX_ALWAYS_INLINE Integers Of(uint32x4_t v) {
    return vreinterpretq_s64_u32(v);
}

// Products of 32 bits, of the four lower and of the four upper words.
KVX_ALWAYS_INLINE int32x4_t LowProducts(Integers a, Integers b) {
    return vmull_s16(vget_low_s16(Words(a)), vget_low_s16(Words(b)));
}
KVX_ALWAYS_INLINE int32x4_t HighProducts(Integers a, Integers b) {
    return vmull_high_s16(Words(a), Words(b));
}
KVX_ALWAYS_INLINE uint32x4_t LowUnsignedProducts(Integers a, Integers b) {
    return vmull_u16(vget_low_u16(UnsignedWords(a)), vget_low_u16(UnsignedWords(b)));
}
KVX_ALWAYS_INLINE uint32x4_t HighUnsignedProducts(Integers a, Integers b) {
    return vmull_high_u16(UnsignedWords(a), UnsignedWords(b));
}

// The conversion gives the largest integer for what is too large and 0 for what is no number; both
// are the least one in SSSE3.
KVX_ALWAYS_INLINE Integers Round(Floats v) {
    const uint32x4_t fits = vcltq_f32(v, vdupq_n_f32(0x1p31F));
    return Of(vbslq_s32(fits, vcvtnq_s32_f32(v), vdupq_n_s32(INT_MIN)));
}

}  // namespace neon
#endif

// Constants.

// For constants that are part of the module's image.
constexpr Integers FromHalves(uint64_t low, uint64_t high) {
    return Integers{static_cast<long long>(low), static_cast<long long>(high)};
}

KVX_ALWAYS_INLINE Integers Zero() {
    return KVX_VECTOR_FORM(_mm_setzero_si128(), vdupq_n_s64(0));
}

KVX_ALWAYS_INLINE Floats ZeroFloats() {
    return KVX_VECTOR_FORM(_mm_setzero_ps(), vdupq_n_f32(0));
}

// The lowest bits of `value`, everywhere.
KVX_ALWAYS_INLINE Integers EveryByte(int value) {
    return KVX_VECTOR_FORM(_mm_set1_epi8(static_cast<char>(value)),
                           neon::Of(vdupq_n_s8(static_cast<int8_t>(value))));
}

KVX_ALWAYS_INLINE Integers EveryWord(int value) {
    return KVX_VECTOR_FORM(_mm_set1_epi16(static_cast<short>(value)),
                           neon::Of(vdupq_n_s16(static_cast<int16_t>(value))));
}

KVX_ALWAYS_INLINE Integers EveryDword(int value) {
    return KVX_VECTOR_FORM(_mm_set1_epi32(value), neon::Of(vdupq_n_s32(value)));
}

KVX_ALWAYS_INLINE Floats EveryFloat(float value) {
    return KVX_VECTOR_FORM(_mm_set1_ps(value), vdupq_n_f32(value));
}

// The lowest first.
KVX_ALWAYS_INLINE Integers MakeBytes(signed char b0, signed char b1, signed char b2, signed char b3,
                                     signed char b4, signed char b5, signed char b6, signed char b7,
                                     signed char b8, signed char b9, signed char b10,
                                     signed char b11, signed char b12, signed char b13,
                                     signed char b14, signed char b15) {
    return KVX_VECTOR_FORM(
        _mm_setr_epi8(b0, b1, b2, b3, b4, b5, b6, b7, b8, b9, b10, b11, b12, b13, b14, b15),
        neon::Of(int8x16_t{b0, b1, b2, b3, b4, b5, b6, b7, b8, b9, b10, b11, b12, b13, b14, b15}));
}

KVX_ALWAYS_INLINE Integers MakeWords(short w0, short w1, short w2, short w3, short w4, short w5,
                                     short w6, short w7) {
    return KVX_VECTOR_FORM(_mm_setr_epi16(w0, w1, w2, w3, w4, w5, w6, w7),
                           neon::Of(int16x8_t{w0, w1, w2, w3, w4, w5, w6, w7}));
}

// Memory. What is called aligned is at a multiple of 16.

KVX_ALWAYS_INLINE Integers Load(const void* from) {
    return KVX_VECTOR_FORM(_mm_loadu_si128(static_cast<const __m128i*>(from)),
                           neon::Of(vld1q_u8(static_cast<const uint8_t*>(from))));
}

KVX_ALWAYS_INLINE Integers LoadAligned(const void* from) {
    return KVX_VECTOR_FORM(_mm_load_si128(static_cast<const __m128i*>(from)), Load(from));
}

KVX_ALWAYS_INLINE Floats LoadAlignedFloats(const float* from) {
    return KVX_VECTOR_FORM(_mm_load_ps(from), vld1q_f32(from));
}

KVX_ALWAYS_INLINE void Store(void* to, Integers v) {
    KVX_VECTOR_FORM(_mm_storeu_si128(static_cast<__m128i*>(to), v),
                    vst1q_u8(static_cast<uint8_t*>(to), neon::UnsignedBytes(v)));
}

KVX_ALWAYS_INLINE void Store(float* to, Floats v) {
    KVX_VECTOR_FORM(_mm_storeu_ps(to, v), vst1q_f32(to, v));
}

KVX_ALWAYS_INLINE void StoreAligned(void* to, Integers v) {
    KVX_VECTOR_FORM(_mm_store_si128(static_cast<__m128i*>(to), v), Store(to, v));
}

// To an aligned place, past the caches where the processor can. Other threads may see it late.
KVX_ALWAYS_INLINE void Stream(void* to, Integers v) {
    KVX_VECTOR_FORM(_mm_stream_si128(static_cast<__m128i*>(to), v), Store(to, v));
}

KVX_ALWAYS_INLINE void Stream(void* to, Floats v) {
    KVX_VECTOR_FORM(_mm_stream_ps(static_cast<float*>(to), v), Store(static_cast<float*>(to), v));
}

// Closes a run of streamed stores: they are seen before what is stored after them. On arm64 they
// are plain stores, in the order of which a lock sees to that.
KVX_ALWAYS_INLINE void EndStreams() {
    KVX_VECTOR_FORM(_mm_sfence(), static_cast<void>(0));
}

// Hints that a line will be read soon: once, so that it needs no place in the outer caches, and
// into all caches.
KVX_ALWAYS_INLINE void PrefetchOnce(const void* line) {
    KVX_VECTOR_FORM(_mm_prefetch(static_cast<const char*>(line), _MM_HINT_NTA),
                    __builtin_prefetch(line, 0, 0));
}

KVX_ALWAYS_INLINE void PrefetchIntoAllCaches(const void* line) {
    KVX_VECTOR_FORM(_mm_prefetch(static_cast<const char*>(line), _MM_HINT_T0),
                    __builtin_prefetch(line, 0, 3));
}

// The same bits as vectors of the other type.

KVX_ALWAYS_INLINE Floats AsFloats(Integers v) {
    return KVX_VECTOR_FORM(_mm_castsi128_ps(v), vreinterpretq_f32_s64(v));
}

KVX_ALWAYS_INLINE Integers AsIntegers(Floats v) {
    return KVX_VECTOR_FORM(_mm_castps_si128(v), vreinterpretq_s64_f32(v));
}

// Bits.

KVX_ALWAYS_INLINE Integers And(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_and_si128(a, b), vandq_s64(a, b));
}

KVX_ALWAYS_INLINE Integers Or(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_or_si128(a, b), vorrq_s64(a, b));
}

KVX_ALWAYS_INLINE Integers Xor(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_xor_si128(a, b), veorq_s64(a, b));
}

// Sums and differences. They wrap; those that saturate end at the limit of what a word holds.

KVX_ALWAYS_INLINE Integers AddWords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_add_epi16(a, b),
                           neon::Of(vaddq_s16(neon::Words(a), neon::Words(b))));
}

KVX_ALWAYS_INLINE Integers AddDwords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_add_epi32(a, b),
                           neon::Of(vaddq_s32(neon::Dwords(a), neon::Dwords(b))));
}

KVX_ALWAYS_INLINE Integers AddSaturatingWords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_adds_epi16(a, b),
                           neon::Of(vqaddq_s16(neon::Words(a), neon::Words(b))));
}

KVX_ALWAYS_INLINE Integers AddSaturatingUnsignedWords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_adds_epu16(a, b),
                           neon::Of(vqaddq_u16(neon::UnsignedWords(a), neon::UnsignedWords(b))));
}

KVX_ALWAYS_INLINE Integers SubtractWords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_sub_epi16(a, b),
                           neon::Of(vsubq_s16(neon::Words(a), neon::Words(b))));
}

KVX_ALWAYS_INLINE Integers SubtractSaturatingUnsignedWords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_subs_epu16(a, b),
                           neon::Of(vqsubq_u16(neon::UnsignedWords(a), neon::UnsignedWords(b))));
}

// The mean, a half rounded up.
KVX_ALWAYS_INLINE Integers AverageUnsignedWords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_avg_epu16(a, b),
                           neon::Of(vrhaddq_u16(neon::UnsignedWords(a), neon::UnsignedWords(b))));
}

// Products of 32 bits, the lower or the upper half of each.

KVX_ALWAYS_INLINE Integers MultiplyWordsLow(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_mullo_epi16(a, b),
                           neon::Of(vmulq_s16(neon::Words(a), neon::Words(b))));
}

KVX_ALWAYS_INLINE Integers MultiplyWordsHigh(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_mulhi_epi16(a, b),
                           neon::Of(vuzp2q_s16(vreinterpretq_s16_s32(neon::LowProducts(a, b)),
                                               vreinterpretq_s16_s32(neon::HighProducts(a, b)))));
}

KVX_ALWAYS_INLINE Integers MultiplyUnsignedWordsHigh(Integers a, Integers b) {
    return KVX_VECTOR_FORM(
        _mm_mulhi_epu16(a, b),
        neon::Of(vuzp2q_u16(vreinterpretq_u16_u32(neon::LowUnsignedProducts(a, b)),
                            vreinterpretq_u16_u32(neon::HighUnsignedProducts(a, b)))));
}

// The products of two neighbours, added to a double word. Wraps, which only four times -0x8000 can.
KVX_ALWAYS_INLINE Integers MultiplyAddWords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_madd_epi16(a, b),
                           neon::Of(vpaddq_s32(neon::LowProducts(a, b), neon::HighProducts(a, b))));
}

// Comparisons.

KVX_ALWAYS_INLINE Integers MinWords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_min_epi16(a, b),
                           neon::Of(vminq_s16(neon::Words(a), neon::Words(b))));
}

KVX_ALWAYS_INLINE Integers MaxWords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_max_epi16(a, b),
                           neon::Of(vmaxq_s16(neon::Words(a), neon::Words(b))));
}

KVX_ALWAYS_INLINE Integers MinUnsignedBytes(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_min_epu8(a, b),
                           neon::Of(vminq_u8(neon::UnsignedBytes(a), neon::UnsignedBytes(b))));
}

// All bits set where words are equal, none elsewhere.
KVX_ALWAYS_INLINE Integers EqualWords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_cmpeq_epi16(a, b),
                           neon::Of(vceqq_s16(neon::Words(a), neon::Words(b))));
}

// Shifts. Zeros come in; from the left of signed numbers, their signs.

template <int kBits>
KVX_ALWAYS_INLINE Integers ShiftWordsLeft(Integers v) {
    static_assert(kBits > 0 && kBits < 16);
    return KVX_VECTOR_FORM(_mm_slli_epi16(v, kBits), neon::Of(vshlq_n_s16(neon::Words(v), kBits)));
}

template <int kBits>
KVX_ALWAYS_INLINE Integers ShiftUnsignedWordsRight(Integers v) {
    static_assert(kBits > 0 && kBits < 16);
    return KVX_VECTOR_FORM(_mm_srli_epi16(v, kBits),
                           neon::Of(vshrq_n_u16(neon::UnsignedWords(v), kBits)));
}

template <int kBits>
KVX_ALWAYS_INLINE Integers ShiftWordsRight(Integers v) {
    static_assert(kBits > 0 && kBits < 16);
    return KVX_VECTOR_FORM(_mm_srai_epi16(v, kBits), neon::Of(vshrq_n_s16(neon::Words(v), kBits)));
}

template <int kBits>
KVX_ALWAYS_INLINE Integers ShiftDwordsLeft(Integers v) {
    static_assert(kBits > 0 && kBits < 32);
    return KVX_VECTOR_FORM(_mm_slli_epi32(v, kBits), neon::Of(vshlq_n_s32(neon::Dwords(v), kBits)));
}

template <int kBits>
KVX_ALWAYS_INLINE Integers ShiftUnsignedDwordsRight(Integers v) {
    static_assert(kBits > 0 && kBits < 32);
    return KVX_VECTOR_FORM(_mm_srli_epi32(v, kBits),
                           neon::Of(vshrq_n_u32(neon::UnsignedDwords(v), kBits)));
}

template <int kBits>
KVX_ALWAYS_INLINE Integers ShiftDwordsRight(Integers v) {
    static_assert(kBits > 0 && kBits < 32);
    return KVX_VECTOR_FORM(_mm_srai_epi32(v, kBits), neon::Of(vshrq_n_s32(neon::Dwords(v), kBits)));
}

// Moves.

// Each byte is the one of `v` that its index tells, by the lowest four bits; 0 where the index is
// below 0.
KVX_ALWAYS_INLINE Integers ShuffleBytes(Integers v, Integers indexes) {
    return KVX_VECTOR_FORM(
        _mm_shuffle_epi8(v, indexes),
        neon::Of(vqtbl1q_u8(neon::UnsignedBytes(v),
                            vandq_u8(neon::UnsignedBytes(indexes), vdupq_n_u8(0x8F)))));
}

// Sixteen bytes of the 32 that `low` and `high` are, from kFirst on.
template <int kFirst>
KVX_ALWAYS_INLINE Integers TakeBytes(Integers low, Integers high) {
    static_assert(kFirst > 0 && kFirst < 16);
    return KVX_VECTOR_FORM(
        _mm_alignr_epi8(high, low, kFirst),
        neon::Of(vextq_u8(neon::UnsignedBytes(low), neon::UnsignedBytes(high), kFirst)));
}

// The bytes from kFirst on, with zeros above them.
template <int kFirst>
KVX_ALWAYS_INLINE Integers TakeBytes(Integers v) {
    static_assert(kFirst > 0 && kFirst < 16);
    return KVX_VECTOR_FORM(_mm_srli_si128(v, kFirst), TakeBytes<kFirst>(v, Zero()));
}

// Double words by their indexes, the first of the result first.
template <int k0, int k1, int k2, int k3>
KVX_ALWAYS_INLINE Integers TakeDwords(Integers v) {
    return KVX_VECTOR_FORM(
        _mm_shuffle_epi32(v, _MM_SHUFFLE(k3, k2, k1, k0)),
        neon::Of(__builtin_shufflevector(neon::Dwords(v), neon::Dwords(v), k0, k1, k2, k3)));
}

// Two of `low` and after them two of `high`.
template <int k0, int k1, int k2, int k3>
KVX_ALWAYS_INLINE Integers TakeDwords(Integers low, Integers high) {
    return KVX_VECTOR_FORM(
        AsIntegers(_mm_shuffle_ps(AsFloats(low), AsFloats(high), _MM_SHUFFLE(k3, k2, k1, k0))),
        neon::Of(__builtin_shufflevector(neon::Dwords(low), neon::Dwords(high), k0, k1, 4 + k2,
                                         4 + k3)));
}

// The four lower words by their indexes; the upper ones stay.
template <int k0, int k1, int k2, int k3>
KVX_ALWAYS_INLINE Integers TakeLowWords(Integers v) {
    return KVX_VECTOR_FORM(_mm_shufflelo_epi16(v, _MM_SHUFFLE(k3, k2, k1, k0)),
                           neon::Of(__builtin_shufflevector(neon::Words(v), neon::Words(v), k0, k1,
                                                            k2, k3, 4, 5, 6, 7)));
}

// The four upper words by their indexes among themselves; the lower ones stay.
template <int k0, int k1, int k2, int k3>
KVX_ALWAYS_INLINE Integers TakeHighWords(Integers v) {
    return KVX_VECTOR_FORM(_mm_shufflehi_epi16(v, _MM_SHUFFLE(k3, k2, k1, k0)),
                           neon::Of(__builtin_shufflevector(neon::Words(v), neon::Words(v), 0, 1, 2,
                                                            3, 4 + k0, 4 + k1, 4 + k2, 4 + k3)));
}

// One of `a`, one of `b` and so on, from their lower or their upper halves.

KVX_ALWAYS_INLINE Integers InterleaveLowBytes(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_unpacklo_epi8(a, b),
                           neon::Of(vzip1q_u8(neon::UnsignedBytes(a), neon::UnsignedBytes(b))));
}

KVX_ALWAYS_INLINE Integers InterleaveHighBytes(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_unpackhi_epi8(a, b),
                           neon::Of(vzip2q_u8(neon::UnsignedBytes(a), neon::UnsignedBytes(b))));
}

KVX_ALWAYS_INLINE Integers InterleaveLowWords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_unpacklo_epi16(a, b),
                           neon::Of(vzip1q_s16(neon::Words(a), neon::Words(b))));
}

KVX_ALWAYS_INLINE Integers InterleaveHighWords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_unpackhi_epi16(a, b),
                           neon::Of(vzip2q_s16(neon::Words(a), neon::Words(b))));
}

KVX_ALWAYS_INLINE Integers InterleaveLowDwords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_unpacklo_epi32(a, b),
                           neon::Of(vzip1q_s32(neon::Dwords(a), neon::Dwords(b))));
}

KVX_ALWAYS_INLINE Integers InterleaveHighDwords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_unpackhi_epi32(a, b),
                           neon::Of(vzip2q_s32(neon::Dwords(a), neon::Dwords(b))));
}

KVX_ALWAYS_INLINE Integers InterleaveLowQwords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_unpacklo_epi64(a, b), vzip1q_s64(a, b));
}

KVX_ALWAYS_INLINE Integers InterleaveHighQwords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_unpackhi_epi64(a, b), vzip2q_s64(a, b));
}

KVX_ALWAYS_INLINE Floats InterleaveLowFloats(Floats a, Floats b) {
    return KVX_VECTOR_FORM(_mm_unpacklo_ps(a, b), vzip1q_f32(a, b));
}

KVX_ALWAYS_INLINE Floats InterleaveHighFloats(Floats a, Floats b) {
    return KVX_VECTOR_FORM(_mm_unpackhi_ps(a, b), vzip2q_f32(a, b));
}

// The lower or the upper two of `a` and after them those of `b`.

KVX_ALWAYS_INLINE Floats JoinLowFloats(Floats a, Floats b) {
    return KVX_VECTOR_FORM(_mm_movelh_ps(a, b), __builtin_shufflevector(a, b, 0, 1, 4, 5));
}

KVX_ALWAYS_INLINE Floats JoinHighFloats(Floats a, Floats b) {
    return KVX_VECTOR_FORM(_mm_movehl_ps(b, a), __builtin_shufflevector(a, b, 2, 3, 6, 7));
}

// Half the size, saturating: those of `a`, then those of `b`.

KVX_ALWAYS_INLINE Integers PackDwordsToWords(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_packs_epi32(a, b),
                           neon::Of(vqmovn_high_s32(vqmovn_s32(neon::Dwords(a)), neon::Dwords(b))));
}

KVX_ALWAYS_INLINE Integers PackWordsToUnsignedBytes(Integers a, Integers b) {
    return KVX_VECTOR_FORM(_mm_packus_epi16(a, b),
                           neon::Of(vqmovun_high_s16(vqmovun_s16(neon::Words(a)), neon::Words(b))));
}

// From 0 to 0xFFFF.
KVX_ALWAYS_INLINE int FirstWord(Integers v) {
    return KVX_VECTOR_FORM(_mm_extract_epi16(v, 0), vgetq_lane_u16(neon::UnsignedWords(v), 0));
}

// Floats.

KVX_ALWAYS_INLINE Floats ToFloats(Integers dwords) {
    return KVX_VECTOR_FORM(_mm_cvtepi32_ps(dwords), vcvtq_f32_s32(neon::Dwords(dwords)));
}

// To the nearest double word, the even one of two. What does not fit, and what is no number, makes
// the least one.
KVX_ALWAYS_INLINE Integers RoundToDwords(Floats v) {
    return KVX_VECTOR_FORM(_mm_cvtps_epi32(v), neon::Round(v));
}

// `a` if it is less or greater, else `b`: that is `b` where one of them is no number, or both are
// zero.

KVX_ALWAYS_INLINE Floats MinFloats(Floats a, Floats b) {
    return KVX_VECTOR_FORM(_mm_min_ps(a, b), vbslq_f32(vcltq_f32(a, b), a, b));
}

KVX_ALWAYS_INLINE Floats MaxFloats(Floats a, Floats b) {
    return KVX_VECTOR_FORM(_mm_max_ps(a, b), vbslq_f32(vcgtq_f32(a, b), a, b));
}

// NaN operands give NaN, but which one depends on the processor: no operand in the converters is
// one.

KVX_ALWAYS_INLINE Floats MultiplyFloats(Floats a, Floats b) {
    return KVX_VECTOR_FORM(_mm_mul_ps(a, b), vmulq_f32(a, b));
}

// One number by itself, toward zero. What does not fit, and what is no number, makes the least
// integer; a cast would leave that open.
KVX_ALWAYS_INLINE int TruncateToInt(double value) {
    return KVX_VECTOR_FORM(
        _mm_cvttsd_si32(_mm_set_sd(value)),
        value > INT_MIN - 1.0 && value < INT_MAX + 1.0 ? static_cast<int>(value) : INT_MIN);
}

KVX_ALWAYS_INLINE int TruncateToInt(float value) {
    return KVX_VECTOR_FORM(_mm_cvttss_si32(_mm_set_ss(value)),
                           TruncateToInt(static_cast<double>(value)));
}

}  // namespace KVX::Vector128
