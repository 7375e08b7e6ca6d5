// Runs a fuzz target on the files of folders, without a fuzzer: every input that is kept stays a test.
#include "FuzzTarget.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

std::vector<std::filesystem::path> filesIn(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int main(int argc, char** argv)
{
    int inputs = 0;
    for (int i = 1; i < argc; ++i) {
        for (const std::filesystem::path& file : filesIn(argv[i])) {
            std::ifstream stream(file, std::ios::binary);
            // Names the input that ends the process.
            std::fprintf(stderr, "%s\n", file.c_str());
            const std::vector<char> bytes { std::istreambuf_iterator<char>(stream), {} };
            const std::vector<std::uint8_t> exact(bytes.begin(), bytes.end());
            LLVMFuzzerTestOneInput(exact.data(), exact.size());
            ++inputs;
        }
    }
    std::printf("%d inputs\n", inputs);
    return inputs > 0 ? 0 : 1;
}
