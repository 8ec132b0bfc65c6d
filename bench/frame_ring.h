// Frames for benchmarks of conversions, and the limit that they are held against.
#pragma once

#include <cstddef>
#include <vector>

namespace kvx_bench {

// A row of source and destination frames that together take several times the last-level cache, so
// that no conversion finds what the one before left there. Sources are noise.
class FrameRing {
  public:
    FrameRing(size_t sourceBytes, size_t destinationBytes);
    ~FrameRing();

    FrameRing(const FrameRing&) = delete;
    FrameRing& operator=(const FrameRing&) = delete;

    // Both for the frame that is next in turn.
    struct Frame {
        const char* mSource;
        char* mDestination;
    };
    Frame Next();

  private:
    struct Memory {
        char* mSource;
        char* mDestination;
    };
    std::vector<Memory> mFrames;
    size_t mNext = 0;
};

// Reads `sourceBytes` and writes `destinationBytes`, both once and evenly mixed, with aligned
// 16-byte loads and streamed stores: what memory allows a conversion of these sizes.
void CopyAtTheLimit(const char* source, size_t sourceBytes, char* destination,
                    size_t destinationBytes);

// The share of that limit that `convert` reaches: seconds of each, gathered in alternation.
class Timings {
  public:
    void Add(double conversion, double limit);
    double ConversionMedian() const;
    double Share() const;  // of the medians; 1 is the limit

  private:
    std::vector<double> mConversions;
    std::vector<double> mLimits;
};

}  // namespace kvx_bench
