// Gives a fuzz target the inputs that it is told, one after the other, with any compiler. Takes
// files, and folders of files; returns how many there were.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void Replay(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    // A block of exactly the input's size, so that a sanitizer sees every read beyond it.
    const std::unique_ptr<uint8_t[]> block(new uint8_t[bytes.size()]);
    bytes.copy(reinterpret_cast<char*>(block.get()), bytes.size());
    // The last one told is the one that ended the program.
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(block.get(), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    int inputs = 0;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            Replay(argv[i]);
            ++inputs;
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            Replay(entry.path());
            ++inputs;
        }
    }
    std::printf("%d inputs\n", inputs);
    return inputs > 0 ? 0 : 2;
}
