// How timecodes count, told by walking from label to label. Slow and plain on purpose.
#pragma once

#include <vector>

#include "timecode/timecode_format.h"

namespace kvx_test {

struct Counting {
    KVX::Util::TimeCodeFormat format;
    int tps;
    int dropped;  // labels left out in each minute but every tenth
};

inline constexpr Counting kCountings[] = {
    {KVX::Util::tcf2398, 24, 0},     {KVX::Util::tcf24, 24, 0}, {KVX::Util::tcf25, 25, 0},
    {KVX::Util::tcf2997, 30, 0},     {KVX::Util::tcf30, 30, 0}, {KVX::Util::tcf50, 50, 0},
    {KVX::Util::tcf5994, 60, 0},     {KVX::Util::tcf60, 60, 0}, {KVX::Util::tcf2997Drop, 30, 2},
    {KVX::Util::tcf5994Drop, 60, 4},
};

struct Label {
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int frames = 0;

    // To the label of the next frame. Hours go on counting.
    void Advance(const Counting& counting) {
        if (++frames < counting.tps) {
            return;
        }
        frames = 0;
        if (++seconds < 60) {
            return;
        }
        seconds = 0;
        if (++minutes == 60) {
            minutes = 0;
            ++hours;
        }
        if (minutes % 10 != 0) {
            frames = counting.dropped;
        }
    }
};

// Frames in minute `minute` of an hour.
inline int FramesInMinute(const Counting& counting, int minute) {
    return counting.tps * 60 - (minute % 10 != 0 ? counting.dropped : 0);
}

inline int FramesInHour(const Counting& counting) {
    int frames = 0;
    for (int minute = 0; minute < 60; ++minute) {
        frames += FramesInMinute(counting, minute);
    }
    return frames;
}

inline int FramesInDay(const Counting& counting) {
    return FramesInHour(counting) * 24;
}

// The label of a frame from 0 up.
inline Label LabelOf(const Counting& counting, long long frame) {
    Label label;
    const int hour = FramesInHour(counting);
    label.hours = static_cast<int>(frame / hour);
    int rest = static_cast<int>(frame % hour);
    while (rest >= FramesInMinute(counting, label.minutes)) {
        rest -= FramesInMinute(counting, label.minutes);
        ++label.minutes;
    }
    if (label.minutes % 10 != 0) {
        rest += counting.dropped;
    }
    label.seconds = rest / counting.tps;
    label.frames = rest % counting.tps;
    return label;
}

// `frames` of one rate in another, in fractions.
inline long long ConvertCount(long long frames, const Counting& from, const Counting& to,
                              bool roundUp) {
    const long long product = frames * to.tps;
    return product / from.tps + (roundUp && product % from.tps != 0 ? 1 : 0);
}

// Frames of a day that are worth a look: those around each minute, and every `step`-th.
inline std::vector<int> FramesOfInterest(const Counting& counting, int step) {
    std::vector<int> frames;
    int minuteStart = 0;
    for (int minute = 0; minute < 24 * 60; ++minute) {
        if (minute % 7 == 0 || minute % 60 < 2 || minute > 1430) {
            for (int offset = -2; offset < 6; ++offset) {
                if (minuteStart + offset >= 0) {
                    frames.push_back(minuteStart + offset);
                }
            }
        }
        minuteStart += FramesInMinute(counting, minute % 60);
    }
    for (int frame = 0; frame < minuteStart; frame += step) {
        frames.push_back(frame);
    }
    frames.push_back(minuteStart - 1);
    return frames;
}

}  // namespace kvx_test
