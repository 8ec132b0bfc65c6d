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

// Three samples of ten bits in each little-endian word, the first lowest.
void UnpackRow10(const char* row, std::vector<uint16_t>& samples) {
    for (size_t sample = 0; sample < samples.size(); row += sizeof(uint32_t)) {
        uint32_t word;
        std::memcpy(&word, row, sizeof word);
        for (int shift = 0; shift < 30 && sample < samples.size(); shift += 10, ++sample) {
            samples[sample] = static_cast<uint16_t>(word >> shift & 0x3FF);
        }
    }
}

// `count` of every `step` samples from `first` on. Ten bits take two bytes, the low one first.
void WriteSamples(const std::vector<uint16_t>& samples, size_t first, size_t step, size_t count,
                  size_t sampleBytes, uint8_t* plane) {
    const uint16_t* sample = samples.data() + first;
    if (sampleBytes == 1) {
        for (size_t each = 0; each < count; ++each, sample += step) {
            plane[each] = static_cast<uint8_t>(*sample);
        }
        return;
    }
    for (size_t each = 0; each < count; ++each, sample += step) {
        plane[2 * each] = static_cast<uint8_t>(*sample);
        plane[2 * each + 1] = static_cast<uint8_t>(*sample >> 8);
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
    mRow.resize(4 * chromaWidth);
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
            UnpackRow10(samples, mRow);
        } else {
            const auto* const bytes = reinterpret_cast<const uint8_t*>(samples);
            std::copy_n(bytes, 2 * width, mRow.begin());
            if (width % 2 != 0) {
                // The row ends between a pair's pixels: its Cr is that of the pair before.
                mRow[2 * width] = width > 1 ? mRow[2 * width - 4] : 128;
            }
        }
        WriteSamples(mRow, 1, 2, width, mSampleBytes, luma);
        WriteSamples(mRow, 0, 4, chromaWidth, mSampleBytes, blue);
        WriteSamples(mRow, 2, 4, chromaWidth, mSampleBytes, red);
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
