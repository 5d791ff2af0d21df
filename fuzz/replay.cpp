// Stands in for the fuzzer where there is none: runs a target on the files in a folder, then on
// random cases.  Usage: TARGET FOLDER COUNT
#include "fuzz/input.h"

#include <filesystem>
#include <fstream>
#include <iterator>

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string bytes(std::istreambuf_iterator<char>(file), {});
        std::fprintf(stderr, "%s\n", entry.path().c_str());
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
    for (int i = 0; i < std::atoi(argv[2]); ++i) {
        const std::uint8_t counter[] = {static_cast<std::uint8_t>(i),
                                        static_cast<std::uint8_t>(i >> 8)};
        LLVMFuzzerTestOneInput(counter, sizeof counter);
    }
}
