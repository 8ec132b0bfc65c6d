#include "hostkit/pixel_buffers.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <vector>

#include "hostkit/published.h"

namespace kvx_hostkit {

namespace {

constexpr uint8_t kGuard = 0xDB;
constexpr int32_t kUnsupportedFormat = -10;
constexpr int32_t kOutOfMemory = -11;
constexpr int32_t kNoPixelBuffers = -12;

struct FormatLayout {
    PrPixelFormat format;
    int bytesPerPixel;
};

constexpr FormatLayout kLayouts[] = {
    {PrPixelFormat_BGRA_4444_8u, 4},    {PrPixelFormat_BGRA_4444_16u, 8},
    {PrPixelFormat_BGRA_4444_32f, 16},  {PrPixelFormat_BGRX_4444_32f, 16},
    {PrPixelFormat_RGB_444_10u, 4},     {PrPixelFormat_UYVY_422_8u_601, 2},
    {PrPixelFormat_UYVY_422_8u_709, 2}, {PrPixelFormat_YUYV_422_8u_601, 2},
    {PrPixelFormat_YUYV_422_8u_709, 2},
};

bool IsV210(PrPixelFormat format) {
    return format == PrPixelFormat_V210_422_10u_601 || format == PrPixelFormat_V210_422_10u_709;
}

struct FreeMemory {
    void operator()(char* memory) const { std::free(memory); }
};
using Memory = std::unique_ptr<char, FreeMemory>;

Memory Allocate(size_t alignment, size_t size) {
    const size_t rounded = (size + alignment - 1) / alignment * alignment;
    return Memory(static_cast<char*>(std::aligned_alloc(alignment, rounded)));
}

}  // namespace

struct PixelBuffers::Accounts {
    std::atomic<int> created{0};
    std::atomic<int> live{0};
    std::atomic<int> damaged{0};

    Memory Take(size_t alignment, size_t size) {
        const std::lock_guard<std::mutex> lock(mLock);
        std::vector<Memory>& free = mFree[{alignment, size}];
        if (free.empty()) {
            return Allocate(alignment, size);
        }
        Memory memory = std::move(free.back());
        free.pop_back();
        return memory;
    }

    void GiveBack(size_t alignment, size_t size, Memory memory) {
        const std::lock_guard<std::mutex> lock(mLock);
        mFree[{alignment, size}].push_back(std::move(memory));
    }

  private:
    std::mutex mLock;
    std::map<std::pair<size_t, size_t>, std::vector<Memory>> mFree;
};

namespace {

// A handle is the address of the first member, which leads to the pixels as a host's would.
struct PixelBuffer {
    char* pixels = nullptr;
    char* start = nullptr;  // the lowest row
    std::atomic<int> holds{1};
    PrPixelFormat format = PrPixelFormat_Invalid;
    int width = 0;
    int height = 0;
    int rowBytes = 0;
    size_t dataSize = 0;
    PixelBufferSettings settings;
    size_t memorySize = 0;
    Memory memory;
    std::shared_ptr<PixelBuffers::Accounts> accounts;

    static PixelBuffer* Of(PPixHand ppix) { return reinterpret_cast<PixelBuffer*>(ppix); }
    PPixHand Hand() { return &pixels; }

    char* FirstGuard() const { return start - settings.guardBytes; }
    char* LastGuard() const { return start + dataSize + settings.slackBytes; }

