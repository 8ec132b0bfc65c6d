#include "soak/originals.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/random.h"
#include "support/random_recipe.h"
#include "support/temp_directory.h"

namespace kvx_test {

namespace {

constexpr uintmax_t kLargestMovie = 2 << 20;
constexpr int kRandomMovies = 20;

uint64_t Big32At(const Bytes& bytes, size_t place) {
    uint64_t value = 0;
    for (size_t i = 0; i < 4; ++i) {
        value = value << 8 | static_cast<unsigned char>(bytes[place + i]);
    }
    return value;
}

// Only files with short sizes at the top, which are all that are small enough.
void AddOriginal(const Bytes& bytes, std::vector<Original>& originals) {
    for (size_t place = 0; place + 8 <= bytes.size();) {
        const uint64_t size = Big32At(bytes, place);
        if (size < 8 || size > bytes.size() - place) {
            return;
        }
        if (bytes.compare(place + 4, 4, "moov") == 0) {
            originals.push_back({bytes, place, place + size});
            return;
        }
        place += size;
    }
}

Bytes ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

void AddFolder(const std::filesystem::path& folder, std::vector<Original>& originals) {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file() && entry.path().extension() == ".mov" &&
            entry.file_size() <= kLargestMovie) {
            paths.push_back(entry.path());
        }
    }
    // The folder's own order is the file system's.
    std::sort(paths.begin(), paths.end());
    for (const auto& path : paths) {
        AddOriginal(ReadFile(path), originals);
    }
}

void AddHandMade(std::vector<Original>& originals) {
    const TempDirectory directory;
    const MovieFileLayout layout{4096, false};
    const auto add = [&](const MovieRecipe& recipe) {
        AddOriginal(ReadFile(WriteMovie(directory, recipe, layout)), originals);
    };
    for (const char* format : {"2vuy", "2Vuy", "v210", "r210"}) {
        MovieRecipe recipe;
        recipe.tracks = {
            VideoTrackRecipe({format, 48, 4, 24}, 1024, 8, 24000, 1000, 4096),
            SoundTrackRecipe(Describe(SoundDescriptionV0{}), 4, 1000, 48000, 4096 + 8192),
            TimeCodeTrackRecipe({}, 8, 4096 + 8192 + 4000)};
        add(recipe);
    }
    Random random(5);
    for (int i = 0; i < kRandomMovies; ++i) {
        // Chunks lie anywhere up to 2^60, so without media.
        const AtomNode moov = BuildMoov(RandomMovie(random));
        AddOriginal(moov.Serialize() + AtomNode{"mdat", Bytes(8192, 'm')}.Serialize(), originals);
    }
}

}  // namespace

std::vector<Original> Originals(char** begin, char** end) {
    std::vector<Original> originals;
    AddHandMade(originals);
    for (; begin != end; ++begin) {
        AddFolder(*begin, originals);
    }
    return originals;
}

}  // namespace kvx_test
