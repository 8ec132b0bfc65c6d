#include <pthread.h>

#include <new>

#include "convert/video/r210.h"
#include "core/log.h"
#include "core/status.h"
#include "premiere/pixel_formats.h"

namespace KVX::Converter::Video {

namespace {

constexpr int kBlack = 64;
constexpr int kWhite = 940;
constexpr int kSpan = kWhite - kBlack;
constexpr int kHighestLegal = 1019;  // 1020 and up are kept for timing references (SMPTE ST 274)
constexpr int kHostWhite16u = 32768;

// Orders the first calls of several conversion threads: whoever comes while the tables are being
// filled waits, so that no frame meets a half-filled one. Without a destructor: the threads go on
// converting while the process exits.
pthread_mutex_t sTablesMutex = PTHREAD_MUTEX_INITIALIZER;

class TablesLock {
  public:
    TablesLock() : mStatus(pthread_mutex_lock(&sTablesMutex)) {}
    ~TablesLock() {
        if (mStatus == 0) {
            Core::Failed(pthread_mutex_unlock(&sTablesMutex), "pthread_mutex_unlock");
        }
    }

    TablesLock(const TablesLock&) = delete;
    TablesLock& operator=(const TablesLock&) = delete;

    long Status() const { return mStatus; }

  private:
    const long mStatus;
};

bool TablesStand() {
    return r210::sR210LUT != nullptr && r210::s8uComponentLUT != nullptr &&
           r210::s16uComponentLUT != nullptr && r210::s32fComponentLUT != nullptr;
}

template <typename T>
bool Allocate(T*& table, int count) {
    table = new (std::nothrow) T[static_cast<size_t>(count)];
    return table != nullptr;
}

void FillHostToR210() {
    for (int i = 0; i < r210::kHostLevels16u; ++i) {
        const int level = ((kHostWhite16u / 2 + kSpan * i) >> 15) + kBlack;
        r210::sR210LUT[i] =
            static_cast<unsigned short>(level < kHighestLegal ? level : kHighestLegal);
    }
}

void FillR210ToHost() {
    for (int i = 0; i < r210::kLevels; ++i) {
        int value = i <= kBlack ? 0 : ((i - kBlack) * kHostWhite16u + kSpan / 2) / kSpan;
        value = value < kHostWhite16u ? value : kHostWhite16u;
        r210::s8uComponentLUT[i] =
            static_cast<unsigned char>(value == kHostWhite16u ? 255 : value >> 7);
        r210::s16uComponentLUT[i] = static_cast<unsigned short>(value);
        r210::s32fComponentLUT[i] = static_cast<float>(value) * (1.0f / kHostWhite16u);
    }
}

}  // namespace

unsigned short* r210::sR210LUT = nullptr;
unsigned char* r210::s8uComponentLUT = nullptr;
unsigned short* r210::s16uComponentLUT = nullptr;
float* r210::s32fComponentLUT = nullptr;

long r210::Init(int pixelFormat) {
    switch (static_cast<PrPixelFormat>(pixelFormat)) {
        case PrPixelFormat_V210_422_10u_601:
        case PrPixelFormat_V210_422_10u_709:
            return 0;
        case PrPixelFormat_BGRA_4444_8u:
        case PrPixelFormat_BGRA_4444_16u:
        case PrPixelFormat_BGRA_4444_32f:
            break;
        default:
            KVX_LOG("Unsupported pixel format\n");
            return Core::kStatusInvalid;
    }

    const TablesLock lock;
    if (Core::Failed(lock.Status(), "pthread_mutex_lock")) {
        return lock.Status();
    }
    if (TablesStand()) {
        return 0;
    }
    // After a failure the tables that did succeed stay set, and the next call loses them: the frame
    // fails anyway, and a process this short of memory has no second chance to save.
    if (!Allocate(sR210LUT, kHostLevels16u)) {
        KVX_LOG("sR210LUT allocation failed\n");
        return Core::kStatusNoMemory;
    }
    if (!Allocate(s8uComponentLUT, kLevels)) {
        KVX_LOG("s8uComponentLUT allocation failed\n");
        return Core::kStatusNoMemory;
    }
    if (!Allocate(s16uComponentLUT, kLevels)) {
        KVX_LOG("s16uComponentLUT allocation failed\n");
        return Core::kStatusNoMemory;
    }
    if (!Allocate(s32fComponentLUT, kLevels)) {
        KVX_LOG("s32fComponentLUT allocation failed\n");
        return Core::kStatusNoMemory;
    }
    FillHostToR210();
    FillR210ToHost();
    return 0;
}

}  // namespace KVX::Converter::Video
