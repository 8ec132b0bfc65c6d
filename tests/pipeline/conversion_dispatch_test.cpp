// A frame's way from the file to the host's pixels, for each source and each destination.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "convert/naive_pixel_family.h"
#include "convert/video/r210.h"
#include "convert/video/uyvy.h"
#include "convert/video/v210.h"
#include "host/host_test.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/pixel_buffers.h"
#include "hostkit/record_block.h"
#include "pipeline/async_import_module.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"

namespace {

using namespace std::chrono_literals;
using namespace KVX::Converter::Video;

using kvx_hostkit::Clip;
using kvx_hostkit::FrameSource;
using kvx_hostkit::kFreshPixel;
using kvx_hostkit::PixelBuffers;
using kvx_hostkit::PixelBufferView;
using kvx_test::Bytes;
using kvx_test::LogCapture;
using kvx_test::MovieOf;

constexpr auto kTimeLimit = 30s;
constexpr size_t kPage = 4096;
constexpr size_t kSlack = 4096;

using ConvertTo = long(const char* src, int srcRowBytes, int dstPixelFormat, char* dst,
                       int dstRowBytes, int width, int height, ColourSpace colourSpace,
                       ConversionMode mode);

struct Source {
    const char* format;
    ConvertTo* convert;
    std::vector<PrPixelFormat> converted;  // through the converter
    std::vector<PrPixelFormat> copied;
    std::vector<PrPixelFormat> refused;  // at the request
    std::string name;                    // in the log
};

const std::vector<PrPixelFormat> kBGRA = {PrPixelFormat_BGRA_4444_8u, PrPixelFormat_BGRA_4444_16u,
                                          PrPixelFormat_BGRA_4444_32f};
const std::vector<PrPixelFormat> kUYVY = {PrPixelFormat_UYVY_422_8u_601,
                                          PrPixelFormat_UYVY_422_8u_709};
const std::vector<PrPixelFormat> kV210 = {PrPixelFormat_V210_422_10u_601,
                                          PrPixelFormat_V210_422_10u_709};

std::vector<PrPixelFormat> Joined(std::vector<PrPixelFormat> formats,
                                  const std::vector<PrPixelFormat>& more) {
    formats.insert(formats.end(), more.begin(), more.end());
    return formats;
}

const std::vector<Source> kSources = {
    {"2vuy", &uyvy::ConvertTo, kBGRA, kUYVY, Joined(kV210, {PrPixelFormat_RGB_444_10u}),
     "kvxFormat8BitYUV"},
    {"2Vuy", &uyvy::ConvertTo, kBGRA, kUYVY, Joined(kV210, {PrPixelFormat_RGB_444_10u}), "2Vuy"},
    {"v210", &v210::ConvertTo, kBGRA, kV210, Joined(kUYVY, {PrPixelFormat_RGB_444_10u}),
     "kvxFormat10BitYUV"},
    {"r210", &r210::ConvertTo, kBGRA, {}, Joined(kUYVY, kV210), "kvxFormat10BitRGB"},
};

int FileRowBytes(const std::string& format, int width) {
    if (format == "r210") {
        return (width + 63) / 64 * 256;
    }
    return format == "v210" ? (width + 47) / 48 * 128 : 2 * width;
}

// Bytes at a chosen distance after a page boundary, with room after them.
class PlacedBytes {
  public:
    PlacedBytes(size_t size, size_t distance, uint8_t fill)
        : mBytes(kPage + distance + size + kSlack, fill) {
        const size_t past = reinterpret_cast<uintptr_t>(mBytes.data()) % kPage;
        mStart = mBytes.data() + (past == 0 ? 0 : kPage - past) + distance;
    }
    char* Get() { return reinterpret_cast<char*>(mStart); }

  private:
    std::vector<uint8_t> mBytes;
    uint8_t* mStart;
};

Bytes RowOf(const char* pixels, int rowBytes, int row, int length) {
    const char* const start = pixels + static_cast<ptrdiff_t>(row) * rowBytes;
    return Bytes(start, static_cast<size_t>(length));
}

class ConversionDispatch : public kvx_test::HostTest {
  protected:
    static constexpr int kHeight = 5;
    static constexpr int kFrames = 3;

