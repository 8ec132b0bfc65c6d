// Frames through the loaded module: every source in every format that a host can name, with pixels
// and samples at aligned and at misaligned places, against the plain models of the conversions.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "convert/geometry/roads.h"
#include "host/host_test.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/loaded_module.h"
#include "hostkit/pixel_buffers.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::FrameSource;
using kvx_hostkit::Importer;
using kvx_hostkit::kFreshPixel;
using kvx_hostkit::LoadedModule;
using kvx_hostkit::PixelBuffers;
using kvx_hostkit::PixelBufferView;
using kvx_test::Bytes;
using kvx_test::LogCapture;
using kvx_test::geometry::FileRowBytes;
using kvx_test::geometry::Matrix;
using kvx_test::geometry::Road;
using kvx_test::geometry::RoadOf;
using kvx_test::geometry::RoutineFor;
using kvx_test::geometry::TakesVectorCode;
using kvx_test::geometry::VisibleBytes;

constexpr std::chrono::seconds kTimeLimit(30);
constexpr int kHeight = 5;
constexpr int kFrame = 1;  // of two

const std::vector<PrPixelFormat> kAllFormats = {
    PrPixelFormat_Any,
    PrPixelFormat_BGRA_4444_8u,
    PrPixelFormat_BGRA_4444_16u,
    PrPixelFormat_BGRA_4444_32f,
    PrPixelFormat_BGRX_4444_32f,
    PrPixelFormat_VUYA_4444_8u,
    PrPixelFormat_VUYA_4444_32f,
    PrPixelFormat_ARGB_4444_8u,
    PrPixelFormat_ARGB_4444_16u,
    PrPixelFormat_ARGB_4444_32f,
    PrPixelFormat_YUYV_422_8u_601,
    PrPixelFormat_YUYV_422_8u_709,
    PrPixelFormat_UYVY_422_8u_601,
    PrPixelFormat_UYVY_422_8u_709,
    PrPixelFormat_RGB_444_10u,
    PrPixelFormat_V210_422_10u_601,
    PrPixelFormat_V210_422_10u_709,
    PrPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_601,
    PrPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_601,
    PrPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_709,
    PrPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_709,
    PrPixelFormat_NTSCDV25,
    PrPixelFormat_PALDV25,
    PrPixelFormat_NTSCDV50,
    PrPixelFormat_PALDV50,
    PrPixelFormat_NTSCDV100_720p,
    PrPixelFormat_PALDV100_720p,
    PrPixelFormat_NTSCDV100_1080i,
    PrPixelFormat_PALDV100_1080i,
    PrPixelFormat_Raw,
    PrPixelFormat_Invalid,
    kKVXCustomPixelFormat,
};

struct Placement {
    size_t pixels;         // of the host's, after a page boundary
    int rowBytesMultiple;  // of the host's rows
    int extraRowBytes;
    uint64_t media;  // of the media in the file
    kvx_hostkit::RowOrder rows = kvx_hostkit::RowOrder::kRising;
};

const Placement kPlacements[] = {
    {0, 16, 0, kvx_test::kMediaOffset},     {4, 16, 0, kvx_test::kMediaOffset},
    {0, 1, 4, kvx_test::kMediaOffset},      {0, 16, 0, kvx_test::kMediaOffset + 4},
    {1, 1, 13, kvx_test::kMediaOffset + 5}, {16, 16, 48, kvx_test::kMediaOffset + 512},
};

// Rows that fall, or all in one place. Steps that go past the width would spill into rows that are
// done, so widths leave nothing over.
const Placement kOtherRows[] = {
    {0, 16, 0, kvx_test::kMediaOffset, kvx_hostkit::RowOrder::kFalling},
    {4, 16, 0, kvx_test::kMediaOffset, kvx_hostkit::RowOrder::kFalling},
    {0, 1, 7, kvx_test::kMediaOffset + 4, kvx_hostkit::RowOrder::kFalling},
    {0, 16, 0, kvx_test::kMediaOffset, kvx_hostkit::RowOrder::kOnTopOfEachOther},
    {4, 16, 0, kvx_test::kMediaOffset + 4, kvx_hostkit::RowOrder::kOnTopOfEachOther},
};

class LoadedDispatch : public kvx_test::HostTest, public testing::WithParamInterface<const char*> {
  protected:
    // Stays loaded to the end of the process, as it does with a host: its threads live that long.
    static const LoadedModule* Module() {
        std::string error;
        static const LoadedModule* const module =
            LoadedModule::Load(LoadedModule::BuiltPath(), error).release();
        EXPECT_NE(module, nullptr) << error;
        return module;
    }

    void SetUp() override {
        ASSERT_NE(Module(), nullptr);
        mLoaded = std::make_unique<Importer>(host, Module()->Entries());
    }

