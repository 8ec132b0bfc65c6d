// How stages are combined into a chain, and how a chain converts a frame.
//
// A stage is a struct with a static `apply<MISALIGNED, FIRST>(in)` that returns what the next stage
// takes. MISALIGNED says that the source need not be aligned to 16 bytes, FIRST that the block is
// the first of its row. The last stage of a chain names the layout that it writes as its OUTPUT.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "convert/pixel_family/values.h"
#include "convert/video/vector_memory.h"

namespace KVX::PixelConversion {

// The defaults of a stage.
struct STAGE {
    using OUTPUT = void;                        // the stage does not end a chain
    static constexpr bool kIsFirstOwn = false;  // the first block of a row is like all others
    static constexpr int kBlocksAtOnce = 1;
};

// The blocks that a chain writes. Streamed ones bypass the caches.
template <int PIXELS, int BYTES, bool STREAMED>
struct BLOCK_FORM {
    static constexpr size_t kPixels = PIXELS;
    static constexpr size_t kBytes = BYTES;
    static constexpr bool kIsStreamed = STREAMED;

    // The number of bytes written for a row of `width` pixels.
    static size_t RowBytes(size_t width) { return width * kBytes / kPixels; }
};

template <typename A, typename B>
struct BIND {
    using OUTPUT = typename B::OUTPUT;
    static constexpr bool kIsFirstOwn = A::kIsFirstOwn || B::kIsFirstOwn;
    static constexpr int kBlocksAtOnce = 1;

    // A chain is inlined into one body, however long.
    template <bool MISALIGNED, bool FIRST, typename In>
    [[gnu::always_inline]] static auto apply(const In& in) {
        return B::template apply<MISALIGNED, FIRST>(A::template apply<MISALIGNED, FIRST>(in));
    }
};

template <typename A, typename B, typename C>
struct BIND3 : BIND<A, BIND<B, C>> {};

template <typename A, typename B, typename C, typename D>
struct BIND4 : BIND<A, BIND3<B, C, D>> {};

// A chain has a variant for each combination of these, which differ in how they access memory.
constexpr int kSourceMisaligned = 1;
constexpr int kDestinationMisaligned = 2;
constexpr int kRowHasTail = 4;
constexpr int kVariants = 8;

constexpr size_t kSourceBytes = 4;  // of a pixel

// One variant of a chain over a whole frame.
template <typename PIPE, int VARIANT, int VARIANTS>
struct Transform {
    static_assert(VARIANT >= 0 && VARIANT < VARIANTS);

    static void apply(void const* src, int srcRowBytes, void* dst, int dstRowBytes,
                      unsigned int width, unsigned int height) {
        if (width < 1) {
            return;
        }
        for (ptrdiff_t row = 0; row < static_cast<ptrdiff_t>(height); ++row) {
            ConvertRow(static_cast<const char*>(src) + row * srcRowBytes,
                       static_cast<char*>(dst) + row * dstRowBytes, width);
        }
        if constexpr (OUTPUT::kIsStreamed) {
            EndStreams();
        }
    }

  private:
    using OUTPUT = typename PIPE::OUTPUT;
    static constexpr bool kIsScalar = OUTPUT::kPixels == 1;
    static constexpr bool kMisalignedSource = (VARIANT & kSourceMisaligned) != 0;
    static constexpr bool kMisalignedDestination = (VARIANT & kDestinationMisaligned) != 0;
    static constexpr size_t kBlockSourceBytes = OUTPUT::kPixels * kSourceBytes;
    static constexpr int kPrefetchDistance = static_cast<int>(8 * kBlockSourceBytes);

    [[gnu::flatten]] static void ConvertRow(const char* from, char* to, size_t width) {
        const size_t blocks = width / OUTPUT::kPixels;
        ROW row;
        size_t block = 0;
        if constexpr (PIPE::kIsFirstOwn) {
            ConvertBlocks<1, true>(from, to, row);
            block = 1;
        }
        if constexpr (PIPE::kBlocksAtOnce > 1) {
            for (; block + PIPE::kBlocksAtOnce <= blocks; block += PIPE::kBlocksAtOnce) {
                ConvertBlocks<PIPE::kBlocksAtOnce, false>(from + block * kBlockSourceBytes,
                                                          to + block * OUTPUT::kBytes, row);
            }
        }
        for (; block < blocks; ++block) {
            ConvertBlocks<1, false>(from + block * kBlockSourceBytes, to + block * OUTPUT::kBytes,
                                    row);
        }
        if constexpr ((VARIANT & kRowHasTail) != 0) {
            // A row shorter than its first block has been written with it.
            const size_t remainder = width - blocks * OUTPUT::kPixels;
            if (remainder != 0 && block == blocks) {
                ConvertTail(from + blocks * kBlockSourceBytes, remainder,
                            to + blocks * OUTPUT::kBytes,
                            OUTPUT::RowBytes(width) - blocks * OUTPUT::kBytes, row);
            }
        }
    }

