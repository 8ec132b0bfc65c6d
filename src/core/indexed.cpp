#include "core/indexed.h"

#include <atomic>

#include "core/log.h"
#include "core/status.h"

namespace KVX::Core {

namespace {

// Without destructors, so that they can be read for as long as there is a process.
std::atomic<bool> sTableHasEnded{false};
std::atomic<int> sTableUses{0};

// A use of the table, from the look whether it is still there to the last touch.
class TableUse {
  public:
    // The count goes up before the look: either the end finds this use, or the use finds the end.
    TableUse() {
        ++sTableUses;
        mHasTable = !sTableHasEnded;
    }
    ~TableUse() { --sTableUses; }

    TableUse(const TableUse&) = delete;
    TableUse& operator=(const TableUse&) = delete;

    bool HasTable() const { return mHasTable; }

  private:
    bool mHasTable;
};

struct TableEnd {
    ~TableEnd() {
        sTableHasEnded = true;
        while (sTableUses != 0) {
            // Other threads are about to leave the table: a few instructions each.
        }
    }
};

}  // namespace

template <>
std::map<long, Indexed<long>*> Indexed<long>::sIndexMap{};

template <>
Lockable Indexed<long>::sIndexLock{};

template <>
Once Indexed<long>::sCoreIndexedOnce{&Indexed<long>::StaticInit};

namespace {

// The last to be made is the first to go.
const TableEnd sTableEnd;

}  // namespace

template <typename Index>
void Indexed<Index>::StaticInit() {
    // The status goes nowhere: a lock that was not made shows up as a failure of the lock.
    Failed(sIndexLock.Init(), "Lock::Init");
}

template <typename Index>
long Indexed<Index>::Init() {
    const TableUse use;
    if (!use.HasTable()) {
        KVX_LOG("Skipping because the process is exiting\n");
        return kStatusCancelled;
    }
    long status = sCoreIndexedOnce.Call();
    if (status != 0) {
        KVX_LOG("Skipping because static initialisation failed\n");
        return status;
    }
    {
        Lock lock(&sIndexLock, &status);
        if (Failed(status, "Lock")) {
            return status;
        }
        sIndexMap[mImporterID] = this;
    }
    return status;
}

template <typename Index>
Indexed<Index>* Indexed<Index>::GetInstanceForIndex(Index index) {
    const TableUse use;
    if (!use.HasTable()) {
        KVX_LOG("Skipping because the process is exiting\n");
        return nullptr;
    }
    long status = sCoreIndexedOnce.Call();
    if (status != 0) {
        KVX_LOG("Skipping because static initialisation failed\n");
        return nullptr;
    }
    Lock lock(&sIndexLock, &status);
    if (Failed(status, "Lock")) {
        return nullptr;
    }
    const auto found = sIndexMap.find(index);
    return found == sIndexMap.end() ? nullptr : found->second;
}

template <typename Index>
bool Indexed<Index>::HasEnded() {
    return sTableHasEnded;
}

template <typename Index>
Indexed<Index>::~Indexed() {
    const TableUse use;
    if (use.HasTable()) {
        Lock lock(&sIndexLock);
        sIndexMap.erase(mImporterID);
    }
}

template class Indexed<long>;

}  // namespace KVX::Core
