// The command on files with any contents: it converts them whole, or says why not and leaves
// nothing behind.
#include "cli/convert.h"
#include "cli/file_error.h"
#include "cli/recording.h"
#include "cli/sound_file.h"
#include "fuzz/input.h"

#include <filesystem>
#include <fstream>
#include <numeric>
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

struct Sound {
    explicit Sound(const fs::path& path) : file(sf_open(path.c_str(), SFM_READ, &info), sf_close)
    {
        check(file != nullptr);
        samples.resize(static_cast<std::size_t>(info.frames * info.channels));
        check(sf_readf_short(file.get(), samples.data(), info.frames) == info.frames);
    }

    SF_INFO info{};
    SoundFile file;
    std::vector<short> samples;
};

std::int64_t outputs_of(std::int64_t frames, const rsmpl_stream_info& info)
{
    return (frames * info.up + info.down - 1) / info.down;
}

// 16-bit samples become what the stream makes of them by itself; here 1000 bytes, of as many frames
// as the header promises, are more than a WAV file can hold.
void check_samples(const Scratch& scratch, const Report& done, const Options& options)
{
    const Sound out(scratch.out);
    check(out.info.frames == done.frames_out && out.info.samplerate == 16000);
    const std::int64_t promised = Recording(scratch.in, options).frames();
    const std::int64_t bytes = 2 * done.stream.channels * outputs_of(promised, done.stream);
    check(((out.info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_RF64) == (bytes > 1000));
    SF_INFO info{};
    const SoundFile file(sf_open(scratch.in.c_str(), SFM_READ, &info), sf_close);
    if ((info.format & SF_FORMAT_SUBMASK) != SF_FORMAT_PCM_16 || info.frames != done.frames_in ||
        done.engine == Engine::kDevice)
        return;
    const Sound in(scratch.in);
    const rsmpl_engine engine = done.engine == Engine::kFir ? RSMPL_ENGINE_FIR : RSMPL_ENGINE_AUTO;
    rsmpl_stream* stream = nullptr;
    check(rsmpl_stream_open(&stream, done.stream.channels, in.info.samplerate, 16000, engine,
                            RSMPL_STREAM_ALIGNED) == RSMPL_STREAM_OK);
    std::vector<short> wanted(out.samples.size());
    const std::size_t first = rsmpl_stream_run_short(
        stream, in.samples.data(), static_cast<std::size_t>(in.info.frames), wanted.data());
    rsmpl_stream_finish_short(stream,
                              &wanted[first * static_cast<std::size_t>(done.stream.channels)]);
    check(wanted == out.samples);
    check(std::accumulate(done.clipped.begin(), done.clipped.end(), std::int64_t{0}) ==
          static_cast<std::int64_t>(rsmpl_stream_clipped(stream)));
    rsmpl_stream_close(stream);
}

void check_counts(const Report& done)
{
    check(done.stream.channels >= 1 && done.stream.channels <= 16 && done.frames_in >= 1);
    check(done.frames_out == outputs_of(done.frames_in, done.stream));
    check(done.wrapped >= 0 && (done.wrapped == 0 || done.turn_down_db > 0));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Scratch scratch;
    static Progress silent(false);
    std::ofstream(scratch.in, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    fs::remove(scratch.out);
    Options options;
    options.engine = size % 4 == 3 ? Engine::kDevice : size % 4 == 2 ? Engine::kFir : Engine::kAuto;
    options.allow_truncated = size % 8 < 4;
    bool converted = false;
    try {
        const Report done = convert({scratch.in, scratch.out}, options, silent, 1);
        converted = true;
        check_counts(done);
        check_samples(scratch, done, options);
    } catch (const FileError& refused) {
        check(std::string(refused.what()).rfind(scratch.in.string() + ": ", 0) == 0);
    }
    const auto files = std::distance(fs::directory_iterator(scratch.folder), {});
    check(files == (converted ? 2 : 1));
    return 0;
}
