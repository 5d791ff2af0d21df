#ifndef RSMPL_CLI_RECORDING_H
#define RSMPL_CLI_RECORDING_H

#include "cli/header.h"
#include "cli/options.h"
#include "cli/pipe.h"
#include "cli/sound_file.h"

#include <memory>
#include <string>

// An audio file of 1 to 16 channels, or a pipe, read as floats.  Throws FileError.
class Recording
{
public:
    static constexpr int kMaxChannels = 16;
    static constexpr float kFullScale = 32768;

    // `name` is a file, or "-" for standard input.
    Recording(const std::string& name, const Options& options);

    // As messages call it.
    const std::string& name() const { return name_; }

    int channels() const { return channels_; }

    int rate() const { return rate_; }

    // As the header has it; -1 when it does not know.
    std::int64_t frames() const { return frames_; }

    // What comes as it goes; it can be read only once.
    bool is_live() const { return is_live_; }

    // For what a file holds beside samples; null for a pipe, or a file like one.
    SNDFILE* file() const { return file_.get(); }

    // Samples are multiplied by it; 1 before.
    void set_gain(double gain) { gain_ = static_cast<float>(gain); }

    // Reads up to `frames` frames, interleaved, in steps of 16-bit samples; 0 at the end.  What is
    // not finite, or beyond all reason, is silence.
    std::size_t read(float* samples, std::size_t frames);

    // The largest sample so far, in those steps.
    float peak() const { return peak_; }

    // Samples that have been taken as silence.
    std::int64_t not_finite() const { return not_finite_; }

    // How the file ends before its header says, or nothing; known at the end.
    const std::string& truncation() const { return truncation_; }

private:
    // Closed in the end.
    struct Descriptor {
        explicit Descriptor(int opened) : value(opened) {}
        ~Descriptor();
        Descriptor(const Descriptor&) = delete;
        Descriptor& operator=(const Descriptor&) = delete;

        const int value;
    };

    // A file that ends too early, for libsndfile as long as its header says.
    struct Longer;

    void check_length(const Header& header, std::int64_t file_bytes);
    void open_file(const Options& options, bool longer);
    void open_pipe(const Header* header, const Options& options);
    void check_shape(std::int64_t rate, int channels) const;
    void found_truncated(const std::string& how);
    void end();
    void scale(float* samples, std::size_t count);

    bool standard_input_;
    std::string name_;
    bool allow_truncated_;
    Descriptor descriptor_;
    int channels_ = 0, rate_ = 0;
    std::int64_t frames_ = -1, read_ = 0, not_finite_ = 0;
    std::int64_t audio_end_ = 0; // in bytes, as the header has it
    bool estimated_ = false;     // frames_
    bool is_live_ = false;
    float gain_ = 1, peak_ = 0;
    std::string truncation_;
    SoundFile file_{nullptr, sf_close};
    std::unique_ptr<Pipe> pipe_;
};

#endif
