// Conversions between the text forms that meet here: UTF-8 in narrow strings, which is our own
// form, UTF-32 in wide strings, and the platform's CFString, in which paths arrive. A conversion
// that fails returns an empty string: there is no partial result, no log line and no status.
#pragma once

#include <pthread.h>

#include <string>

#include "platform/core_foundation.h"

namespace KVX::Util::Text {

// The conversions' scratch memory, one block for each thread. It is meant for threads that live as
// long as the process, and is not freed when a thread ends.
class StringStorage {
  public:
    struct Storage {
        void* mBlock = nullptr;
        unsigned long mCapacity = 0;  // bytes

        // At least `size` bytes: the present block with its contents if that is large enough,
        // otherwise a new one of zeros. Null without memory; the capacity is then 0.
        void* get_ptr(unsigned long size);
    };

    // The calling thread's block, at least `size` bytes, or null.
    static void* get_ptr(int size);

    static void make_key();

    static pthread_key_t key;
    static pthread_once_t key_once;
};

// Strict: empty if anything in `text` is not well-formed UTF-8.
std::wstring utf8_to_wide(const char* text);

// Empty if one of the `length` characters is no Unicode scalar value. Zeros are characters too.
std::string wide_to_utf8(const wchar_t* text, int length);

// Up to the first NUL; empty for null. The buffer has 3 bytes for each UTF-16 unit and none for
// the NUL, so that a string of nothing but three-byte characters comes out empty. An absolute path
// never is one: it has a slash.
std::string cf2u(CFStringRef string);

// The caller releases the result. Null if `text` is not well-formed UTF-8.
CFStringRef u2cf(const std::string& text) CF_RETURNS_RETAINED;

}  // namespace KVX::Util::Text
