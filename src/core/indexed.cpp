#include "core/indexed.h"

#include "core/log.h"

namespace KVX::Core {

template <typename Index>
std::map<Index, Indexed<Index>*> Indexed<Index>::sIndexMap;

template <typename Index>
Lockable Indexed<Index>::sIndexLock;

template <typename Index>
Once Indexed<Index>::sCoreIndexedOnce(&Indexed<Index>::StaticInit);

template <typename Index>
void Indexed<Index>::StaticInit() {
    // The status goes nowhere: a lock that was not made shows up as a failure of the lock.
    Failed(sIndexLock.Init(), "Lock::Init");
}

template <typename Index>
long Indexed<Index>::Init() {
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
Indexed<Index>::~Indexed() {
    Lock lock(&sIndexLock);
    sIndexMap.erase(mImporterID);
}

template class Indexed<long>;

}  // namespace KVX::Core
