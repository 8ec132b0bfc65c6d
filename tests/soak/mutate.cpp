#include "soak/mutate.h"

#include <algorithm>

namespace kvx_test {

namespace {

constexpr int64_t kMostPlaces = 8;
constexpr int64_t kLongestStretch = 64;

size_t Place(Random& random, size_t begin, size_t end) {
    return static_cast<size_t>(
        random.Pick(static_cast<int64_t>(begin), static_cast<int64_t>(end) - 1));
}

size_t Stretch(Random& random, size_t place, size_t end) {
    return std::min(static_cast<size_t>(random.Pick(1, kLongestStretch)), end - place);
}

void Overwrite(Bytes& file, size_t place, size_t end, const Bytes& bytes) {
    const size_t size = std::min(bytes.size(), end - place);
    file.replace(place, size, bytes, 0, size);
}

// Tears the file off inside the header of a track that has become an extended one, if there is a
// track. Returns whether there was.
bool TearTrackHeader(Random& random, Bytes& file, size_t begin, size_t& end) {
    constexpr size_t kShortHeader = 8;
    constexpr int64_t kExtendedHeader = 16;
    const size_t type = file.find("trak", Place(random, begin, end));
    if (type == Bytes::npos || type < begin + 4 || type - 4 + kExtendedHeader > end) {
        return false;
    }
    const size_t track = type - 4;
    Overwrite(file, track, end, big32(1));
    end = track + static_cast<size_t>(random.Pick(kShortHeader, kExtendedHeader));
    file.resize(end);
    return true;
}

}  // namespace

void Mutate(Random& random, Bytes& file, size_t begin, size_t end, const Bytes& other) {
    // Most have one wound, since a reader that refuses at the first looks no further.
    int64_t left = random.OneIn(3) ? random.Pick(2, kMostPlaces) : 1;
    for (; left > 0 && begin < end; --left) {
        const size_t place = Place(random, begin, end);
        const size_t size = Stretch(random, place, end);
        // Two in three keep the sizes of the atoms around them true.
        switch (random.OneIn(3) ? random.Pick(3, 7) : random.Pick(0, 2)) {
            case 0:
                file[place] = static_cast<char>(file[place] ^ 1 << random.Pick(0, 7));
                break;
            case 1:
                Overwrite(file, place, end,
                          Bytes(1, static_cast<char>(random.AnyOf<int>({0, 1, 0x7F, 0x80, 0xFF}))));
                break;
            case 2:
                Overwrite(file, place, end,
                          big32(random.AnyOf<int64_t>({0, 1, 2, 7, 8, 0x7FFFFFFF, 0x80000000,
                                                       0xFFFFFFFF, random.Pick(0, 0xFFFFFFFF)})));
                break;
            case 3:
                file.erase(place, size);
                end -= size;
                break;
            case 4:
                file.insert(place, Bytes(file, place, size));
                end += size;
                break;
            case 5:
                Overwrite(file, place, end, Bytes(file, Place(random, begin, end), size));
                break;
            case 6:
                Overwrite(file, place, end, Bytes(other, Place(random, 0, other.size()), size));
                break;
            default:
                // Seldom, since little is left to look at.
                if (random.OneIn(8) && !TearTrackHeader(random, file, begin, end)) {
                    file.resize(place);
                    end = place;
                }
                break;
        }
    }
}

}  // namespace kvx_test
