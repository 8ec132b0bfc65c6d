#include "cli/picture/prefix_code.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace kvx_cli {

namespace {

constexpr int kLongest = 15;

// How many symbols have codes of each length in the best code, if no length is forbidden; those of
// more than `limit` bits are counted there. `sorted` has the frequencies, the least first.
std::array<uint32_t, kLongest + 1> CountLengths(const std::vector<uint32_t>& sorted, int limit) {
    // The nodes of the tree: leaves first, then those that join two, which come in order as well.
    const size_t leaves = sorted.size();
    std::vector<uint64_t> weights(sorted.begin(), sorted.end());
    std::vector<size_t> parents(2 * leaves - 1);
    size_t leaf = 0;
    size_t joined = leaves;
    const auto takeLightest = [&] {
        const bool isLeaf =
            leaf < leaves && (joined == weights.size() || weights[leaf] <= weights[joined]);
        return isLeaf ? leaf++ : joined++;
    };
    while (weights.size() < 2 * leaves - 1) {
        const size_t one = takeLightest();
        const size_t other = takeLightest();
        parents[one] = parents[other] = weights.size();
        weights.push_back(weights[one] + weights[other]);
    }
    std::array<uint32_t, kLongest + 1> counts = {};
    std::vector<int> depths(weights.size());
    for (size_t node = weights.size() - 1; node-- > 0;) {
        depths[node] = depths[parents[node]] + 1;
        counts[static_cast<size_t>(std::min(depths[node], limit))] += node < leaves ? 1 : 0;
    }
    return counts;
}

// Codes that were cut to the limit take more room than there is: shorter ones give way.
void MakeRoom(std::array<uint32_t, kLongest + 1>& counts, int limit) {
    uint32_t taken = 0;  // of the room, in codes of `limit` bits
    for (int length = 1; length <= limit; ++length) {
        taken += counts[static_cast<size_t>(length)] << (limit - length);
    }
    for (; taken > uint32_t{1} << limit; --taken) {
        // A code becomes one bit longer, which makes room next to it for one of the longest.
        auto length = static_cast<size_t>(limit) - 1;
        while (counts[length] == 0) {
            --length;
        }
        --counts[length];
        counts[length + 1] += 2;
        --counts[static_cast<size_t>(limit)];
    }
}

uint16_t Reversed(uint32_t code, int length) {
    uint32_t reversed = 0;
    for (int bit = 0; bit < length; ++bit) {
        reversed = reversed << 1 | (code >> bit & 1);
    }
    return static_cast<uint16_t>(reversed);
}

}  // namespace

void MakePrefixCode(const uint32_t* frequencies, size_t count, int limit, uint8_t* lengths,
                    uint16_t* codes) {
    std::fill_n(lengths, count, uint8_t{0});
    std::vector<size_t> symbols(count);
    std::iota(symbols.begin(), symbols.end(), size_t{0});
    symbols.erase(std::remove_if(symbols.begin(), symbols.end(),
                                 [=](size_t symbol) { return frequencies[symbol] == 0; }),
                  symbols.end());
    std::stable_sort(symbols.begin(), symbols.end(), [=](size_t one, size_t other) {
        return frequencies[one] < frequencies[other];
    });
    std::array<uint32_t, kLongest + 1> counts = {};
    if (symbols.size() == 1) {
        counts[1] = 1;
    } else if (!symbols.empty()) {
        std::vector<uint32_t> sorted;
        sorted.reserve(symbols.size());
        for (const size_t symbol : symbols) {
            sorted.push_back(frequencies[symbol]);
        }
        counts = CountLengths(sorted, limit);
        MakeRoom(counts, limit);
    }
    auto symbol = symbols.begin();
    for (int length = limit; length > 0; --length) {
        for (uint32_t left = counts[static_cast<size_t>(length)]; left > 0; --left) {
            lengths[*symbol++] = static_cast<uint8_t>(length);
        }
    }
    uint32_t code = 0;
    for (int length = 1; length <= limit; ++length) {
        code <<= 1;
        for (size_t each = 0; each < count; ++each) {
            if (lengths[each] == length) {
                codes[each] = Reversed(code++, length);
            }
        }
    }
}

}  // namespace kvx_cli
