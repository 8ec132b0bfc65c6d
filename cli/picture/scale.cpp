#include "cli/picture/scale.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace kvx_cli {

namespace {

constexpr size_t kComponents = 4;  // B, G, R, A in the host's memory
constexpr uint32_t kWhole = 256;   // the weight of a row or column that counts in full

// The part of `from` that place `index` of `to` covers, each end in 1/256.
struct Span {
    Span(int index, int from, int to)
        : begin(static_cast<uint64_t>(index) * static_cast<uint64_t>(from) * kWhole /
                static_cast<uint64_t>(to)),
          end((static_cast<uint64_t>(index) + 1) * static_cast<uint64_t>(from) * kWhole /
              static_cast<uint64_t>(to)) {}

    size_t First() const { return static_cast<size_t>(begin / kWhole); }
    size_t PastEnd() const { return static_cast<size_t>((end + kWhole - 1) / kWhole); }
    uint32_t Weight(size_t place) const {
        return static_cast<uint32_t>(std::min(end, (uint64_t{place} + 1) * kWhole) -
                                     std::max(begin, uint64_t{place} * kWhole));
    }

    uint64_t begin;
    uint64_t end;
};

void AddRow(const uint8_t* row, uint32_t weight, std::vector<uint32_t>& sums) {
    uint32_t* const sum = sums.data();
    const size_t count = sums.size();
    for (size_t place = 0; place < count; ++place) {
        sum[place] += row[place] * weight;
    }
}

}  // namespace

Picture ScaledDown(const kvx_hostkit::PixelBufferView& view, int width, int height) {
    Picture picture = {width, height, 8, {}};
    picture.bytes.resize(static_cast<size_t>(width) * static_cast<size_t>(height) * 3);
    uint8_t* bytes = picture.bytes.data();
    std::vector<uint32_t> sums(static_cast<size_t>(view.width) * kComponents);
    for (int y = 0; y < height; ++y) {
        const Span rows(y, view.height, height);
        std::fill(sums.begin(), sums.end(), 0);
        for (size_t row = rows.First(); row < rows.PastEnd(); ++row) {
            // The host's first row is the lowest.
            const char* const pixels =
                view.pixels + (view.height - 1 - static_cast<ptrdiff_t>(row)) * view.rowBytes;
            AddRow(reinterpret_cast<const uint8_t*>(pixels), rows.Weight(row), sums);
        }
        for (int x = 0; x < width; ++x) {
            const Span columns(x, view.width, width);
            uint64_t sum[3] = {};
            for (size_t column = columns.First(); column < columns.PastEnd(); ++column) {
                const uint64_t weight = columns.Weight(column);
                for (size_t component = 0; component < 3; ++component) {
                    sum[component] += weight * sums[column * kComponents + component];
                }
            }
            const uint64_t area = (rows.end - rows.begin) * (columns.end - columns.begin);
            for (size_t component = 0; component < 3; ++component) {
                *bytes++ = static_cast<uint8_t>((sum[2 - component] + area / 2) / area);
            }
        }
    }
    return picture;
}

}  // namespace kvx_cli
