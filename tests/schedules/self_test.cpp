// Small programs of which it is known in how many orders they can run, and what is wrong with them.

#include "schedules/self_test.h"

#include <pthread.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "schedules/scheduler.h"
#include "schedules/stage.h"
#include "schedules/strategy.h"

namespace kvx_schedules {

namespace {

struct Mutex {
    Mutex() { pthread_mutex_init(&mutex, nullptr); }
    ~Mutex() { pthread_mutex_destroy(&mutex); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;
    void Lock() { pthread_mutex_lock(&mutex); }
    void Unlock() { pthread_mutex_unlock(&mutex); }
    pthread_mutex_t mutex;
};

struct Condition {
    Condition() { pthread_cond_init(&condition, nullptr); }
    ~Condition() { pthread_cond_destroy(&condition); }
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;
    pthread_cond_t condition;
};

void Steps(const void* object, int count) {
    for (int step = 0; step < count; ++step) {
        gScheduler->Point(object, "step");
    }
}

// --- Programs without a fault

// Two threads beside a first that only waits for them. Three points part each into four pieces.
void TwoTimesThree() {
    int one = 0;
    int other = 0;
    HostThread first([&] { Steps(&one, 3); });
    HostThread second([&] { Steps(&other, 3); });
    gScheduler->BeginExploring();
    gScheduler->WaitUntilQuiet();
}

// The same with one object, so that no order is like another.
void TwoTimesThreeOfOne() {
    int one = 0;
    HostThread first([&] { Steps(&one, 3); });
    HostThread second([&] { Steps(&one, 3); });
    gScheduler->BeginExploring();
    gScheduler->WaitUntilQuiet();
}

// --- Programs with one

void Deadlock() {
    Mutex one;
    Mutex other;
    gScheduler->BeginExploring();
    HostThread thread([&] {
        one.Lock();
        other.Lock();
        other.Unlock();
        one.Unlock();
    });
    other.Lock();
    one.Lock();
    one.Unlock();
    other.Unlock();
    thread.Join();
}

// Waits without a look at what it waits for.
void LostWakeUp() {
    Mutex mutex;
    Condition condition;
    gScheduler->BeginExploring();
    HostThread thread([&] {
        mutex.Lock();
        pthread_cond_signal(&condition.condition);
        mutex.Unlock();
    });
    mutex.Lock();
    pthread_cond_wait(&condition.condition, &mutex.mutex);
    mutex.Unlock();
    thread.Join();
}

// One wake-up for two that wait.
void SignalForBroadcast() {
    Mutex mutex;
    Condition condition;
    bool isSet = false;
    gScheduler->BeginExploring();
    const auto wait = [&] {
        mutex.Lock();
        while (!isSet) {
            pthread_cond_wait(&condition.condition, &mutex.mutex);
        }
        mutex.Unlock();
    };
    HostThread first(wait);
    HostThread second(wait);
    mutex.Lock();
    isSet = true;
    pthread_cond_signal(&condition.condition);
    mutex.Unlock();
}

// Takes a wake-up for what it announces.
void SpuriousWakeUp() {
    Mutex mutex;
    Condition condition;
    bool isSet = false;
    gScheduler->BeginExploring();
    HostThread thread([&] {
        mutex.Lock();
        isSet = true;
        pthread_cond_signal(&condition.condition);
        mutex.Unlock();
    });
    mutex.Lock();
    if (!isSet) {
        pthread_cond_wait(&condition.condition, &mutex.mutex);
    }
    Stage::Require(isSet, "woken for nothing");
    mutex.Unlock();
}

void LostUpdate() {
    int count = 0;
    const auto add = [&] {
        gScheduler->Point(&count, "step");
        const int before = count;
        gScheduler->Point(&count, "step");
        count = before + 1;
    };
    gScheduler->BeginExploring();
    {
        HostThread thread(add);
        add();
    }
    Stage::Require(count == 2, "an addition is lost");
}

void UseAfterFree() {
    auto* const object = new Mutex;
    gScheduler->BeginExploring();
    HostThread thread([&] {
        object->Lock();
        object->Unlock();
    });
    Steps(&thread, 1);
    delete object;
}

// The look is over in every order of the points, and yet nothing keeps it from coming later.
void LooksAfterGivingUp() {
    int users = 2;
    auto* const value = static_cast<int*>(std::malloc(sizeof(int)));
    const auto giveUp = [&] {
        gScheduler->Point(&users, "step");
        const bool isLast = --users == 0;
        gScheduler->Access(value, sizeof(int), "reads");
        if (isLast) {
            std::free(value);
        }
    };
    gScheduler->BeginExploring();
    HostThread thread(giveUp);
    giveUp();
}

void DoubleFree() {
    void* const memory = std::malloc(8);
    gScheduler->BeginExploring();
    HostThread thread([&] {
        Steps(memory, 1);
        std::free(memory);
    });
    Steps(memory, 1);
    std::free(memory);
}

void DestroysALockedMutex() {
    auto* const object = new Mutex;
    object->Lock();
    gScheduler->BeginExploring();
    HostThread thread([&] { delete object; });
    Steps(&thread, 1);
    object->Unlock();
}

// Expects to find a mutex free that another thread may hold.
void TriesALockedMutex() {
    Mutex mutex;
    gScheduler->BeginExploring();
    HostThread thread([&] {
        mutex.Lock();
        Steps(&mutex, 1);
        mutex.Unlock();
    });
    const bool isFree = pthread_mutex_trylock(&mutex.mutex) == 0;
    if (isFree) {
        mutex.Unlock();
    }
    thread.Join();
    Stage::Require(isFree, "the mutex is not free");
}

void DoesNotEnd() {
    gScheduler->BeginExploring();
    HostThread thread([&] { Steps(&thread, 1 << 20); });
    Steps(&thread, 1 << 20);
}

struct Known {
    const char* name;
    void (*body)();
    unsigned preemptions;
    unsigned wakeUps;
    bool prunes;
    long runs;            // of all orders; 0 where a finding ends them
    const char* finding;  // the beginning of its words
};

constexpr unsigned kUnlimited = 100;

// Four and four pieces in a row of eight: 8! / (4! 4!) orders. Without preemptions one thread is
// done before the other begins.
const Known kKnown[] = {
    {"two threads of three steps", &TwoTimesThree, kUnlimited, 0, false, 70, ""},
    {"the same of one object", &TwoTimesThreeOfOne, kUnlimited, 0, false, 70, ""},
    {"the same without preemptions", &TwoTimesThree, 0, 0, false, 2, ""},
    {"a deadlock", &Deadlock, 1, 0, true, 0, "no thread can go on"},
    {"a lost wake-up", &LostWakeUp, 1, 0, true, 0, "no thread can go on"},
    {"one wake-up for two", &SignalForBroadcast, 1, 0, true, 0, "no thread can go on"},
    {"a wake-up for no reason", &SpuriousWakeUp, 0, 1, true, 0, "woken for nothing"},
    {"a lost update", &LostUpdate, 1, 0, true, 0, "an addition is lost"},
    {"a use after free", &UseAfterFree, 1, 0, true, 0, "lock of a mutex in memory that is freed"},
    {"a look that nothing keeps from a free", &LooksAfterGivingUp, 0, 0, true, 0,
     "frees memory that another thread may still look at"},
    {"a double free", &DoubleFree, 0, 0, true, 0, "frees memory twice"},
    {"a mutex destroyed while it is locked", &DestroysALockedMutex, 1, 0, true, 0,
     "destroys a locked mutex"},
    {"a mutex that another thread holds", &TriesALockedMutex, 2, 0, true, 0,
     "the mutex is not free"},
    {"no end", &DoesNotEnd, kUnlimited, 0, true, 0, "does not end"},
};

// Ways of a run that is repeated by its path must lead to the same words.
bool Repeats(const Finding& finding, const Bounds& bounds, const std::function<void()>& body) {
    Replay replay(finding.path);
    Bounds unbounded = bounds;
    unbounded.preemptions = kUnlimited;
    const std::optional<Finding> again = gScheduler->Run(replay, unbounded, body);
    return again && again->what == finding.what;
}

bool Check(const Known& known) {
    Bounds bounds;
    bounds.preemptions = known.preemptions;
    bounds.wakeUps = known.wakeUps;
    bounds.mostChoices = 2000;
    EveryRun strategy(known.prunes);
    const std::function<void()> body = known.body;
    long runs = 0;
    std::optional<Finding> finding;
    do {
        finding = gScheduler->Run(strategy, bounds, body);
        ++runs;
    } while (!finding && strategy.NextRun());
    const std::string what = finding ? finding->what : "";
    const bool isAsKnown = finding ? known.runs == 0 && *known.finding != '\0' &&
                                         what.rfind(known.finding, 0) == 0 &&
                                         Repeats(*finding, bounds, body)
                                   : runs == known.runs;
    std::printf("%-40s %6ld runs %s%s\n", known.name, runs, what.c_str(),
                isAsKnown ? "" : "  NOT AS KNOWN");
    return isAsKnown;
}

}  // namespace

bool SelfTest() {
    bool isGood = true;
    for (const Known& known : kKnown) {
        isGood = Check(known) && isGood;
    }
    return isGood;
}

}  // namespace kvx_schedules
