#pragma once

#include <new>
#include <utility>

namespace KVX::Core {

// A static object whose destructor is not queued for the exit of the process: threads of the
// importer, and hosts, go on using it while the process exits.
template <typename T>
class NeverDestroyed {
  public:
    template <typename... Arguments>
    explicit NeverDestroyed(Arguments&&... arguments)
        : mObject(new (mMemory) T(std::forward<Arguments>(arguments)...)) {}

    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;

    T& operator*() const { return *mObject; }

  private:
    alignas(T) char mMemory[sizeof(T)];
    T* const mObject;
};

}  // namespace KVX::Core
