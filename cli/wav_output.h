#ifndef RSMPL_CLI_WAV_OUTPUT_H
#define RSMPL_CLI_WAV_OUTPUT_H

#include "cli/recording.h"

#include <cstdint>
#include <string>

// A 16-bit WAV file that appears, or replaces an older one, only when it is complete.  Written
// beside its place and renamed by commit(); without commit(), or when a signal ends the
// process, nothing is left and an older file stays as it was.  The new file has the mode of the
// old one.  A device is written directly.  One object at a time.  Throws FileError.
class WavOutput
{
public:
    WavOutput(const std::string& path, int channels, int rate);
    ~WavOutput();
    WavOutput(const WavOutput&) = delete;
    WavOutput& operator=(const WavOutput&) = delete;

    void write(const short* samples, int frames);
    void commit();

private:
    std::string path_;   // as the user named it
    std::string target_; // with links resolved
    bool beside_;        // written beside target_ until commit()
    int channels_;
    std::int64_t bytes_ = 0;
    SoundFile file_;
};

#endif
