// When the module for macOS leaves the process: never once its threads run.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "hostkit/loaded_module.h"
#include "hostkit/pixel_buffers.h"
#include "premiere/pixel_formats.h"
#include "support/log_capture.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/temp_directory.h"

namespace {

using kvx_hostkit::LoadedModule;

bool IsMapped(const void* address) {
    const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    unsigned char state = 0;
    return mincore(reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(address) / page * page),
                   page, &state) == 0;
}

std::unique_ptr<LoadedModule> Load() {
    std::string error;
    std::unique_ptr<LoadedModule> module = LoadedModule::Load(LoadedModule::BuiltPath(), error);
    EXPECT_NE(module, nullptr) << error;
    return module;
}

// Before the module's own threads hold it in the process.
TEST(Unloading, LeavesWhatThreadsOfTheHostHaveFromIt) {
    const kvx_test::TempDirectory directory;
    kvx_test::MovieRecipe recipe;
    recipe.tracks = {kvx_test::VideoTrackRecipe({"2vuy", 64, 32, 24}, 4096, 2)};
    recipe.tracks[0].dataHandler->componentSubtype = "url ";
    const std::string path = kvx_test::WriteMovie(directory, recipe);
    kvx_hostkit::Host host;
    std::unique_ptr<LoadedModule> module = Load();
    const void* const code = reinterpret_cast<const void*>(module->Entries().import);
    std::promise<void> refused;
    std::promise<void> unloaded;
    std::thread thread([&] {
        {
            // The kind of the handler is printed into a block of this thread's own.
            const kvx_test::LogCapture log;
            const kvx_hostkit::Importer importer(host, module->Entries());
            EXPECT_NE(kvx_hostkit::Clip(importer, path).Open(), imNoErr);
            EXPECT_THAT(log.Text(), testing::HasSubstr("'url '"));
        }
        refused.set_value();
        unloaded.get_future().wait();
    });
    refused.get_future().wait();
    module.reset();
    EXPECT_FALSE(IsMapped(code));
    unloaded.set_value();
    thread.join();
}

TEST(Unloading, OnlyWithoutThreads) {
    const kvx_test::TempDirectory directory;
    kvx_test::MovieRecipe recipe;
    recipe.tracks = {kvx_test::VideoTrackRecipe({"2vuy", 64, 32, 24}, 4096, 2)};
    const std::string path = kvx_test::WriteMovie(directory, recipe);
    kvx_hostkit::Host host;
    kvx_hostkit::PixelBuffers buffers(host);
    kvx_hostkit::FrameCache cache(host);

    std::unique_ptr<LoadedModule> module = Load();
    const void* code = reinterpret_cast<const void*>(module->Entries().import);
    ASSERT_TRUE(IsMapped(code));
    {
        const kvx_hostkit::Importer importer(host, module->Entries());
        kvx_hostkit::Clip clip(importer, path);
        ASSERT_EQ(clip.Open(), imNoErr);
    }
    module.reset();
    EXPECT_FALSE(IsMapped(code));

    module = Load();
    code = reinterpret_cast<const void*>(module->Entries().import);
    const kvx_hostkit::EntryPoints entries = module->Entries();
    const kvx_hostkit::Importer importer(host, entries);
    kvx_hostkit::Clip clip(importer, path);
    ASSERT_EQ(clip.Open(), imNoErr);
    kvx_hostkit::FrameSource source(clip);
    ASSERT_EQ(source.Open(), imNoErr);
    ASSERT_EQ(source.Request(0, {PrPixelFormat_BGRA_4444_8u}), aiNoError);
    module.reset();
    EXPECT_TRUE(IsMapped(code));
    EXPECT_TRUE(cache.WaitForFrame(clip.ImporterID(), 0, std::chrono::seconds(20)));
}

}  // namespace
