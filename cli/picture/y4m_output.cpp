#include "cli/picture/y4m_output.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <numeric>
#include <utility>

#include "cli/movie/streams.h"
#include "cli/picture/raw_frame.h"

namespace kvx_cli {

namespace {

bool IsV210(PrPixelFormat format) {
    return format == PrPixelFormat_V210_422_10u_601;
}

PrPixelFormat FormatOf(const imFileInfoRec8& video) {
    return RawPixelFormat(static_cast<uint32_t>(video.subType));
}

char FieldsSign(int fieldType) {
    switch (fieldType) {
        case prFieldsNone:
            return 'p';
        case prFieldsUpperFirst:
            return 't';
        case prFieldsLowerFirst:
            return 'b';
        default:
            return '?';
    }
}

std::string HeadOf(const imFileInfoRec8& video) {
    const PixelAspect aspect = PixelAspectOf(video);
    const int common = std::max(std::gcd(video.videoScale, video.videoSampleSize), 1);
    return "YUV4MPEG2 W" + std::to_string(video.width) + " H" + std::to_string(video.height) +
           " F" + std::to_string(video.videoScale / common) + ":" +
           std::to_string(video.videoSampleSize / common) + " I" + FieldsSign(video.fieldType) +
           " A" + std::to_string(aspect.width) + ":" + std::to_string(aspect.height) +
           (IsV210(FormatOf(video)) ? " C422p10 XYSCSS=422P10" : " C422") +
           " XCOLORRANGE=LIMITED\n";
}

// Bytes lie as Cb Y' Cr Y'.
void SplitRow8(const char* __restrict row, size_t width, uint8_t* __restrict luma,
               uint8_t* __restrict blue, uint8_t* __restrict red) {
    for (size_t x = 0; x < width; ++x) {
        luma[x] = static_cast<uint8_t>(row[2 * x + 1]);
    }
    const size_t pairs = width / 2;
    for (size_t pair = 0; pair < pairs; ++pair) {
        blue[pair] = static_cast<uint8_t>(row[4 * pair]);
        red[pair] = static_cast<uint8_t>(row[4 * pair + 2]);
    }
    if (width % 2 != 0) {
        // The row ends between a pair's pixels: its Cr is that of the pair before.
        blue[pairs] = static_cast<uint8_t>(row[4 * pairs]);
        red[pairs] = pairs > 0 ? red[pairs - 1] : 128;
    }
}

// Six pixels of ten bits are four little-endian words of three samples each, the first lowest:
// Cb Y' Cr, Y' Cb Y', Cr Y' Cb, Y' Cr Y'. In a plane a sample takes two bytes, the low one first.
constexpr size_t kGroupPixels = 6;
constexpr size_t kGroupBytes = 16;
constexpr size_t kGroupLuma = 12;
constexpr size_t kGroupChroma = 6;

uint32_t SampleAt(const char* group, size_t word, int place) {
    uint32_t samples;
    std::memcpy(&samples, group + 4 * word, sizeof samples);
    return samples >> 10 * place & 0x3FF;
}

void PutTwo(uint32_t first, uint32_t second, uint8_t* to) {
    const uint32_t both = first | second << 16;
    std::memcpy(to, &both, sizeof both);
}

void PutOne(uint32_t only, uint8_t* to) {
    const auto low = static_cast<uint16_t>(only);
    std::memcpy(to, &low, sizeof low);
}

void SplitGroups10(const char* __restrict row, size_t groups, uint8_t* __restrict luma,
                   uint8_t* __restrict blue, uint8_t* __restrict red) {
    for (size_t group = 0; group < groups; ++group) {
        const char* const from = row + group * kGroupBytes;
        uint8_t* const toLuma = luma + group * kGroupLuma;
        PutTwo(SampleAt(from, 0, 1), SampleAt(from, 1, 0), toLuma);
        PutTwo(SampleAt(from, 1, 2), SampleAt(from, 2, 1), toLuma + 4);
        PutTwo(SampleAt(from, 3, 0), SampleAt(from, 3, 2), toLuma + 8);
        uint8_t* const toBlue = blue + group * kGroupChroma;
        PutOne(SampleAt(from, 0, 0), toBlue);
        PutOne(SampleAt(from, 1, 1), toBlue + 2);
        PutOne(SampleAt(from, 2, 2), toBlue + 4);
        uint8_t* const toRed = red + group * kGroupChroma;
        PutOne(SampleAt(from, 0, 2), toRed);
        PutOne(SampleAt(from, 2, 0), toRed + 2);
        PutOne(SampleAt(from, 3, 1), toRed + 4);
    }
}

void SplitRow10(const char* row, size_t width, uint8_t* luma, uint8_t* blue, uint8_t* red) {
    const size_t groups = width / kGroupPixels;
    SplitGroups10(row, groups, luma, blue, red);
    // Of a group that the row has not all of, the words that hold its pixels.
    if (const size_t left = width % kGroupPixels; left > 0) {
        const size_t pairs = (left + 1) / 2;
        const size_t words = (4 * pairs + 2) / 3;
        char group[kGroupBytes] = {};
        std::memcpy(group, row + groups * kGroupBytes, words * sizeof(uint32_t));
        uint8_t lastLuma[kGroupLuma];
        uint8_t lastBlue[kGroupChroma];
        uint8_t lastRed[kGroupChroma];
        SplitGroups10(group, 1, lastLuma, lastBlue, lastRed);
        std::memcpy(luma + groups * kGroupLuma, lastLuma, left * sizeof(uint16_t));
        std::memcpy(blue + groups * kGroupChroma, lastBlue, pairs * sizeof(uint16_t));
        std::memcpy(red + groups * kGroupChroma, lastRed, pairs * sizeof(uint16_t));
    }
}

// Rows of luma that are handed on while they are in a processor's second cache.
constexpr size_t kStripBytes = size_t{128} * 1024;

}  // namespace

Problem CheckY4m(const imFileInfoRec8& video) {
    if (FormatOf(video) == kKVXCustomPixelFormat) {
        return {kExitRefused, "its pictures are no Y'CbCr, of which --y4m is"};
    }
    return {};
}

Y4mOutput::Y4mOutput(std::string place, const InputFiles& inputs, const imFileInfoRec8& video)
    : mPlace(std::move(place)),
      mInputs(&inputs),
      mHead(HeadOf(video)),
      mWidth(video.width),
      mHeight(video.height),
      mDepth(IsV210(FormatOf(video)) ? 10 : 8),
      mSampleBytes(IsV210(FormatOf(video)) ? 2 : 1) {
    mLumaBytes = static_cast<size_t>(mWidth) * mSampleBytes;
    mChromaBytes = (static_cast<size_t>(mWidth) + 1) / 2 * mSampleBytes;
    mStripRows = static_cast<int>(std::clamp<size_t>(kStripBytes / std::max<size_t>(mLumaBytes, 1),
                                                     1, static_cast<size_t>(std::max(mHeight, 1))));
    mLuma.resize(static_cast<size_t>(mStripRows) * mLumaBytes);
    mBlue.resize(static_cast<size_t>(mHeight) * mChromaBytes);
    mRed.resize(mBlue.size());
}

PrPixelFormat Y4mOutput::Format() const {
    return mDepth == 10 ? PrPixelFormat_V210_422_10u_601 : PrPixelFormat_UYVY_422_8u_601;
}

Problem Y4mOutput::Open() {
    if (Problem problem = mFile.Open(mPlace, *mInputs)) {
        return problem;
    }
    mIsOpen = true;
    errno = 0;
    return std::fputs(mHead.c_str(), mFile.Stream()) >= 0 ? Problem() : mFile.Failure();
}

Problem Y4mOutput::Write(int64_t /*frame*/, const kvx_hostkit::PixelBufferView& view,
                         std::shared_ptr<const void> /*hold*/) {
    const auto width = static_cast<size_t>(mWidth);
    return WritePlanes([=](int row, uint8_t* luma, uint8_t* blue, uint8_t* red) {
        const char* const samples = view.pixels + static_cast<ptrdiff_t>(row) * view.rowBytes;
        mDepth == 10 ? SplitRow10(samples, width, luma, blue, red)
                     : SplitRow8(samples, width, luma, blue, red);
    });
}

Problem Y4mOutput::WriteZeros(int64_t /*frame*/) {
    const auto fill = [this](int level, uint8_t* to, size_t bytes) {
        const int sample = level << (mDepth - 8);
        for (size_t place = 0; place < bytes; ++place) {
            const bool isHigh = place % mSampleBytes != 0;
            to[place] = static_cast<uint8_t>(isHigh ? sample >> 8 : sample);
        }
    };
    return WritePlanes([=](int, uint8_t* luma, uint8_t* blue, uint8_t* red) {
        fill(16, luma, mLumaBytes);
        fill(128, blue, mChromaBytes);
        fill(128, red, mChromaBytes);
    });
}

Problem Y4mOutput::WritePlanes(const MakeRow& makeRow) {
    errno = 0;
    const auto put = [this](const void* bytes, size_t size) {
        return std::fwrite(bytes, 1, size, mFile.Stream()) == size;
    };
    bool isWritten = std::fputs("FRAME\n", mFile.Stream()) >= 0;
    for (int first = 0; isWritten && first < mHeight; first += mStripRows) {
        const int end = std::min(mHeight, first + mStripRows);
        uint8_t* luma = mLuma.data();
        for (int row = first; row < end; ++row, luma += mLumaBytes) {
            const size_t chroma = static_cast<size_t>(row) * mChromaBytes;
            makeRow(row, luma, mBlue.data() + chroma, mRed.data() + chroma);
        }
        isWritten = put(mLuma.data(), static_cast<size_t>(luma - mLuma.data()));
    }
    isWritten = isWritten && put(mBlue.data(), mBlue.size()) && put(mRed.data(), mRed.size());
    return isWritten ? Problem() : mFile.Failure();
}

Problem Y4mOutput::Finish() {
    return mIsOpen ? mFile.Finish() : Problem();
}

}  // namespace kvx_cli
