#include "cli/recording.h"

#include "cli/file_error.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <filesystem>
#include <sys/mman.h>
#include <unistd.h>

namespace
{

void check_readable(const std::string& path)
{
    std::error_code ignored;
    if (access(path.c_str(), R_OK) != 0)
        throw FileError(path, errno);
    if (std::filesystem::is_directory(path, ignored))
        throw FileError(path, EISDIR);
    if (std::filesystem::is_regular_file(path, ignored) &&
        std::filesystem::file_size(path, ignored) == 0)
        throw FileError(path, "the file is empty");
}

// libsndfile scales float files to 16 bits only by their own peak, so samples take a detour:
// written as floats into a 16-bit file in memory, with clipping on, and read back as shorts.
SoundFile open_quantiser(const std::string& path, int channels)
{
    SF_INFO info{};
    info.channels = channels;
    info.samplerate = Recording::kRate;
    info.format = SF_FORMAT_RAW | SF_FORMAT_PCM_16;
    const int memory = memfd_create("rsmpl", MFD_CLOEXEC);
    SoundFile quantiser(memory < 0 ? nullptr : sf_open_fd(memory, SFM_RDWR, &info, SF_TRUE),
                        sf_close);
    if (!quantiser)
        throw FileError(path, "no memory for the conversion to 16 bits");
    sf_command(quantiser.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
    return quantiser;
}

} // namespace

Recording::Recording(const std::string& path)
    : path_(path), file_(nullptr, sf_close), quantiser_(nullptr, sf_close)
{
    check_readable(path);
    const std::string name = path == "-" ? "./-" : path; // which libsndfile takes for a pipe
    file_.reset(sf_open(name.c_str(), SFM_READ, &info_));
    if (!file_)
        throw FileError(path, std::string("not a readable audio file: ") + sf_strerror(nullptr));
    if (info_.samplerate != kRate)
        throw FileError(path, "the sample rate is " + std::to_string(info_.samplerate) +
                                  " Hz; only 48000 Hz is accepted");
    if (info_.channels < 1 || info_.channels > kMaxChannels)
        throw FileError(path, "there are " + std::to_string(info_.channels) +
                                  " channels; 1 to 16 are accepted");
    if ((info_.format & SF_FORMAT_SUBMASK) != SF_FORMAT_PCM_16)
        quantiser_ = open_quantiser(path, info_.channels);
}

int Recording::read(short* samples, int frames)
{
    const sf_count_t count =
        quantiser_ ? read_quantised(samples, frames) : sf_readf_short(file_.get(), samples, frames);
    if (count < frames && sf_error(file_.get()) != SF_ERR_NO_ERROR)
        throw FileError(path_, sf_strerror(file_.get()));
    return static_cast<int>(count);
}

sf_count_t Recording::read_quantised(short* samples, int frames)
{
    floats_.resize(static_cast<std::size_t>(frames) * static_cast<std::size_t>(channels()));
    const sf_count_t count = sf_readf_float(file_.get(), floats_.data(), frames);
    for (sf_count_t i = 0; i < count * channels(); ++i)
        peak_ = std::max(peak_, std::fabs(floats_[static_cast<std::size_t>(i)]));
    SNDFILE* quantiser = quantiser_.get();
    sf_seek(quantiser, 0, SEEK_SET | SFM_WRITE);
    sf_seek(quantiser, 0, SEEK_SET | SFM_READ);
    if (sf_writef_float(quantiser, floats_.data(), count) != count ||
        sf_readf_short(quantiser, samples, count) != count)
        throw FileError(path_, "no memory for the conversion to 16 bits");
    return count;
}
