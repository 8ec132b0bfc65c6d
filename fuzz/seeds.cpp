// Writes the inputs that fuzzing begins with: kvx_fuzz_seeds FOLDER makes a folder for each target
// in it. Seeds are small; a fuzzer gets on faster with them.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/alias_records.h"
#include "tests/support/movie_builder.h"
#include "tests/support/random.h"
#include "tests/support/random_recipe.h"

namespace {

using namespace kvx_test;

// The media of these movies would begin here: 4 KiB of it are in the file.
constexpr uint64_t kMedia = 16;
constexpr int kRandomMovies = 40;
constexpr int kRandomInputs = 24;

class SeedFolder {
  public:
    SeedFolder(const std::filesystem::path& root, const std::string& target)
        : mFolder(root / target) {
        std::filesystem::create_directories(mFolder);
    }

    void Add(const Bytes& bytes) {
        std::ofstream(mFolder / std::to_string(mCount), std::ios::binary) << bytes;
        ++mCount;
    }

  private:
    std::filesystem::path mFolder;
    int mCount = 0;
};

Bytes MovieBytes(const MovieRecipe& recipe) {
    return AtomNode{"mdat", zeros(4096)}.Serialize() + BuildMoov(recipe).Serialize();
}

TrackRecipe ReorderedPicture(const Bytes& format, std::vector<AtomNode> extensions) {
    TrackRecipe track =
        VideoTrackRecipe({format, 48, 2, 24, std::move(extensions)}, 256, 6, 24000, 1000, kMedia);
    track.constantSize = 0;
    track.sizes = {256, 256, 300, 300, 256, 10};
    track.PlaceSamples(kMedia, 2, 50);
    track.edits = {{100, 1000}, {50, 0, 0x00020000}};
    track.displayOffsets = {{2, 1000}, {4, -1000}};
    track.keyFrames = {1, 4};
    return track;
}

std::vector<AtomNode> SoundDescriptions() {
    SoundDescriptionV0 plain;
    SoundDescriptionV1 packets;
    packets.extensions = {Wave({Endianness(true), ElementaryStream("stream")})};
    SoundDescriptionV2 six;
    six.channels = 6;
    six.bits = 24;
    six.bytesPerPacket = 18;
    six.extensions = {ChannelLayout(0x00790006)};
    SoundDescriptionV2 single;
    single.channels = 1;
    single.bits = 32;
    single.formatFlags = 1;
    return {Describe(plain), Describe(packets), Describe(six), Describe(single)};
}

std::vector<MovieRecipe> Movies() {
    std::vector<MovieRecipe> movies;
    for (const char* format : {"2vuy", "2Vuy", "v210", "r210", "r10k", "avc1", "dvh5"}) {
        MovieRecipe movie;
        movie.tracks = {ReorderedPicture(format, {PixelAspect(1, 1), FieldHandling(2, 9)})};
        movies.push_back(movie);
    }
    MovieRecipe configured;
    configured.tracks = {ReorderedPicture("avc1", {{"avcC", "configuration"}})};
    movies.push_back(configured);
    for (const AtomNode& description : SoundDescriptions()) {
        MovieRecipe movie;
        movie.tracks = {VideoTrackRecipe({}, 256, 3, 24000, 1000, kMedia),
                        SoundTrackRecipe(description, 4, 200, 48000, kMedia + 768),
                        TimeCodeTrackRecipe({}, 3, kMedia + 2048)};
        movies.push_back(movie);
    }
    Random random(1);
    for (int i = 0; i < kRandomMovies; ++i) {
        movies.push_back(RandomMovie(random));
    }
    return movies;
}

// A movie whose only track has an extended header, torn off at each byte after the first eight.
std::vector<Bytes> TornTrackHeaders() {
    constexpr size_t kShortHeader = 8;
    constexpr size_t kExtendedHeader = 16;
    std::vector<Bytes> movies;
    for (size_t size = kShortHeader; size <= kExtendedHeader; ++size) {
        AtomNode track{"trak"};
        track.form = AtomNode::SizeForm::Extended;
        movies.push_back(AtomNode{"moov", track.Serialize().substr(0, size)}.Serialize());
    }
    return movies;
}

// For targets that take decisions from their bytes.
void AddRandomInputs(SeedFolder& folder, int longest) {
    Random random(2);
    for (int i = 0; i < kRandomInputs; ++i) {
        Bytes bytes(static_cast<size_t>(random.Pick(1, longest)), '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(random.Pick(0, 255));
        }
        folder.Add(bytes);
    }
}

void WriteSeeds(const std::filesystem::path& root) {
    SeedFolder movie(root, "movie");
    SeedFolder inspect(root, "inspect");
    for (const MovieRecipe& recipe : Movies()) {
        movie.Add(MovieBytes(recipe));
        inspect.Add(MovieBytes(recipe));
    }
    for (const Bytes& torn : TornTrackHeaders()) {
        movie.Add(torn);
    }
    SeedFolder sound(root, "sound");
    for (const AtomNode& description : SoundDescriptions()) {
        // Frames, noise, then the description.
        sound.Add(Bytes(1, '\x64') + "0123456789ABCDEF" + description.Serialize());
    }
    SeedFolder alias(root, "alias");
    alias.Add(AliasExampleVersion2());
    alias.Add(AliasExampleVersion3());
    SeedFolder text(root, "text");
    for (const char* bytes : {"/Volumes/Media/clip.mov", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80",
                              "\xED\xA0\x80", "A\0\xE9\0\xAC\x20"}) {
        text.Add("choices!" + Bytes(bytes));
    }
    SeedFolder timeCode(root, "timecode");
    for (const char* typed : {"01:02:03:04", "+1:00", "-10;00", "1.2.3.4.5", "999999999999"}) {
        // Two formats, packed decimal, a frame number, then the text.
        timeCode.Add(Bytes(1, '\x08') + Bytes(1, '\x03') + "\x23\x59\x59\x29" + big64(107892) +
                     typed);
    }
    for (const char* target : {"recipe", "converters", "host"}) {
        SeedFolder folder(root, target);
        AddRandomInputs(folder, 600);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    WriteSeeds(argv[1]);
    return 0;
}
