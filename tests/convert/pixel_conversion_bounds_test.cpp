// The pixel conversion family at the edge of readable and writable memory.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "convert/naive_pixel_family.h"
#include "convert/pixel_family_frames.h"

using namespace kvx_test;

namespace {

// Bytes that end, or begin, where memory does: an access beyond them ends the test program.
class EdgeOfMemory {
  public:
    explicit EdgeOfMemory(size_t size)
        : mPage(static_cast<size_t>(sysconf(_SC_PAGESIZE))),
          mInner((size + mPage - 1) / mPage * mPage) {
        mMapping = static_cast<uint8_t*>(
            mmap(nullptr, mInner + 2 * mPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(mMapping + mPage, mInner, PROT_READ | PROT_WRITE);
    }
    ~EdgeOfMemory() { munmap(mMapping, mInner + 2 * mPage); }
    EdgeOfMemory(const EdgeOfMemory&) = delete;
    EdgeOfMemory& operator=(const EdgeOfMemory&) = delete;

    uint8_t* First() const { return mMapping + mPage; }
    uint8_t* EndingLast(size_t size) const { return First() + mInner - size; }

  private:
    size_t mPage;
    size_t mInner;
    uint8_t* mMapping;
};

TEST(PixelConversionBounds, NothingOutsideARowIsTouched) {
    for (const FamilyMember& member : FamilyMembers()) {
        const NaiveConversion& naive = FindNaiveConversion(member.name);
        for (int width = 1; width <= 50; ++width) {
            const auto sourceBytes = static_cast<size_t>(4 * NaivePixelsRead(naive, width));
            const auto destBytes = static_cast<size_t>(NaiveBytesWritten(naive, width));
            const EdgeOfMemory source(sourceBytes);
            const EdgeOfMemory dest(destBytes);
            for (const bool atEnd : {false, true}) {
                uint8_t* const from = atEnd ? source.EndingLast(sourceBytes) : source.First();
                uint8_t* const to = atEnd ? dest.EndingLast(destBytes) : dest.First();
                for (size_t i = 0; i < sourceBytes; ++i) {
                    from[i] = static_cast<uint8_t>(i * 73 + static_cast<size_t>(width));
                }
                member.convert(static_cast<unsigned int>(width), 1, to, 0, from, 0);
                EXPECT_EQ(std::vector<uint8_t>(to, to + destBytes), NaiveRow(naive, from, width))
                    << member.name << " " << width;
            }
        }
    }
}

// A YUV row that is shorter than a block is the exception.
TEST(PixelConversionBounds, ShortYUVRowsTakeAWholeBlock) {
    for (const char* const name : {"8YUV422_SD", "8YUV422_HD"}) {
        EXPECT_EQ(NaivePixelsRead(FindNaiveConversion(name), 1), 8);
        EXPECT_EQ(NaiveBytesWritten(FindNaiveConversion(name), 1), 16);
    }
    for (const char* const name : {"10YUV422_LE_SD", "10YUV422_LE_HD"}) {
        EXPECT_EQ(NaivePixelsRead(FindNaiveConversion(name), 5), 12);
        EXPECT_EQ(NaiveBytesWritten(FindNaiveConversion(name), 5), 32);
    }
}

}  // namespace
