#pragma once

namespace KVX {

// The host's entry point has two parameters of the size of a pointer, which hold pointers or
// numbers; its file references are pointers that hold numbers.
static_assert(sizeof(long) == sizeof(void*), "a parameter holds either");

template <typename Type>
Type* PointerFromWord(long word) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): it comes as a number.
    return reinterpret_cast<Type*>(word);
}

}  // namespace KVX
