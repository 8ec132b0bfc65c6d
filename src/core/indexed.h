#pragma once

#include <map>

#include "core/lockable.h"
#include "core/once.h"

namespace KVX::Core {

// A process-wide table from a number to the live object that registered under it. Instantiated for
// `long` alone, the host's importer ID.
template <typename Index>
class Indexed {
  public:
    explicit Indexed(Index index) : mImporterID(index) {}

    // Takes the entry of the object's index out of the table, even if another object has
    // registered under the same index since.
    virtual ~Indexed();

    Indexed(const Indexed&) = delete;
    Indexed& operator=(const Indexed&) = delete;

    // Registers the object, to be called when it is fully made. An object that stood under the same
    // index is replaced. Answers 0, or the status of the one-time set-up or of the lock.
    long Init();

    // The object registered under `index`, or null. No reference is taken for the caller.
    static Indexed* GetInstanceForIndex(Index index);

    // What the object is registered under.
    const Index mImporterID;

    static void StaticInit();

    static std::map<Index, Indexed*> sIndexMap;
    static Lockable sIndexLock;
    static Once sCoreIndexedOnce;
};

extern template class Indexed<long>;

}  // namespace KVX::Core
