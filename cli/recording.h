#ifndef RSMPL_CLI_RECORDING_H
#define RSMPL_CLI_RECORDING_H

#include <memory>
#include <sndfile.h>
#include <string>
#include <vector>

using SoundFile = std::unique_ptr<SNDFILE, int (*)(SNDFILE*)>;

// An audio file of 1 to 16 channels at 48 kHz, read as 16-bit samples.  Throws FileError.
class Recording
{
public:
    static constexpr int kRate = 48000;
    static constexpr int kMaxChannels = 16;

    explicit Recording(const std::string& path);

    int channels() const { return info_.channels; }

    // The largest sample so far where the file holds other than 16-bit samples, full scale
    // being 1; what is beyond 1 has been clipped.
    float peak() const { return peak_; }

    // Reads up to `frames` frames, interleaved; fewer only at the end of the file.
    int read(short* samples, int frames);

private:
    sf_count_t read_quantised(short* samples, int frames);

    std::string path_;
    SF_INFO info_{};
    SoundFile file_;
    SoundFile quantiser_; // null when the file is 16-bit
    std::vector<float> floats_;
    float peak_ = 0;
};

#endif
