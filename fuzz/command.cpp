// The command on files with any contents: it converts them whole, or says why not and leaves
// nothing behind.
#include "cli/convert.h"
#include "cli/file_error.h"
#include "fuzz/input.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{

// In memory, where there is such a folder; removed at the end.
struct Scratch {
    Scratch()
    {
        fs::remove_all(folder); // of a process that crashed
        fs::create_directory(folder);
    }
    ~Scratch() { fs::remove_all(folder); }

    const fs::path folder =
        (fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path()) /
        ("rsmpl-fuzz-" + std::to_string(getpid()));
    const fs::path in = folder / "in", out = folder / "out.wav";
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Scratch scratch;
    std::ofstream(scratch.in, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    fs::remove(scratch.out);
    std::uintmax_t expected_size = 0;
    try {
        const Conversion done = convert(scratch.in, scratch.out);
        check(done.channels >= 1 && done.channels <= 16 && done.frames_in >= 1);
        check(done.frames_out == (done.frames_in + 2) / 3);
        check(done.wrapped >= 0 && (done.wrapped > 0) == (done.turn_down_db > 0));
        expected_size = 44 + static_cast<std::uintmax_t>(2 * done.channels * done.frames_out);
    } catch (const FileError& refused) {
        check(std::string(refused.what()).rfind(scratch.in.string() + ": ", 0) == 0);
    }
    check(expected_size == 0 || fs::file_size(scratch.out) == expected_size);
    const auto files = std::distance(fs::directory_iterator(scratch.folder), {});
    check(files == (expected_size > 0 ? 2 : 1));
    return 0;
}
