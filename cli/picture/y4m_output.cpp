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

// Bytes as they lie: Cb Y' Cr Y'.
void SplitRow8(const uint8_t* __restrict row, size_t width, uint8_t* __restrict luma,
               uint8_t* __restrict blue, uint8_t* __restrict red) {
    for (size_t x = 0; x < width; ++x) {
        luma[x] = row[2 * x + 1];
    }
    const size_t pairs = width / 2;
    for (size_t pair = 0; pair < pairs; ++pair) {
        blue[pair] = row[4 * pair];
        red[pair] = row[4 * pair + 2];
    }
    if (width % 2 != 0) {
        // The row ends between a pair's pixels: its Cr is that of the pair before.
        blue[pairs] = row[4 * pairs];
        red[pairs] = pairs > 0 ? red[pairs - 1] : 128;
    }
}

// Ten bits take two bytes in a plane, the low one first.

uint32_t WordAt(const char* from) {
    uint32_t word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

void PutTwo(uint32_t first, uint32_t second, uint8_t* to) {
    const uint32_t both = first | second << 16;
    std::memcpy(to, &both, sizeof both);
}

void PutOne(uint32_t only, uint8_t* to) {
    const auto low = static_cast<uint16_t>(only);
    std::memcpy(to, &low, sizeof low);
}

constexpr size_t kGroupPixels = 6;
constexpr size_t kGroupBytes = 16;
constexpr size_t kGroupLuma = 12;
constexpr size_t kGroupChroma = 6;

// Six pixels are four little-endian words of three samples each, the first lowest: Cb Y' Cr,
// Y' Cb Y', Cr Y' Cb, Y' Cr Y'.
void SplitGroups10(const char* __restrict from, size_t groups, uint8_t* __restrict luma,
                   uint8_t* __restrict blue, uint8_t* __restrict red) {
    for (size_t group = 0; group < groups; ++group) {
        const char* const at = from + group * kGroupBytes;
        const auto sample = [at](int word, int place) {
            return WordAt(at + 4 * word) >> 10 * place & 0x3FF;
        };
        uint8_t* const toLuma = luma + group * kGroupLuma;
        PutTwo(sample(0, 1), sample(1, 0), toLuma);
        PutTwo(sample(1, 2), sample(2, 1), toLuma + 4);
        PutTwo(sample(3, 0), sample(3, 2), toLuma + 8);
        uint8_t* const toBlue = blue + group * kGroupChroma;
        PutOne(sample(0, 0), toBlue);
        PutOne(sample(1, 1), toBlue + 2);
        PutOne(sample(2, 2), toBlue + 4);
        uint8_t* const toRed = red + group * kGroupChroma;
        PutOne(sample(0, 2), toRed);
        PutOne(sample(2, 0), toRed + 2);
        PutOne(sample(3, 1), toRed + 4);
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
    const auto width = static_cast<size_t>(mWidth);
    const size_t chromaWidth = (width + 1) / 2;
    mPlanes.resize((width + 2 * chromaWidth) * static_cast<size_t>(mHeight) * mSampleBytes);
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
    const size_t chromaWidth = (width + 1) / 2;
    uint8_t* luma = mPlanes.data();
    uint8_t* blue = luma + width * static_cast<size_t>(mHeight) * mSampleBytes;
    uint8_t* red = blue + chromaWidth * static_cast<size_t>(mHeight) * mSampleBytes;
    for (int row = 0; row < mHeight; ++row) {
        const char* const samples = view.pixels + static_cast<ptrdiff_t>(row) * view.rowBytes;
        if (mDepth == 10) {
            SplitRow10(samples, width, luma, blue, red);
        } else {
            SplitRow8(reinterpret_cast<const uint8_t*>(samples), width, luma, blue, red);
        }
        luma += width * mSampleBytes;
        blue += chromaWidth * mSampleBytes;
        red += chromaWidth * mSampleBytes;
    }
    return WritePlanes();
}

Problem Y4mOutput::WriteZeros(int64_t /*frame*/) {
    const size_t lumaBytes =
        static_cast<size_t>(mWidth) * static_cast<size_t>(mHeight) * mSampleBytes;
    const int scale = 1 << (mDepth - 8);
    for (size_t place = 0; place < mPlanes.size(); place += mSampleBytes) {
        const int level = (place < lumaBytes ? 16 : 128) * scale;
        mPlanes[place] = static_cast<uint8_t>(level);
        if (mSampleBytes == 2) {
            mPlanes[place + 1] = static_cast<uint8_t>(level >> 8);
        }
    }
    return WritePlanes();
}

Problem Y4mOutput::WritePlanes() {
    errno = 0;
    const bool isWritten =
        std::fputs("FRAME\n", mFile.Stream()) >= 0 &&
        std::fwrite(mPlanes.data(), 1, mPlanes.size(), mFile.Stream()) == mPlanes.size();
    return isWritten ? Problem() : mFile.Failure();
}

Problem Y4mOutput::Finish() {
    return mIsOpen ? mFile.Finish() : Problem();
}

}  // namespace kvx_cli
