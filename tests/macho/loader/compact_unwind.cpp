#include "macho/loader/compact_unwind.h"

#include <map>

namespace macho {

namespace {

constexpr uint32_t kVersion = 1;
constexpr uint32_t kHasExceptionTable = 0x40000000;
constexpr unsigned kPersonalityShift = 28;
constexpr uint32_t kPersonalityMask = 3;

struct Header {
    uint32_t version;
    uint32_t encodingsOffset, encodingsCount;
    uint32_t personalitiesOffset, personalitiesCount;
    uint32_t indexOffset, indexCount;
};

struct IndexEntry {
    uint32_t function;
    uint32_t pageOffset;
    uint32_t exceptionTablesOffset;
};

struct ExceptionTableEntry {
    uint32_t function;
    uint32_t table;
};

enum PageKind : uint32_t { kRegular = 2, kCompressed = 3 };

struct RegularPage {
    uint32_t kind;
    uint16_t entriesOffset, entriesCount;
};

struct RegularEntry {
    uint32_t function;
    uint32_t encoding;
};

struct CompressedPage {
    uint32_t kind;
    uint16_t entriesOffset, entriesCount;
    uint16_t encodingsOffset, encodingsCount;
};

class Reader {
  public:
    explicit Reader(Bytes section) : mSection(section), mHeader(section.At<Header>(0)) {}

    std::vector<UnwindEntry> Read() {
        if (mHeader.version != kVersion || mHeader.indexCount == 0) {
            throw LoadError("has unwind information of an unknown version");
        }
        // The last entry of the index has no page: it says where the last function ends.
        for (uint32_t index = 0; index + 1 < mHeader.indexCount; ++index) {
            ReadExceptionTables(Index(index), Index(index + 1));
            ReadPage(Index(index));
        }
        Close(Index(mHeader.indexCount - 1).function);
        return mEntries;
    }

  private:
    IndexEntry Index(uint32_t index) const {
        return mSection.At<IndexEntry>(mHeader.indexOffset + uint64_t{index} * sizeof(IndexEntry));
    }

    void ReadExceptionTables(const IndexEntry& page, const IndexEntry& next) {
        for (uint64_t place = page.exceptionTablesOffset; place < next.exceptionTablesOffset;
             place += sizeof(ExceptionTableEntry)) {
            const auto entry = mSection.At<ExceptionTableEntry>(place);
            mExceptionTables[entry.function] = entry.table;
        }
    }

    void ReadPage(const IndexEntry& index) {
        switch (mSection.At<uint32_t>(index.pageOffset)) {
            case kRegular: {
                const auto page = mSection.At<RegularPage>(index.pageOffset);
                for (uint64_t number = 0; number < page.entriesCount; ++number) {
                    const auto entry =
                        mSection.At<RegularEntry>(uint64_t{index.pageOffset} + page.entriesOffset +
                                                  number * sizeof(RegularEntry));
                    Add(entry.function, entry.encoding);
                }
                break;
            }
            case kCompressed: {
                const auto page = mSection.At<CompressedPage>(index.pageOffset);
                for (uint64_t number = 0; number < page.entriesCount; ++number) {
                    const auto entry =
                        mSection.At<uint32_t>(uint64_t{index.pageOffset} + page.entriesOffset +
                                              number * sizeof(uint32_t));
                    Add(index.function + (entry & 0x00FFFFFF),
                        Encoding(entry >> 24, index.pageOffset, page));
                }
                break;
            }
            default:
                throw LoadError("has an unknown page of unwind information");
        }
    }

    // Frequent encodings stand in front, for all pages; the others with their page.
    uint32_t Encoding(uint64_t number, uint64_t pageOffset, const CompressedPage& page) const {
        if (number < mHeader.encodingsCount) {
            return mSection.At<uint32_t>(mHeader.encodingsOffset + number * sizeof(uint32_t));
        }
        return mSection.At<uint32_t>(pageOffset + page.encodingsOffset +
                                     (number - mHeader.encodingsCount) * sizeof(uint32_t));
    }

    // A function reaches to the next one.
    void Close(uint32_t end) {
        if (mIsOpen) {
            mEntries.back().end = end;
        }
        mIsOpen = false;
    }

    void Add(uint32_t function, uint32_t encoding) {
        Close(function);
        if (encoding == 0) {
            return;
        }
        UnwindEntry entry = {function, 0, encoding, 0, 0};
        const uint32_t personality = (encoding >> kPersonalityShift) & kPersonalityMask;
        if (personality != 0) {
            if (personality > mHeader.personalitiesCount) {
                throw LoadError("has a function with an unknown personality");
            }
            entry.personalityPointer = mSection.At<uint32_t>(mHeader.personalitiesOffset +
                                                             (personality - 1) * sizeof(uint32_t));
        }
        if ((encoding & kHasExceptionTable) != 0) {
            entry.exceptionTable = mExceptionTables.at(function);
        }
        mEntries.push_back(entry);
        mIsOpen = true;
    }

    Bytes mSection;
    Header mHeader;
    std::map<uint32_t, uint32_t> mExceptionTables;
    std::vector<UnwindEntry> mEntries;
    bool mIsOpen = false;
};

}  // namespace

std::vector<UnwindEntry> ReadCompactUnwind(Bytes section) {
    return Reader(section).Read();
}

}  // namespace macho
