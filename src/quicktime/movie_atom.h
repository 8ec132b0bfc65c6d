#pragma once

#include <memory>
#include <string>

#include "quicktime/atom.h"

namespace KVX::QT {

// The "moov" atom of a movie file, read whole into one buffer. Everything found by walking it lives
// as long as this object, and so does the descriptor that it was read through: while tracks are
// made of it, none of them can be given descriptor 0, which to a track means that its file is not
// open.
class MovieAtom {
  public:
    MovieAtom() = default;
    ~MovieAtom();
    MovieAtom(const MovieAtom&) = delete;
    MovieAtom& operator=(const MovieAtom&) = delete;

    // Finds and reads the atom: one probe of at most 512 bytes for each top-level atom before it,
    // and one read. Only a chain of well-formed top-level atoms is followed: media data written
    // with size 0 in front of the movie atom is refused, not searched. Returns 0, 1 for a bad
    // length at the top level, 2 for a file without the atom, 12, 22, also for what is not a
    // regular file, or an error of the system's calls, after one log line.
    long Init(const std::string& path);

    // The atom after Init has returned 0. Its length never passes the bytes that were really read.
    Atom* Get() const { return reinterpret_cast<Atom*>(mBuffer.get()); }

    // True if the last child is a track that passes the end of the atom, because the file was cut
    // short or a length is wrong. Walks do not see it.
    bool EndsInsideTrack() const;

  private:
    struct Free {
        void operator()(char* buffer) const;
    };
    std::unique_ptr<char, Free> mBuffer;
    int mDescriptor = -1;

    // Returns an errno value; logs nothing.
    int Open(const std::string& path);
    long Read(const std::string& path);
    void Close();
};

}  // namespace KVX::QT
