// The judge is SIMDe in its portable form, which has no instruction set.
#define SIMDE_NO_NATIVE
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

// How an operation on vectors becomes one on bytes, for the converters' own and for the judge's.

template <typename Operate>
Function ForAll(Operate operate) {
    // There is one object of each lambda's type, so that a plain function can know it. Hundreds of
    // std::function would take minutes to compile.
    static const Operate kOperate = operate;
    return [](const Bytes* a, const Bytes* b, Bytes* results, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            kOperate(a[i], b[i], results[i]);
        }
    };
}

template <typename Operate>
Function Integer1(Operate operate) {
    return ForAll([operate](const Bytes& a, const Bytes&, Bytes& result) {
        Store(result.data(), operate(Load(a.data())));
    });
}

template <typename Operate>
Function Integer2(Operate operate) {
    return ForAll([operate](const Bytes& a, const Bytes& b, Bytes& result) {
        Store(result.data(), operate(Load(a.data()), Load(b.data())));
    });
}

template <typename Operate>
Function Float2(Operate operate) {
    return Integer2([operate](Integers a, Integers b) {
        return AsIntegers(operate(AsFloats(a), AsFloats(b)));
    });
}

template <typename In, typename Operate>
Function Judge1(Operate operate) {
    return ForAll([operate](const Bytes& a, const Bytes&, Bytes& result) {
        Write(result, operate(Read<In>(a)));
    });
}

template <typename In, typename Operate>
Function Judge2(Operate operate) {
    return ForAll([operate](const Bytes& a, const Bytes& b, Bytes& result) {
        Write(result, operate(Read<In>(a), Read<In>(b)));
    });
}

