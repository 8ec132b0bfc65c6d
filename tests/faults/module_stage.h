// A host at work on small movies, for tests in which the system fails under the importer.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "hostkit/pixel_buffers.h"
#include "support/temp_directory.h"

namespace kvx_test {

// The movies: made once, before anything fails.
struct StageMovies {
    StageMovies();

    TempDirectory directory;
    std::string picture;  // two tracks of sound, a timecode; frames of whole pages in "2vuy"
    std::string good;     // the same, for the look afterwards
};

class ModuleStage {
  public:
    // How a frame gets to the host: see the roads of a frame.
    enum class Road { Direct, Copied, Converted, Custom };

    explicit ModuleStage(const StageMovies& movies);

    // What a host does with one file. Each returns whether the importer refused anything, and
    // leaves nothing open.
    bool Open();
    bool Info();
    bool Frame(Road road);
    bool Audio();
    bool QuietAndReopen();
    bool Save();
    bool Delete();

    // Opens the good movie and reads a frame and a stretch of sound of it; returns what is wrong,
    // nothing if all is well.
    std::string PlayGoodMovie();

    // What is left of buffers and descriptors, in words; nothing if all is well. A number of
    // frames may be on their way for ever.
    std::string Remains(int framesLost = 0);

    // How long a frame that was asked for is waited for, and how many did not come.
    std::chrono::milliseconds patience{20000};
    int framesLost = 0;

  private:
    bool RequestFrame(const kvx_hostkit::Clip& clip, PrPixelFormat format, int32_t index);
    std::string Copy(const char* name);

    const StageMovies& mMovies;

  public:
    kvx_hostkit::Host host;
    kvx_hostkit::PixelBuffers buffers{host};
    kvx_hostkit::FrameCache cache{host};

  private:
    kvx_hostkit::Importer mImporter;
    int mDescriptors;
};

// Whether each line of a log has one of the forms that lines have.
bool IsLog(const std::string& text);

}  // namespace kvx_test
