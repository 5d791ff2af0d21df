#include "api/resample_api.h"
#include "tests/stages.h"

#include <gtest/gtest.h>
#include <thread>

namespace
{

std::vector<short> convert_stream(int blocks)
{
    constexpr int kBlock = 960;
    const std::vector<float> floats = noise(kBlock);
    const std::vector<short> in(floats.begin(), floats.end());
    std::vector<short> out;
    resample_handle* handle = resample_init(1, 48000, 16000, kBlock);
    for (int i = 0; i < blocks; ++i) {
        short block[kBlock / 3];
        EXPECT_EQ(resample_process(handle, in.data(), block, kBlock), 0);
        out.insert(out.end(), std::begin(block), std::end(block));
    }
    resample_exit(handle);
    return out;
}

// Opening a handle rewrites the tables that others filter with; a thread sanitizer watches.
TEST(Threads, HandlesOpenAndCloseWhileOthersConvert)
{
    const std::vector<short> alone = convert_stream(50);
    std::thread opener([] {
        for (int i = 0; i < 200; ++i)
            resample_exit(resample_init(2, 48000, 16000, 960));
    });
    std::vector<short> beside[2];
    std::thread converter([&] { beside[0] = convert_stream(50); });
    beside[1] = convert_stream(50);
    opener.join();
    converter.join();
    EXPECT_EQ(beside[0], alone);
    EXPECT_EQ(beside[1], alone);
}

} // namespace