    bool IsGuardWhole() const {
        const auto isGuard = [](char byte) { return static_cast<uint8_t>(byte) == kGuard; };
        return std::all_of(FirstGuard(), FirstGuard() + settings.guardBytes, isGuard) &&
               std::all_of(LastGuard(), LastGuard() + settings.guardBytes, isGuard);
    }
};

size_t RoundUp(size_t value, size_t multiple) {
    return (value + multiple - 1) / multiple * multiple;
}

}  // namespace

int TightRowBytes(PrPixelFormat format, int width) {
    if (IsV210(format)) {
        return (width + 47) / 48 * 128;
    }
    const auto found =
        std::find_if(std::begin(kLayouts), std::end(kLayouts),
                     [=](const FormatLayout& each) { return each.format == format; });
    return found == std::end(kLayouts) ? 0 : found->bytesPerPixel * width;
}

PixelBuffers::PixelBuffers(Host& host, const PixelBufferSettings& bufferSettings)
    : settings(bufferSettings), mAccounts(std::make_shared<Accounts>()) {
    static constexpr PrSDKPPixCreatorSuite kCreatorSuite = {&SuiteCreatePPix};
    static constexpr PrSDKPPixCreator2Suite kCreator2Suite = {{}, &SuiteCreateCustomPPix};
    static constexpr PrSDKPPixSuite kPPixSuite = {
        &SuiteDispose, &SuiteGetPixels, {}, &SuiteGetRowBytes};
    host.AddSuite(kPrSDKPPixCreatorSuite, kPrSDKPPixCreatorSuiteVersion, &kCreatorSuite);
    host.AddSuite(kPrSDKPPixCreator2Suite, kPrSDKPPixCreator2SuiteVersion, &kCreator2Suite);
    host.AddSuite(kPrSDKPPixSuite, kPrSDKPPixSuiteVersion, &kPPixSuite);
    Published<PixelBuffers>::Set(this, "PixelBuffers");
}

PixelBuffers::~PixelBuffers() {
    Published<PixelBuffers>::Withdraw();
}

PixelBuffers* PixelBuffers::Current() {
    return Published<PixelBuffers>::Get();
}

PixelBufferView PixelBuffers::View(PPixHand ppix) {
    const PixelBuffer* buffer = PixelBuffer::Of(ppix);
    return {buffer->format,   buffer->width,    buffer->height,
            buffer->rowBytes, buffer->dataSize, buffer->pixels};
}

void PixelBuffers::Retain(PPixHand ppix) {
    ++PixelBuffer::Of(ppix)->holds;
}

void PixelBuffers::Dispose(PPixHand ppix) {
    PixelBuffer* buffer = PixelBuffer::Of(ppix);
    if (--buffer->holds > 0) {
        return;
    }
    if (!buffer->IsGuardWhole()) {
        ++buffer->accounts->damaged;
    }
    --buffer->accounts->live;
    if (buffer->settings.recycles) {
        buffer->accounts->GiveBack(buffer->settings.alignment, buffer->memorySize,
                                   std::move(buffer->memory));
    }
    delete buffer;
}

PPixHand PixelBuffers::Create(PrPixelFormat format, int width, int height) {
    const int tight = TightRowBytes(format, width);
    if (tight <= 0 || height <= 0) {
        return nullptr;
    }
    const auto rowBytes =
        static_cast<int>(RoundUp(static_cast<size_t>(int64_t{tight} + settings.extraRowBytes),
                                 static_cast<size_t>(settings.rowBytesMultiple)));
    return Make(format, width, height, rowBytes,
                static_cast<size_t>(rowBytes) * static_cast<size_t>(height));
}

PPixHand PixelBuffers::Make(PrPixelFormat format, int width, int height, int rowBytes,
                            size_t dataSize) {
    auto buffer = std::make_unique<PixelBuffer>();
    const size_t lead = RoundUp(settings.guardBytes, settings.alignment) + settings.misalignment;
    buffer->memorySize = lead + dataSize + settings.slackBytes + settings.guardBytes;
    buffer->memory = settings.recycles ? mAccounts->Take(settings.alignment, buffer->memorySize)
                                       : Allocate(settings.alignment, buffer->memorySize);
    if (buffer->memory == nullptr) {
        return nullptr;
    }
    buffer->start = buffer->memory.get() + lead;
    buffer->pixels = buffer->start;
    buffer->format = format;
    buffer->width = width;
    buffer->height = height;
    buffer->rowBytes = rowBytes;
    if (rowBytes != 0 && settings.rows == RowOrder::kFalling) {
        buffer->pixels += dataSize - static_cast<size_t>(rowBytes);
        buffer->rowBytes = -rowBytes;
    } else if (settings.rows == RowOrder::kOnTopOfEachOther) {
        buffer->rowBytes = 0;
    }
    buffer->dataSize = dataSize;
    buffer->settings = settings;
    buffer->accounts = mAccounts;
    std::memset(buffer->FirstGuard(), kGuard, settings.guardBytes);
    std::memset(buffer->LastGuard(), kGuard, settings.guardBytes);
    if (settings.fills) {
        std::memset(buffer->start, kFreshPixel, dataSize + settings.slackBytes);
    }
    ++mAccounts->created;
    ++mAccounts->live;
    return buffer.release()->Hand();
}

int PixelBuffers::CreatedCount() const {
    return mAccounts->created;
}

int PixelBuffers::LiveCount() const {
    return mAccounts->live;
}

int PixelBuffers::DamagedCount() const {
    return mAccounts->damaged;
}

int32_t PixelBuffers::SuiteCreatePPix(PPixHand* ppix, int32_t, PrPixelFormat format,
                                      const prRect* bounds) {
    const Published<PixelBuffers>::Call buffers;
    if (!buffers) {
        return kNoPixelBuffers;
    }
    const int32_t fault = buffers->faults.Count("CreatePPix");
    if (fault != 0) {
        return fault;
    }
    const int width = bounds->right - bounds->left;
    if (TightRowBytes(format, width) <= 0) {
        return kUnsupportedFormat;
    }
    const PPixHand made = buffers->Create(format, width, bounds->bottom - bounds->top);
    if (made == nullptr) {
        return kOutOfMemory;
    }
    *ppix = made;
    return 0;
}

int32_t PixelBuffers::SuiteCreateCustomPPix(PPixHand* ppix, int32_t, PrPixelFormat format,
                                            int32_t width, int32_t height, int32_t, int32_t,
                                            int32_t dataSize) {
    const Published<PixelBuffers>::Call buffers;
    if (!buffers) {
        return kNoPixelBuffers;
    }
    const int32_t fault = buffers->faults.Count("CreateCustomPPix");
    if (fault != 0) {
        return fault;
    }
    const PPixHand made =
        dataSize <= 0 ? nullptr
                      : buffers->Make(format, width, height, 0, static_cast<size_t>(dataSize));
    if (made == nullptr) {
        return kOutOfMemory;
    }
    *ppix = made;
    return 0;
}

// Buffers outlive the PixelBuffers that made them, so that these three go on working without one.

int32_t PixelBuffers::SuiteDispose(PPixHand ppix) {
    const Published<PixelBuffers>::Call buffers;
    const int32_t fault = !buffers ? 0 : buffers->faults.Count("Dispose");
    // A host that reports a failure here has released the buffer all the same.
    Dispose(ppix);
    return fault;
}

int32_t PixelBuffers::SuiteGetPixels(PPixHand ppix, int32_t, char** pixels) {
    const Published<PixelBuffers>::Call buffers;
    const int32_t fault = !buffers ? 0 : buffers->faults.Count("GetPixels");
    if (fault == 0) {
        *pixels = PixelBuffer::Of(ppix)->pixels;
    }
    return fault;
}

int32_t PixelBuffers::SuiteGetRowBytes(PPixHand ppix, int32_t* rowBytes) {
    const Published<PixelBuffers>::Call buffers;
    const int32_t fault = !buffers ? 0 : buffers->faults.Count("GetRowBytes");
    if (fault == 0) {
        *rowBytes = PixelBuffer::Of(ppix)->rowBytes;
    }
    return fault;
}

}  // namespace kvx_hostkit
