#include "timecode/timecode_format.h"

#include <cmath>

namespace KVX::Util {

namespace {

struct Rate {
    TimeCodeFormat format;
    unsigned int timeScale;
    unsigned int duration;
};

constexpr Rate kRates[] = {
    {tcf2398, 24000, 1001},     {tcf24, 24000, 1000}, {tcf25, 25000, 1000},
    {tcf2997, 30000, 1001},     {tcf30, 30000, 1000}, {tcf50, 50000, 1000},
    {tcf5994, 60000, 1001},     {tcf60, 60000, 1000}, {tcf2997Drop, 30000, 1001},
    {tcf5994Drop, 60000, 1001},
};

constexpr Rate kNoRate = {tcfNone, 0, 0};

const Rate& RateOf(TimeCodeFormat format) {
    for (const Rate& rate : kRates) {
        if (rate.format == format) {
            return rate;
        }
    }
    return kNoRate;
}

// Frames in a real second; 0 for tcfNone.
double RealRate(const Rate& rate) {
    return rate.duration == 0 ? 0.0 : static_cast<double>(rate.timeScale) / rate.duration;
}

// What a measured rate may be, bounds excluded, and what it then is.
struct RateInterval {
    double above;
    double below;
    TimeCodeFormat format;
    TimeCodeFormat dropFormat;
};

constexpr RateInterval kIntervals[] = {
    {23.965999999999998, 23.986, tcf2398, tcf2398},
    {23.99, 24.01, tcf24, tcf24},
    {24.99, 25.01, tcf25, tcf25},
    {29.959999999999997, 29.98, tcf2997, tcf2997Drop},
    {29.99, 30.01, tcf30, tcf30},
    {49.99, 50.01, tcf50, tcf50},
    {59.93, 59.949999999999996, tcf5994, tcf5994Drop},
    {59.99, 60.01, tcf60, tcf60},
};

// The rate that a counter means: files may hold that of a fractional rate cut off, not rounded up.
int NominalCount(int frames) {
    switch (frames) {
        case 23:
            return 24;
        case 29:
            return 30;
        case 59:
            return 60;
        default:
            return frames;
    }
}

}  // namespace

TimeCodeFormat tcfFromFps(double fps, bool drop) {
    for (const RateInterval& interval : kIntervals) {
        if (fps > interval.above && fps < interval.below) {
            return drop ? interval.dropFormat : interval.format;
        }
    }
    return tcfNone;
}

template <typename T>
TimeCodeFormat tcfFromDuration(T duration, T timeScale, bool drop, int frames) {
    if (duration == 0) {
        return tcfNone;
    }
    const double fps = static_cast<double>(timeScale) / static_cast<double>(duration);
    const TimeCodeFormat format = tcfFromFps(fps, drop);
    const int count = NominalCount(frames);
    return count == -1 || count == tcfToTps(format) ? format : tcfToSerialTcf(format);
}

template TimeCodeFormat tcfFromDuration<int>(int, int, bool, int);
template TimeCodeFormat tcfFromDuration<unsigned int>(unsigned int, unsigned int, bool, int);

int tcfToTps(TimeCodeFormat format) {
    return static_cast<int>(std::ceil(RealRate(RateOf(format))));
}

void tcfToDuration(TimeCodeFormat format, unsigned int& duration, unsigned int& timeScale) {
    const Rate& rate = RateOf(format);
    duration = rate.duration;
    timeScale = rate.timeScale;
}

TimeCodeFormat tcfToSerialTcf(TimeCodeFormat format) {
    const Rate& rate = RateOf(format);
    if (rate.format == tcfNone || tcfIsSerialTcf(format)) {
        return rate.format;
    }
    return tcfFromDuration<unsigned int>(rate.duration * 2, rate.timeScale, tcfIsDrop(format), -1);
}

bool tcfIsSerialTcf(TimeCodeFormat format) {
    const Rate& rate = RateOf(format);
    return rate.format != tcfNone && RealRate(rate) < 31;
}

bool tcfIsDrop(TimeCodeFormat format) {
    return format > 49;
}

TimeCodeFormat tcfChangeDrop(TimeCodeFormat format, bool drop) {
    const Rate& rate = RateOf(format);
    return tcfFromDuration<unsigned int>(rate.duration, rate.timeScale, drop, -1);
}

int tcfConvertFrameCount(int frames, TimeCodeFormat from, TimeCodeFormat to, bool roundUp) {
    if (from == to) {
        return frames;
    }
    const int fromTps = tcfToTps(from);
    const int toTps = tcfToTps(to);
    if (fromTps == 0 || toTps == 0) {
        return 0;
    }
    long long count = frames;
    if (toTps % fromTps == 0) {
        count *= toTps / fromTps;
    } else if (fromTps % toTps == 0) {
        // The whole ratios of the known rates are ones and twos, so an even count divides exactly.
        if (roundUp) {
            count += count & 1;
        }
        count /= fromTps / toTps;
    } else {
        const double exact = static_cast<double>(frames) * toTps / fromTps;
        count = static_cast<long long>(roundUp ? std::ceil(exact) : exact);
    }
    return static_cast<int>(count);
}

}  // namespace KVX::Util
