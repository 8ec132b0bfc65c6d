#include "quicktime/movie.h"

#include <memory>
#include <new>

#include "core/four_char_code.h"
#include "core/log.h"
#include "core/status.h"
#include "quicktime/audio_track.h"
#include "quicktime/movie_atom.h"
#include "quicktime/timecode_track.h"
#include "quicktime/video_track.h"
#include "util/printer.h"

namespace KVX::QT {

namespace {

// One kind of track that a movie keeps.
struct TrackKind {
    uint32_t mediaType;
    const char* className;
    bool (*append)(Movie& movie, const std::string& path, Atom* moovAtom, Atom* trakAtom);
};

template <typename Kind, std::vector<Kind*> Movie::*list>
bool Append(Movie& movie, const std::string& path, Atom* moovAtom, Atom* trakAtom) {
    std::unique_ptr<Kind> track(Kind::Create(path, moovAtom, trakAtom));
    if (track == nullptr) {
        return false;
    }
    (movie.*list).push_back(track.get());
    static_cast<void>(track.release());
    return true;
}

constexpr TrackKind kTrackKinds[] = {
    {Core::FourCharCode("vide"), "VideoTrack", Append<VideoTrack, &Movie::mVideoTracks>},
    {Core::FourCharCode("soun"), "AudioTrack", Append<AudioTrack, &Movie::mAudioTracks>},
    {Core::FourCharCode("tmcd"), "TimeCodeTrack", Append<TimeCodeTrack, &Movie::mTimeCodeTracks>},
};

const TrackKind* FindKind(uint32_t mediaType) {
    for (const TrackKind& kind : kTrackKinds) {
        if (kind.mediaType == mediaType) {
            return &kind;
        }
    }
    return nullptr;
}

template <typename Kind>
long OpenAll(const std::vector<Kind*>& tracks) {
    for (Kind* track : tracks) {
        if (const long status = track->OpenFile()) {
            return status;
        }
    }
    return 0;
}

template <typename Kind>
void CloseAll(const std::vector<Kind*>& tracks) {
    for (Kind* track : tracks) {
        track->CloseFile();
    }
}

template <typename Kind>
void DeleteAll(std::vector<Kind*>& tracks) {
    while (!tracks.empty()) {
        Kind* const track = tracks.back();
        tracks.pop_back();
        delete track;
    }
}

}  // namespace

Movie::~Movie() {
    DeleteAll(mAudioTracks);
    DeleteAll(mVideoTracks);
    DeleteAll(mTimeCodeTracks);
}

Movie* Movie::Create(const std::string& path) {
    std::unique_ptr<Movie> movie(new (std::nothrow) Movie);
    if (movie == nullptr) {
        KVX_LOG("Failed to create a new Movie object\n");
        return nullptr;
    }
    long status = 0;
    try {
        status = movie->Init(path);
    } catch (const std::bad_alloc&) {
        // From the lists and the tables of the tracks.
        status = Core::kStatusNoMemory;
    }
    if (status != 0) {
        KVX_LOG("Init() failed with %ld\n", status);
        return nullptr;
    }
    return movie.release();
}

long Movie::Init(const std::string& path) {
    MovieAtom movieAtom;
    if (const long status = movieAtom.Init(path)) {
        return status;
    }
    Atom* const moovAtom = movieAtom.Get();
    constexpr uint32_t kTrackType = Core::FourCharCode("trak");
    Atom* trakAtom = nullptr;
    while ((trakAtom = moovAtom->FindNextChildOfType(kTrackType, trakAtom)) != nullptr) {
        int mediaType = 0;
        if (const long status = Track::GetMediaType(trakAtom, mediaType)) {
            KVX_LOG("Failed to get media type for track\n");
            return status;
        }
        const TrackKind* const kind = FindKind(static_cast<uint32_t>(mediaType));
        if (kind == nullptr) {
            Core::LogText("skipping track type %s\n", Util::Printer::Fcc(mediaType));
            continue;
        }
        if (!kind->append(*this, path, moovAtom, trakAtom)) {
            KVX_LOG("Failed to create a new %s\n", kind->className);
            return Core::kStatusInvalid;
        }
    }
    if (movieAtom.EndsInsideTrack()) {
        KVX_LOG("The last track atom passes the end of the movie atom\n");
        return Core::kStatusInvalid;
    }
    mMoviePath = path;
    return 0;
}

long Movie::OpenFile() {
    if (const long status = OpenAll(mAudioTracks)) {
        KVX_LOG("Got error %ld opening audio track file\n", status);
        return status;
    }
    if (const long status = OpenAll(mVideoTracks)) {
        KVX_LOG("Got error %ld opening video track file\n", status);
        return status;
    }
    if (const long status = OpenAll(mTimeCodeTracks)) {
        KVX_LOG("Got error %ld opening timecode track file\n", status);
        return status;
    }
    return 0;
}

void Movie::CloseFile() {
    CloseAll(mAudioTracks);
    CloseAll(mVideoTracks);
    CloseAll(mTimeCodeTracks);
}

long Movie::SetTimecode(int, int, int, int, bool, long, long) {
    return Core::kStatusNotSupported;
}

}  // namespace KVX::QT
