#pragma once

#include <map>

#include "core/lockable.h"
#include "core/once.h"

namespace KVX::Core {

// A process-wide table from a number to the live object that registered under it. Instantiated for
// `long` alone, the host's importer ID.
//
// The table ends when the process exits, and a host may have exit handlers that were there before
// and close its files after that. What is asked of the table from then on finds nothing of it.
template <typename Index>
class Indexed {
  public:
    explicit Indexed(Index index) : mImporterID(index) {}

    // Takes the entry of the object's index out of the table, even if another object has
    // registered under the same index since. Nothing is left to do when the table has ended.
    virtual ~Indexed();

    Indexed(const Indexed&) = delete;
    Indexed& operator=(const Indexed&) = delete;

    // Registers the object; to be called when it is fully constructed. An object registered under
    // the same index is replaced. Returns 0, the status of the one-time set-up or of the lock, or
    // 89 when the table has ended.
    long Init();

    // The object registered under `index`, or null. No reference is taken for the caller. After the
    // end of the table there is none.
    static Indexed* GetInstanceForIndex(Index index);

    // Whether the process is exiting and the table has ended.
    static bool HasEnded();

    // What the object is registered under.
    const Index mImporterID;

    static void StaticInit();

    static std::map<Index, Indexed*> sIndexMap;
    static Lockable sIndexLock;
    static Once sCoreIndexedOnce;
};

// Specialised because members of templates are made, and end, in no order that could be relied on.
template <>
std::map<long, Indexed<long>*> Indexed<long>::sIndexMap;
template <>
Lockable Indexed<long>::sIndexLock;
template <>
Once Indexed<long>::sCoreIndexedOnce;

extern template class Indexed<long>;

}  // namespace KVX::Core
