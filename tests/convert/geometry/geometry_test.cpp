// Every routine of the video converters between guard pages: all widths, heights, offsets and row
// bytes, to the bit, with nothing read or written beyond what its steps take. Frames are drawn at
// random; the complete set of them is left to
//     kvx_tests --gtest_also_run_disabled_tests --gtest_filter='*Geometry*Complete*'
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "convert/geometry/guarded_memory.h"
#include "convert/geometry/routines.h"
#include "convert/oracle/noise.h"
#include "support/fnv1a.h"
#include "support/random.h"
#include "support/sanitizers.h"

namespace {

using namespace kvx_test::geometry;
using kvx_test::Random;
using kvx_test::exactness::Noise;

constexpr std::size_t kRoom = 1u << 20;
constexpr std::size_t kMargin = 64;  // watched beyond either end of what is written
constexpr char kUntouched = '\xA5';

// Without a sanitizer above 200,000 for all sixty routines.
int FramesEach() {
    return kvx_test::IsUnderSanitizer() ? 400 : 3400;
}

const std::vector<int>& Widths() {
    static const std::vector<int> widths = [] {
        std::vector<int> all;
        for (int width = 1; width <= 97; ++width) {
            all.push_back(width);
        }
        all.insert(all.end(), {719, 720, 721, 1919, 1920, 1921});
        return all;
    }();
    return widths;
}

constexpr int kHeights = 4;
constexpr int kOffsets = 16;

// By how much row bytes pass the pixels' own: not at all, by one byte, by sixteen; or downward.
enum class Rows { kExact, kOneMore, kSixteenMore, kNegative };
constexpr int kRowKinds = 4;

struct Frame {
    int mWidth;
    int mHeight;
    Rows mSrcRows;
    Rows mDstRows;
    Matrix mMatrix;
};

struct Place {
    int mSrcOffset;  // from a multiple of 16
    int mDstOffset;
    bool mSrcAtEnd;  // of its memory, otherwise at the beginning
    bool mDstAtEnd;
};

int RowBytes(const RowSize& row, int width, Rows rows, int one, bool inSixteens) {
    int bytes = row.Of(width) + (rows == Rows::kOneMore       ? one
                                 : rows == Rows::kSixteenMore ? 16
                                                              : 0);
    if (inSixteens) {
        bytes = (bytes + 15) / 16 * 16;
    }
    return rows == Rows::kNegative ? -bytes : bytes;
}

bool RowsInSixteens(const Routine& routine, int alignment, int offset) {
    return alignment == 16 || (routine.mRowsFollowPointer && offset == 0);
}

const char* NoiseOf(Samples samples) {
    return samples == Samples::kBytes   ? Noise<unsigned char>().Data()
           : samples == Samples::kWords ? Noise<unsigned short>().Data()
                                        : Noise<float>().Data();
}

// The last frame begun, for the log of a test that is ended by a guard page.
char sFrame[200];

void TellFrame(int signal) {
    // SA_RESETHAND has put the usual handler back; it comes next.
    const ssize_t written = write(STDERR_FILENO, sFrame, std::strlen(sFrame));
    static_cast<void>(written);
    raise(signal);
}

class Geometry : public testing::TestWithParam<Routine> {
  protected:
    void SetUp() override {
        struct sigaction action {};
        action.sa_handler = TellFrame;
        action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
        sigaction(SIGSEGV, &action, &mSavedSegv);
        sigaction(SIGBUS, &action, &mSavedBus);
    }
    void TearDown() override {
        sigaction(SIGSEGV, &mSavedSegv, nullptr);
        sigaction(SIGBUS, &mSavedBus, nullptr);
    }

