#include "stress/file_changes/changing_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace kvx_stress {

using kvx_test::Bytes;
using kvx_test::Random;

namespace {

void RequireCall(bool holds, const char* what) {
    if (!holds) {
        std::perror(what);
        std::abort();
    }
}

void Write(int file, const char* bytes, uint64_t size, uint64_t offset) {
    for (uint64_t done = 0; done < size;) {
        const ssize_t wrote =
            pwrite(file, bytes + done, size - done, static_cast<off_t>(offset + done));
        RequireCall(wrote > 0, "pwrite");
        done += static_cast<uint64_t>(wrote);
    }
}

}  // namespace

Bytes Inverted(Bytes bytes) {
    for (char& byte : bytes) {
        byte = static_cast<char>(~byte);
    }
    return bytes;
}

ChangingFile::ChangingFile(const std::string& path, const Bytes& image,
                           const std::vector<uint64_t>& edges)
    : mPath(path), mImage(image), mEdges(edges) {
    WriteAll(mPath, image);
    mPathFile.length = image.size();
    mOpen = mPathFile;
    mKnownLength = image.size();
    mStates.push_back({mOpen, false, 0});
}

ChangingFile::~ChangingFile() {
    unlink(mPath.c_str());
}

void ChangingFile::WriteAll(const std::string& path, const Bytes& bytes) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    RequireCall(file >= 0, "open");
    Write(file, bytes.data(), bytes.size(), 0);
    RequireCall(close(file) == 0, "close");
}

void ChangingFile::BeginChange() {
    mClock.fetch_add(1, std::memory_order_relaxed);
}

void ChangingFile::EndChange(bool isCut) {
    if (mIsOpenUnderPath && mIsThere) {
        mOpen = mPathFile;
    }
    mStates.push_back({mOpen, isCut, mTakenUp});
    mClock.fetch_add(1, std::memory_order_relaxed);
}

void ChangingFile::Change(Random& random) {
    BeginChange();
    bool isCut = false;
    if (!mIsThere) {
        Replace(random);
    } else {
        switch (random.Pick(0, 11)) {
            case 0:
            case 1:
            case 2:
            case 3:
            case 4:
                isCut = true;
                Cut(random);
                break;
            case 5:
            case 6:
                Grow(random);
                break;
            case 7:
            case 8:
                WriteOver(random);
                break;
            case 9:
            case 10:
                Replace(random);
                break;
            default:
                Remove();
        }
    }
    EndChange(isCut);
}

uint64_t ChangingFile::SomePlace(Random& random) const {
    if (random.OneIn(3)) {
        return static_cast<uint64_t>(random.Pick(0, static_cast<int64_t>(mImage.size())));
    }
    const uint64_t edge = random.AnyOf(mEdges);
    return edge + static_cast<uint64_t>(random.Pick(edge == 0 ? 0 : -1, 1));
}

void ChangingFile::SetLength(uint64_t length) {
    RequireCall(truncate(mPath.c_str(), static_cast<off_t>(length)) == 0, "truncate");
    mPathFile.length = length;
}

void ChangingFile::Cut(Random& random) {
    SetLength(std::min(SomePlace(random), mPathFile.length));
}

// Back to its first length, or beyond.
void ChangingFile::Grow(Random& random) {
    const uint64_t length =
        std::max<uint64_t>(mPathFile.length, mImage.size() + (random.OneIn(2) ? 0 : 5000));
    if (mPathFile.length < mImage.size()) {
        mPathFile.content |= kZero;
    }
    SetLength(length);
}

void ChangingFile::WriteOver(Random& random) {
    const uint64_t end = std::min<uint64_t>(mPathFile.length, mImage.size());
    const uint64_t begin = std::min(SomePlace(random), end);
    const uint64_t size = std::min<uint64_t>(end - begin, 20000);
    Bytes bytes = mImage.substr(begin, size);
    if (random.OneIn(4)) {
        mPathFile.content |= kOriginal;
    } else {
        bytes = Inverted(bytes);
        mPathFile.content |= kInverted;
    }
    const int file = open(mPath.c_str(), O_WRONLY | O_CLOEXEC);
    RequireCall(file >= 0, "open");
    Write(file, bytes.data(), bytes.size(), begin);
    RequireCall(close(file) == 0, "close");
}

void ChangingFile::Replace(Random& random) {
    const std::string other = mPath + ".new";
    Bytes bytes = random.OneIn(2) ? mImage : Inverted(mImage);
    mPathFile.content = bytes[0] == mImage[0] ? kOriginal : kInverted;
    if (random.OneIn(2)) {
        bytes.resize(std::min<uint64_t>(SomePlace(random), bytes.size()));
    }
    WriteAll(other, bytes);
    RequireCall(std::rename(other.c_str(), mPath.c_str()) == 0, "rename");
    mPathFile.length = bytes.size();
    mIsThere = true;
    mIsOpenUnderPath = false;
}

void ChangingFile::Remove() {
    RequireCall(unlink(mPath.c_str()) == 0, "unlink");
    mIsThere = false;
    mIsOpenUnderPath = false;
}

ChangingFile::Span ChangingFile::Between(uint64_t begin, uint64_t end) const {
    const size_t first = begin / 2;
    const size_t last = (end + 1) / 2;
    const State& from = mStates.at(first);
    Span span = {from.open.length, from.open.length, from.open.content, false};
    for (size_t index = first + 1; index <= last; ++index) {
        const State& state = mStates.at(index);
        span.shortest = std::min(span.shortest, state.open.length);
        span.longest = std::max(span.longest, state.open.length);
        // What is cut off a page is cleared first, also under a read that began before.
        span.content |= state.open.content | (state.isCut ? kZero : 0U);
        span.isTakenUp = span.isTakenUp || state.takenUp != from.takenUp;
    }
    return span;
}

}  // namespace kvx_stress
