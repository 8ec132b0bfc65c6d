// The host's suites: tables of functions, of which only the entries that this importer calls are
// declared. Entries that it passes over keep their places. Results are 0 for success unless told.
#pragma once

#include <cstddef>
#include <cstdint>

#include "premiere/pixel_formats.h"

// A pixel buffer of the host's, reference counted there. Opaque.
using PPixHand = char**;

#pragma pack(push, 1)

struct prRect {
    int16_t top;
    int16_t left;
    int16_t bottom;
    int16_t right;
};
static_assert(offsetof(prRect, top) == 0, "host record");
static_assert(offsetof(prRect, left) == 2, "host record");
static_assert(offsetof(prRect, bottom) == 4, "host record");
static_assert(offsetof(prRect, right) == 6, "host record");
static_assert(sizeof(prRect) == 8, "host record");

// The way to every other suite.
struct SPBasicSuite {
    int32_t (*AcquireSuite)(const char* name, int32_t version, const void** suite);
    int32_t (*ReleaseSuite)(const char* name, int32_t version);
};
static_assert(offsetof(SPBasicSuite, AcquireSuite) == 0, "host suite");
static_assert(offsetof(SPBasicSuite, ReleaseSuite) == 8, "host suite");

constexpr char kPrSDKAppInfoSuite[] = "MediaCore App Info Suite";
constexpr int32_t kPrSDKAppInfoSuiteVersion = 1;

struct PrSDKAppInfoSuite {
    enum : int32_t {
        kAppInfo_AppFourCC = 0,  // result: 32-bit four-character code
        kAppInfo_Version = 1,    // result: VersionInfo
    };
    struct VersionInfo {
        uint32_t major;
        uint32_t minor;
        uint32_t patch;
        uint32_t build;
    };
    // A negative result is a failure.
    int32_t (*GetAppInfo)(int32_t selector, void* result);
};
static_assert(offsetof(PrSDKAppInfoSuite, GetAppInfo) == 0, "host suite");
static_assert(offsetof(PrSDKAppInfoSuite::VersionInfo, major) == 0, "host record");
static_assert(sizeof(PrSDKAppInfoSuite::VersionInfo) == 16, "host record");

constexpr char kPrSDKLegacySuite[] = "Premiere Legacy Suite";
constexpr int32_t kPrSDKLegacySuiteVersion = 1;

struct PrSDKLegacySuite {
    // The host's ticks in one frame of `sampleSize` units at `timebase` units a second.
    int32_t (*GetTicksPerTimebaseFrame)(int32_t timebase, int32_t sampleSize, int64_t* ticks);
};
static_assert(offsetof(PrSDKLegacySuite, GetTicksPerTimebaseFrame) == 0, "host suite");

constexpr char kPrSDKPPixCacheSuite[] = "Premiere PPix Cache Suite";
constexpr int32_t kPrSDKPPixCacheSuiteVersion = 3;

struct imFrameFormat;

struct PrSDKPPixCacheSuite {
    // The cache takes its own reference on `ppix`.
    int32_t (*AddFrameToCache)(uint32_t importerID, int32_t stream, PPixHand ppix,
                               int32_t frameIndex, void* preferences, int32_t preferencesSize);
    // Looks for a frame in one of `formats`. The caller disposes of what it is given.
    int32_t (*GetFrameFromCache)(uint32_t importerID, int32_t stream, int32_t frameIndex,
                                 int32_t formatCount, imFrameFormat* formats, PPixHand* ppix,
                                 void* preferences, int32_t preferencesSize);
};
static_assert(offsetof(PrSDKPPixCacheSuite, AddFrameToCache) == 0, "host suite");
static_assert(offsetof(PrSDKPPixCacheSuite, GetFrameFromCache) == 8, "host suite");
// What GetFrameFromCache returns for a frame that it does not have.
constexpr int32_t kPPixCacheMiss = INT32_MIN;
static_assert(static_cast<uint32_t>(kPPixCacheMiss) == 0x80000000, "host result");

constexpr int32_t kPPixBufferAccess_ReadWrite = 2;

constexpr char kPrSDKPPixCreatorSuite[] = "Premiere PPix Creator Suite";
constexpr int32_t kPrSDKPPixCreatorSuiteVersion = 1;

struct PrSDKPPixCreatorSuite {
    int32_t (*CreatePPix)(PPixHand* ppix, int32_t access, PrPixelFormat format,
                          const prRect* bounds);
};
static_assert(offsetof(PrSDKPPixCreatorSuite, CreatePPix) == 0, "host suite");

constexpr char kPrSDKPPixCreator2Suite[] = "Premiere PPix Creator 2 Suite";
constexpr int32_t kPrSDKPPixCreator2SuiteVersion = 3;

struct PrSDKPPixCreator2Suite {
    void* unused[2];
    // Makes a PPix with `dataSize` bytes of pixel memory, whatever its width and height.
    int32_t (*CreateCustomPPix)(PPixHand* ppix, int32_t access, PrPixelFormat format, int32_t width,
                                int32_t height, int32_t pixelAspectNumerator,
                                int32_t pixelAspectDenominator, int32_t dataSize);
};
static_assert(offsetof(PrSDKPPixCreator2Suite, CreateCustomPPix) == 16, "host suite");

constexpr char kPrSDKPPixSuite[] = "Premiere PPix Suite";
constexpr int32_t kPrSDKPPixSuiteVersion = 1;

struct PrSDKPPixSuite {
    int32_t (*Dispose)(PPixHand ppix);
    int32_t (*GetPixels)(PPixHand ppix, int32_t access, char** pixels);
    void* unused[1];
    int32_t (*GetRowBytes)(PPixHand ppix, int32_t* rowBytes);
};
static_assert(offsetof(PrSDKPPixSuite, Dispose) == 0, "host suite");
static_assert(offsetof(PrSDKPPixSuite, GetPixels) == 8, "host suite");
static_assert(offsetof(PrSDKPPixSuite, GetRowBytes) == 24, "host suite");

#pragma pack(pop)
