#include <cstdlib>
#include <new>

#include "platform/file_manager.h"

namespace {

// A handle is the address of a pointer to its block; the size follows that pointer.
struct MasterPointer {
    Ptr block;
    Size size;
};

MasterPointer* GetMasterPointer(Handle handle) {
    return reinterpret_cast<MasterPointer*>(handle);
}

}  // namespace

Handle NewHandle(Size size) {
    if (size < 0) {
        return nullptr;
    }
    MasterPointer* master = new (std::nothrow) MasterPointer{nullptr, size};
    if (master == nullptr) {
        return nullptr;
    }
    // An empty block has an address too.
    master->block = static_cast<Ptr>(std::malloc(size == 0 ? 1 : static_cast<size_t>(size)));
    if (master->block == nullptr) {
        delete master;
        return nullptr;
    }
    return &master->block;
}

void DisposeHandle(Handle handle) {
    if (handle != nullptr) {
        std::free(*handle);
        delete GetMasterPointer(handle);
    }
}

Size GetHandleSize(Handle handle) {
    return handle == nullptr ? 0 : GetMasterPointer(handle)->size;
}
