// Who decides at the points where a run could go on in more than one way.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kvx_schedules {

// A moment of a run at which it can go on in several ways. The first is the one that a system in no
// hurry would take: the thread that runs goes on, calls succeed.
struct Choice {
    // All ways that there are, whatever the bounds leave of them. Paths number these.
    size_t possible = 0;
    // Those to choose among, at least two, by their numbers among all.
    std::vector<size_t> ways;
    // The threads that these stand for, by their numbers; empty where the choice is another one.
    std::vector<int> threads;
    // The same for two moments from which exactly the same can follow, whatever happened before in
    // which order.
    uint64_t state = 0;
    // How many threads may still be interrupted.
    unsigned budget = 0;

    // All of so many.
    void SetWays(size_t count) {
        possible = count;
        for (size_t way = 0; way < count; ++way) {
            ways.push_back(way);
        }
    }
};

class Strategy {
  public:
    // What a run is given up with, by a way out of range.
    static constexpr size_t kGiveUp = static_cast<size_t>(-1);

    virtual ~Strategy() = default;

    // An index into the ways to choose among.
    virtual size_t Choose(const Choice& choice) = 0;

    // Called at the end of each run. False when there is no further run to make.
    virtual bool NextRun() = 0;
};

// Every run within the budget, depth first, without those that a run from an equal state with at
// least the same budget has shown.
class EveryRun : public Strategy {
  public:
    // Without `prunes` no run is left out.
    explicit EveryRun(bool prunes = true) : mPrunes(prunes) {}

    size_t Choose(const Choice& choice) override;
    bool NextRun() override;

  private:
    struct Node {
        size_t taken;
        size_t count;
    };

    // States and the largest budget that they were left with.
    class Visited {
      public:
        Visited() : mEntries(size_t{1} << 16) {}
        // Whether the state has been here with as large a budget; notes it if not.
        bool Covers(uint64_t state, unsigned budget);

      private:
        struct Entry {
            uint64_t state = 0;
            unsigned budget = 0;  // one more than it was, 0 where no state is
        };
        Entry& Find(uint64_t state);
        void Grow();

        std::vector<Entry> mEntries;
        size_t mCount = 0;
    };

    const bool mPrunes;
    std::vector<Node> mPath;
    size_t mDepth = 0;
    Visited mVisited;
};

// Random priorities that change at a few random points: finds a fault that takes d changes with a
// probability that is known, however large the number of runs.
class RandomPriorities : public Strategy {
  public:
    // `runs` runs with `changes` changes of priority among the first `length` choices of each.
    RandomPriorities(uint64_t seed, long runs, int changes, size_t length);

    size_t Choose(const Choice& choice) override;
    bool NextRun() override;

  private:
    uint64_t Draw();
    void Shuffle();

    uint64_t mRandom;
    long mRunsLeft;
    int mChanges;
    size_t mLength;
    size_t mAt = 0;
    std::vector<size_t> mChangePoints;
    std::vector<uint64_t> mPriorities;  // by thread
};

// One run, from a string that Path made.
class Replay : public Strategy {
  public:
    explicit Replay(const std::string& path);

    size_t Choose(const Choice& choice) override;
    bool NextRun() override { return false; }

  private:
    std::vector<size_t> mWays;
    size_t mAt = 0;
};

// Writes down the ways that a run took, for Replay: "17:1 40:2" took way 1 at choice 17 and way 2
// at choice 40, and way 0 everywhere else.
class Path {
  public:
    void Add(size_t way) { mWays.push_back(way); }
    void Clear() { mWays.clear(); }
    size_t Length() const { return mWays.size(); }
    std::string Text() const;

  private:
    std::vector<size_t> mWays;
};

}  // namespace kvx_schedules
