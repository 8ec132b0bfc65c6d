// What the host passes in, in the forms that the code uses: pointers, its table of suites, and
// paths as CoreFoundation strings.
#pragma once

#include "platform/core_foundation.h"
#include "premiere/import_records.h"

namespace KVX {

// The host's entry point has two parameters of the size of a pointer, which hold pointers or
// numbers; its file references are pointers that hold numbers.
static_assert(sizeof(long) == sizeof(void*), "a parameter holds either");

template <typename Type>
Type* PointerFromWord(long word) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): it comes as a number.
    return reinterpret_cast<Type*>(word);
}

// The host's table of suites, or null if the host gives none.
inline SPBasicSuite* GetBasicSuite(const imStdParms* stdParms) {
    return stdParms->piSuitesPtr->utilFuncs->getSPBasicSuite();
}

// The UTF-16 units before the first NUL; 0 for a null pointer.
CFIndex GetPathLength(const prUTF16Char* path);

// A new string of one of the host's paths, owned by the caller, or null.
CFStringRef CreatePathString(const prUTF16Char* path);

// Owns one reference on a CoreFoundation object, or nothing.
template <typename Ref>
class CFOwned {
  public:
    explicit CFOwned(Ref ref) : mRef(ref) {}
    ~CFOwned() {
        if (mRef != nullptr) {
            CFRelease(mRef);
        }
    }

    CFOwned(const CFOwned&) = delete;
    CFOwned& operator=(const CFOwned&) = delete;

    Ref Get() const { return mRef; }

  private:
    Ref mRef;
};

}  // namespace KVX
