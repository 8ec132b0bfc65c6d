#include "cli/picture/deflate.h"

#include <zlib.h>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include "cli/picture/prefix_code.h"

namespace kvx_cli {

namespace {

constexpr size_t kSymbols = 286;  // bytes, the end of a block, lengths
constexpr size_t kEndOfBlock = 256;
constexpr size_t kLongestLength = 285;  // the symbol of 258, which has no further bits
constexpr size_t kLongestRun = 258;
constexpr size_t kShortestRun = 4;  // to look for: fewer are as short in codes of their own

// Four codes and the seven bits that may be left over fit into 64 bits.
constexpr int kCodeLimit = 12;

constexpr size_t kLengthSymbols = 19;
constexpr int kLengthCodeLimit = 7;
constexpr std::array<uint8_t, kLengthSymbols> kLengthOrder = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                              11, 4,  12, 3, 13, 2, 14, 1, 15};

constexpr size_t kLongestStored = 65535;

// Bits, the first of them lowest, into room that is large enough, with eight bytes to spare.
class BitWriter {
  public:
    explicit BitWriter(uint8_t* place) : mPlace(place) {}

    // Up to 57 bits between two calls of Flush.
    void Put(uint64_t bits, unsigned count) {
        mBits |= bits << mCount;
        mCount += count;
    }

    void Flush() {
        std::memcpy(mPlace, &mBits, sizeof mBits);
        mPlace += mCount / 8;
        mBits >>= mCount / 8 * 8;
        mCount %= 8;
    }

    // Fills the last byte. Where it ends.
    uint8_t* Finish() {
        Flush();
        if (mCount > 0) {
            mCount = 8;
            Flush();
        }
        return mPlace;
    }

  private:
    uint8_t* mPlace;
    uint64_t mBits = 0;
    unsigned mCount = 0;
};

// A stretch of bytes with codes of their own, and how often the last of them repeats after it.
struct Stretch {
    uint32_t bytes;
    uint32_t repeats;
};

uint32_t Load32(const uint8_t* bytes) {
    uint32_t value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

// The first place from `place` on where a run begins, or one after which none can.
size_t FindRun(const uint8_t* bytes, size_t place, size_t count) {
#ifdef __SSE2__
    // 16 places at a time: bit for bit, whether a byte is like the one before, and the three after
    // it as well.
    constexpr size_t kStep = 13;
    for (; place + 16 <= count; place += kStep) {
        const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + place));
        const __m128i before = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + place - 1));
        auto same = static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(here, before)));
        same &= same >> 1;
        same &= same >> 2;
        if (same != 0) {
            return place + static_cast<size_t>(__builtin_ctz(same));
        }
    }
#endif
    while (place + kShortestRun <= count && Load32(bytes + place) != Load32(bytes + place - 1)) {
        ++place;
    }
    return place;
}

std::vector<Stretch> FindRuns(const uint8_t* bytes, size_t count) {
    std::vector<Stretch> stretches;
    size_t start = 0;
    size_t place = 1;
    while ((place = FindRun(bytes, place, count)) + kShortestRun <= count) {
        size_t end = place + kShortestRun;
        while (end < count && bytes[end] == bytes[end - 1]) {
            ++end;
        }
        stretches.push_back(
            {static_cast<uint32_t>(place - start), static_cast<uint32_t>(end - place)});
        start = end;
        place = end + 1;
    }
    stretches.push_back({static_cast<uint32_t>(count - start), 0});
    return stretches;
}

// A length of 3 to 258 as its symbol and its extra bits.
struct LengthSymbol {
    size_t symbol;
    unsigned bitCount;
    uint32_t bits;
};

LengthSymbol SymbolOf(size_t length) {
    if (length == kLongestRun) {
        return {kLongestLength, 0, 0};
    }
    const auto rest = static_cast<uint32_t>(length - 3);
    if (rest < 8) {
        return {257 + rest, 0, 0};
    }
    // From 8 on four symbols share a power of two.
    const auto power = static_cast<unsigned>(31 - __builtin_clz(rest));
    const unsigned bitCount = power - 2;
    return {257 + 4 * bitCount + (rest >> bitCount), bitCount, rest & ((1U << bitCount) - 1)};
}

// Calls `take` with the lengths that a run is split into, and `single` for a byte that is left
// over.
template <typename Take, typename Single>
void SplitRun(size_t repeats, const Take& take, const Single& single) {
    for (; repeats >= kLongestRun + 3 || repeats == kLongestRun; repeats -= kLongestRun) {
        take(kLongestRun);
    }
    if (repeats > kLongestRun) {
        take(repeats - 3);
        repeats = 3;
    }
    if (repeats >= 3) {
        take(repeats);
    } else {
        for (; repeats > 0; --repeats) {
            single();
        }
    }
}

