#include "schedules/strategy.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace kvx_schedules {

EveryRun::Visited::Entry& EveryRun::Visited::Find(uint64_t state) {
    const size_t mask = mEntries.size() - 1;
    size_t at = static_cast<size_t>(state) & mask;
    while (mEntries[at].budget != 0 && mEntries[at].state != state) {
        at = (at + 1) & mask;
    }
    return mEntries[at];
}

void EveryRun::Visited::Grow() {
    std::vector<Entry> old(mEntries.size() * 2);
    old.swap(mEntries);
    for (const Entry& entry : old) {
        if (entry.budget != 0) {
            Find(entry.state) = entry;
        }
    }
}

bool EveryRun::Visited::Covers(uint64_t state, unsigned budget) {
    Entry& entry = Find(state);
    if (entry.budget > budget) {
        return true;
    }
    const bool isNew = entry.budget == 0;
    entry = {state, budget + 1};
    if (isNew && ++mCount * 2 > mEntries.size()) {
        Grow();
    }
    return false;
}

size_t EveryRun::Choose(const Choice& choice) {
    if (mDepth < mPath.size()) {
        if (mPath[mDepth].count != choice.ways.size()) {
            std::abort();  // the same ways led elsewhere: something is left of an earlier run
        }
        return mPath[mDepth++].taken;
    }
    if (mPrunes && mVisited.Covers(choice.state, choice.budget)) {
        return kGiveUp;
    }
    mPath.push_back({0, choice.ways.size()});
    ++mDepth;
    return 0;
}

bool EveryRun::NextRun() {
    mDepth = 0;
    while (!mPath.empty() && mPath.back().taken + 1 == mPath.back().count) {
        mPath.pop_back();
    }
    if (mPath.empty()) {
        return false;
    }
    ++mPath.back().taken;
    return true;
}

RandomPriorities::RandomPriorities(uint64_t seed, long runs, int changes, size_t length)
    : mRandom(seed * 2 + 1), mRunsLeft(runs), mChanges(changes), mLength(length) {
    Shuffle();
}

// xorshift64*
uint64_t RandomPriorities::Draw() {
    mRandom ^= mRandom >> 12;
    mRandom ^= mRandom << 25;
    mRandom ^= mRandom >> 27;
    return mRandom * 0x2545F4914F6CDD1DULL;
}

void RandomPriorities::Shuffle() {
    mAt = 0;
    mPriorities.clear();
    mChangePoints.clear();
    for (int change = 0; change < mChanges; ++change) {
        mChangePoints.push_back(static_cast<size_t>(Draw() % mLength));
    }
}

size_t RandomPriorities::Choose(const Choice& choice) {
    const size_t at = mAt++;
    const bool changes =
        std::find(mChangePoints.begin(), mChangePoints.end(), at) != mChangePoints.end();
    if (choice.threads.empty()) {
        return changes ? static_cast<size_t>(Draw() % choice.ways.size()) : 0;
    }
    const auto priority = [this](int thread) -> uint64_t& {
        const auto index = static_cast<size_t>(thread);
        while (mPriorities.size() <= index) {
            mPriorities.push_back((Draw() >> 1) | 1);
        }
        return mPriorities[index];
    };
    const auto highest = [&] {
        const auto found =
            std::max_element(choice.threads.begin(), choice.threads.end(),
                             [&](int one, int other) { return priority(one) < priority(other); });
        return static_cast<size_t>(found - choice.threads.begin());
    };
    if (changes) {
        // To the end of the line, behind those that were sent there before.
        priority(choice.threads[highest()]) = mLength - at;
    }
    return highest();
}

bool RandomPriorities::NextRun() {
    Shuffle();
    return --mRunsLeft > 0;
}

Replay::Replay(const std::string& path) {
    std::istringstream text(path);
    size_t at = 0;
    size_t way = 0;
    char colon = 0;
    while (text >> at >> colon >> way) {
        mWays.resize(std::max(mWays.size(), at + 1));
        mWays[at] = way;
    }
}

// Asked at each moment at which there is more than one way, since nothing bounds a run that is
// repeated.
size_t Replay::Choose(const Choice& choice) {
    const size_t at = mAt++;
    const size_t way = at < mWays.size() ? mWays[at] : 0;
    return way < choice.ways.size() ? way : 0;
}

std::string Path::Text() const {
    std::ostringstream text;
    for (size_t at = 0; at < mWays.size(); ++at) {
        if (mWays[at] != 0) {
            text << (text.tellp() > 0 ? " " : "") << at << ":" << mWays[at];
        }
    }
    return text.str();
}

}  // namespace kvx_schedules
