// Every routine of the video converters on frames of any size and place, in blocks of exactly what
// its steps may touch.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/support/byte_feed.h"
#include "fuzz/support/require.h"
#include "tests/convert/geometry/routines.h"

using namespace kvx_fuzz;
using namespace kvx_test::geometry;

namespace {

constexpr int kVector = 16;
constexpr int64_t kWidest = 200;
constexpr int64_t kTallest = 6;

struct Side {
    int rowBytes;
    int offset;  // of the pointer, from a multiple of 16
};

Side FeedSide(ByteFeed& feed, const RowSize& row, int alignment, bool rowsFollow, int width) {
    Side side{};
    side.offset = alignment == kVector ? 0 : static_cast<int>(feed.Pick(0, kVector - 1));
    side.rowBytes = row.Of(width) + static_cast<int>(feed.Pick(0, 64));
    if (alignment == kVector || (rowsFollow && side.offset == 0)) {
        side.rowBytes = (side.rowBytes + kVector - 1) / kVector * kVector;
    }
    if (feed.OneIn(4)) {
        side.rowBytes = -side.rowBytes;
    }
    return side;
}

struct Free {
    void operator()(char* block) const { std::free(block); }
};

// A block that ends where the extent ends, and begins not more than 15 bytes before it.
class Block {
  public:
    Block(const Extent& extent, int offset) {
        const auto lead = static_cast<size_t>((extent.mLow + offset) & (kVector - 1));
        mSize = lead + static_cast<size_t>(extent.mHigh - extent.mLow);
        void* memory = nullptr;
        Require(posix_memalign(&memory, kVector, std::max<size_t>(mSize, 1)) == 0);
        mMemory.reset(static_cast<char*>(memory));
        mPointer = mMemory.get() + lead - extent.mLow;
    }

    void Fill(const std::string& bytes) {
        for (size_t i = 0; i < mSize; ++i) {
            mMemory.get()[i] = bytes.empty() ? '\x5A' : bytes[i % bytes.size()];
        }
    }

    // The host's 16-bit scale ends at 32768, and the host is responsible for its pixels. Rows need
    // not be whole words apart, so that this is asked of every byte.
    void LimitWords() {
        for (size_t i = 0; i < mSize; ++i) {
            mMemory.get()[i] = static_cast<char>(mMemory.get()[i] & 0x7F);
        }
    }

    char* Pointer() const { return mPointer; }

  private:
    std::unique_ptr<char, Free> mMemory;
    char* mPointer;
    size_t mSize;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteFeed feed(data, size);
    const std::vector<Routine>& routines = Routines();
    const Routine& routine =
        routines[static_cast<size_t>(feed.Pick(0, static_cast<int64_t>(routines.size()) - 1))];
    const auto width = static_cast<int>(feed.Pick(1, kWidest));
    const auto height = static_cast<int>(feed.Pick(1, kTallest));
    const Matrix matrix = feed.OneIn(2) ? Matrix::k709 : Matrix::k601;
    const bool follow = routine.mRowsFollowPointer;
    const Side src = FeedSide(feed, routine.mSrcRow, routine.mSrcAlignment, follow, width);
    const Side dst = FeedSide(feed, routine.mDstRow, routine.mDstAlignment, follow, width);

    Block source(ReadExtent(routine, width, height, src.rowBytes), src.offset);
    Block destination(WrittenExtent(routine, width, height, dst.rowBytes), dst.offset);
    source.Fill(feed.Bytes(feed.Left()));
    if (routine.mSource == Samples::kWords) {
        source.LimitWords();
    }
    routine.mKernel(source.Pointer(), src.rowBytes, destination.Pointer(), dst.rowBytes, width,
                    height, matrix);
    return 0;
}
