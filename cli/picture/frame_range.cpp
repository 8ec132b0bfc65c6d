#include "cli/picture/frame_range.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <system_error>

namespace kvx_cli {

namespace {

constexpr char kForm[] =
    "a range is A:B, the frames from A up to but without B, or the same by timecodes, TC..TC, not ";

// An empty text leaves `number` as it is.
bool ReadNumber(const std::string& text, int64_t& number) {
    if (text.empty()) {
        return true;
    }
    const bool isDigits =
        std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    return isDigits &&
           std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc();
}

// "01:00:00:00", with any of the separators between its numbers.
bool IsTimecode(const std::string& text) {
    constexpr size_t kLength = 11;
    bool is = text.size() == kLength;
    for (size_t place = 0; is && place < kLength; ++place) {
        const char c = text[place];
        is = place % 3 == 2 ? c == ':' || c == ';' || c == '.' || c == ',' : c >= '0' && c <= '9';
    }
    return is;
}

Problem ReadEnd(const std::string& text, const FindTimecode& find, int64_t& frame) {
    if (text.empty()) {
        return {};
    }
    if (Problem problem = find(text, frame)) {
        return problem;
    }
    return frame >= 0 ? Problem()
                      : Problem(kExitRefused, "none of its frames has the timecode " + text);
}

Problem ReadRange(const std::string& text, int64_t count, const FindTimecode& find,
                  FrameRange& range) {
    const std::string dots = "..";
    range = {0, count};
    const size_t middle = text.find(dots);
    if (middle != std::string::npos) {
        const std::string first = text.substr(0, middle);
        const std::string end = text.substr(middle + dots.size());
        for (const std::string& each : {first, end}) {
            if (!each.empty() && !IsTimecode(each)) {
                return {kExitUsage, kForm + ("'" + text + "'")};
            }
        }
        for (const Problem& problem :
             {ReadEnd(first, find, range.first), ReadEnd(end, find, range.end)}) {
            if (problem) {
                return problem;
            }
        }
    } else {
        const size_t colon = text.find(':');
        if (colon == std::string::npos || !ReadNumber(text.substr(0, colon), range.first) ||
            !ReadNumber(text.substr(colon + 1), range.end)) {
            return {kExitUsage, kForm + ("'" + text + "'")};
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

}  // namespace

Problem ReadFrameRanges(const std::string& text, int64_t count, const FindTimecode& find,
                        std::vector<FrameRange>& ranges) {
    ranges.clear();
    for (size_t start = 0; start <= text.size() && !text.empty();) {
        const size_t comma = std::min(text.find(',', start), text.size());
        FrameRange range = {};
        if (Problem problem = ReadRange(text.substr(start, comma - start), count, find, range)) {
            return problem;
        }
        ranges.push_back(range);
        start = comma + 1;
    }
    if (text.empty()) {
        ranges.push_back({0, count});
    }
    return {};
}

std::vector<int64_t> FramesOf(const std::vector<FrameRange>& ranges, int64_t step) {
    std::vector<int64_t> frames;
    for (size_t index = 0; index < ranges.size(); ++index) {
        for (int64_t frame = ranges[index].first; frame < ranges[index].end; frame += step) {
            const bool hasCome =
                std::any_of(ranges.begin(), ranges.begin() + static_cast<ptrdiff_t>(index),
                            [=](const FrameRange& earlier) {
                                return frame >= earlier.first && frame < earlier.end &&
                                       (frame - earlier.first) % step == 0;
                            });
            if (!hasCome) {
                frames.push_back(frame);
            }
        }
    }
    return frames;
}

}  // namespace kvx_cli
