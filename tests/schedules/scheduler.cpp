#include "schedules/scheduler.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace kvx_schedules {

Scheduler* gScheduler = nullptr;

namespace {

// What stands for something in a history.
uint64_t Number(const void* address) {
    return reinterpret_cast<uintptr_t>(address);
}

// No object lives at such an address.
const void* DescriptorObject(int descriptor) {
    return reinterpret_cast<const void*>(static_cast<uintptr_t>(descriptor) + 2);
}
const void* const kDescriptorTable = reinterpret_cast<const void*>(uintptr_t{1});

// Threads have numbers from 1 on the outside: no thread's handle is 0.
pthread_t HandleOf(int thread) {
    return static_cast<pthread_t>(thread) + 1;
}

}  // namespace

Scheduler::Scheduler() = default;

// --- Runs

std::optional<Finding> Scheduler::Run(Strategy& strategy, const Bounds& bounds,
                                      const std::function<void()>& body) {
    if (mImage == nullptr) {
        mImage = std::make_unique<ProgramImage>();
    } else {
        mImage->Restore();
    }
    Forget();
    mStrategy = &strategy;
    mBounds = mLeft = bounds;
    mBody = &body;
    AddThread().fiber.Prepare(&BeginBody, this);
    mCurrent = 0;
    mControls = true;
    mThreads[0]->fiber.SwitchFrom(mDriver);
    // Here a run ends, however it does.
    mControls = false;
    for (const int descriptor : mDescriptors) {
        close(descriptor);
    }
    mDescriptors.clear();
    return mFinding;
}

void Scheduler::Forget() {
    mExploring = false;
    mWasGivenUp = false;
    mFinding.reset();
    mPath.Clear();
    // Each goes on having the same stack: what lies there has the same address in every run.
    for (; !mThreads.empty(); mThreads.pop_back()) {
        mSpareThreads.push_back(std::move(mThreads.back()));
    }
    mMutexes.clear();
    mConditions.clear();
    mOnces.clear();
    mCauses.BeginRun();
    mOverlooked.clear();
    mKeys.clear();
    mArena.Reset();
}

void Scheduler::LeaveRun() {
    mControls = false;
    mDriver.Enter();
}

void Scheduler::GiveUp() {
    mWasGivenUp = true;
    LeaveRun();
}

void Scheduler::Fail(const std::string& what) {
    mControls = false;
    mFinding = Finding{what, mPath.Text()};
    LeaveRun();
}

void Scheduler::BeginBody(void* argument) {
    auto* scheduler = static_cast<Scheduler*>(argument);
    (*scheduler->mBody)();
    scheduler->LeaveRun();
}

// --- Choices

void Scheduler::BeginExploring() {
    const Inside inside(this);
    mExploring = true;
    mCauses.BeginExploring();
    for (size_t number = 0; number < mThreads.size(); ++number) {
        Thread& thread = *mThreads[number];
        if (thread.condition != nullptr || thread.isLate) {
            thread.history = Combine(Combine(Number(reinterpret_cast<const void*>(thread.function)),
                                             Number(thread.argument)),
                                     Number(thread.condition));
        } else {
            thread.history = Combine(number, 0);
        }
    }
}

uint64_t Scheduler::State() const {
    uint64_t threads = 0;  // in no order: those alike are one as good as the other
    for (const auto& thread : mThreads) {
        threads += Combine(thread->history, 2);
    }
    const uint64_t current = mThreads[static_cast<size_t>(mCurrent)]->history;
    return Combine(Combine(Combine(current, mLeft.failures), mLeft.wakeUps), threads);
}

size_t Scheduler::Choose(Choice& choice) {
    if (choice.possible < 2 || !mExploring) {
        return 0;
    }
    if (mPath.Length() >= mBounds.mostChoices) {
        Fail("does not end");
    }
    size_t way = 0;
    if (choice.ways.size() > 1) {
        choice.state = Combine(State(), choice.threads.empty() ? choice.possible : 0);
        choice.budget = mLeft.preemptions;
        way = mStrategy->Choose(choice);
        if (way >= choice.ways.size()) {
            GiveUp();
        }
    }
    mPath.Add(choice.ways[way]);
    return choice.ways[way];
}

bool Scheduler::Fails() {
    const Inside inside(this);
    Choice choice;
    choice.SetWays(mLeft.failures == 0 ? 1 : 2);
    const size_t way = Choose(choice);
    mLeft.failures -= static_cast<unsigned>(way);
    Mix(way);
    return way != 0;
}

