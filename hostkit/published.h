#pragma once

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>

namespace kvx_hostkit {

// The one `Object` in the process, for the functions of its suites: they have no argument that
// would tell whose they are. Importers call from threads of their own, at any time, also while the
// object is being destroyed or the process exits; so a call is counted from before it looks for the
// object until it has left it.
template <typename Object>
class Published {
  public:
    // `object` is found from now on. Ends the process when there is one already.
    static void Set(Object* object, const char* kind) {
        State& state = TheState();
        const std::lock_guard<std::mutex> lock(state.lock);
        if (state.object != nullptr) {
            std::fprintf(stderr, "a second %s in one process\n", kind);
            std::abort();
        }
        state.object = object;
    }

    // Nothing is found from now on. Returns when those calls have ended that had found the object:
    // so not to be called from one of them.
    static void Withdraw() {
        State& state = TheState();
        std::unique_lock<std::mutex> lock(state.lock);
        state.object = nullptr;
        state.left.wait(lock, [&] { return state.calls == 0; });
    }

    // The lock and condition that the count of calls uses, for tests that watch those from outside.
    static std::pair<const std::mutex*, const std::condition_variable*> Counting() {
        const State& state = TheState();
        return {&state.lock, &state.left};
    }

    // For callers that know by other means that the object stays.
    static Object* Get() {
        State& state = TheState();
        const std::lock_guard<std::mutex> lock(state.lock);
        return state.object;
    }

    // Keeps the object, if there is one, for the length of a call.
    class Call {
      public:
        Call() {
            State& state = TheState();
            const std::lock_guard<std::mutex> lock(state.lock);
            mObject = state.object;
            state.calls += mObject != nullptr ? 1 : 0;
        }

        ~Call() {
            if (mObject == nullptr) {
                return;
            }
            State& state = TheState();
            const std::lock_guard<std::mutex> lock(state.lock);
            --state.calls;
            state.left.notify_all();
        }

        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;

        explicit operator bool() const { return mObject != nullptr; }
        Object* operator->() const { return mObject; }

      private:
        Object* mObject;
    };

  private:
    struct State {
        std::mutex lock;
        std::condition_variable left;
        Object* object = nullptr;
        int calls = 0;
    };

    // Without an end: there are calls as long as there are threads.
    static State& TheState() {
        static State& state = *new State;
        return state;
    }
};

}  // namespace kvx_hostkit
