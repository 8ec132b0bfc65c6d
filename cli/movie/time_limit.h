#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace kvx_cli {

// Work that a file may hold up for ever, as one on a disk that does not answer. It is done on a
// thread of its own, which is left behind when the time is up. What the work touches must then
// outlive it: let it own all that through shared pointers.
class TimeLimit {
  public:
    explicit TimeLimit(std::chrono::milliseconds limit) : mLimit(limit) {}
    ~TimeLimit();

    TimeLimit(const TimeLimit&) = delete;
    TimeLimit& operator=(const TimeLimit&) = delete;

    // False if the work did not end in time.
    bool Run(std::function<void()> work);

    // The same of work with an answer.
    template <typename Answer>
    std::optional<Answer> Ask(std::function<Answer()> work) {
        const auto answer = std::make_shared<std::optional<Answer>>();
        const bool isDone = Run([answer, work = std::move(work)] { *answer = work(); });
        return isDone ? std::move(*answer) : std::nullopt;
    }

    std::chrono::milliseconds Limit() const { return mLimit; }

    // "it did not answer within 10 seconds".
    std::string Words() const;

    // Whether any thread of the program has been left behind; it can only end at once then.
    static bool HasLeftThreadBehind();

  private:
    struct Worker;

    std::chrono::milliseconds mLimit;
    std::shared_ptr<Worker> mWorker;
};

// "1 second", "2.5 seconds".
std::string SecondsText(std::chrono::milliseconds time);

}  // namespace kvx_cli