bool Scheduler::IsEnabled(const Thread& thread) const {
    if (thread.isFinished || thread.isLate || thread.condition != nullptr || thread.waitsForQuiet) {
        return false;
    }
    if (thread.mutex != nullptr) {
        return mMutexes.at(thread.mutex).owner < 0;
    }
    if (thread.once != nullptr) {
        return mOnces.at(thread.once) != OnceState::kRunning;
    }
    return thread.joins < 0 || mThreads[static_cast<size_t>(thread.joins)]->isFinished;
}

void Scheduler::CollectEnabled() {
    mEnabled.clear();
    const auto count = static_cast<int>(mThreads.size());
    for (int turn = 0; turn < count; ++turn) {
        const int thread = (mCurrent + turn) % count;
        if (IsEnabled(*mThreads[static_cast<size_t>(thread)])) {
            mEnabled.push_back(thread);
        }
    }
    if (!mEnabled.empty()) {
        return;
    }
    for (int thread = 0; thread < count; ++thread) {
        if (mThreads[static_cast<size_t>(thread)]->waitsForQuiet) {
            mEnabled.push_back(thread);
            return;
        }
    }
}

void Scheduler::CollectWays(bool currentGoesOn, bool mayInterrupt, size_t ready) {
    mChoice.possible = mEnabled.size();
    mChoice.ways.clear();
    mChoice.threads.clear();
    const auto isLikeAnother = [&](size_t way) {
        const bool isReady = way < ready;
        for (const size_t other : mChoice.ways) {
            if ((other < ready) == isReady && mEnabled[other] != mCurrent &&
                mThreads[static_cast<size_t>(mEnabled[other])]->history ==
                    mThreads[static_cast<size_t>(mEnabled[way])]->history) {
                return true;
            }
        }
        return false;
    };
    for (size_t way = 0; way < mEnabled.size(); ++way) {
        const bool interrupts = currentGoesOn && way > 0;
        if (interrupts && (!mayInterrupt || (way < ready && mLeft.preemptions == 0))) {
            continue;
        }
        if (mBounds.onlyWhereThreadsMeet && mEnabled[way] != mCurrent && isLikeAnother(way)) {
            continue;
        }
        mChoice.ways.push_back(way);
        mChoice.threads.push_back(mEnabled[way]);
    }
}

void Scheduler::Reschedule(const char* what, const void* object) {
    if (mTraces) {
        std::printf("%5zu  thread %d  %s %p\n", mPath.Length(), mCurrent, what, object);
        std::fflush(stdout);
    }
    CollectEnabled();
    if (IsOverlooked(object) && !mEnabled.empty() && mEnabled.front() == mCurrent) {
        return;
    }
    // Waits that end for no reason, or since their time is up.
    const size_t ready = mEnabled.size();
    if (mLeft.wakeUps > 0 && mExploring) {
        for (size_t thread = 0; thread < mThreads.size(); ++thread) {
            if (mThreads[thread]->condition != nullptr) {
                mEnabled.push_back(static_cast<int>(thread));
            }
        }
    }
    if (mEnabled.empty()) {
        Fail("no thread can go on");
    }
    const bool currentGoesOn = ready > 0 && mEnabled.front() == mCurrent;
    const bool mayInterrupt =
        !mBounds.onlyWhereThreadsMeet || object == nullptr || mCauses.IsCommon(object);
    CollectWays(currentGoesOn, mayInterrupt, ready);
    const int next = mEnabled[Choose(mChoice)];
    Thread& thread = *mThreads[static_cast<size_t>(next)];
    if (thread.condition != nullptr) {
        --mLeft.wakeUps;
        auto& waiters = mConditions[thread.condition].waiters;
        waiters.erase(std::find(waiters.begin(), waiters.end(), next));
        thread.condition = nullptr;
        thread.result = thread.isTimed ? this : nullptr;  // read by Wait
        thread.history = Combine(thread.history, 1);
        Reschedule("woken", object);  // it is one more that could go on
        return;
    }
    if (currentGoesOn && next != mCurrent) {
        --mLeft.preemptions;
    }
    SwitchTo(next);
}

void Scheduler::SwitchTo(int next) {
    if (next == mCurrent) {
        return;
    }
    Thread& from = Current();
    mCurrent = next;
    Current().fiber.SwitchFrom(from.fiber);
}

