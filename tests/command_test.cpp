// Runs the command as a user would.
#include "api/resample_api.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sndfile.hh>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using Shorts = std::vector<short>;

class CommandTest : public testing::Test
{
protected:
    CommandTest()
    {
        char name[] = "/tmp/rsmpl-test-XXXXXX";
        fs::current_path(mkdtemp(name));
    }
    ~CommandTest() override { fs::remove_all(fs::current_path()); }

    // Exit status; what was printed is in out_ and err_.
    int run(const std::string& arguments, const std::string& before = "")
    {
        const std::string line = before + RSMPL_COMMAND " " + arguments + " >stdout 2>stderr";
        const int status = std::system(line.c_str());
        out_ = text_of("stdout");
        err_ = text_of("stderr");
        return WEXITSTATUS(status);
    }

    static std::string text_of(const std::string& path)
    {
        std::stringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

    template <typename T>
    static void write(const std::string& path, const std::vector<T>& samples, int channels,
                      int format, int rate = 48000)
    {
        SndfileHandle(path, SFM_WRITE, format, channels, rate)
            .write(samples.data(), static_cast<sf_count_t>(samples.size()));
    }

    static Shorts read(const std::string& path)
    {
        SndfileHandle file(path);
        EXPECT_EQ(file.samplerate(), 16000);
        EXPECT_EQ(file.format(), SF_FORMAT_WAV | SF_FORMAT_PCM_16);
        Shorts samples(static_cast<std::size_t>(file.frames() * file.channels()));
        file.read(samples.data(), static_cast<sf_count_t>(samples.size()));
        return samples;
    }

    static std::size_t files() // beside the captured output
    {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator("."), fs::directory_iterator()) - 2);
    }

    std::string out_, err_;
};

constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

// Frame i of channel c; below half of full scale.
template <typename T>
std::vector<T> tune(int frames, int channels, T full_scale)
{
    std::vector<T> samples;
    for (int i = 0; i < frames; ++i)
        for (int c = 0; c < channels; ++c)
            samples.push_back(
                static_cast<T>(full_scale / 64 * static_cast<T>(i * (c + 1) % 41 - 20)));
    return samples;
}

// What the public calls make of one channel of it, in a single block.
Shorts through_the_library(const Shorts& interleaved, int channel, int channels)
{
    Shorts in;
    for (std::size_t i = 0; i < interleaved.size(); i += static_cast<std::size_t>(channels))
        in.push_back(interleaved[i + static_cast<std::size_t>(channel)]);
    const std::size_t kept = (in.size() + 2) / 3;
    in.resize((in.size() + 5) / 6 * 6 + 18);
    Shorts out(in.size() / 3);
    const int len = static_cast<int>(in.size());
    resample_handle* handle = resample_init(1, 48000, 16000, len);
    resample_process(handle, in.data(), out.data(), len);
    resample_exit(handle);
    out.resize(kept);
    return out;
}

TEST_F(CommandTest, ConvertsEveryChannelAtEveryTailLength)
{
    for (const int frames : {1, 17, 960, 961, 1919, 5000})
        for (const int channels : {1, 3, 16}) {
            const Shorts in = tune<short>(frames, channels, 32767);
            write("in.wav", in, channels, kWav16);
            ASSERT_EQ(run("in.wav out.wav"), 0) << err_;
            const Shorts out = read("out.wav");
            ASSERT_EQ(static_cast<int>(out.size()), (frames + 2) / 3 * channels);
            for (int c = 0; c < channels; ++c) {
                const Shorts expected = through_the_library(in, c, channels);
                for (std::size_t j = 0; j < expected.size(); ++j)
                    ASSERT_NEAR(
                        out[j * static_cast<std::size_t>(channels) + static_cast<std::size_t>(c)],
                        expected[j], 1)
                        << frames << " frames, channel " << c << ", output " << j;
            }
            EXPECT_EQ(out_, "frames in " + std::to_string(frames) + " at 48000 Hz, frames out " +
                                std::to_string((frames + 2) / 3) + " at 16000 Hz, channels " +
                                std::to_string(channels) + ", samples wrapped around 0\n");
        }
    EXPECT_EQ(files(), 2U);
}

