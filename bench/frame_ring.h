// Frames for benchmarks of conversions.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace kvx_bench {

// Frames of one size, taken in turn, that together take twice the last-level cache: no turn finds
// what the use before left there. They start at pages and hold noise, and what is read or written a
// little past their ends is theirs too.
class FrameRing {
  public:
    // Each 16-bit word of noise is masked, so that samples of 10 bits in words of their own keep to
    // them, and then has `wordBase` in it as well.
    explicit FrameRing(size_t frameBytes, unsigned wordMask = 0xFFFF, unsigned wordBase = 0);

    char* Next();

  private:
    struct Freer {
        void operator()(char* memory) const;
    };
    std::vector<std::unique_ptr<char, Freer>> mFrames;
    size_t mNext = 0;
};

}  // namespace kvx_bench
