// A whole movie at a glance: frames spread over it, and its sounds.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands/with_movie.h"
#include "cli/movie/timecode.h"
#include "cli/output/exit_code.h"
#include "cli/output/progress_bar.h"
#include "cli/picture/contact_sheet.h"
#include "cli/picture/frame_reader.h"
#include "cli/sound/waveform.h"
#include "premiere/import_records.h"

namespace kvx_cli {

// What the movie has, and what is missing of it, which is reported on standard error. A sound that
// is not available leaves the rest: the pictures are still of use.
class Glance {
  public:
    // `movie` must outlive it.
    explicit Glance(const MovieAtWork& movie);

    // Null if there is no video.
    const imFileInfoRec8* Video() const { return mVideo; }

    // "v210", "1920 x 1080", ..., for people. Only with video.
    std::vector<std::string> Facts() const;

    // The sounds, as many stretches as `columns`. Of a long one not every sample is read, but some
    // in each stretch. `notes` takes what is not available.
    std::vector<Waveform> ReadSounds(int columns, std::vector<std::string>& notes);

    struct Frame {
        std::string caption;
        kvx_hostkit::PixelBufferView view;  // of 8 bits
        bool isThere = false;
    };

    // `room` frames at most, spread over the movie; `count` takes how many there will be. After
    // the sounds, and only once.
    Problem BeginFrames(int64_t room, int& count);

    // The next of them, whose pixels stay until the call after. Not called more often than there
    // are frames.
    Problem NextFrame(Frame& frame);

    void EndFrames();

    // kExitRefused if anything is missing.
    ExitCode Code() const { return mCode; }

  private:
    void Miss(const std::string& words);

    const MovieAtWork& mMovie;
    std::vector<imFileInfoRec8> mStreams;
    const imFileInfoRec8* mVideo;
    TimecodeStart mStart;
    ExitCode mCode = kExitDone;
    std::unique_ptr<ProgressBar> mProgress;
    std::unique_ptr<FrameReader> mReader;
};

}  // namespace kvx_cli
