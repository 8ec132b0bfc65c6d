// A movie file that is changed at random, and what is known of it at every moment.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "support/bytes.h"
#include "support/random.h"

namespace kvx_stress {

// What the bytes of a file may be at one place.
enum Content : unsigned {
    kOriginal = 1,
    kInverted = 2,
    kZero = 4,
};

// The file that the importer has open, which need not be the one that is found under its path.
class ChangingFile {
  public:
    // Writes `image`, which must last longer. `edges` are offsets where changes are worth most.
    ChangingFile(const std::string& path, const kvx_test::Bytes& image,
                 const std::vector<uint64_t>& edges);
    ~ChangingFile();

    ChangingFile(const ChangingFile&) = delete;
    ChangingFile& operator=(const ChangingFile&) = delete;

    const std::string& Path() const { return mPath; }

    // Cuts, grows, writes over, replaces, removes or puts back. On one thread, as TakeUp.
    void Change(kvx_test::Random& random);

    // The importer's descriptors are new: whether they open, and how long the file is then, is what
    // it knows from here on. `reopen` does it.
    template <typename Reopen>
    void TakeUp(Reopen reopen) {
        BeginChange();
        reopen();
        mIsOpen = mIsThere;
        if (mIsOpen) {
            mOpen = mPathFile;
            mIsOpenUnderPath = true;
            mKnownLength = mPathFile.length;
        }
        ++mTakenUp;
        EndChange(false);
    }

    // As of the last TakeUp; -1 when the file did not open. Read where no TakeUp runs.
    int64_t KnownLength() const { return mIsOpen ? static_cast<int64_t>(mKnownLength) : -1; }
    int TimesTakenUp() const { return mTakenUp; }

    // Even between changes, odd under one. Where a change begins or ends, it goes on by one.
    const std::atomic<uint64_t>& Clock() const { return mClock; }

    // What the open file was between two times of the clock. When the changes are over.
    struct Span {
        uint64_t shortest;
        uint64_t longest;
        unsigned content;  // of Content
        bool isTakenUp;    // it was another file at the end than at the beginning
    };
    Span Between(uint64_t begin, uint64_t end) const;

  private:
    struct File {
        uint64_t length = 0;
        unsigned content = kOriginal;
    };
    struct State {
        File open;
        bool isCut;
        int takenUp;
    };

    void BeginChange();
    void EndChange(bool isCut);
    void WriteAll(const std::string& path, const kvx_test::Bytes& bytes);

    void Cut(kvx_test::Random& random);
    void Grow(kvx_test::Random& random);
    void WriteOver(kvx_test::Random& random);
    void Replace(kvx_test::Random& random);
    void Remove();
    uint64_t SomePlace(kvx_test::Random& random) const;
    void SetLength(uint64_t length);

    const std::string mPath;
    const kvx_test::Bytes& mImage;
    const std::vector<uint64_t>& mEdges;
    bool mIsThere = true;
    File mPathFile;
    bool mIsOpen = true;
    bool mIsOpenUnderPath = true;  // the open file is the one under the path
    File mOpen;
    uint64_t mKnownLength = 0;
    int mTakenUp = 0;
    std::vector<State> mStates;  // after so many changes
    std::atomic<uint64_t> mClock{0};
};

kvx_test::Bytes Inverted(kvx_test::Bytes bytes);

}  // namespace kvx_stress