void Scheduler::Mix(uint64_t value) {
    Current().history = Combine(Current().history, value);
}

void Scheduler::Overlook(const void* object) {
    const Inside inside(this);
    mOverlooked.push_back(object);
}

bool Scheduler::IsOverlooked(const void* object) const {
    return std::find(mOverlooked.begin(), mOverlooked.end(), object) != mOverlooked.end();
}

void Scheduler::Touch(const void* object, bool changes) {
    const uint64_t history = mCauses.Touch(object, mCurrent, Current().history, changes);
    if (!IsOverlooked(object)) {
        Current().history = history;
    }
}

void Scheduler::Point(const void* object, const char* what, bool changes, size_t size) {
    const Inside inside(this);
    Reschedule(what, object);
    if (size > 0) {
        Access(object, size, what);  // only now: others may have gone on in between
    }
    Touch(object, changes);
}

void Scheduler::OpenPoint() {
    Point(kDescriptorTable, "open");
}

void Scheduler::ClosePoint(int descriptor) {
    Point(kDescriptorTable, "close");
    Point(DescriptorObject(descriptor), "close");
    const Inside inside(this);
    mDescriptors.erase(std::remove(mDescriptors.begin(), mDescriptors.end(), descriptor),
                       mDescriptors.end());
}

void Scheduler::ReadPoint(int descriptor) {
    Point(DescriptorObject(descriptor), "read", false);
}

void Scheduler::Opened(int descriptor) {
    const Inside inside(this);
    mDescriptors.push_back(descriptor);
    Touch(DescriptorObject(descriptor));
}

void Scheduler::WaitUntilQuiet() {
    const Inside inside(this);
    Current().waitsForQuiet = true;
    Reschedule("wait until quiet", nullptr);
    Current().waitsForQuiet = false;
    for (const auto& thread : mThreads) {
        Mix(thread->history);
    }
    mCauses.JoinedAll(mCurrent);
}

// --- Threads

Scheduler::Thread& Scheduler::AddThread() {
    if (mSpareThreads.empty()) {
        mThreads.push_back(std::make_unique<Thread>());
    } else {
        mThreads.push_back(std::move(mSpareThreads.back()));
        mSpareThreads.pop_back();
        Thread& thread = *mThreads.back();
        thread.function = nullptr;
        thread.argument = thread.result = nullptr;
        thread.isLate = thread.isFinished = thread.isDetached = thread.isJoined = false;
        thread.mutex = nullptr;
        thread.condition = nullptr;
        thread.isTimed = false;
        thread.once = nullptr;
        thread.joins = -1;
        thread.waitsForQuiet = false;
        thread.values.clear();
    }
    mThreads.back()->history = Combine(mThreads.size(), 0);
    return *mThreads.back();
}

int Scheduler::ThreadOf(pthread_t thread) const {
    const auto number = static_cast<size_t>(thread);
    return number >= 1 && number <= mThreads.size() ? static_cast<int>(number) - 1 : -1;
}

pthread_t Scheduler::Self() const {
    return HandleOf(mCurrent);
}

int Scheduler::CreateThread(pthread_t* handle, void* (*function)(void*), void* argument) {
    if (Fails()) {
        return EAGAIN;
    }
    const Inside inside(this);
    const auto alike = std::count_if(mThreads.begin(), mThreads.end(), [&](const auto& thread) {
        return thread->function == function && thread->argument == argument;
    });
    Thread& thread = AddThread();
    thread.function = function;
    thread.argument = argument;
    thread.isLate = alike >= mBounds.threadsAlike;
    thread.history = Combine(thread.history, Current().history);
    thread.fiber.Prepare(&BeginThread, this);
    const int number = static_cast<int>(mThreads.size()) - 1;
    mCauses.Started(mCurrent, number);
    *handle = HandleOf(number);
    Mix(1);
    if (!thread.isLate) {
        Reschedule("create", nullptr);  // it may be there at once
        Mix(1);
    }
    return 0;
}

void Scheduler::BeginThread(void* argument) {
    auto* scheduler = static_cast<Scheduler*>(argument);
    Thread& thread = scheduler->Current();
    scheduler->mControls = true;
    thread.result = thread.function(thread.argument);
    scheduler->EndThread();
}

