// What an application has of the importer, for the processes of kvx_process_life.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "hostkit/loaded_module.h"
#include "hostkit/pixel_buffers.h"

namespace kvx_process_life {

// The movie: as many r210 frames as there are threads in the rush.
constexpr int kThreads = 64;
constexpr int kWidth = 60;
constexpr int kHeight = 16;
constexpr int kRowBytes = 256;

constexpr std::chrono::seconds kPatience(30);

// Ends the process at once, as a failure.
[[noreturn]] void Fail(const char* what);

void Require(bool holds, const char* what);

// A movie that is open, with its asynchronous importer.
struct OpenFile {
    OpenFile(const kvx_hostkit::Importer& importer, const std::string& movie);

    bool Request(int frame, PrPixelFormat format) const;
    void Close();

    kvx_hostkit::Clip clip;
    kvx_hostkit::FrameSource source;
    int64_t ticks = 0;  // of a frame
};

// The host and the loaded module.
struct Application {
    Application();

    // The frame's pixels, out of the cache, in a format with rows.
    std::string Take(const OpenFile& file, int frame);

    // The threads of the pools stay a while in each of these calls.
    void HoldUp(std::chrono::milliseconds addFrame, std::chrono::milliseconds dispose);

    // Empties the cache and waits until the pools have let go of every pixel buffer.
    void WaitUntilNoBufferIsLeft();

    kvx_hostkit::Host host;
    kvx_hostkit::PixelBuffers buffers{host};
    kvx_hostkit::FrameCache cache{host};
    std::unique_ptr<kvx_hostkit::LoadedModule> module;
    std::unique_ptr<kvx_hostkit::Importer> importer;
};

}  // namespace kvx_process_life