    template <int BLOCKS, bool FIRST>
    static void ConvertBlocks(const char* from, char* to, ROW& row) {
        Converter::Video::PrefetchAhead<Converter::Video::AlignedSource, kPrefetchDistance>(from);
        if constexpr (kIsScalar) {
            VEC<1, unsigned int> pixel;
            std::memcpy(&pixel, from, sizeof(pixel));
            const auto bytes = PIPE::template apply<false, false>(pixel);
            static_assert(sizeof(bytes) == OUTPUT::kBytes);
            std::memcpy(to, &bytes, sizeof(bytes));
        } else {
            const SOURCE<BLOCKS* OUTPUT::kPixels> source = {from, &row};
            const auto blocks = PIPE::template apply<kMisalignedSource, FIRST>(source);
            static_assert(sizeof(blocks.v) == BLOCKS * OUTPUT::kBytes);
            StoreVectors(to, blocks, std::make_integer_sequence<int, sizeof(blocks.v) / 16>());
        }
    }

    // The pixels left over from whole blocks go through a block on the stack, so that nothing is
    // read or written past the end of the row.
    static void ConvertTail(const char* from, size_t pixels, char* to, size_t bytes, ROW& row) {
        alignas(16) char source[kBlockSourceBytes];
        std::memcpy(source, from, pixels * kSourceBytes);
        for (size_t i = pixels; i < OUTPUT::kPixels; ++i) {
            std::memcpy(source + i * kSourceBytes, from + (pixels - 1) * kSourceBytes,
                        kSourceBytes);
        }
        const auto block =
            PIPE::template apply<false, false>(SOURCE<OUTPUT::kPixels>{source, &row});
        static_assert(sizeof(block.v) == OUTPUT::kBytes);
        std::memcpy(to, block.v, bytes);
    }

    template <int N, int... I>
    static void StoreVectors(char* to, const BLOCK<N, PACKED>& block,
                             std::integer_sequence<int, I...>) {
        (StoreVector(to + ptrdiff_t{16} * I, block.v[I].v), ...);
    }

    static void StoreVector(char* to, Integers vector) {
        if constexpr (kMisalignedDestination) {
            Store(to, vector);
        } else if constexpr (OUTPUT::kIsStreamed) {
            Stream(to, vector);
        } else {
            StoreAligned(to, vector);
        }
    }
};

// Where a frame goes.
struct DestinationFrame {
    void* mPixels;
    int mRowBytes;
};

// A source frame and the chain that converts it.
template <typename PIPE>
class FrameTransform {
  public:
    FrameTransform(void const* pixels, unsigned int width, unsigned int height, int rowBytes)
        : mPixels(pixels), mWidth(width), mHeight(height), mRowBytes(rowBytes) {}

    void operator>>(DestinationFrame const& destination) const {
        const int variant = (IsAligned(mPixels) ? 0 : kSourceMisaligned) +
                            (IsAligned(destination.mPixels) ? 0 : kDestinationMisaligned) +
                            (mWidth % PIPE::OUTPUT::kPixels == 0 ? 0 : kRowHasTail);
        Run(variant, destination, std::make_integer_sequence<int, kVariantsInUse>());
    }

  private:
    // Blocks of one pixel leave no tail.
    static constexpr int kVariantsInUse = PIPE::OUTPUT::kPixels == 1 ? kRowHasTail : kVariants;

    template <int... VARIANT>
    void Run(int variant, DestinationFrame const& destination,
             std::integer_sequence<int, VARIANT...>) const {
        using Apply = void(void const* src, int srcRowBytes, void* dst, int dstRowBytes,
                           unsigned int width, unsigned int height);
        static constexpr Apply* kApply[] = {&Transform<PIPE, VARIANT, kVariants>::apply...};
        kApply[variant](mPixels, mRowBytes, destination.mPixels, destination.mRowBytes, mWidth,
                        mHeight);
    }

    static bool IsAligned(void const* pointer) {
        return reinterpret_cast<uintptr_t>(pointer) % 16 == 0;
    }

    void const* mPixels;
    unsigned int mWidth;
    unsigned int mHeight;
    int mRowBytes;
};

}  // namespace KVX::PixelConversion