    // Opens a movie whose samples are exactly frames, unless `sampleSize` says otherwise.
    void Open(const std::string& format, int width, int64_t sampleSize = 0) {
        mFormat = format;
        mWidth = width;
        mRowBytes = FileRowBytes(format, width);
        mSampleSize = sampleSize != 0 ? sampleSize : static_cast<int64_t>(mRowBytes) * kHeight;
        mSource = nullptr;
        mClip = nullptr;
        mClip = std::make_unique<Clip>(importer, WriteFrames());
        ASSERT_EQ(mClip->Open(), imNoErr);
        mSource = std::make_unique<FrameSource>(*mClip);
        ASSERT_EQ(mSource->Open(), imNoErr);
    }

    // The media is the last of the file, so that reads end with it.
    std::string WriteFrames() {
        kvx_test::VideoDescription description;
        description.format = Bytes(mFormat);
        description.width = mWidth;
        description.height = kHeight;
        kvx_test::MovieFileLayout layout;
        layout.movieFirst = true;
        return kvx_test::WriteMovie(
            directory,
            MovieOf({kvx_test::VideoTrackRecipe(description, static_cast<uint32_t>(mSampleSize),
                                                kFrames, 24000, 1000, mMediaOffset)}),
            layout);
    }

    // Asks for a frame and waits for it. The caller disposes of it; null if it was refused.
    PPixHand Deliver(PrPixelFormat format, int frame) {
        const int64_t time = FrameSource::TicksPerFrame(*mClip) * frame;
        cache.Forget();
        if (mSource->Request(time, {format}) != 0 ||
            !cache.WaitForFrame(mClip->ImporterID(), frame, kTimeLimit)) {
            return nullptr;
        }
        return cache.Take(mClip->ImporterID(), frame);
    }

    // The sample where the read puts it: as far after a page boundary as in the file.
    PlacedBytes SampleInMemory(int frame) const {
        const auto offset = mMediaOffset + static_cast<uint64_t>(frame * mSampleSize);
        PlacedBytes bytes(static_cast<size_t>(mSampleSize), offset % kPage, 0);
        const Bytes sample = kvx_test::PatternSample(0, frame, static_cast<uint64_t>(mSampleSize));
        std::memcpy(bytes.Get(), sample.data(), sample.size());
        return bytes;
    }

    // What the converter makes of the same bytes when it is called by itself.
    void ExpectConverted(ConvertTo* convert, PrPixelFormat converterFormat,
                         const PixelBufferView& view, int frame) const {
        PlacedBytes source = SampleInMemory(frame);
        PlacedBytes expected(view.dataSize, buffers.settings.misalignment, kFreshPixel);
        {
            const LogCapture quiet;
            ASSERT_EQ(
                convert(source.Get(), mRowBytes, static_cast<int>(converterFormat), expected.Get(),
                        view.rowBytes, mWidth, kHeight, kColourSpaceAuto, kConversionModeAuto),
                0);
        }
        const int length = kvx_hostkit::TightRowBytes(view.format, mWidth);
        for (int row = 0; row < kHeight; ++row) {
            EXPECT_EQ(RowOf(view.pixels, view.rowBytes, row, length),
                      RowOf(expected.Get(), view.rowBytes, row, length))
                << mFormat << " row " << row;
        }
    }

    void ExpectCopied(const PixelBufferView& view, int frame) const {
        PlacedBytes source = SampleInMemory(frame);
        for (int row = 0; row < kHeight; ++row) {
            EXPECT_EQ(RowOf(view.pixels, view.rowBytes, row, mRowBytes),
                      RowOf(source.Get(), mRowBytes, row, mRowBytes))
                << mFormat << " row " << row;
        }
    }

    // RGB1 rows are the naive form's.
    void ExpectRGB10(const PixelBufferView& view, int frame) const {
        PlacedBytes source = SampleInMemory(frame);
        for (int row = 0; row < kHeight; ++row) {
            const auto* words = reinterpret_cast<const uint8_t*>(source.Get()) +
                                static_cast<ptrdiff_t>(row) * mRowBytes;
            const std::vector<uint8_t> expected =
                kvx_test::NaiveRow(kvx_test::FindNaiveConversion("10RGBX_LE_FULL"), words, mWidth);
            EXPECT_EQ(RowOf(view.pixels, view.rowBytes, row, 4 * mWidth),
                      Bytes(expected.begin(), expected.end()))
                << "row " << row;
        }
    }