    // The model's frame, which does not depend on where memory lies.
    void Prepare(const Frame& frame, int srcRowBytes, int dstRowBytes) {
        const Routine& routine = GetParam();
        mFrame = frame;
        mSrcRowBytes = srcRowBytes;
        mDstRowBytes = dstRowBytes;
        mRead = ReadExtent(routine, frame.mWidth, frame.mHeight, srcRowBytes);
        mWritten = WrittenExtent(routine, frame.mWidth, frame.mHeight, dstRowBytes);
        mSource = NoiseOf(routine.mSource) + frame.mWidth % 16 * 64;
        mExpected.assign(static_cast<std::size_t>(mWritten.mHigh - mWritten.mLow) + 2 * kMargin,
                         kUntouched);
        routine.mModel(mSource - mRead.mLow, srcRowBytes,
                       mExpected.data() + kMargin - mWritten.mLow, dstRowBytes, frame.mWidth,
                       frame.mHeight, frame.mMatrix);
    }

    // Where a frame's pointer lies in `memory`, as near to the wanted end as its offset lets it.
    static char* PointerIn(const GuardedMemory& memory, const Extent& extent, int offset,
                           bool atEnd) {
        if (!atEnd) {
            char* const lowest = memory.Begin() - extent.mLow;
            return lowest + ((offset - Residue(lowest)) & 15);
        }
        char* const highest = memory.End() - extent.mHigh;
        return highest - ((Residue(highest) - offset) & 15);
    }

    // False once the test has failed.
    bool Expect(const Place& place) {
        const Routine& routine = GetParam();
        char* const src = PointerIn(mSrcMemory, mRead, place.mSrcOffset, place.mSrcAtEnd);
        char* const dst = PointerIn(mDstMemory, mWritten, place.mDstOffset, place.mDstAtEnd);
        std::memcpy(src + mRead.mLow, mSource, static_cast<std::size_t>(mRead.mHigh - mRead.mLow));

        char* const low = std::max(dst + mWritten.mLow - kMargin, mDstMemory.Begin());
        char* const high = std::min(dst + mWritten.mHigh + kMargin, mDstMemory.End());
        const auto size = static_cast<std::size_t>(high - low);
        std::memset(low, kUntouched, size);
        std::snprintf(sFrame, sizeof(sFrame),
                      "%s, %dx%d, matrix %d, source %d of 16 by %d at the %s, destination %d of 16 "
                      "by %d at the %s\n",
                      routine.mName.c_str(), mFrame.mWidth, mFrame.mHeight,
                      static_cast<int>(mFrame.mMatrix), place.mSrcOffset, mSrcRowBytes,
                      place.mSrcAtEnd ? "end" : "beginning", place.mDstOffset, mDstRowBytes,
                      place.mDstAtEnd ? "end" : "beginning");
        routine.mKernel(src, mSrcRowBytes, dst, mDstRowBytes, mFrame.mWidth, mFrame.mHeight,
                        mFrame.mMatrix);

        const char* const expected = mExpected.data() + kMargin - mWritten.mLow + (low - dst);
        if (std::memcmp(low, expected, size) == 0) {
            return true;
        }
        std::size_t at = 0;
        while (low[at] == expected[at]) {
            ++at;
        }
        ADD_FAILURE() << sFrame << "byte " << low + at - dst << " of the destination is "
                      << +static_cast<unsigned char>(low[at]) << ", not "
                      << +static_cast<unsigned char>(expected[at]);
        return false;
    }

    int SrcRowBytes(const Frame& frame, int offset) const {
        // What is read past the width are samples too, so that rows part by whole ones.
        const Samples samples = GetParam().mSource;
        const int one = samples == Samples::kBytes ? 1 : samples == Samples::kWords ? 2 : 4;
        return RowBytes(GetParam().mSrcRow, frame.mWidth, frame.mSrcRows, one,
                        RowsInSixteens(GetParam(), GetParam().mSrcAlignment, offset));
    }
    int DstRowBytes(const Frame& frame, int offset) const {
        return RowBytes(GetParam().mDstRow, frame.mWidth, frame.mDstRows, 1,
                        RowsInSixteens(GetParam(), GetParam().mDstAlignment, offset));
    }

  private:
    static int Residue(const char* pointer) {
        return static_cast<int>(reinterpret_cast<std::uintptr_t>(pointer) % 16);
    }

