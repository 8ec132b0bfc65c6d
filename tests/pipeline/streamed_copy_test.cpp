// Copies past the caches, beside those of the standard library.
#include "pipeline/streamed_copy.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

constexpr size_t kAround = 128;

std::vector<char> Pattern(size_t size) {
    std::vector<char> bytes(size);
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i * 37 + i / 251);
    }
    return bytes;
}

// Copies within untouched surroundings.
void ExpectCopies(size_t size, size_t toOffset, size_t fromOffset) {
    const std::vector<char> source = Pattern(fromOffset + size);
    std::vector<char> copied(2 * kAround + size, '\x5A');
    std::vector<char> expected = copied;
    std::memcpy(expected.data() + toOffset, source.data() + fromOffset, size);
    KVX::CopyStreamed(copied.data() + toOffset, source.data() + fromOffset, size);
    KVX::EndStreamedCopies();
    ASSERT_EQ(copied, expected) << size << " bytes from " << fromOffset << " to " << toOffset;
}

TEST(StreamedCopy, OfEverySizeFromAndToEverywhere) {
    for (size_t size = 0; size < 300; ++size) {
        for (size_t offset = 0; offset < 64; ++offset) {
            ExpectCopies(size, offset, 64 - offset);
            ExpectCopies(size, offset, 3);
        }
    }
}

TEST(StreamedCopy, OfAFrame) {
    ExpectCopies(1920 * 1080 * 2, 0, 0);
    ExpectCopies(1920 * 1080 * 2 + 13, 48, 512);
}

}  // namespace
