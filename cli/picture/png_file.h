#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "cli/output/output_file.h"
#include "cli/picture/picture.h"
#include "cli/picture/worker_pool.h"

namespace kvx_cli {

// How much wider than high a pixel is shown; 1:1 where a movie does not state it.
struct PixelAspect {
    uint32_t width = 1;
    uint32_t height = 1;
};

constexpr int kDefaultCompression = 1;

// What a PNG file contains besides its pixels, and how it is made.
struct PngSettings {
    PixelAspect aspect;  // in the pHYs chunk unless pixels are square
    int compression = kDefaultCompression;
};

// A picture from its top row down, R, G, B of 8 bits or of 16, big-endian.
struct PictureRows {
    int width = 0;
    int height = 0;
    int depth = 8;
    // Writes a row, without padding. Called from several threads at a time.
    std::function<void(int row, uint8_t* bytes)> write;

    size_t RowBytes() const {
        return static_cast<size_t>(width) * 3 * static_cast<size_t>(depth / 8);
    }
};

// One picture on its way into a PNG file. Slices of it are compressed by the threads of a pool.
class PngEncoding {
  public:
    // Begins at once. `pool` must outlive the encoding. A slice that there is no memory for is
    // reported by WriteInto() and Append().
    PngEncoding(WorkerPool& pool, PictureRows rows, const PngSettings& settings);

    // Waits for threads that are at it.
    ~PngEncoding();

    PngEncoding(const PngEncoding&) = delete;
    PngEncoding& operator=(const PngEncoding&) = delete;

    // Writes the file as its slices come, and finishes it. This or Append, once.
    Problem WriteInto(OutputFile& file);

    // Appends the bytes of the file.
    Problem Append(std::string& bytes);

  private:
    struct Slice {
        int firstRow;
        int endRow;
        std::vector<uint8_t> chunk;  // an IDAT
        uint32_t checksum = 0;       // of what was compressed
        size_t size = 0;             // of the same
        bool isDone = false;
        bool hasFailed = false;  // there was no memory
    };

    using Write = std::function<bool(const std::vector<uint8_t>& bytes)>;

    void Compress(Slice& slice) const;
    void Finish(Slice& slice);

    // Writes the file in pieces. `isWritten` becomes false where `write` returns false.
    Problem WritePieces(const Write& write, bool& isWritten);

    PictureRows mRows;
    PngSettings mSettings;
    std::vector<Slice> mSlices;
    std::mutex mLock;
    std::condition_variable mDone;
    size_t mLeft = 0;  // slices that are not done
};

// The rows of a picture that stays where it is.
PictureRows RowsOf(const Picture& picture);

Problem WritePng(OutputFile& file, const Picture& picture, const PngSettings& settings);

}  // namespace kvx_cli
