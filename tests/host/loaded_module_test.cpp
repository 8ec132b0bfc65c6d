// The module as a host gets it: loaded from its file.
#include "hostkit/loaded_module.h"

#include <dlfcn.h>
#include <elf.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "host/host_test.h"
#include "hostkit/record_block.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::Importer;
using kvx_hostkit::LoadedModule;
using kvx_hostkit::RecordBlock;
using kvx_test::Field;

// An ELF file, as far as its dynamic section goes (System V ABI, "Object Files").
class ElfFile {
  public:
    explicit ElfFile(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        mBytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        const auto header = At<Elf64_Ehdr>(0);
        for (unsigned index = 0; index < header.e_shnum; ++index) {
            mSections.push_back(At<Elf64_Shdr>(header.e_shoff + index * sizeof(Elf64_Shdr)));
        }
    }

    std::set<std::string> DefinedDynamicSymbols() const {
        std::set<std::string> names;
        for (const Elf64_Sym& symbol : Table<Elf64_Sym>(SHT_DYNSYM)) {
            // On arm64 a section is there, too, without a name.
            if (symbol.st_shndx != SHN_UNDEF && ELF64_ST_TYPE(symbol.st_info) != STT_SECTION) {
                names.insert(mBytes.data() + mSections[Section(SHT_DYNSYM).sh_link].sh_offset +
                             symbol.st_name);
            }
        }
        return names;
    }

    uint64_t DynamicFlags1() const {
        for (const Elf64_Dyn& entry : Table<Elf64_Dyn>(SHT_DYNAMIC)) {
            if (entry.d_tag == DT_FLAGS_1) {
                return entry.d_un.d_val;
            }
        }
        return 0;
    }

  private:
    template <typename Entry>
    Entry At(size_t offset) const {
        Entry entry = {};
        if (offset + sizeof(entry) <= mBytes.size()) {
            std::memcpy(&entry, mBytes.data() + offset, sizeof(entry));
        }
        return entry;
    }

    Elf64_Shdr Section(unsigned type) const {
        for (const Elf64_Shdr& section : mSections) {
            if (section.sh_type == type) {
                return section;
            }
        }
        return {};
    }

    template <typename Entry>
    std::vector<Entry> Table(unsigned type) const {
        const Elf64_Shdr section = Section(type);
        std::vector<Entry> entries;
        for (size_t offset = 0; offset < section.sh_size; offset += sizeof(Entry)) {
            entries.push_back(At<Entry>(section.sh_offset + offset));
        }
        return entries;
    }

    std::vector<char> mBytes;
    std::vector<Elf64_Shdr> mSections;
};

class Module : public kvx_test::HostTest {
  protected:
    Module() { module = LoadedModule::Load(LoadedModule::BuiltPath(), error); }

    std::string error;
    std::unique_ptr<LoadedModule> module;
};

TEST_F(Module, ExportsExactlyFiveNames) {
    const ElfFile file(LoadedModule::BuiltPath());
    EXPECT_EQ(file.DefinedDynamicSymbols(),
              (std::set<std::string>{"AsyncImportEntry", "asyncImportFunctions",
                                     "fileImportFunctions", "xImportEntry", "xMoviePlayable"}));
}

TEST_F(Module, IsNeverUnloaded) {
    EXPECT_NE(ElfFile(LoadedModule::BuiltPath()).DynamicFlags1() & DF_1_NODELETE, 0u);
    ASSERT_NE(module, nullptr) << error;
    void* const entry = module->Symbol("xImportEntry");
    module.reset();
    Dl_info where = {};
    EXPECT_NE(dladdr(entry, &where), 0);
}

TEST_F(Module, TablesLeadToTheEntryPoints) {
    ASSERT_NE(module, nullptr) << error;
    const auto* fileFunctions =
        static_cast<const FileImportFunction*>(module->Symbol("fileImportFunctions"));
    const auto* asyncFunctions =
        static_cast<const AsyncImportFunction*>(module->Symbol("asyncImportFunctions"));
    ASSERT_NE(fileFunctions, nullptr);
    ASSERT_NE(asyncFunctions, nullptr);
    EXPECT_EQ(fileFunctions[imGetSupports8](nullptr, 0, 0), 101);
    EXPECT_EQ(fileFunctions[57](nullptr, 0, 0), 3);
    EXPECT_EQ(asyncFunctions[aiClose](nullptr), 0);
    EXPECT_NE(module->Symbol("xMoviePlayable"), nullptr);
}

TEST_F(Module, ServesAFile) {
    ASSERT_NE(module, nullptr) << error;
    const Importer loaded(host, module->Entries());
    RecordBlock<imImportInfoRec> info;
    ASSERT_EQ(loaded.Init(info.Get()), 0);
    EXPECT_EQ(Field(info->canAsync), 1);

    Clip clip(
        loaded,
        Write(kvx_test::MovieOf({kvx_test::Video("v210", 1920, 8), kvx_test::Sound({}, 100)})));
    ASSERT_EQ(clip.Open(), 0);
    long result = -1;
    const std::vector<imFileInfoRec8> streams = clip.Streams(&result);
    EXPECT_EQ(result, 0);
    ASSERT_EQ(streams.size(), 1u);
    EXPECT_EQ(Field(streams[0].width), 1920);
    EXPECT_EQ(Field(streams[0].audioChannels), 2);
    EXPECT_EQ(clip.PixelFormats(),
              (std::vector<PrPixelFormat>{kKVXCustomPixelFormat, PrPixelFormat_V210_422_10u_709}));
    std::vector<float> left(100, 9.0F);
    std::vector<float> right(100, 9.0F);
    float* planes[] = {left.data(), right.data()};
    EXPECT_EQ(clip.ReadAudio(0, 0, 100, planes), 0);
    EXPECT_LE(left[99], 1.0F);
    EXPECT_LE(right[99], 1.0F);

    // It shares nothing with the library that is linked in.
    EXPECT_EQ(KVX::gAppIsPremiere, -1);
    EXPECT_EQ(KVX::Core::Indexed<long>::GetInstanceForIndex(clip.ImporterID()), nullptr);
}

TEST_F(Module, FileThatIsNoModule) {
    const std::string path = directory.File("KVXImporter.so");
    EXPECT_EQ(LoadedModule::Load(path, error), nullptr);
    EXPECT_NE(error.find(path), std::string::npos) << error;
    kvx_test::WriteFile(path, "not a library");
    EXPECT_EQ(LoadedModule::Load(path, error), nullptr);
    EXPECT_NE(error.find(path), std::string::npos) << error;
}

TEST_F(Module, LibraryThatIsNoImporter) {
    EXPECT_EQ(LoadedModule::Load("libm.so.6", error), nullptr);
    EXPECT_EQ(error, "libm.so.6: not an importer");
}

}  // namespace
