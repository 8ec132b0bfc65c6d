// The part of CoreFoundation that paths pass through: CFString and the making of a CFURL.
//
// The system's headers are used where there are any. Elsewhere the same declarations are made here,
// identical in calling convention, so that a macOS build without the SDK links against the real
// framework. platform/portable/ implements them where there is no framework.
//
// Ownership follows CoreFoundation's rule: what a function with "Create" in its name returns is the
// caller's to CFRelease. Objects are immutable and may be used from any thread.
#pragma once

#if defined(__APPLE__) && __has_include(<CoreFoundation/CoreFoundation.h>)
#include <CoreFoundation/CoreFoundation.h>
#else

#include "platform/mac_types.h"

// Tells the static analyzer about a result that is the caller's to release, where the name of the
// function does not.
#if defined(__has_attribute)
#if __has_attribute(cf_returns_retained)
#define CF_RETURNS_RETAINED __attribute__((cf_returns_retained))
#endif
#endif
#if !defined(CF_RETURNS_RETAINED)
#define CF_RETURNS_RETAINED
#endif

extern "C" {

using CFIndex = long;
using CFOptionFlags = unsigned long;
using CFTypeRef = const void*;
using CFAllocatorRef = const struct __CFAllocator*;
using CFStringRef = const struct __CFString*;
using CFURLRef = const struct __CFURL*;

struct CFRange {
    CFIndex location;
    CFIndex length;
};

inline CFRange CFRangeMake(CFIndex location, CFIndex length) {
    return CFRange{location, length};
}

constexpr CFIndex kCFNotFound = -1;

// The allocator of malloc and free.
extern const CFAllocatorRef kCFAllocatorDefault;
// As a contents deallocator: the contents are not freed.
extern const CFAllocatorRef kCFAllocatorNull;

using CFStringEncoding = UInt32;
enum : CFStringEncoding {
    kCFStringEncodingASCII = 0x0600,
    kCFStringEncodingUTF8 = 0x08000100,
};

using CFStringCompareFlags = CFOptionFlags;
enum : CFStringCompareFlags {
    kCFCompareBackwards = 4,
};

enum CFURLPathStyle : CFIndex {
    kCFURLPOSIXPathStyle = 0,
};

// Neither takes null: CoreFoundation stops the process, here as there.
CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
CFIndex CFGetRetainCount(CFTypeRef object);

// A copy of `count` UTF-16 units, or null. Unpaired surrogates are kept.
CFStringRef CFStringCreateWithCharacters(CFAllocatorRef allocator, const UniChar* characters,
                                         CFIndex count);

// A string that uses `characters` without copying them. They must outlive it; `deallocator` frees
// them at its end.
CFStringRef CFStringCreateWithCharactersNoCopy(CFAllocatorRef allocator, const UniChar* characters,
                                               CFIndex count, CFAllocatorRef deallocator);

// Null also when the bytes are not well-formed in `encoding`. A byte-order mark is skipped in an
// external representation, and is a character like any other otherwise.
CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes, CFIndex count,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);

// In UTF-16 units.
CFIndex CFStringGetLength(CFStringRef string);

// The most bytes that `length` units can take, without a NUL: 3 for each in UTF-8. kCFNotFound
// when that is beyond CFIndex, or the encoding is unknown.
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);

// The whole string and a NUL. False when they do not fit into `size` bytes or the string has
// something that `encoding` lacks (an unpaired surrogate, in UTF-8); the buffer's contents then
// mean nothing.
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex size,
                           CFStringEncoding encoding);

// Converts units from the start of `range` until the buffer is full, or until one cannot be
// converted and `lossByte` is 0; otherwise `lossByte` replaces each such unit. A null `buffer`
// only counts. Returns the units converted, and stores the bytes in `used` unless null.
CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex maximum, CFIndex* used);

// `range` must lie inside the string.
void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer);

// The first place, or the last with kCFCompareBackwards, of `wanted`, unit by unit. Its location is
// kCFNotFound when there is none; an empty `wanted` is nowhere.
CFRange CFStringFind(CFStringRef string, CFStringRef wanted, CFStringCompareFlags flags);

// Null when the path cannot be a file system's (a NUL in it, an unpaired surrogate).
CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path,
                                       CFURLPathStyle style, Boolean isDirectory);

}  // extern "C"

#endif
