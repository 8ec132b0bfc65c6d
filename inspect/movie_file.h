#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "inspect/atom_view.h"
#include "inspect/change.h"
#include "inspect/findings.h"

namespace kvx_inspect {

// A movie file that was looked into: its movie atom in memory, and a descriptor for what else is
// asked of it. Never waits for a pipe or a device.
class MovieFile {
  public:
    explicit MovieFile(const std::string& path) : mPath(path) {}
    ~MovieFile();

    MovieFile(const MovieFile&) = delete;
    MovieFile& operator=(const MovieFile&) = delete;

    // Opens the file, walks its atoms and reads the movie atom. False, after a finding, if there is
    // none to look into. A finding of a refusal may be left on success too.
    bool Read(std::vector<Finding>& findings);

    // Changes the movie atom in memory as the file's would be changed; the file stays as it is.
    void ApplyInMemory(const std::vector<Change>& changes);

    AtomView Moov() const;
    // Where a place inside the movie atom lies in the file.
    uint64_t OffsetInFile(const char* place) const;

    const std::string& Path() const { return mPath; }
    int Descriptor() const { return mDescriptor; }
    uint64_t Size() const { return mSize; }
    // An atom of a movie in fragments lies after the movie atom.
    bool HasFragments() const { return mHasFragments; }

  private:
    struct Place {
        uint64_t offset = 0;
        KVX::QT::Atom header = {};
    };

    std::string mPath;
    int mDescriptor = -1;
    uint64_t mSize = 0;
    uint64_t mMoovOffset = 0;
    bool mHasFragments = false;
    std::unique_ptr<char[]> mBuffer;

    bool Open(std::vector<Finding>& findings);
    // True if 16 bytes, or what is left of them, could be read; the rest reads as 0.
    bool Probe(uint64_t offset, KVX::QT::Atom& header) const;
    bool FindMoov(Place& place, std::vector<Finding>& findings);
    bool ReadMoov(const Place& place, std::vector<Finding>& findings);
    void LookForFragments(uint64_t offset);
};

}  // namespace kvx_inspect
