// The judge is SIMDe in its portable form, which has no instruction set. It is given numbers at run
// time that an instruction has within itself, so that there is one of it for all numbers.
#define SIMDE_NO_NATIVE
#define SIMDE_NO_CHECK_IMMEDIATE_CONSTANT
#include "convert/vector128/operations.h"

#include <simde/x86/ssse3.h>

#include <cstring>
#include <utility>

#include "convert/vector128.h"

namespace kvx_test::vector128 {

namespace {

using namespace KVX::Vector128;
using JudgeIntegers = simde__m128i;
using JudgeFloats = simde__m128;

template <typename T>
T Read(const Bytes& from) {
    T v;
    std::memcpy(&v, from.data(), sizeof(v));
    return v;
}

template <typename T>
void Write(Bytes& to, T v) {
    std::memcpy(to.data(), &v, sizeof(v));
}

// How an expression of vectors `a` and `b` becomes an operation on bytes, for the converters' own
// and for the judge's. There are hundreds: each is one plain function, as templates about them
// would take many times as long to compile.

#define INTEGERS(...)                                                                \
    [](const Bytes* first, const Bytes* second, Bytes* results, std::size_t count) { \
        for (std::size_t i = 0; i < count; ++i) {                                    \
            [[maybe_unused]] const Integers a = Load(first[i].data());               \
            [[maybe_unused]] const Integers b = Load(second[i].data());              \
            Store(results[i].data(), __VA_ARGS__);                                   \
        }                                                                            \
    }
#define FLOATS(...)                                                                  \
    [](const Bytes* first, const Bytes* second, Bytes* results, std::size_t count) { \
        for (std::size_t i = 0; i < count; ++i) {                                    \
            [[maybe_unused]] const Floats a = AsFloats(Load(first[i].data()));       \
            [[maybe_unused]] const Floats b = AsFloats(Load(second[i].data()));      \
            Store(results[i].data(), AsIntegers(__VA_ARGS__));                       \
        }                                                                            \
    }
#define JUDGED(Vector, ...)                                                                  \
    [](const Bytes* first, const Bytes* second, [[maybe_unused]] int number, Bytes* results, \
       std::size_t count) {                                                                  \
        for (std::size_t i = 0; i < count; ++i) {                                            \
            [[maybe_unused]] const Vector a = Read<Vector>(first[i]);                        \
            [[maybe_unused]] const Vector b = Read<Vector>(second[i]);                       \
            Write(results[i], __VA_ARGS__);                                                  \
        }                                                                                    \
    }

#define INTEGER2(lanes, name, judge) \
    { #name, Lanes::lanes, 2, INTEGERS(name(a, b)), JUDGED(JudgeIntegers, simde_mm_##judge(a, b)) }
#define FLOAT2(name, judge) \
    { #name, Lanes::kFloats, 2, FLOATS(name(a, b)), JUDGED(JudgeFloats, simde_mm_##judge) }

const Operation kPlain[] = {
    INTEGER2(kDwords, And, and_si128),
    INTEGER2(kDwords, Or, or_si128),
    INTEGER2(kDwords, Xor, xor_si128),
    INTEGER2(kWords, AddWords, add_epi16),
    INTEGER2(kDwords, AddDwords, add_epi32),
    INTEGER2(kWords, AddSaturatingWords, adds_epi16),
    INTEGER2(kWords, AddSaturatingUnsignedWords, adds_epu16),
    INTEGER2(kWords, SubtractWords, sub_epi16),
    INTEGER2(kWords, SubtractSaturatingUnsignedWords, subs_epu16),
    INTEGER2(kWords, AverageUnsignedWords, avg_epu16),
    INTEGER2(kWords, MultiplyWordsLow, mullo_epi16),
    INTEGER2(kWords, MultiplyWordsHigh, mulhi_epi16),
    INTEGER2(kWords, MultiplyUnsignedWordsHigh, mulhi_epu16),
    INTEGER2(kWords, MultiplyAddWords, madd_epi16),
    INTEGER2(kWords, MinWords, min_epi16),
    INTEGER2(kWords, MaxWords, max_epi16),
    INTEGER2(kBytes, MinUnsignedBytes, min_epu8),
    INTEGER2(kWords, EqualWords, cmpeq_epi16),
    INTEGER2(kBytes, ShuffleBytes, shuffle_epi8),
    INTEGER2(kBytes, InterleaveLowBytes, unpacklo_epi8),
    INTEGER2(kBytes, InterleaveHighBytes, unpackhi_epi8),
    INTEGER2(kBytes, InterleaveLowWords, unpacklo_epi16),
    INTEGER2(kBytes, InterleaveHighWords, unpackhi_epi16),
    INTEGER2(kBytes, InterleaveLowDwords, unpacklo_epi32),
    INTEGER2(kBytes, InterleaveHighDwords, unpackhi_epi32),
    INTEGER2(kBytes, InterleaveLowQwords, unpacklo_epi64),
    INTEGER2(kBytes, InterleaveHighQwords, unpackhi_epi64),
    INTEGER2(kDwords, PackDwordsToWords, packs_epi32),
    INTEGER2(kWords, PackWordsToUnsignedBytes, packus_epi16),
    FLOAT2(InterleaveLowFloats, unpacklo_ps(a, b)),
    FLOAT2(InterleaveHighFloats, unpackhi_ps(a, b)),
    FLOAT2(JoinLowFloats, movelh_ps(a, b)),
    FLOAT2(JoinHighFloats, movehl_ps(b, a)),
    FLOAT2(MinFloats, min_ps(a, b)),
    FLOAT2(MaxFloats, max_ps(a, b)),
    {"MultiplyFloats", Lanes::kFloats, 2, FLOATS(MultiplyFloats(a, b)),
     JUDGED(JudgeFloats, simde_mm_mul_ps(a, b)), 0, true},
    {"ToFloats", Lanes::kDwords, 1, INTEGERS(AsIntegers(ToFloats(a))),
     JUDGED(JudgeIntegers, simde_mm_cvtepi32_ps(a))},
    {"RoundToDwords", Lanes::kFloats, 1, INTEGERS(RoundToDwords(AsFloats(a))),
     JUDGED(JudgeFloats, simde_mm_cvtps_epi32(a))},
    {"FirstWord", Lanes::kWords, 1, INTEGERS(EveryDword(FirstWord(a))),
     JUDGED(JudgeIntegers, simde_mm_set1_epi32(simde_mm_extract_epi16(a, 0)))},
};

// One for each number that an operation can have as a part of its name, and one judge for all of
// them. In brackets the judge's names mean functions; without, they mean macros that need the
// number earlier.

constexpr Judge kShiftWordsLeft = JUDGED(JudgeIntegers, (simde_mm_slli_epi16)(a, number));
constexpr Judge kShiftUnsignedWordsRight = JUDGED(JudgeIntegers, (simde_mm_srli_epi16)(a, number));
constexpr Judge kShiftWordsRight = JUDGED(JudgeIntegers, (simde_mm_srai_epi16)(a, number));
constexpr Judge kTakeBytes = JUDGED(JudgeIntegers, (simde_mm_bsrli_si128)(a, number));
constexpr Judge kTakeBytesOfTwo = JUDGED(JudgeIntegers, (simde_mm_alignr_epi8)(b, a, number));
constexpr Judge kShiftDwordsLeft = JUDGED(JudgeIntegers, (simde_mm_slli_epi32)(a, number));
constexpr Judge kShiftUnsignedDwordsRight = JUDGED(JudgeIntegers, (simde_mm_srli_epi32)(a, number));
constexpr Judge kShiftDwordsRight = JUDGED(JudgeIntegers, (simde_mm_srai_epi32)(a, number));
constexpr Judge kTakeDwords = JUDGED(JudgeIntegers, (simde_mm_shuffle_epi32)(a, number));
constexpr Judge kTakeDwordsOfTwo = JUDGED(JudgeFloats, (simde_mm_shuffle_ps)(a, b, number));
constexpr Judge kTakeLowWords = JUDGED(JudgeIntegers, (simde_mm_shufflelo_epi16)(a, number));
constexpr Judge kTakeHighWords = JUDGED(JudgeIntegers, (simde_mm_shufflehi_epi16)(a, number));

// NOLINTBEGIN(bugprone-macro-parentheses): a template's name takes none.
#define SHIFT(lanes, name) \
    { #name, Lanes::lanes, 1, INTEGERS(name <kNumber>(a)), k##name, kNumber }
// NOLINTEND(bugprone-macro-parentheses)

using Adder = void (*)(std::vector<Operation>& all);

template <std::size_t kCount>
void Add(std::vector<Operation>& all, const Operation (&operations)[kCount]) {
    all.insert(all.end(), operations, operations + kCount);
}

template <int kNumber>
void AddWordShifts(std::vector<Operation>& all) {
    Add(all, {SHIFT(kWords, ShiftWordsLeft),
              SHIFT(kWords, ShiftUnsignedWordsRight),
              SHIFT(kWords, ShiftWordsRight),
              SHIFT(kBytes, TakeBytes),
              {"TakeBytes of two", Lanes::kBytes, 2, INTEGERS(TakeBytes<kNumber>(a, b)),
               kTakeBytesOfTwo, kNumber}});
}

template <int kNumber>
void AddDwordShifts(std::vector<Operation>& all) {
    Add(all, {SHIFT(kDwords, ShiftDwordsLeft), SHIFT(kDwords, ShiftUnsignedDwordsRight),
              SHIFT(kDwords, ShiftDwordsRight)});
}

// The judge has the four indexes in one number, two bits each.
template <int kNumber>
void AddTakes(std::vector<Operation>& all) {
    constexpr int k0 = kNumber & 3;
    constexpr int k1 = kNumber >> 2 & 3;
    constexpr int k2 = kNumber >> 4 & 3;
    constexpr int k3 = kNumber >> 6 & 3;
    Add(all, {{"TakeDwords", Lanes::kBytes, 1, INTEGERS(TakeDwords<k0, k1, k2, k3>(a)), kTakeDwords,
               kNumber},
              {"TakeDwords of two", Lanes::kBytes, 2, INTEGERS(TakeDwords<k0, k1, k2, k3>(a, b)),
               kTakeDwordsOfTwo, kNumber},
              {"TakeLowWords", Lanes::kBytes, 1, INTEGERS(TakeLowWords<k0, k1, k2, k3>(a)),
               kTakeLowWords, kNumber},
              {"TakeHighWords", Lanes::kBytes, 1, INTEGERS(TakeHighWords<k0, k1, k2, k3>(a)),
               kTakeHighWords, kNumber}});
}

template <int... kNumbers>
void AddAllWordShifts(std::vector<Operation>& all, std::integer_sequence<int, kNumbers...>) {
    for (const Adder add : {&AddWordShifts<kNumbers + 1>...}) {
        add(all);
    }
}

template <int... kNumbers>
void AddAllDwordShifts(std::vector<Operation>& all, std::integer_sequence<int, kNumbers...>) {
    for (const Adder add : {&AddDwordShifts<kNumbers + 1>...}) {
        add(all);
    }
}

// Every third number, among which are all indexes at all places.
template <int... kNumbers>
void AddThirdOfTakes(std::vector<Operation>& all, std::integer_sequence<int, kNumbers...>) {
    for (const Adder add : {&AddTakes<3 * kNumbers>...}) {
        add(all);
    }
}

}  // namespace

std::vector<Operation> Operations() {
    std::vector<Operation> all;
    Add(all, kPlain);
    AddAllWordShifts(all, std::make_integer_sequence<int, 15>());
    AddAllDwordShifts(all, std::make_integer_sequence<int, 31>());
    AddThirdOfTakes(all, std::make_integer_sequence<int, 86>());
    return all;
}

int Truncation(double value) {
    return TruncateToInt(value);
}

int Truncation(float value) {
    return TruncateToInt(value);
}

int JudgeTruncation(double value) {
    return simde_mm_cvttsd_si32(simde_mm_set_sd(value));
}

int JudgeTruncation(float value) {
    return simde_mm_cvttss_si32(simde_mm_set_ss(value));
}

}  // namespace kvx_test::vector128
