#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "hostkit/host.h"
#include "hostkit/suite_faults.h"
#include "premiere/pixel_formats.h"
#include "premiere/suites.h"

namespace kvx_hostkit {

// How the rows of a pixel buffer follow each other: rising in memory, falling, which makes row
// bytes negative, or, as no host means it, with row bytes of 0.
enum class RowOrder { kRising, kFalling, kOnTopOfEachOther };

// How the host lays out the pixel buffers that it makes. May be changed between calls.
struct PixelBufferSettings {
    size_t alignment = 4096;  // of the pixels, a power of two
    size_t misalignment = 0;  // bytes that the pixels begin after such an address
    int rowBytesMultiple = 1;
    int extraRowBytes = 0;  // added to each row before the rounding
    RowOrder rows = RowOrder::kRising;
    // After the last row, for code that finishes its last vector; then come the guard bytes.
    size_t slackBytes = 512;
    size_t guardBytes = 64;  // before the pixels and after the slack
    bool fills = true;       // new pixels hold kFreshPixel
    bool recycles = false;   // memory of disposed buffers serves again, as in a host at work
};

constexpr uint8_t kFreshPixel = 0xA5;

// Bytes of one row of `width` pixels without padding; 0 for a format that this host does not make.
int TightRowBytes(PrPixelFormat format, int width);

// What a PPixHand leads to.
struct PixelBufferView {
    PrPixelFormat format;
    int width;
    int height;
    int rowBytes;     // 0 for a buffer that was made by its size; negative if rows fall
    size_t dataSize;  // bytes of all rows, without the slack
    char* pixels;     // the first row
};

// The host's pixel buffers and the three suites that deal in them. Buffers are reference counted,
// and every hold is accounted for. One at a time, beside the Host; buffers may outlive it.
class PixelBuffers {
  public:
    // Offers its suites on `host`.
    explicit PixelBuffers(Host& host, const PixelBufferSettings& bufferSettings = {});
    ~PixelBuffers();

    PixelBuffers(const PixelBuffers&) = delete;
    PixelBuffers& operator=(const PixelBuffers&) = delete;

    // Null if there is no PixelBuffers.
    static PixelBuffers* Current();

    static PixelBufferView View(PPixHand ppix);
    static void Retain(PPixHand ppix);
    static void Dispose(PPixHand ppix);

    // Makes a buffer with one hold, for the caller. Null without memory or for an unknown format.
    PPixHand Create(PrPixelFormat format, int width, int height);

    int CreatedCount() const;
    int LiveCount() const;

    // Buffers whose guard bytes were overwritten, found when they were disposed of.
    int DamagedCount() const;

    PixelBufferSettings settings;
    SuiteFaults faults;  // CreatePPix, CreateCustomPPix, Dispose, GetPixels, GetRowBytes

    // What all buffers share and the last of them keeps alive.
    struct Accounts;

  private:
    PPixHand Make(PrPixelFormat format, int width, int height, int rowBytes, size_t dataSize);

    static int32_t SuiteCreatePPix(PPixHand* ppix, int32_t access, PrPixelFormat format,
                                   const prRect* bounds);
    static int32_t SuiteCreateCustomPPix(PPixHand* ppix, int32_t access, PrPixelFormat format,
                                         int32_t width, int32_t height, int32_t aspectNumerator,
                                         int32_t aspectDenominator, int32_t dataSize);
    static int32_t SuiteDispose(PPixHand ppix);
    static int32_t SuiteGetPixels(PPixHand ppix, int32_t access, char** pixels);
    static int32_t SuiteGetRowBytes(PPixHand ppix, int32_t* rowBytes);

    std::shared_ptr<Accounts> mAccounts;
};

}  // namespace kvx_hostkit
