#include "cli/picture/png_file.h"

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "cli/picture/deflate.h"
#include "cli/picture/png_filter.h"

namespace kvx_cli {

namespace {

constexpr size_t kSliceBytes = 1 << 18;
constexpr uint8_t kSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr uint8_t kColourRgb = 2;
constexpr uint32_t kLargest = 0x7FFFFFFF;  // width and height

// zlib's head of two bytes: deflate with a window of 32 KiB.
constexpr uint8_t kStreamHead[] = {0x78, 0x01};

using Bytes = std::vector<uint8_t>;

void AppendU32(Bytes& bytes, uint32_t value) {
    for (const int shift : {24, 16, 8, 0}) {
        bytes.push_back(static_cast<uint8_t>(value >> shift));
    }
}

// A chunk is its length, its type, its data and a sum of type and data. Begin, append the data,
// end.
size_t BeginChunk(Bytes& bytes, const char* type) {
    const size_t start = bytes.size();
    AppendU32(bytes, 0);
    bytes.insert(bytes.end(), type, type + 4);
    return start;
}

void EndChunk(Bytes& bytes, size_t start) {
    constexpr size_t kHead = 8;
    Bytes length;
    AppendU32(length, static_cast<uint32_t>(bytes.size() - start - kHead));
    std::copy(length.begin(), length.end(), bytes.begin() + static_cast<ptrdiff_t>(start));
    AppendU32(bytes, static_cast<uint32_t>(crc32_z(crc32_z(0, nullptr, 0), &bytes[start + 4],
                                                   bytes.size() - start - 4)));
}

Bytes Head(const PictureRows& rows, PixelAspect aspect) {
    Bytes head(std::begin(kSignature), std::end(kSignature));
    const size_t header = BeginChunk(head, "IHDR");
    AppendU32(head, static_cast<uint32_t>(rows.width));
    AppendU32(head, static_cast<uint32_t>(rows.height));
    head.insert(head.end(), {static_cast<uint8_t>(rows.depth), kColourRgb, 0, 0, 0});
    EndChunk(head, header);
    if (aspect.width != aspect.height) {
        // Pixels for each unit of length, which is not said: the wider a pixel, the fewer.
        const size_t shape = BeginChunk(head, "pHYs");
        AppendU32(head, aspect.height);
        AppendU32(head, aspect.width);
        head.push_back(0);
        EndChunk(head, shape);
    }
    return head;
}

Bytes Tail(uint32_t checksum) {
    Bytes tail;
    const size_t last = BeginChunk(tail, "IDAT");
    AppendEndOfDeflated(tail);
    AppendU32(tail, checksum);
    EndChunk(tail, last);
    EndChunk(tail, BeginChunk(tail, "IEND"));
    return tail;
}

}  // namespace

PngEncoding::PngEncoding(WorkerPool& pool, PictureRows rows, const PngSettings& settings)
    : mRows(std::move(rows)), mSettings(settings) {
    if (mRows.width < 1 || mRows.height < 1) {
        return;
    }
    const size_t rowsOfSlice = std::max<size_t>(kSliceBytes / (mRows.RowBytes() + 1), 1);
    const auto step = static_cast<int>(std::min(rowsOfSlice, static_cast<size_t>(mRows.height)));
    for (int row = 0; row < mRows.height; row += std::min(step, mRows.height - row)) {
        mSlices.push_back({row, row + std::min(step, mRows.height - row), {}});
    }
    mLeft = mSlices.size();
    for (Slice& slice : mSlices) {
        try {
            pool.Do([this, &slice] {
                try {
                    Compress(slice);
                } catch (const std::bad_alloc&) {
                    slice.hasFailed = true;
                }
                Finish(slice);
            });
        } catch (const std::bad_alloc&) {
            // Threads may be at earlier slices, and have to find them where they are.
            slice.hasFailed = true;
            Finish(slice);
        }
    }
}

void PngEncoding::Finish(Slice& slice) {
    const std::lock_guard<std::mutex> guard(mLock);
    slice.isDone = true;
    --mLeft;
    mDone.notify_all();
}

PngEncoding::~PngEncoding() {
    std::unique_lock<std::mutex> guard(mLock);
    mDone.wait(guard, [this] { return mLeft == 0; });
}

void PngEncoding::Compress(Slice& slice) const {
    const size_t rowBytes = mRows.RowBytes();
    const size_t filteredBytes = rowBytes + 1;
    Bytes row(rowBytes);
    Bytes above(rowBytes);
    Bytes scratch(rowBytes);
    Bytes filtered(filteredBytes * static_cast<size_t>(slice.endRow - slice.firstRow));
    if (slice.firstRow > 0) {
        mRows.write(slice.firstRow - 1, above.data());
    }
    uint8_t* place = filtered.data();
    for (int number = slice.firstRow; number < slice.endRow; ++number, place += filteredBytes) {
        mRows.write(number, row.data());
        FilterRow(row.data(), above.data(), rowBytes, static_cast<size_t>(mRows.depth / 8) * 3,
                  place, scratch.data());
        std::swap(row, above);
    }
    slice.size = filtered.size();
    slice.checksum =
        static_cast<uint32_t>(adler32_z(adler32_z(0, nullptr, 0), filtered.data(), slice.size));
    const size_t chunk = BeginChunk(slice.chunk, "IDAT");
    if (slice.firstRow == 0) {
        slice.chunk.insert(slice.chunk.end(), std::begin(kStreamHead), std::end(kStreamHead));
    }
    AppendDeflated(filtered.data(), filtered.size(), mSettings.compression, slice.chunk);
    EndChunk(slice.chunk, chunk);
}

Problem PngEncoding::WritePieces(const Write& write, bool& isWritten) {
    if (mSlices.empty() || static_cast<uint32_t>(mRows.width) > kLargest) {
        return {kExitRefused, "there is no PNG picture of " + std::to_string(mRows.width) + " x " +
                                  std::to_string(mRows.height) + " pixels"};
    }
    isWritten = write(Head(mRows, mSettings.aspect));
    auto checksum = static_cast<uLong>(adler32_z(0, nullptr, 0));
    for (size_t index = 0; index < mSlices.size() && isWritten; ++index) {
        Slice& slice = mSlices[index];
        {
            std::unique_lock<std::mutex> guard(mLock);
            mDone.wait(guard, [&slice] { return slice.isDone; });
        }
        if (slice.hasFailed) {
            return {kExitFailed, "there is not enough memory for its pictures"};
        }
        isWritten = write(slice.chunk);
        checksum = adler32_combine(checksum, slice.checksum, static_cast<z_off_t>(slice.size));
        slice.chunk = {};
    }
    isWritten = isWritten && write(Tail(static_cast<uint32_t>(checksum)));
    return {};
}

Problem PngEncoding::WriteInto(OutputFile& file) {
    bool isWritten = true;
    Problem problem = WritePieces(
        [&file](const Bytes& bytes) {
            errno = 0;
            return std::fwrite(bytes.data(), 1, bytes.size(), file.Stream()) == bytes.size();
        },
        isWritten);
    if (problem) {
        return problem;
    }
    return isWritten ? file.Finish() : file.Failure();
}

Problem PngEncoding::Append(std::string& bytes) {
    bool isWritten = true;
    return WritePieces(
        [&bytes](const Bytes& piece) {
            bytes.append(piece.begin(), piece.end());
            return true;
        },
        isWritten);
}

PictureRows RowsOf(const Picture& picture) {
    PictureRows rows = {picture.width, picture.height, picture.depth, {}};
    rows.write = [&picture, size = rows.RowBytes()](int row, uint8_t* bytes) {
        std::memcpy(bytes, picture.bytes.data() + static_cast<size_t>(row) * size, size);
    };
    return rows;
}

Problem WritePng(OutputFile& file, const Picture& picture, const PngSettings& settings) {
    WorkerPool pool;
    PngEncoding encoding(pool, RowsOf(picture), settings);
    return encoding.WriteInto(file);
}

}  // namespace kvx_cli
