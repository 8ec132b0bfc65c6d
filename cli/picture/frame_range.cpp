#include "cli/picture/frame_range.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <system_error>

namespace kvx_cli {

namespace {

// An empty text leaves `number` as it is.
bool ReadNumber(const char* begin, const char* end, int64_t& number) {
    if (begin == end) {
        return true;
    }
    const bool isDigits = std::all_of(begin, end, [](char c) { return c >= '0' && c <= '9'; });
    return isDigits && std::from_chars(begin, end, number).ec == std::errc();
}

}  // namespace

Problem ReadFrameRange(const std::string& text, int64_t count, FrameRange& range) {
    range = {0, count};
    if (!text.empty()) {
        const char* const begin = text.data();
        const char* const end = begin + text.size();
        const char* const colon = std::find(begin, end, ':');
        if (colon == end || !ReadNumber(begin, colon, range.first) ||
            !ReadNumber(colon + 1, end, range.end)) {
            return {kExitUsage,
                    "a range is A:B, the frames from A up to but without B, not '" + text + "'"};
        }
    }
    if (range.end > count || range.first >= count) {
        return {kExitRefused, "the movie has " + std::to_string(count) +
                                  (count == 1 ? " frame" : " frames") + ", numbered from 0"};
    }
    if (range.first >= range.end) {
        return {kExitUsage, "there is no frame in the range " + text};
    }
    return {};
}

std::vector<int64_t> FramesOf(FrameRange range) {
    std::vector<int64_t> frames(static_cast<size_t>(range.end - range.first));
    std::iota(frames.begin(), frames.end(), range.first);
    return frames;
}

}  // namespace kvx_cli
