// The main function of a build without a fuzzer: runs the target on every file in the given directories.
#include "input.h"

#include <filesystem>
#include <fstream>
#include <iterator>

int main(int argc, char** argv)
{
    int replayed = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string bytes{std::istreambuf_iterator<char>(file), {}};
            std::printf("%s\n", entry.path().c_str());
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
            ++replayed;
        }
    }
    std::printf("%d inputs replayed\n", replayed);
    return replayed > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
