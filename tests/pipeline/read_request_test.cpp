// What a request makes of a range: pages, buffers, refusals.
#include "pipeline/read_request.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "pipeline/reference.h"
#include "support/log_capture.h"

namespace {

using KVX::ReadRequest;
using kvx_test::LogCapture;
using kvx_test::Reference;

// No such file is ever read: the descriptor is only looked at.
constexpr int kDescriptor = 1000;

struct Made {
    long status;
    Reference<ReadRequest> request;
};

Made Make(long long fileLength, long long offset, long long size, char* buffer = nullptr,
          long long bufferSize = 0, int descriptor = kDescriptor) {
    ReadRequest* request = reinterpret_cast<ReadRequest*>(8);
    const long status = ReadRequest::Create(descriptor, fileLength, offset, size, nullptr, nullptr,
                                            buffer, bufferSize, request);
    return {status, Reference<ReadRequest>(request)};
}

TEST(ReadRequest, WidensItsRangeToWholePages) {
    const Made made = Make(20000, 5000, 100);
    ASSERT_EQ(made.status, 0);
    EXPECT_EQ(made.request->mRefCount, 1);
    EXPECT_EQ(made.request->mAlignedOffset, 4096);
    EXPECT_EQ(made.request->mBufferSkew, 904);
    EXPECT_EQ(made.request->mBufferSize, 4096);
    EXPECT_EQ(made.request->mNextOffset, 4096);
    EXPECT_EQ(made.request->mOffset, 5000);
    EXPECT_EQ(made.request->mSize, 100);
    EXPECT_EQ(made.request->mBytesRead, 0);
    EXPECT_EQ(made.request->mCompletionStatus, 0);
}

TEST(ReadRequest, OwnsPageAlignedMemoryWithASparePage) {
    const Made made = Make(20000, 5000, 100);
    ASSERT_EQ(made.status, 0);
    EXPECT_TRUE(made.request->mOwnsBuffer);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(made.request->mBuffer) % 4096, 0u);
    // All of it is memory: the address sanitizer looks at this.
    std::memset(made.request->mBuffer, 0, 8192);
}

struct Widening {
    long long fileLength;
    long long offset;
    long long size;
    long long alignedOffset;
    long skew;
    long long required;
};

TEST(ReadRequest, StopsAtTheEndOfTheFileAndOnlyThereWithinAPage) {
    for (const Widening& each : {
             Widening{20000, 4096, 4096, 4096, 0, 4096},
             Widening{20000, 4096, 4097, 4096, 0, 8192},
             Widening{20000, 4095, 2, 0, 4095, 8192},
             Widening{8100, 8000, 100, 4096, 3904, 4004},
             Widening{8191, 8000, 100, 4096, 3904, 4095},
             Widening{8192, 8000, 100, 4096, 3904, 4096},
             Widening{8193, 8000, 100, 4096, 3904, 4096},
             Widening{100, 0, 100, 0, 0, 100},
             Widening{1, 0, 1, 0, 0, 1},
             Widening{0x200000000 + 10, 0x1FFFFF123, 0xEDD + 10, 0x1FFFFF000, 0x123, 0x1000 + 10},
             // Sizes of 0.
             Widening{20000, 8192, 0, 8192, 0, 0},
             Widening{20000, 8193, 0, 8192, 1, 4096},
             Widening{8193, 8193, 0, 8192, 1, 1},
             Widening{0, 0, 0, 0, 0, 0},
         }) {
        const Made made = Make(each.fileLength, each.offset, each.size);
        ASSERT_EQ(made.status, 0) << each.offset << "+" << each.size;
        EXPECT_EQ(made.request->mAlignedOffset, each.alignedOffset);
        EXPECT_EQ(made.request->mBufferSkew, each.skew);
        EXPECT_EQ(made.request->mBufferSize, each.required) << each.offset << "+" << each.size;
    }
}

TEST(ReadRequest, RefusesARangeThatPassesTheEndOfTheFile) {
    LogCapture log;
    const Made made = Make(8100, 8000, 101);
    EXPECT_EQ(made.status, 28);
    EXPECT_EQ(made.request, nullptr);
    EXPECT_EQ(log.Text(),
              "Init: File length 8100(0x1fa4) too short for read of 101(0x65) bytes from offset "
              "8000(0x1f40)\n"
              "Create: ReadRequest::Init returned 28\n");
}

TEST(ReadRequest, RefusesRangesThatNoNumberHolds) {
    LogCapture log;
    EXPECT_EQ(Make(LLONG_MAX, LLONG_MAX, 1).status, 28);
    EXPECT_EQ(Make(100, 0, -1).status, 28);
    EXPECT_EQ(Make(0, 1, 0).status, 28);
}

TEST(ReadRequest, RefusesDescriptorsBelowOne) {
    for (const int descriptor : {0, -1, -2}) {
        LogCapture log;
        // The range is not looked at any more.
        const Made made = Make(0, 5000, 100, nullptr, 0, descriptor);
        EXPECT_EQ(made.status, 22);
        EXPECT_EQ(made.request, nullptr);
        EXPECT_EQ(log.Text(), "Init: Invalid file descriptor " + std::to_string(descriptor) +
                                  "\nCreate: ReadRequest::Init returned 22\n");
    }
    EXPECT_EQ(Make(20000, 5000, 100, nullptr, 0, 1).status, 0);
}

TEST(ReadRequest, RefusesAClientsBufferThatIsTooSmall) {
    char buffer[1];
    LogCapture log;
    const Made made = Make(20000, 5000, 100, buffer, 4095);
    EXPECT_EQ(made.status, 27);
    EXPECT_EQ(made.request, nullptr);
    EXPECT_EQ(log.Text(),
              "Init: mBufferSize 4095 < requiredBufferSize 4096\n"
              "Create: ReadRequest::Init returned 27\n");
}

TEST(ReadRequest, ReadsIntoAClientsBufferAndLeavesItToTheClient) {
    const auto buffer = std::make_unique<char[]>(10000);
    for (const long long size : {4096, 4097, 10000}) {
        const Made made = Make(20000, 5000, 100, buffer.get(), size);
        ASSERT_EQ(made.status, 0);
        EXPECT_EQ(made.request->mBuffer, buffer.get());
        EXPECT_FALSE(made.request->mOwnsBuffer);
        EXPECT_EQ(made.request->mBufferSize, 4096);
    }
    // At the end of the file less is enough.
    EXPECT_EQ(Make(8100, 8000, 100, buffer.get(), 4004).status, 0);
    LogCapture log;
    EXPECT_EQ(Make(8100, 8000, 100, buffer.get(), 4003).status, 27);
}

// A size of 0 says nothing about the buffer.
TEST(ReadRequest, TakesABufferOfUnknownSize) {
    char buffer[1];
    const Made made = Make(20000, 5000, 100, buffer, 0);
    ASSERT_EQ(made.status, 0);
    EXPECT_EQ(made.request->mBuffer, buffer);
    EXPECT_FALSE(made.request->mOwnsBuffer);
}

}  // namespace
