#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace kvx_cli {

// Work that a file may hold up for ever, as one on a disk that does not respond. It is done on a
// thread of its own, which is abandoned when the time is up. What the work touches must then
// outlive it: let it own all that through shared pointers.
class TimeLimit {
  public:
    explicit TimeLimit(std::chrono::milliseconds limit) : mLimit(limit) {}
    ~TimeLimit();

    TimeLimit(const TimeLimit&) = delete;
    TimeLimit& operator=(const TimeLimit&) = delete;

    // False if the work did not end in time or threw std::bad_alloc, and if no thread can be
    // started for it; Words() then says which. The work throws nothing else.
    bool Run(std::function<void()> work);

    // The same for work with a result.
    template <typename Result>
    std::optional<Result> Ask(std::function<Result()> work) {
        const auto result = std::make_shared<std::optional<Result>>();
        const bool isDone = Run([result, work = std::move(work)] { *result = work(); });
        return isDone ? std::move(*result) : std::nullopt;
    }

    std::chrono::milliseconds Limit() const { return mLimit; }

    // Why the last Run() failed: "it did not respond within 10 seconds". That also before any.
    std::string Words() const;

    // Whether any thread of the program has been abandoned; it can only end at once then.
    static bool HasLeftThreadBehind();

  private:
    struct Worker;

    bool StartWorker();

    std::chrono::milliseconds mLimit;
    std::shared_ptr<Worker> mWorker;
    const char* mFailure = nullptr;  // of the last Run(), other than to be late
};

// "1 second", "2.5 seconds".
std::string SecondsText(std::chrono::milliseconds time);

}  // namespace kvx_cli