    static bool IsFresh(const PixelBufferView& view) {
        return std::all_of(view.pixels, view.pixels + view.dataSize,
                           [](char byte) { return static_cast<uint8_t>(byte) == kFreshPixel; });
    }

    // The line of the conversion thread comes after the frame has reached the cache.
    static std::string TextWhenLong(const LogCapture& log, size_t length) {
        const auto end = std::chrono::steady_clock::now() + kTimeLimit;
        while (log.Text().size() < length && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(1ms);
        }
        return log.Text();
    }

    PixelBuffers buffers{host, [] {
                             kvx_hostkit::PixelBufferSettings settings;
                             settings.rowBytesMultiple = 16;
                             return settings;
                         }()};
    kvx_hostkit::FrameCache cache{host};
    uint64_t mMediaOffset = kvx_test::kMediaOffset;
    std::string mFormat;
    int mWidth = 0;
    int mRowBytes = 0;
    int64_t mSampleSize = 0;
    std::unique_ptr<Clip> mClip;
    std::unique_ptr<FrameSource> mSource;
};

TEST_F(ConversionDispatch, EverySourceToEachOfItsDestinations) {
    for (const Source& source : kSources) {
        // Rec. 601 and Rec. 709.
        for (const int width : {48, 720, 728}) {
            Open(source.format, width);
            for (int frame = 0; frame < kFrames; ++frame) {
                const LogCapture log;
                for (const PrPixelFormat format : source.converted) {
                    const PPixHand ppix = Deliver(format, frame);
                    ASSERT_NE(ppix, nullptr) << source.format;
                    ExpectConverted(source.convert, format, PixelBuffers::View(ppix), frame);
                    PixelBuffers::Dispose(ppix);
                }
                for (const PrPixelFormat format : source.copied) {
                    const PPixHand ppix = Deliver(format, frame);
                    ASSERT_NE(ppix, nullptr) << source.format;
                    EXPECT_EQ(PixelBuffers::View(ppix).format, format);
                    ExpectCopied(PixelBuffers::View(ppix), frame);
                    PixelBuffers::Dispose(ppix);
                }
                EXPECT_EQ(log.Text(), "");
            }
        }
    }
    EXPECT_EQ(buffers.DamagedCount(), 0);
}

// The bytes of the file after the header of the importer's own format.
TEST_F(ConversionDispatch, EverySourceAsItIs) {
    for (const Source& source : kSources) {
        Open(source.format, 50);
        const LogCapture log;
        const PPixHand ppix = Deliver(kKVXCustomPixelFormat, 1);
        ASSERT_NE(ppix, nullptr);
        const PixelBufferView view = PixelBuffers::View(ppix);
        uint32_t header[5];
        std::memcpy(header, view.pixels, sizeof(header));
        const char* const sample = view.pixels + header[2] + header[4];
        EXPECT_EQ(RowOf(sample, 0, 0, static_cast<int>(mSampleSize)),
                  kvx_test::PatternSample(0, 1, static_cast<uint64_t>(mSampleSize)));
        PixelBuffers::Dispose(ppix);
        EXPECT_EQ(log.Text(), "");
    }
}

TEST_F(ConversionDispatch, RefusedAtTheRequest) {
    for (const Source& source : kSources) {
        Open(source.format, 48);
        for (const PrPixelFormat format : source.refused) {
            const LogCapture log;
            EXPECT_EQ(mSource->Request(0, {format}), 22);
            EXPECT_EQ(log.Text(),
                      "ChooseDestinationFormat: Failed to pick a destination pixel format for "
                      "source format " +
                          source.name +
                          "\n"
                          "InitiateAsyncRead: ChooseDestinationFormat returned 22\n");
        }
    }
    EXPECT_EQ(buffers.CreatedCount(), 0);
}

TEST_F(ConversionDispatch, FloatsWithoutAlphaFromRGB) {
    Open("r210", 48);
    const LogCapture log;
    const PPixHand ppix = Deliver(PrPixelFormat_BGRX_4444_32f, 1);
    ASSERT_NE(ppix, nullptr);
    EXPECT_EQ(PixelBuffers::View(ppix).format, PrPixelFormat_BGRX_4444_32f);
    ExpectConverted(&r210::ConvertTo, PrPixelFormat_BGRA_4444_32f, PixelBuffers::View(ppix), 1);
    PixelBuffers::Dispose(ppix);
    EXPECT_EQ(log.Text(), "");
}

// The frame reaches the cache as the host made it.
TEST_F(ConversionDispatch, FloatsWithoutAlphaFromYUV) {
    for (const char* const format : {"2vuy", "2Vuy", "v210"}) {
        Open(format, 48);
        const std::string expected =
            "Unsupported pixel format\nConvert: " +
            std::string(std::strcmp(format, "v210") == 0 ? "v210" : "uyvy") +
            "::ConvertTo returned 22\n"
            "RunThreadPass: ImportFrame::Convert returned 22\n";
        const LogCapture log;
        const PPixHand ppix = Deliver(PrPixelFormat_BGRX_4444_32f, 1);
        ASSERT_NE(ppix, nullptr);
        EXPECT_TRUE(IsFresh(PixelBuffers::View(ppix)));
        PixelBuffers::Dispose(ppix);
        EXPECT_EQ(TextWhenLong(log, expected.size()), expected);
    }
}

TEST_F(ConversionDispatch, TenBitRGB) {
    for (const int width : {48, 720, 1280}) {
        Open("r210", width);
        const LogCapture log;
        const PPixHand ppix = Deliver(PrPixelFormat_RGB_444_10u, 2);
        ASSERT_NE(ppix, nullptr);
        ExpectRGB10(PixelBuffers::View(ppix), 2);
        PixelBuffers::Dispose(ppix);
        EXPECT_EQ(log.Text(), "");
    }
}

// Neither the file's offsets nor the host's buffers have to be aligned.
TEST_F(ConversionDispatch, TenBitRGBAtAnyAlignment) {
    buffers.settings.rowBytesMultiple = 1;
    for (const int width : {1, 3, 37, 50}) {
        for (const uint64_t offset : {kvx_test::kMediaOffset, kvx_test::kMediaOffset + 5}) {
            for (const size_t misalignment : {0, 4, 16, 1}) {
                mMediaOffset = offset;
                buffers.settings.misalignment = misalignment;
                Open("r210", width);
                const PPixHand ppix = Deliver(PrPixelFormat_RGB_444_10u, 1);
                ASSERT_NE(ppix, nullptr);
                EXPECT_EQ(PixelBuffers::View(ppix).rowBytes, 4 * width);
                ExpectRGB10(PixelBuffers::View(ppix), 1);
                PixelBuffers::Dispose(ppix);
            }
        }
    }
    EXPECT_EQ(buffers.DamagedCount(), 0);
}

TEST_F(ConversionDispatch, MisalignedPixelsRevertToScalarCode) {
    buffers.settings.misalignment = 4;
    for (const Source& source : kSources) {
        Open(source.format, 48);
        for (const PrPixelFormat format : source.converted) {
            const LogCapture log;
            const PPixHand ppix = Deliver(format, 1);
            ASSERT_NE(ppix, nullptr);
            EXPECT_NE(log.Text().find("ConvertTo: Reverting to scalar code"), std::string::npos);
            ExpectConverted(source.convert, format, PixelBuffers::View(ppix), 1);
            PixelBuffers::Dispose(ppix);
        }
    }
}

TEST_F(ConversionDispatch, MisalignedSamples) {
    mMediaOffset = kvx_test::kMediaOffset + 7;
    for (const Source& source : kSources) {
        Open(source.format, 48);
        for (const PrPixelFormat format : source.converted) {
            const LogCapture log;
            const PPixHand ppix = Deliver(format, 1);
            ASSERT_NE(ppix, nullptr);
            ExpectConverted(source.convert, format, PixelBuffers::View(ppix), 1);
            PixelBuffers::Dispose(ppix);
        }
    }
}

TEST_F(ConversionDispatch, SampleTooSmallForItsFrame) {
    for (const Source& source : kSources) {
        Open(source.format, 48, 300);
        const std::string expected = "Convert: Sample too small for its frame: 300 of " +
                                     std::to_string(FileRowBytes(source.format, 48) * kHeight) +
                                     " bytes\nRunThreadPass: ImportFrame::Convert returned 22\n";
        const LogCapture log;
        const PPixHand ppix = Deliver(PrPixelFormat_BGRA_4444_8u, kFrames - 1);
        ASSERT_NE(ppix, nullptr);
        EXPECT_TRUE(IsFresh(PixelBuffers::View(ppix)));
        PixelBuffers::Dispose(ppix);
        EXPECT_EQ(TextWhenLong(log, expected.size()), expected);
    }
}

// One byte is missing, or none.
TEST_F(ConversionDispatch, SampleOfJustTheFrame) {
    const int64_t whole = static_cast<int64_t>(FileRowBytes("2vuy", 48)) * kHeight;
    Open("2vuy", 48, whole - 1);
    {
        const std::string expected =
            "Convert: Sample too small for its frame: 479 of 480 bytes\n"
            "RunThreadPass: ImportFrame::Convert returned 22\n";
        const LogCapture log;
        PixelBuffers::Dispose(Deliver(PrPixelFormat_BGRA_4444_8u, kFrames - 1));
        EXPECT_EQ(TextWhenLong(log, expected.size()), expected);
    }
    Open("2vuy", 48, whole);
    const LogCapture log;
    PixelBuffers::Dispose(Deliver(PrPixelFormat_BGRA_4444_8u, kFrames - 1));
    EXPECT_EQ(log.Text(), "");
}

// Movies in these formats are not imported, but their frames have their way all the same.
class UnimportedSource : public ConversionDispatch {
  protected:
    // Delivers frame 1 of a movie in a format, by a module made for its track.
    PPixHand DeliverFrom(const std::string& format, PrPixelFormat destination) {
        mFormat = format;
        mWidth = 48;
        mSampleSize = 600;
        const std::unique_ptr<KVX::QT::Movie> movie(KVX::QT::Movie::Create(WriteFrames()));
        if (movie == nullptr) {
            return nullptr;
        }
        const int32_t importerID = kvx_hostkit::Host::NextImporterID();
        KVX::AsyncImportModule* const module = KVX::AsyncImportModule::Create(
            importerID, kvx_hostkit::Host::BasicSuite(), movie->mVideoTracks.front());
        if (module == nullptr) {
            return nullptr;
        }
        imFrameFormat offered = {0, 0, destination};
        kvx_hostkit::RecordBlock<imSourceVideoRec> record;
        record->frameTime = module->mTicksPerFrame;
        record->frameFormats = &offered;
        record->frameFormatCount = 1;
        const bool isAdded = module->InitiateAsyncRead(record.Get()) == 0 &&
                             cache.WaitForFrame(importerID, 1, kTimeLimit);
        module->Close();
        return isAdded ? cache.Take(importerID, 1) : nullptr;
    }
};

TEST_F(UnimportedSource, CompressedFramesPassSilently) {
    for (const char* const format : {"dvcp", "dvsd", "apcn", "jpeg"}) {
        for (const PrPixelFormat destination :
             {PrPixelFormat_UYVY_422_8u_601, PrPixelFormat_BGRA_4444_8u,
              PrPixelFormat_BGRX_4444_32f}) {
            const LogCapture log;
            const PPixHand ppix = DeliverFrom(format, destination);
            ASSERT_NE(ppix, nullptr) << format;
            EXPECT_TRUE(IsFresh(PixelBuffers::View(ppix))) << format;
            PixelBuffers::Dispose(ppix);
            EXPECT_EQ(log.Text(), "");
        }
    }
}

TEST_F(UnimportedSource, UnknownFormatsFail) {
    const std::string expected =
        "Convert: Invalid source data format for conversion: Unknown (1634743400, 0x61703468, "
        "'ap4h')\n"
        "RunThreadPass: ImportFrame::Convert returned 22\n";
    const LogCapture log;
    const PPixHand ppix = DeliverFrom("ap4h", PrPixelFormat_BGRA_4444_8u);
    ASSERT_NE(ppix, nullptr);
    EXPECT_TRUE(IsFresh(PixelBuffers::View(ppix)));
    PixelBuffers::Dispose(ppix);
    EXPECT_EQ(TextWhenLong(log, expected.size()), expected);
}

}  // namespace