using Frequencies = std::array<uint32_t, kSymbols>;

Frequencies CountSymbols(const uint8_t* bytes, const std::vector<Stretch>& stretches) {
    // Four counts of each byte, so that one need not wait for the other.
    std::array<std::array<uint32_t, 256>, 4> counts = {};
    Frequencies frequencies = {};
    for (const Stretch& stretch : stretches) {
        size_t place = 0;
        for (; place + 4 <= stretch.bytes; place += 4) {
            ++counts[0][bytes[place]];
            ++counts[1][bytes[place + 1]];
            ++counts[2][bytes[place + 2]];
            ++counts[3][bytes[place + 3]];
        }
        for (; place < stretch.bytes; ++place) {
            ++counts[0][bytes[place]];
        }
        bytes += stretch.bytes;
        SplitRun(
            stretch.repeats, [&](size_t length) { ++frequencies[SymbolOf(length).symbol]; },
            [&] { ++frequencies[bytes[-1]]; });
        bytes += stretch.repeats;
    }
    for (size_t byte = 0; byte < 256; ++byte) {
        for (const auto& each : counts) {
            frequencies[byte] += each[byte];
        }
    }
    frequencies[kEndOfBlock] = 1;
    return frequencies;
}

// The lengths of codes as the header of a block has them: symbols, of which 16 to 18 mean
// several lengths.
struct ToldLength {
    uint8_t symbol;
    uint8_t bits;
    uint8_t bitCount;
};

std::vector<ToldLength> TellLengths(const std::vector<uint8_t>& lengths) {
    std::vector<ToldLength> told;
    for (size_t place = 0; place < lengths.size();) {
        const uint8_t length = lengths[place];
        const size_t most = length == 0 ? 138 : 7;
        size_t same = 1;
        while (same < most && place + same < lengths.size() && lengths[place + same] == length) {
            ++same;
        }
        if (length == 0 && same >= 11) {
            told.push_back({18, static_cast<uint8_t>(same - 11), 7});
        } else if (length == 0 && same >= 3) {
            told.push_back({17, static_cast<uint8_t>(same - 3), 3});
        } else if (length != 0 && same >= 4) {
            told.push_back({length, 0, 0});
            told.push_back({16, static_cast<uint8_t>(same - 4), 2});
        } else {
            same = 1;
            told.push_back({length, 0, 0});
        }
        place += same;
    }
    return told;
}

void PutHead(const PrefixCode<kSymbols>& code, BitWriter& writer) {
    std::vector<uint8_t> lengths(code.lengths.begin(), code.lengths.end());
    lengths.push_back(1);  // the one distance, that to the byte before
    const std::vector<ToldLength> told = TellLengths(lengths);
    std::array<uint32_t, kLengthSymbols> frequencies = {};
    for (const ToldLength& each : told) {
        ++frequencies[each.symbol];
    }
    const auto lengthCode = MakePrefixCode(frequencies, kLengthCodeLimit);
    writer.Put(0b100, 3);  // not the last block; with codes of its own
    writer.Put(kSymbols - 257, 5);
    writer.Put(0, 5);                   // one distance
    writer.Put(kLengthSymbols - 4, 4);  // all of them
    writer.Flush();
    for (const uint8_t symbol : kLengthOrder) {
        writer.Put(lengthCode.lengths[symbol], 3);
        writer.Flush();
    }
    for (const ToldLength& each : told) {
        writer.Put(lengthCode.codes[each.symbol], lengthCode.lengths[each.symbol]);
        writer.Put(each.bits, each.bitCount);
        writer.Flush();
    }
}

void PutSymbols(const uint8_t* bytes, const std::vector<Stretch>& stretches,
                const PrefixCode<kSymbols>& code, BitWriter& writer) {
    struct Entry {
        uint16_t bits;
        uint16_t count;
    };
    std::array<Entry, 256> entries;
    for (size_t byte = 0; byte < entries.size(); ++byte) {
        entries[byte] = {code.codes[byte], code.lengths[byte]};
    }
    const auto put = [&](uint8_t byte) { writer.Put(entries[byte].bits, entries[byte].count); };
    for (const Stretch& stretch : stretches) {
        const uint8_t* const end = bytes + stretch.bytes;
        for (; bytes + 4 <= end; bytes += 4) {
            put(bytes[0]);
            put(bytes[1]);
            put(bytes[2]);
            put(bytes[3]);
            writer.Flush();
        }
        for (; bytes < end; ++bytes) {
            put(*bytes);
            writer.Flush();
        }
        SplitRun(
            stretch.repeats,
            [&](size_t length) {
                const LengthSymbol symbol = SymbolOf(length);
                writer.Put(code.codes[symbol.symbol], code.lengths[symbol.symbol]);
                writer.Put(symbol.bits, symbol.bitCount);
                writer.Put(0, 1);  // the distance
                writer.Flush();
            },
            [&] {
                put(bytes[-1]);
                writer.Flush();
            });
        bytes += stretch.repeats;
    }
    writer.Put(code.codes[kEndOfBlock], code.lengths[kEndOfBlock]);
    writer.Flush();
}

