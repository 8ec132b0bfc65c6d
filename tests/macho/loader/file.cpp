#include "macho/loader/file.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "macho/loader/architecture.h"

namespace macho {

namespace {

namespace fs = std::filesystem;

std::string ExecutableOf(const std::string& path) {
    const fs::path folder = fs::path(path).lexically_normal();
    if (!fs::is_directory(folder)) {
        return path;
    }
    std::error_code error;
    const fs::directory_iterator executable(folder / "Contents" / "MacOS", error);
    if (error || executable == fs::directory_iterator()) {
        throw LoadError("has no executable");
    }
    return executable->path();
}

std::string NameOf(const char (&name)[16]) {
    return {name, strnlen(name, sizeof name)};
}

}  // namespace

File::File(const std::string& path) : mPath(ExecutableOf(path)) {
    std::error_code error;
    const auto size = fs::file_size(mPath, error);
    std::ifstream stream(mPath, std::ios::binary);
    if (error || !stream) {
        throw LoadError("cannot be read");
    }
    mBytes.resize(size);
    if (!stream.read(reinterpret_cast<char*>(mBytes.data()), static_cast<std::streamsize>(size))) {
        throw LoadError("cannot be read whole");
    }
    ChooseSlice();
    ReadCommands();
}

void File::ChooseSlice() {
    const Bytes all(mBytes.data(), mBytes.size());
    mSlice = all;
    if (__builtin_bswap32(all.At<FatHeader>(0).magic) == kFatMagic) {
        const uint32_t count = __builtin_bswap32(all.At<FatHeader>(0).count);
        uint64_t place = sizeof(FatHeader);
        for (uint32_t index = 0; index < count; ++index, place += sizeof(FatSlice)) {
            const auto slice = all.At<FatSlice>(place);
            if (__builtin_bswap32(slice.cpuType) == kCpuType) {
                mSlice = all.Part(__builtin_bswap32(slice.offset), __builtin_bswap32(slice.size));
            }
        }
    }
    const auto header = mSlice.At<Header>(0);
    if (header.magic != kMagic64 || header.cpuType != kCpuType || header.fileType != kFileBundle) {
        throw LoadError("is no bundle for this processor");
    }
}

void File::ReadCommands() {
    const auto header = mSlice.At<Header>(0);
    const Bytes commands = mSlice.Part(sizeof(Header), header.commandSize);
    uint64_t place = 0;
    for (uint32_t index = 0; index < header.commandCount; ++index) {
        const auto head = commands.At<LoadCommand>(place);
        const Bytes command = commands.Part(place, head.size);
        switch (head.command) {
            case kSegment64:
                ReadSegment(command);
                break;
            case kDyldInfoOnly:
                mInfo = command.At<DyldInfoCommand>(0);
                break;
            case kLoadLibrary:
                mLibraries.push_back(command.TextAt(command.At<LibraryCommand>(0).nameOffset));
                break;
            case kSymbolTable:
            case kDynamicSymbolTable:
            case kUuid:
            case kCodeSignature:
            case kMinimumMacos:
            case kBuildVersion:
            case kFunctionStarts:
            case kDataInCode:
            case kSourceVersion:
                break;  // nothing that the code needs to run
            default:
                throw LoadError("has the unknown load command " + std::to_string(head.command));
        }
        place += head.size;
    }
    if (mSegments.empty()) {
        throw LoadError("has no segments");
    }
}

void File::ReadSegment(Bytes command) {
    const auto segment = command.At<SegmentCommand>(0);
    mSlice.Part(segment.fileOffset, segment.fileSize);
    if (segment.fileSize > segment.memorySize) {
        throw LoadError("has a segment larger than its memory");
    }
    mSegments.push_back(segment);
    uint64_t place = sizeof segment;
    for (uint32_t index = 0; index < segment.sectionCount; ++index) {
        const auto section = command.At<SectionRecord>(place);
        mSections.push_back({NameOf(section.segment), NameOf(section.name), section.address,
                             section.size,
                             static_cast<SectionType>(section.flags & kSectionTypeMask)});
        place += sizeof section;
    }
}

const Section* File::FindSection(const std::string& segment, const std::string& name) const {
    for (const Section& section : mSections) {
        if (section.segment == segment && section.name == name) {
            return &section;
        }
    }
    return nullptr;
}

}  // namespace macho
