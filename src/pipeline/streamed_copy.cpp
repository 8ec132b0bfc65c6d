#include "pipeline/streamed_copy.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "convert/video/vector_memory.h"

namespace KVX {

using Converter::Video::MisalignedSource;
using Converter::Video::Stream;

namespace {

constexpr size_t kVector = 16;
constexpr size_t kLine = 64;

}  // namespace

void CopyStreamed(char* to, const char* from, size_t size) {
    // To the first whole line of the destination.
    const size_t before = std::min<size_t>(-reinterpret_cast<uintptr_t>(to) % kLine, size);
    std::memcpy(to, from, before);
    to += before;
    from += before;
    const size_t lines = (size - before) / kLine;
    for (size_t line = 0; line < lines; ++line) {
        for (size_t offset = 0; offset < kLine; offset += kVector) {
            Stream(to + offset, MisalignedSource::Load(from + offset));
        }
        to += kLine;
        from += kLine;
    }
    std::memcpy(to, from, (size - before) % kLine);
}

void EndStreamedCopies() {
    Converter::Video::EndStreams();
}

}  // namespace KVX
