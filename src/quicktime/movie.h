#pragma once

#include <string>
#include <vector>

namespace KVX::QT {

class AudioTrack;
class TimeCodeTrack;
class VideoTrack;

// What one QuickTime file becomes: its tracks, in file order, and its path. It owns its tracks, and
// nothing else of the file stays in memory.
//
// The lists do not change once Create has returned, so any thread may read them; opening, closing
// and destroying is the caller's to order against reads in flight.
class Movie {
  public:
    ~Movie();

    Movie(const Movie&) = delete;
    Movie& operator=(const Movie&) = delete;

    // Parses the file, and leaves each track's own file open. Null after log lines on any failure:
    // one bad track of a known kind fails the movie, tracks of other kinds are passed over. A movie
    // may have no tracks at all.
    static Movie* Create(const std::string& path);

    // Returns 0; 1, 2, 12, 22 or a system error from finding the movie atom; or the status of the
    // first track that failed.
    long Init(const std::string& path);

    // Opens every track's file again after CloseFile. Returns the first failure; the tracks opened
    // until then stay open.
    long OpenFile();
    void CloseFile();

    // Returns 45: files are only read here.
    long SetTimecode(int hours, int minutes, int seconds, int frames, bool dropFrame,
                     long timeScale, long frameDuration);

    std::string mMoviePath;  // empty until Init has succeeded
    std::vector<AudioTrack*> mAudioTracks;
    std::vector<VideoTrack*> mVideoTracks;
    std::vector<TimeCodeTrack*> mTimeCodeTracks;

  private:
    Movie() = default;
};

}  // namespace KVX::QT
