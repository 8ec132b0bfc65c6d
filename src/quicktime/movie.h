#pragma once

#include <string>
#include <vector>

namespace KVX::QT {

class AudioTrack;
class TimeCodeTrack;
class VideoTrack;

// What one QuickTime file becomes: its tracks, in file order, and its path.
class Movie {
  public:
    ~Movie();

    Movie(const Movie&) = delete;
    Movie& operator=(const Movie&) = delete;

    static Movie* Create(const std::string& path);

    long Init(const std::string& path);
    long OpenFile();
    void CloseFile();
    long SetTimecode(int hours, int minutes, int seconds, int frames, bool dropFrame,
                     long timeScale, long frameDuration);

    std::string mMoviePath;
    std::vector<AudioTrack*> mAudioTracks;
    std::vector<VideoTrack*> mVideoTracks;
    std::vector<TimeCodeTrack*> mTimeCodeTracks;

  private:
    Movie() = default;
};

}  // namespace KVX::QT
