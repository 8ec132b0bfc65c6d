#include "stress/process_life/application.h"

#include <cstdio>
#include <cstdlib>
#include <thread>

namespace kvx_process_life {

using kvx_hostkit::LoadedModule;
using kvx_hostkit::PixelBuffers;

void Fail(const char* what) {
    std::printf("process_life: %s\n", what);
    std::fflush(stdout);
    std::_Exit(1);
}

void Require(bool holds, const char* what) {
    if (!holds) {
        Fail(what);
    }
}

OpenFile::OpenFile(const kvx_hostkit::Importer& importer, const std::string& movie)
    : clip(importer, movie), source(clip) {
    Require(clip.Open() == imNoErr && source.Open() == imNoErr, "the movie does not open");
    ticks = kvx_hostkit::FrameSource::TicksPerFrame(clip);
}

bool OpenFile::Request(int frame, PrPixelFormat format) const {
    return source.Request(frame * ticks, {format}) == aiNoError;
}

void OpenFile::Close() {
    Require(source.Close() == aiNoError, "the asynchronous importer does not close");
    Require(clip.Close() == imNoErr, "the movie does not close");
}

Application::Application() {
    std::string error;
    module = LoadedModule::Load(LoadedModule::BuiltPath(), error);
    Require(module != nullptr, error.c_str());
    importer = std::make_unique<kvx_hostkit::Importer>(host, module->Entries());
}

std::string Application::Take(const OpenFile& file, int frame) {
    Require(cache.WaitForFrame(file.clip.ImporterID(), frame, kPatience), "a frame never comes");
    const PPixHand ppix = cache.Take(file.clip.ImporterID(), frame);
    const kvx_hostkit::PixelBufferView view = PixelBuffers::View(ppix);
    std::string pixels(view.pixels, static_cast<size_t>(view.rowBytes) * kHeight);
    PixelBuffers::Dispose(ppix);
    return pixels;
}

void Application::HoldUp(std::chrono::milliseconds addFrame, std::chrono::milliseconds dispose) {
    cache.faults.RunAt(
        "AddFrameToCache", 1, [=] { std::this_thread::sleep_for(addFrame); }, true);
    buffers.faults.RunAt(
        "Dispose", 1, [=] { std::this_thread::sleep_for(dispose); }, true);
}

void Application::WaitUntilNoBufferIsLeft() {
    const auto limit = std::chrono::steady_clock::now() + kPatience;
    cache.Forget();
    while (buffers.LiveCount() > 0 && std::chrono::steady_clock::now() < limit) {
        // Frames that were on their way have come meanwhile.
        cache.Forget();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    Require(buffers.LiveCount() == 0, "pixel buffers are left");
}

}  // namespace kvx_process_life
