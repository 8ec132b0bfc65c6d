// Arithmetic on the 24-hour clock that both forms of a timecode share.
#pragma once

#include <cstdint>

namespace KVX::Util {

// `count` on a clock of `wrapCount` frames, from 0 up. A clock without frames is always at 0.
inline int WrapFrameCount(long long count, int wrapCount) {
    if (wrapCount == 0) {
        return 0;
    }
    const long long remainder = count % wrapCount;
    return static_cast<int>(remainder < 0 ? remainder + wrapCount : remainder);
}

// Gives the difference of two counts the sign of the shorter way round the clock. The magnitude
// stays: it is for comparing, not for counting.
inline int SignByShorterWay(long long difference, int wrapCount) {
    const int half = wrapCount / 2;
    const bool isLongWay = difference > half || difference < -half;
    return static_cast<int>(isLongWay ? -difference : difference);
}

// The fields of a timecode in one word that orders as they do, for hours below 128.
inline uint32_t PackFields(uint8_t hours, uint8_t minutes, uint8_t seconds, uint32_t frames) {
    return (static_cast<uint32_t>(hours) << 24) + (static_cast<uint32_t>(minutes) << 16) +
           (static_cast<uint32_t>(seconds) << 8) + frames;
}

}  // namespace KVX::Util