TEST_F(CommandTest, BringsOtherFormatsTo16BitsAndClips)
{
    std::vector<float> floats = tune<float>(3000, 1, 1.0F);
    Shorts shorts;
    for (std::size_t i = 0; i < 6; ++i)
        floats[1000 + i] = 3.5F; // clips to 32767 rather than wrapping or rescaling the rest
    for (const float value : floats)
        shorts.push_back(
            static_cast<short>(std::floor(std::clamp(value * 32768.0, -32768.0, 32767.0))));
    write("float.wav", floats, 1, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    write("16.wav", shorts, 1, kWav16);
    write("24.flac", shorts, 1, SF_FORMAT_FLAC | SF_FORMAT_PCM_24);
    ASSERT_EQ(run("16.wav expected.wav"), 0);
    for (const std::string other : {"float.wav", "24.flac"}) {
        ASSERT_EQ(run(other + " out.wav"), 0) << err_;
        EXPECT_EQ(read("out.wav"), read("expected.wav")) << other;
    }
}

TEST_F(CommandTest, CountsWhatWrapsAndSaysHowMuchQuieterIsSafe)
{
    Shorts square;
    for (int i = 0; i < 9600; ++i)
        square.push_back(i / 48 % 2 == 0 ? 32767 : -32767);
    write("in.wav", square, 1, kWav16);
    ASSERT_EQ(run("in.wav out.wav"), 0);
    const std::string mark = "wrapped around ";
    const char* count = out_.c_str() + out_.find(mark) + mark.size();
    EXPECT_GT(std::atoi(count), 100);
    double decibels = 0;
    ASSERT_EQ(std::sscanf(count, "%*d: turn the input down, %lf dB is safe", &decibels), 1) << out_;
    for (const double change : {0.0, 0.2}) {
        Shorts quieter;
        for (const short sample : square)
            quieter.push_back(static_cast<short>(sample * std::pow(10, (change - decibels) / 20)));
        write("in.wav", quieter, 1, kWav16);
        ASSERT_EQ(run("in.wav out.wav"), 0);
        EXPECT_EQ(out_.find("wrapped around 0\n") != std::string::npos, change == 0.0) << out_;
    }
}

TEST_F(CommandTest, SaysInOneLineWhatIsWrongAndLeavesNothingBehind)
{
    const Shorts one = tune<short>(960, 1, 32767);
    write("in.wav", tune<short>(9600, 1, 32767), 1, kWav16);
    write("44.wav", one, 1, kWav16, 44100);
    write("17.wav", tune<short>(10, 17, 32767), 17, kWav16);
    write("silent.wav", Shorts(), 1, kWav16);
    std::ofstream("empty.wav");
    std::ofstream("text.wav") << "this is not audio\n";
    fs::create_symlink("in.wav", "link.wav");
    std::ofstream("kept.wav") << "older";
    const std::size_t before = files() + 2; // the captures do not exist yet
    const struct {
        const char *arguments, *message;
        int status;
        const char* shell = "";
    } table[] = {
        {"no.wav o.wav", "rsmpl: no.wav: No such file", 1},
        {"text.wav o.wav", "rsmpl: text.wav: not a readable audio file", 1},
        {"empty.wav o.wav", "rsmpl: empty.wav: the file is empty", 1},
        {"silent.wav o.wav", "rsmpl: silent.wav: the file holds no audio", 1},
        {"44.wav o.wav", "44100 Hz; only 48000 Hz", 1},
        {"17.wav o.wav", "17 channels; 1 to 16", 1},
        {". o.wav", "rsmpl: .: Is a directory", 1},
        {"in.wav .", "rsmpl: .: Is a directory", 1},
        {"in.wav no/o.wav", "rsmpl: no/o.wav: No such file", 1},
        {"in.wav link.wav", "rsmpl: link.wav: output and input are the same file", 1},
        {"in.wav /dev/full", "rsmpl: /dev/full: ", 1},
        {"in.wav o.wav", "rsmpl: o.wav: ", 1, "ulimit -f 1; "},
        {"in.wav kept.wav", "rsmpl: kept.wav: ", 1, "ulimit -f 1; "},
        {"", "rsmpl: IN is required", 2},
        {"in.wav", "rsmpl: OUT is required", 2},
        {"in.wav o.wav third", "rsmpl: ", 2},
        {"--loud in.wav o.wav", "rsmpl: ", 2},
    };
    for (const auto& row : table) {
        EXPECT_EQ(run(row.arguments, row.shell), row.status) << row.arguments;
        EXPECT_NE(err_.find(row.message), std::string::npos) << row.arguments << ": " << err_;
        EXPECT_EQ(std::count(err_.begin(), err_.end(), '\n'), 1) << err_;
        EXPECT_EQ(out_, "");
        EXPECT_EQ(files(), before) << row.arguments;
    }
    EXPECT_EQ(text_of("kept.wav"), "older");
    EXPECT_EQ(run("--version"), 0);
    EXPECT_EQ(run("--help"), 0);
}

} // namespace
