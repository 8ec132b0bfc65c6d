// Whatever range of whatever file is asked for: the tickets cover the pages that it touches, as far
// as the file has them, in file order, without gaps and in the sizes that reads have.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "pipeline/read_request.h"
#include "pipeline/reference.h"
#include "support/random.h"
#include "support/sanitizers.h"

namespace {

using KVX::ReadRequest;
using KVX::ReadTicket;
using kvx_test::Random;
using kvx_test::Reference;

constexpr long long kPage = 4096;
constexpr long long kMegabyte = 1048576;

struct Range {
    long long fileLength;
    long long offset;
    long long size;
};

// Near pages, megabytes and the end of the file more often than elsewhere.
Range PickRange(Random& random) {
    const long long unit = random.OneIn(2) ? kPage : kMegabyte;
    Range range;
    range.offset = std::max(0LL, random.Pick(0, 5) * unit * random.Pick(1, 3000) +
                                     random.Pick(-2, 2) * random.Pick(0, 1));
    range.size =
        std::max(0LL, random.Pick(0, 5) * unit + random.Pick(-2, 2) + random.Pick(0, 1) * 1000);
    range.fileLength = range.offset + range.size + random.Pick(0, 2) * random.Pick(0, 2 * kPage);
    return range;
}

TEST(ReadSlices, CoverTheTouchedPages) {
    Random random(20261121);
    const int rounds = kvx_test::IsUnderSanitizer() ? 1000 : 20000;
    for (int round = 0; round < rounds; ++round) {
        const Range range = PickRange(random);
        SCOPED_TRACE(testing::Message()
                     << range.size << " bytes at " << range.offset << " of " << range.fileLength);
        // From the page that holds the first byte to the end of the one that holds the last.
        const long long begin = range.offset / kPage * kPage;
        const long long pages = (range.offset + range.size - begin + kPage - 1) / kPage;
        const long long end = std::min(begin + pages * kPage, range.fileLength);

        ReadRequest* made = nullptr;
        ASSERT_EQ(ReadRequest::Create(1000, range.fileLength, range.offset, range.size, nullptr,
                                      nullptr, nullptr, 0, made),
                  0);
        const Reference<ReadRequest> request(made);
        ASSERT_EQ(request->mAlignedOffset, begin);
        ASSERT_EQ(request->mBufferSize, end - begin);
        ASSERT_EQ(request->mBufferSkew, range.offset - begin);
        long long next = begin;
        while (next < end) {
            ReadTicket* taken = nullptr;
            bool last = false;
            ASSERT_EQ(request->GetReadTicket(taken, last), 0);
            const std::unique_ptr<ReadTicket> ticket(taken);
            const long long size =
                end - begin > 2 * kMegabyte ? std::min(end - next, kMegabyte) : end - begin;
            ASSERT_EQ(ticket->mOffset, next);
            ASSERT_EQ(ticket->mSize, size);
            ASSERT_EQ(ticket->mBuffer, request->mBuffer + (next - begin));
            next += size;
            ASSERT_EQ(last, next == end);
            ASSERT_EQ(request->mNextOffset, next);
        }
        ReadTicket* none = nullptr;
        bool last = false;
        ASSERT_EQ(request->GetReadTicket(none, last), 2);
    }
}

}  // namespace
