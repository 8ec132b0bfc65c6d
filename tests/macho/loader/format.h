// The records of a Mach-O file, 64-bit, as <mach-o/loader.h>, <mach-o/fat.h> and
// <mach-o/compact_unwind_encoding.h> publish them. Only what the loader reads; numbers are
// little-endian, in the fat header big-endian.
#pragma once

#include <cstdint>

namespace macho {

constexpr uint32_t kMagic64 = 0xFEEDFACF;
constexpr uint32_t kFatMagic = 0xCAFEBABE;

constexpr uint32_t kCpuX86_64 = 0x01000007;
constexpr uint32_t kCpuArm64 = 0x0100000C;

constexpr uint32_t kFileBundle = 8;

struct FatHeader {
    uint32_t magic;
    uint32_t count;
};

struct FatSlice {
    uint32_t cpuType;
    uint32_t cpuSubtype;
    uint32_t offset;
    uint32_t size;
    uint32_t alignment;
};

struct Header {
    uint32_t magic;
    uint32_t cpuType;
    uint32_t cpuSubtype;
    uint32_t fileType;
    uint32_t commandCount;
    uint32_t commandSize;
    uint32_t flags;
    uint32_t reserved;
};

constexpr uint32_t kRequiredByLoader = 0x80000000;

enum Command : uint32_t {
    kSymbolTable = 0x2,
    kDynamicSymbolTable = 0xB,
    kLoadLibrary = 0xC,
    kSegment64 = 0x19,
    kUuid = 0x1B,
    kCodeSignature = 0x1D,
    kDyldInfo = 0x22,
    kMinimumMacos = 0x24,
    kFunctionStarts = 0x26,
    kDataInCode = 0x29,
    kSourceVersion = 0x2A,
    kBuildVersion = 0x32,
    kDyldInfoOnly = kDyldInfo | kRequiredByLoader,
};

struct LoadCommand {
    uint32_t command;
    uint32_t size;
};

struct SegmentCommand {
    uint32_t command;
    uint32_t size;
    char name[16];
    uint64_t address;
    uint64_t memorySize;
    uint64_t fileOffset;
    uint64_t fileSize;
    int32_t maximumProtection;
    int32_t initialProtection;
    uint32_t sectionCount;
    uint32_t flags;
};

// The system makes such a segment read-only when it is bound.
constexpr uint32_t kSegmentReadOnly = 0x10;

constexpr int32_t kProtectionRead = 1;
constexpr int32_t kProtectionWrite = 2;
constexpr int32_t kProtectionExecute = 4;

struct SectionRecord {
    char name[16];
    char segment[16];
    uint64_t address;
    uint64_t size;
    uint32_t offset;
    uint32_t alignment;
    uint32_t relocationOffset;
    uint32_t relocationCount;
    uint32_t flags;
    uint32_t reserved[3];
};

enum SectionType : uint32_t {
    kInitialiserPointers = 0x9,
    kTerminatorPointers = 0xA,
    kThreadLocalRegular = 0x11,
    kThreadLocalZeroFill = 0x12,
    kThreadLocalVariables = 0x13,
    kThreadLocalInitialisers = 0x15,
    kInitialiserOffsets = 0x16,
};
constexpr uint32_t kSectionTypeMask = 0xFF;

struct DyldInfoCommand {
    uint32_t command;
    uint32_t size;
    uint32_t rebaseOffset, rebaseSize;
    uint32_t bindOffset, bindSize;
    uint32_t weakBindOffset, weakBindSize;
    uint32_t lazyBindOffset, lazyBindSize;
    uint32_t exportOffset, exportSize;
};

struct LibraryCommand {
    uint32_t command;
    uint32_t size;
    uint32_t nameOffset;
    uint32_t timestamp;
    uint32_t currentVersion;
    uint32_t compatibilityVersion;
};

// A variable of each thread: the code asks `thunk` for its address, with the descriptor's.
struct ThreadLocalDescriptor {
    void* (*thunk)(ThreadLocalDescriptor*);
    uint64_t key;
    uint64_t offset;
};

}  // namespace macho
