// An hour of 48 kHz audio in 16 channels as fast as it goes, and a hundred
// thousand handles.
#include "api/resample_api.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "tests/common.h"

#include <fstream>
#include <gtest/gtest.h>
#include <malloc.h>

namespace
{

constexpr int kChannels = 16, kBlock = 960, kBlocks = 10, kPiece = kBlocks * kBlock;

// Without those of files, which come and go, and those that the heap has in
// reserve.
long pages_in_use()
{
    malloc_trim(0);
    long size = 0, resident = 0, of_files = 0;
    std::ifstream("/proc/self/statm") >> size >> resident >> of_files;
    return resident - of_files;
}

void open_and_close(int handles)
{
    std::minstd_rand draw;
    for (int i = 0; i < handles; ++i)
        resample_exit(resample_init(static_cast<int>(draw() % 17), 48000, 16000,
                                    static_cast<int>(draw() % 4000)));
}

TEST(Load, HoursOfBlocksAreOneStreamInConstantMemory)
{
    static float in[kPiece], out[kPiece / 3], ctx[kChannels][9];
    static short pcm[kBlocks][kChannels * kBlock], narrow[kChannels * kBlock / 3];
    static int whole[kBlocks][kChannels * kBlock / 3]; // the model's, truncated
    open_and_close(10000);
    resample_handle* handle = resample_init(kChannels, 48000, 16000, kBlock);
    std::vector<Model> models(kChannels, Model(kStages[2]));
    std::minstd_rand draw;
    std::uint32_t sample = 1;
    double largest = 0;
    int largest_step = 0;
    long pages = 0;
    const std::size_t bytes = mallinfo2().uordblks;
    for (int piece = 0; piece < 3600 * 48000 / kPiece; ++piece) {
        for (int c = 0; c < kChannels; ++c) {
            for (int i = 0; i < kPiece; ++i) {
                sample = 1664525 * sample + 1013904223;
                in[i] = pcm[i / kBlock][c * kBlock + i % kBlock] =
                    static_cast<short>((sample >> 18U) - 8192U); // never wraps
            }
            for (int start = 0, len; start < kPiece; start += len) {
                len = 18 + 6 * static_cast<int>(draw() % 500);
                len = start + len + 18 > kPiece ? kPiece - start : len;
                EXPECT_EQ(RSMPL_Down(ctx[c], in + start, out + start / 3, len, 2), 0U);
            }
            Model& model = models[static_cast<std::size_t>(c)];
            for (int i = 0; i < kPiece; ++i) {
                const double expected = model.table[0] * model.step(in[i]);
                if (i % 3 != 0) // not kept
                    continue;
                largest = std::max(largest, std::abs(out[i / 3] - expected));
                whole[i / kBlock][(c * kBlock + i % kBlock) / 3] = static_cast<int>(expected);
            }
        }
        for (int b = 0; b < kBlocks; ++b) {
            EXPECT_EQ(resample_process(handle, pcm[b], narrow, kChannels * kBlock), 0);
            for (int i = 0; i < kChannels * kBlock / 3; ++i)
                largest_step = std::max(largest_step, std::abs(narrow[i] - whole[b][i]));
        }
        if (piece == 60 * 48000 / kPiece)
            pages = pages_in_use();
    }
    open_and_close(100000);
    EXPECT_EQ(mallinfo2().uordblks, bytes) << "with glibc.malloc.tcache_count=0";
    EXPECT_LE(pages_in_use(), pages + 4) << "its own buffer lies across one page more or less";
    EXPECT_LE(largest, 1.0 / 512) << "the last bit of a float at full scale";
    EXPECT_LE(largest_step, 1);
    std::printf("largest difference: %.2g of full scale, %.2g of a float's last "
                "bit there, %d of 16 bits\n",
                largest / 32768, 512 * largest, largest_step);
    resample_exit(handle);
}

} // namespace