    void ExpectAllFormats(int width, const Placement& placement) {
        mWidth = width;
        mRowBytes = FileRowBytes(GetParam(), width);
        mSampleSize = mRowBytes * kHeight;
        mSampleOffset = placement.media + static_cast<uint64_t>(kFrame * mSampleSize);
        buffers.settings.misalignment = placement.pixels;
        buffers.settings.rowBytesMultiple = placement.rowBytesMultiple;
        buffers.settings.extraRowBytes = placement.extraRowBytes;
        buffers.settings.rows = placement.rows;

        kvx_test::VideoDescription description;
        description.format = GetParam();
        description.width = width;
        description.height = kHeight;
        const std::string path = Write(kvx_test::MovieOf({kvx_test::VideoTrackRecipe(
            description, static_cast<uint32_t>(mSampleSize), 2, 24000, 1000, placement.media)}));
        Clip clip(*mLoaded, path);
        ASSERT_EQ(clip.Open(), imNoErr);
        FrameSource source(clip);
        ASSERT_EQ(source.Open(), imNoErr);
        const int64_t time = FrameSource::TicksPerFrame(clip) * kFrame;
        for (const PrPixelFormat format : kAllFormats) {
            SCOPED_TRACE(testing::Message()
                         << GetParam() << " to " << std::hex << format << std::dec << ", " << width
                         << " wide, pixels at " << placement.pixels << ", media at "
                         << placement.media);
            const Road road = RoadOf(GetParam(), format);
            const LogCapture log;
            if (road == Road::kRefused) {
                EXPECT_EQ(source.Request(time, {format}), 22);
                EXPECT_NE(log.Text().find("Failed to pick a destination pixel format"),
                          std::string::npos);
                continue;
            }
            cache.Forget();
            ASSERT_EQ(source.Request(time, {format}), 0);
            ASSERT_TRUE(cache.WaitForFrame(clip.ImporterID(), kFrame, kTimeLimit));
            PPixHand ppix = nullptr;
            ASSERT_EQ(source.Get(time, {format}, &ppix), 0);
            ExpectFrame(PixelBuffers::View(ppix), format, road, log.Text());
            PixelBuffers::Dispose(ppix);
        }
        cache.Forget();
    }

    void ExpectFrame(const PixelBufferView& view, PrPixelFormat format, Road road,
                     const std::string& log) const {
        EXPECT_EQ(view.format, format);
        const Bytes sample = kvx_test::PatternSample(0, kFrame, static_cast<uint64_t>(mSampleSize));
        if (road == Road::kFileBytes) {
            uint32_t header[5];
            std::memcpy(header, view.pixels, sizeof(header));
            EXPECT_EQ(Bytes(view.pixels + header[2] + header[4], sample.size()), sample);
            return;
        }
        EXPECT_EQ(view.width, mWidth);
        EXPECT_EQ(view.height, kHeight);
        const ptrdiff_t lowest = std::min<ptrdiff_t>(0, (kHeight - 1) * view.rowBytes);
        if (road == Road::kLeftFresh) {
            EXPECT_EQ(Bytes(view.pixels + lowest, view.dataSize),
                      Bytes(view.dataSize, static_cast<char>(kFreshPixel)));
            return;
        }
        const int visible = VisibleBytes(GetParam(), road, mWidth);
        const std::vector<char> frame = Expected(view, road, sample, log);
        const char* const expected = frame.data() - lowest;
        for (ptrdiff_t row = 0; row < kHeight; ++row) {
            const ptrdiff_t from = row * view.rowBytes;
            ASSERT_EQ(
                std::memcmp(view.pixels + from, expected + from, static_cast<size_t>(visible)), 0)
                << "row " << row;
        }
    }

    std::vector<char> Expected(const PixelBufferView& view, Road road, const Bytes& sample,
                               const std::string& log) const {
        constexpr size_t kSlack = 4096;  // steps of the models go past the last row
        std::vector<char> frame(view.dataSize + kSlack);
        char* pixels = frame.data() - std::min(0, (kHeight - 1) * view.rowBytes);
        int rowBytes = view.rowBytes;
        if (road == Road::kCopied) {
            for (ptrdiff_t row = 0; row < kHeight; ++row) {
                std::memcpy(pixels + row * rowBytes, sample.data() + row * mRowBytes,
                            static_cast<size_t>(mRowBytes));
            }
            return frame;
        }
        std::vector<char> source(sample.size() + kSlack);
        std::memcpy(source.data(), sample.data(), sample.size());
        const bool srcAligned = mSampleOffset % 16 == 0 && mRowBytes % 16 == 0;
        const bool dstAligned =
            reinterpret_cast<uintptr_t>(view.pixels) % 16 == 0 && view.rowBytes % 16 == 0;
        const bool vector = TakesVectorCode(GetParam(), road, srcAligned, dstAligned);
        EXPECT_EQ(log.find("Reverting to scalar code") != std::string::npos,
                  !vector && road != Road::kToRGB1);
        // This converter alone takes falling rows as the same memory from its lowest row up.
        if (std::strcmp(GetParam(), "v210") == 0 && rowBytes < 0) {
            pixels = frame.data();
            rowBytes = -rowBytes;
        }
        RoutineFor(GetParam(), road, vector)
            .mModel(source.data(), mRowBytes, pixels, rowBytes, mWidth, kHeight,
                    mWidth <= 720 ? Matrix::k601 : Matrix::k709);
        return frame;
    }

    PixelBuffers buffers{host};
    kvx_hostkit::FrameCache cache{host};
    std::unique_ptr<Importer> mLoaded;
    int mWidth = 0;
    int mRowBytes = 0;
    int mSampleSize = 0;
    uint64_t mSampleOffset = 0;
};

TEST_P(LoadedDispatch, EveryFormatAtEveryAlignment) {
    for (const int width : {1, 48, 50, 720, 722, 728, 30000}) {
        for (const Placement& placement : kPlacements) {
            ExpectAllFormats(width, placement);
            if (HasFatalFailure()) {
                return;
            }
        }
    }
    EXPECT_EQ(buffers.DamagedCount(), 0);
}

TEST_P(LoadedDispatch, RowsThatDoNotRise) {
    for (const int width : {48, 720}) {
        for (const Placement& placement : kOtherRows) {
            ExpectAllFormats(width, placement);
            if (HasFatalFailure()) {
                return;
            }
        }
    }
    EXPECT_EQ(buffers.DamagedCount(), 0);
}

INSTANTIATE_TEST_SUITE_P(Sources, LoadedDispatch, testing::Values("2vuy", "2Vuy", "v210", "r210"),
                         [](const testing::TestParamInfo<const char*>& info) {
                             return std::string("From_") + info.param;
                         });

}  // namespace
