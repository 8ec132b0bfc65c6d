// The part of a Mach-O file that is for this processor, and what its load commands say.
#pragma once

#include <string>
#include <vector>

#include "macho/loader/bytes.h"
#include "macho/loader/format.h"

namespace macho {

struct Section {
    std::string segment;
    std::string name;
    uint64_t address;  // not slid
    uint64_t size;
    SectionType type;
};

class File {
  public:
    // `path` names an executable file or the folder of a bundle that has one.
    // Throws LoadError.
    explicit File(const std::string& path);

    const std::string& Path() const { return mPath; }
    const std::vector<SegmentCommand>& Segments() const { return mSegments; }
    const std::vector<Section>& Sections() const { return mSections; }
    const std::vector<std::string>& Libraries() const { return mLibraries; }

    // Null when there is none.
    const Section* FindSection(const std::string& segment, const std::string& name) const;

    Bytes Contents() const { return mSlice; }
    Bytes Rebases() const { return mSlice.Part(mInfo.rebaseOffset, mInfo.rebaseSize); }
    Bytes Binds() const { return mSlice.Part(mInfo.bindOffset, mInfo.bindSize); }
    Bytes WeakBinds() const { return mSlice.Part(mInfo.weakBindOffset, mInfo.weakBindSize); }
    Bytes LazyBinds() const { return mSlice.Part(mInfo.lazyBindOffset, mInfo.lazyBindSize); }
    Bytes Exports() const { return mSlice.Part(mInfo.exportOffset, mInfo.exportSize); }

  private:
    void ChooseSlice();
    void ReadCommands();
    void ReadSegment(Bytes command);

    std::string mPath;
    std::vector<unsigned char> mBytes;
    Bytes mSlice;
    std::vector<SegmentCommand> mSegments;
    std::vector<Section> mSections;
    std::vector<std::string> mLibraries;
    DyldInfoCommand mInfo = {};
};

}  // namespace macho