void Scheduler::EndThread() {
    Thread& thread = Current();
    for (size_t key = 0; key < mKeys.size(); ++key) {
        const auto value = thread.values.find(static_cast<pthread_key_t>(key));
        if (value != thread.values.end() && value->second != nullptr && mKeys[key] != nullptr) {
            mKeys[key](const_cast<void*>(std::exchange(value->second, nullptr)));
        }
    }
    mControls = false;
    thread.isFinished = true;
    Reschedule("end", nullptr);
    std::abort();  // nobody goes on with a thread that has ended
}

int Scheduler::JoinThread(pthread_t handle, void** result) {
    const Inside inside(this);
    const int number = ThreadOf(handle);
    if (number < 0 || number == mCurrent) {
        Fail("joins a thread that there is not");
    }
    Thread& thread = *mThreads[static_cast<size_t>(number)];
    if (thread.isJoined || thread.isDetached) {
        Fail("joins a thread that is joined or detached already");
    }
    thread.isJoined = true;
    thread.isLate = false;
    Current().joins = number;
    Reschedule("join", nullptr);
    Current().joins = -1;
    Mix(thread.history);
    mCauses.Joined(mCurrent, number);
    if (result != nullptr) {
        *result = thread.result;
    }
    return 0;
}

int Scheduler::DetachThread(pthread_t handle) {
    const Inside inside(this);
    const int number = ThreadOf(handle);
    if (number < 0 || std::exchange(mThreads[static_cast<size_t>(number)]->isDetached, true)) {
        Fail("detaches a thread that there is not");
    }
    return 0;
}

// --- Mutexes and conditions

int Scheduler::InitMutex(const pthread_mutex_t* mutex) {
    const Inside inside(this);
    mMutexes[mutex] = {};
    Touch(mutex);
    return 0;
}

int Scheduler::DestroyMutex(const pthread_mutex_t* mutex) {
    const Inside inside(this);
    Reschedule("destroy mutex", mutex);
    Touch(mutex);
    Mutex& state = mMutexes[mutex];
    if (state.owner >= 0) {
        Fail("destroys a locked mutex");
    }
    state.isDestroyed = true;
    return 0;
}

int Scheduler::LockMutex(const pthread_mutex_t* mutex) {
    Access(mutex, sizeof(*mutex), "lock of a mutex in");
    const Inside inside(this);
    if (mMutexes[mutex].owner == mCurrent) {
        Fail("locks a mutex that it holds");
    }
    Current().mutex = mutex;
    Reschedule("lock", mutex);
    Current().mutex = nullptr;
    if (mMutexes[mutex].isDestroyed) {
        Fail("locks a destroyed mutex");
    }
    mMutexes[mutex].owner = mCurrent;
    Touch(mutex);
    return 0;
}

int Scheduler::TryLockMutex(const pthread_mutex_t* mutex) {
    Access(mutex, sizeof(*mutex), "lock of a mutex in");
    const Inside inside(this);
    // To the thread that holds it the result is the same in every order.
    if (mMutexes[mutex].owner == mCurrent) {
        return EBUSY;
    }
    Reschedule("try to lock", mutex);
    Mutex& state = mMutexes[mutex];
    if (state.isDestroyed) {
        Fail("locks a destroyed mutex");
    }
    Touch(mutex);
    if (state.owner >= 0) {
        return EBUSY;
    }
    state.owner = mCurrent;
    return 0;
}

int Scheduler::UnlockMutex(const pthread_mutex_t* mutex) {
    Access(mutex, sizeof(*mutex), "unlock of a mutex in");
    const Inside inside(this);
    if (mMutexes[mutex].owner != mCurrent) {
        Fail("unlocks a mutex that it does not hold");
    }
    mMutexes[mutex].owner = -1;
    Touch(mutex);
    return 0;
}

int Scheduler::InitCondition(const pthread_cond_t* condition) {
    const Inside inside(this);
    mConditions[condition] = {};
    Touch(condition);
    return 0;
}

int Scheduler::DestroyCondition(const pthread_cond_t* condition) {
    const Inside inside(this);
    Reschedule("destroy condition", condition);
    Touch(condition);
    Condition& state = mConditions[condition];
    if (!state.waiters.empty()) {
        Fail("destroys a condition that is waited for");
    }
    state.isDestroyed = true;
    return 0;
}

