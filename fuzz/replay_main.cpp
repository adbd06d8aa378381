// Runs a fuzz target without libFuzzer: feeds it each file named on the
// command line, or each file in a directory named there, once. A crash that
// the fuzzer found stays fixed as long as its input replays cleanly.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

std::vector<std::filesystem::path> InputsIn(const std::filesystem::path& path) {
    if (!std::filesystem::is_directory(path)) return {path};
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
        // Hidden files (.gitkeep) hold no input.
        if (entry.is_regular_file() && !entry.path().filename().string().starts_with('.'))
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

int main(int argc, char** argv) {
    size_t replayed = 0;
    for (int i = 1; i < argc; ++i) {
        for (const std::filesystem::path& file : InputsIn(argv[i])) {
            std::ifstream stream(file, std::ios::binary);
            if (!stream) {
                std::fprintf(stderr, "cannot read %s\n", file.c_str());
                return 1;
            }
            const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(stream), {}};
            // Named first, so that the output of a crash tells which input it was.
            std::printf("%s\n", file.c_str());
            std::fflush(stdout);
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            ++replayed;
        }
    }
    std::printf("replayed %zu inputs\n", replayed);
    // No input at all means a wrong path, not a pass.
    return replayed ? 0 : 1;
}