    GuardedMemory mSrcMemory{kRoom};
    GuardedMemory mDstMemory{kRoom};
    Frame mFrame{};
    int mSrcRowBytes = 0;
    int mDstRowBytes = 0;
    Extent mRead{};
    Extent mWritten{};
    const char* mSource = nullptr;
    std::vector<char> mExpected;
    struct sigaction mSavedSegv {};
    struct sigaction mSavedBus {};
};

TEST_P(Geometry, FramesDrawnAtRandom) {
    Random random(kvx_test::Fnv1a(GetParam().mName.data(), GetParam().mName.size()));
    const auto offset = [&random](int alignment) {
        return alignment == 16 ? 0 : static_cast<int>(random.Pick(0, kOffsets - 1));
    };
    for (int i = 0; i < FramesEach(); ++i) {
        const Frame frame{random.AnyOf(Widths()), static_cast<int>(random.Pick(1, kHeights)),
                          static_cast<Rows>(random.Pick(0, kRowKinds - 1)),
                          static_cast<Rows>(random.Pick(0, kRowKinds - 1)),
                          static_cast<Matrix>(random.Pick(0, 1))};
        const Place place{offset(GetParam().mSrcAlignment), offset(GetParam().mDstAlignment),
                          random.OneIn(2), random.OneIn(2)};
        Prepare(frame, SrcRowBytes(frame, place.mSrcOffset), DstRowBytes(frame, place.mDstOffset));
        if (!Expect(place)) {
            return;
        }
    }
}

// Row bytes follow from the offsets in the pixel conversion family, so frames are prepared for
// offsets of 0 and for all others.
TEST_P(Geometry, DISABLED_Complete) {
    const auto offsets = [](int alignment, bool zero) {
        std::vector<int> all;
        for (int offset = zero ? 0 : 1; offset < (zero ? 1 : kOffsets); ++offset) {
            if (alignment == 1 || offset == 0) {
                all.push_back(offset);
            }
        }
        return all;
    };
    long frames = 0;
    for (const int width : Widths()) {
        for (int i = 0; i < kHeights * kRowKinds * kRowKinds * 4; ++i) {
            const Frame frame{width, i / 64 + 1, static_cast<Rows>(i / 4 % kRowKinds),
                              static_cast<Rows>(i / 16 % kRowKinds),
                              width <= 720 ? Matrix::k601 : Matrix::k709};
            const std::vector<int> srcOffsets = offsets(GetParam().mSrcAlignment, (i & 1) != 0);
            const std::vector<int> dstOffsets = offsets(GetParam().mDstAlignment, (i & 2) != 0);
            if (srcOffsets.empty() || dstOffsets.empty()) {
                continue;
            }
            Prepare(frame, SrcRowBytes(frame, srcOffsets[0]), DstRowBytes(frame, dstOffsets[0]));
            for (const int srcOffset : srcOffsets) {
                for (const int dstOffset : dstOffsets) {
                    for (const bool atEnd : {false, true}) {
                        ++frames;
                        if (!Expect({srcOffset, dstOffset, atEnd, atEnd})) {
                            return;
                        }
                    }
                }
            }
        }
    }
    std::printf("%ld frames\n", frames);
}

INSTANTIATE_TEST_SUITE_P(Routines, Geometry, testing::ValuesIn(Routines()),
                         [](const testing::TestParamInfo<Routine>& info) {
                             return info.param.mName;
                         });

TEST(GeometryOfAll, SixtyRoutines) {
    EXPECT_EQ(60u, Routines().size());
}

TEST(GeometryDeathTest, AByteBeyondEitherEndEndsTheProgram) {
    const GuardedMemory memory(1);
    const volatile char* const begin = memory.Begin();
    const volatile char* const end = memory.End();
    EXPECT_EQ(0, begin[0]);
    EXPECT_EQ(0, end[-1]);
    EXPECT_DEATH(static_cast<void>(begin[-1]), "");
    EXPECT_DEATH(static_cast<void>(end[0]), "");
}

}  // namespace