int Scheduler::Wait(const pthread_cond_t* condition, const pthread_mutex_t* mutex, bool isTimed) {
    Access(condition, sizeof(*condition), "wait for a condition in");
    const Inside inside(this);
    if (mMutexes[mutex].owner != mCurrent) {
        Fail("waits for a condition without its mutex");
    }
    if (mConditions[condition].isDestroyed) {
        Fail("waits for a destroyed condition");
    }
    // Its mutex does not keep out who wakes without it.
    Reschedule("about to wait", condition);
    Touch(condition);
    Touch(mutex);
    mMutexes[mutex].owner = -1;
    mConditions[condition].waiters.push_back(mCurrent);
    Thread& thread = Current();
    thread.condition = condition;
    thread.mutex = mutex;
    thread.isTimed = isTimed;
    thread.result = nullptr;
    Reschedule("wait", condition);
    thread.mutex = nullptr;
    mMutexes[mutex].owner = mCurrent;
    Touch(condition);
    Touch(mutex);
    return std::exchange(thread.result, nullptr) != nullptr ? ETIMEDOUT : 0;
}

int Scheduler::Wake(const pthread_cond_t* condition, bool all) {
    Access(condition, sizeof(*condition), "waking of a condition in");
    const Inside inside(this);
    Reschedule(all ? "broadcast" : "signal", condition);
    Touch(condition);
    Condition& state = mConditions[condition];
    if (state.isDestroyed) {
        Fail("wakes a destroyed condition");
    }
    if (all) {
        for (const int waiter : state.waiters) {
            mThreads[static_cast<size_t>(waiter)]->condition = nullptr;
        }
        state.waiters.clear();
    } else if (!state.waiters.empty()) {
        Choice choice;
        choice.SetWays(state.waiters.size());
        const size_t way = Choose(choice);
        mThreads[static_cast<size_t>(state.waiters[way])]->condition = nullptr;
        state.waiters.erase(state.waiters.begin() + static_cast<long>(way));
        Mix(way);
    }
    return 0;
}

// --- Once and keys

int Scheduler::CallOnce(const void* control, void (*function)()) {
    {
        const Inside inside(this);
        mOnces.try_emplace(control, OnceState::kNew);
        Current().once = control;
        Reschedule("once", control);
        Current().once = nullptr;
        const bool isDone = mOnces[control] == OnceState::kDone;
        Touch(control, !isDone);
        if (isDone) {
            return 0;
        }
        mOnces[control] = OnceState::kRunning;
    }
    function();
    const Inside inside(this);
    mOnces[control] = OnceState::kDone;
    Touch(control);
    return 0;
}

int Scheduler::CreateKey(pthread_key_t* key, void (*destructor)(void*)) {
    const Inside inside(this);
    *key = static_cast<pthread_key_t>(mKeys.size());
    mKeys.push_back(destructor);
    return 0;
}

void* Scheduler::GetSpecific(pthread_key_t key) const {
    const auto& values = mThreads[static_cast<size_t>(mCurrent)]->values;
    const auto found = values.find(key);
    return found == values.end() ? nullptr : const_cast<void*>(found->second);
}

int Scheduler::SetSpecific(pthread_key_t key, const void* value) {
    const Inside inside(this);
    Current().values[key] = value;
    return 0;
}

// --- Memory

void Scheduler::Access(const void* address, size_t size, const char* how) {
    if (!mArena.Holds(address)) {
        return;
    }
    const Arena::Place place = mArena.Find(address, size);
    if (place != Arena::Place::kLive) {
        const Inside inside(this);
        Fail(std::string(how) + (place == Arena::Place::kFreed ? " memory that is freed"
                                                               : " memory that is nobody's"));
    }
    mArena.LooksAt(address)[mCurrent] = mCauses.ClockOf(mCurrent)[mCurrent];
}

void* Scheduler::Allocate(size_t size, size_t alignment) {
    return mArena.Allocate(mCurrent, size, alignment);
}

void Scheduler::Free(void* memory) {
    const Inside inside(this);
    mCauses.Freed(memory, mArena.SizeOf(memory), mCurrent);
    if (!mArena.Free(memory)) {
        Fail("frees memory twice, or what was not allocated");
    }
    // It may be that the others have looked for the last time, but nothing makes them have.
    if (mExploring && !mCauses.ClockOf(mCurrent).Covers(mArena.LooksAt(memory))) {
        Fail("frees memory that another thread may still look at");
    }
}

}  // namespace kvx_schedules