void AppendStored(const uint8_t* bytes, size_t count, std::vector<uint8_t>& stream) {
    while (count > 0) {
        const size_t size = std::min(count, kLongestStored);
        const auto low = static_cast<uint8_t>(size);
        const auto high = static_cast<uint8_t>(size >> 8);
        stream.insert(stream.end(),
                      {0, low, high, static_cast<uint8_t>(~low), static_cast<uint8_t>(~high)});
        stream.insert(stream.end(), bytes, bytes + size);
        bytes += size;
        count -= size;
    }
}

size_t StoredSize(size_t count) {
    return count + (count + kLongestStored - 1) / kLongestStored * 5;
}

// What the symbols take with this code, in bits, except for the extra bits of lengths.
uint64_t SizeOf(const Frequencies& frequencies, const PrefixCode<kSymbols>& code) {
    uint64_t bits = 0;
    for (size_t symbol = 0; symbol < kSymbols; ++symbol) {
        bits += uint64_t{frequencies[symbol]} * code.lengths[symbol];
    }
    return bits;
}

// A block with codes of its own, and an empty stored one that ends with a whole byte.
void AppendCoded(const uint8_t* bytes, size_t count, std::vector<uint8_t>& stream) {
    constexpr size_t kHeadBytes = 512;
    constexpr size_t kSpareBytes = 16;
    const std::vector<Stretch> stretches = FindRuns(bytes, count);
    const Frequencies frequencies = CountSymbols(bytes, stretches);
    const auto code = MakePrefixCode(frequencies, kCodeLimit);
    const uint64_t codedBytes = SizeOf(frequencies, code) / 8;
    if (codedBytes >= count) {
        AppendStored(bytes, count, stream);
        return;
    }
    // After each length there are up to 5 bits, and one for the distance.
    uint64_t lengthCount = 0;
    for (size_t symbol = kEndOfBlock + 1; symbol < kSymbols; ++symbol) {
        lengthCount += frequencies[symbol];
    }
    const size_t start = stream.size();
    stream.resize(start + codedBytes + lengthCount + kHeadBytes + kSpareBytes);
    BitWriter writer(stream.data() + start);
    PutHead(code, writer);
    PutSymbols(bytes, stretches, code, writer);
    writer.Put(0, 3);
    const uint8_t* const end = writer.Finish();
    stream.resize(static_cast<size_t>(end - stream.data()));
    stream.insert(stream.end(), {0x00, 0x00, 0xFF, 0xFF});
}

// With repetitions, which zlib looks for.
void AppendSearched(const uint8_t* bytes, size_t count, int level, std::vector<uint8_t>& stream) {
    constexpr int kRawWindow = -15;  // without zlib's own head and sum
    constexpr int kMostMemory = 9;
    z_stream state = {};
    if (deflateInit2(&state, level, Z_DEFLATED, kRawWindow, kMostMemory, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
        throw std::bad_alloc();
    }
    struct End {
        z_stream* state;
        ~End() { deflateEnd(state); }
    };
    const End end = {&state};
    const size_t start = stream.size();
    constexpr size_t kFlushBytes = 16;
    stream.resize(start + deflateBound(&state, static_cast<uLong>(count)) + kFlushBytes);
    state.next_in = const_cast<Bytef*>(bytes);
    state.avail_in = static_cast<uInt>(count);
    state.next_out = stream.data() + start;
    state.avail_out = static_cast<uInt>(stream.size() - start);
    deflate(&state, Z_SYNC_FLUSH);
    stream.resize(stream.size() - state.avail_out);
}

}  // namespace

void AppendDeflated(const uint8_t* bytes, size_t count, int level, std::vector<uint8_t>& stream) {
    if (count == 0) {
        return;
    }
    if (level == 0) {
        stream.reserve(stream.size() + StoredSize(count));
        AppendStored(bytes, count, stream);
        return;
    }
    const size_t start = stream.size();
    AppendCoded(bytes, count, stream);
    if (level > 1) {
        std::vector<uint8_t> searched;
        AppendSearched(bytes, count, level, searched);
        if (searched.size() < stream.size() - start) {
            stream.resize(start);
            stream.insert(stream.end(), searched.begin(), searched.end());
        }
    }
}

void AppendEndOfDeflated(std::vector<uint8_t>& stream) {
    // A last block, with the codes that need no head, that has nothing but its end.
    stream.insert(stream.end(), {0x03, 0x00});
}

}  // namespace kvx_cli