#define INTEGER1(lanes, name, judge)                                                   \
    {                                                                                  \
#name, Lanes::lanes, 1, Integer1([](Integers a) { return name(a); }),          \
            Judge1 < JudgeIntegers>([](JudgeIntegers a) { return simde_mm_##judge; }), \
    }
#define INTEGER2(lanes, name, judge)                                                         \
    {                                                                                        \
#name, Lanes::lanes, 2, Integer2([](Integers a, Integers b) { return name(a, b); }), \
            Judge2 < JudgeIntegers>                                                          \
                ([](JudgeIntegers a, JudgeIntegers b) { return simde_mm_##judge(a, b); }),   \
    }
#define FLOAT2(name, judge)                                                                       \
    {                                                                                             \
#name, Lanes::kFloats, 2, Float2([](Floats a, Floats b) { return name(a, b); }),          \
            Judge2 < JudgeFloats>([](JudgeFloats a, JudgeFloats b) { return simde_mm_##judge; }), \
    }

std::vector<Operation> Plain() {
    std::vector<Operation> all = {
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
        FLOAT2(MultiplyFloats, mul_ps(a, b)),
        {"ToFloats", Lanes::kDwords, 1,
         Integer1([](Integers a) { return AsIntegers(ToFloats(a)); }),
         Judge1<JudgeIntegers>([](JudgeIntegers a) { return simde_mm_cvtepi32_ps(a); })},
        {"RoundToDwords", Lanes::kFloats, 1,
         Integer1([](Integers a) { return RoundToDwords(AsFloats(a)); }),
         Judge1<JudgeFloats>([](JudgeFloats a) { return simde_mm_cvtps_epi32(a); })},
        {"FirstWord", Lanes::kWords, 1,
         Integer1([](Integers a) { return EveryDword(FirstWord(a)); }),
         Judge1<JudgeIntegers>(
             [](JudgeIntegers a) { return simde_mm_set1_epi32(simde_mm_extract_epi16(a, 0)); })},
    };
    for (Operation& operation : all) {
        operation.mAnyNaN = operation.mName == "MultiplyFloats";
    }
    return all;
}

// One for each number that an operation can have as a part of its name.

template <int kBits>
void AddWordShifts(std::vector<Operation>& all) {
    all.insert(all.end(), {INTEGER1(kWords, ShiftWordsLeft<kBits>, slli_epi16(a, kBits)),
                           INTEGER1(kWords, ShiftUnsignedWordsRight<kBits>, srli_epi16(a, kBits)),
                           INTEGER1(kWords, ShiftWordsRight<kBits>, srai_epi16(a, kBits)),
                           INTEGER1(kBytes, TakeBytes<kBits>, bsrli_si128(a, kBits)),
                           {"TakeBytes<kBits> of two", Lanes::kBytes, 2,
                            Integer2([](Integers a, Integers b) { return TakeBytes<kBits>(a, b); }),
                            Judge2<JudgeIntegers>([](JudgeIntegers a, JudgeIntegers b) {
                                return simde_mm_alignr_epi8(b, a, kBits);
                            })}});
}

template <int kBits>
void AddDwordShifts(std::vector<Operation>& all) {
    all.insert(all.end(), {INTEGER1(kDwords, ShiftDwordsLeft<kBits>, slli_epi32(a, kBits)),
                           INTEGER1(kDwords, ShiftUnsignedDwordsRight<kBits>, srli_epi32(a, kBits)),
                           INTEGER1(kDwords, ShiftDwordsRight<kBits>, srai_epi32(a, kBits))});
}

// The judge has the four indexes in one number, two bits each.
template <int kIndexes>
void AddTakes(std::vector<Operation>& all) {
    constexpr int k0 = kIndexes & 3;
    constexpr int k1 = kIndexes >> 2 & 3;
    constexpr int k2 = kIndexes >> 4 & 3;
    constexpr int k3 = kIndexes >> 6 & 3;
    all.insert(all.end(),
               {{"TakeDwords", Lanes::kBytes, 1,
                 Integer1([](Integers a) { return TakeDwords<k0, k1, k2, k3>(a); }),
                 Judge1<JudgeIntegers>(
                     [](JudgeIntegers a) { return simde_mm_shuffle_epi32(a, kIndexes); })},
                {"TakeDwords of two", Lanes::kBytes, 2,
                 Integer2([](Integers a, Integers b) { return TakeDwords<k0, k1, k2, k3>(a, b); }),
                 Judge2<JudgeFloats>([](JudgeFloats a, JudgeFloats b) {
                     return simde_mm_shuffle_ps(a, b, kIndexes);
                 })},
                {"TakeLowWords", Lanes::kBytes, 1,
                 Integer1([](Integers a) { return TakeLowWords<k0, k1, k2, k3>(a); }),
                 Judge1<JudgeIntegers>(
                     [](JudgeIntegers a) { return simde_mm_shufflelo_epi16(a, kIndexes); })},
                {"TakeHighWords", Lanes::kBytes, 1,
                 Integer1([](Integers a) { return TakeHighWords<k0, k1, k2, k3>(a); }),
                 Judge1<JudgeIntegers>(
                     [](JudgeIntegers a) { return simde_mm_shufflehi_epi16(a, kIndexes); })}});
}

// Puts the number behind the names of those that `add` adds.
void Number(std::vector<Operation>& all, int number, void (*add)(std::vector<Operation>&)) {
    const std::size_t first = all.size();
    add(all);
    for (std::size_t i = first; i < all.size(); ++i) {
        all[i].mName += ", " + std::to_string(number);
    }
}

template <int... kNumbers>
void AddAllWordShifts(std::vector<Operation>& all, std::integer_sequence<int, kNumbers...>) {
    (Number(all, kNumbers + 1, &AddWordShifts<kNumbers + 1>), ...);
}

template <int... kNumbers>
void AddAllDwordShifts(std::vector<Operation>& all, std::integer_sequence<int, kNumbers...>) {
    (Number(all, kNumbers + 1, &AddDwordShifts<kNumbers + 1>), ...);
}

// Every third number, among which are all indexes at all places.
template <int... kNumbers>
void AddThirdOfTakes(std::vector<Operation>& all, std::integer_sequence<int, kNumbers...>) {
    (Number(all, 3 * kNumbers, &AddTakes<3 * kNumbers>), ...);
}

}  // namespace

std::vector<Operation> Operations() {
    std::vector<Operation> all = Plain();
    AddAllWordShifts(all, std::make_integer_sequence<int, 15>());
    AddAllDwordShifts(all, std::make_integer_sequence<int, 31>());
    AddThirdOfTakes(all, std::make_integer_sequence<int, 86>());
    return all;
}

int JudgeTruncation(double value) {
    return simde_mm_cvttsd_si32(simde_mm_set_sd(value));
}

int JudgeTruncation(float value) {
    return simde_mm_cvttss_si32(simde_mm_set_ss(value));
}

}  // namespace kvx_test::vector128
