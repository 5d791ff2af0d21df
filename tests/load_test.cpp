// An hour of 48 kHz audio in 16 channels as fast as it goes, and a hundred thousand handles.
#include "api/resample_api.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "tests/common.h"

#include <fstream>
#include <gtest/gtest.h>
#include <malloc.h>

namespace
{

constexpr int kPiece = 9600;

// Without those of files, which come and go, and those that the heap has in reserve.
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

TEST(Load, AnHourInBlocksIsOneStreamInConstantMemory)
{
    static float in[kPiece], out[kPiece / 3], contexts[16][9];
    open_and_close(10000);
    std::vector<Model> models(16, Model{kStages[2].table});
    std::minstd_rand draw;
    std::uint32_t sample = 1;
    double largest = 0;
    long pages = 0;
    const std::size_t bytes = mallinfo2().uordblks;
    for (int piece = 0; piece < 3600 * 48000 / kPiece; ++piece) {
        for (std::size_t c = 0; c < 16; ++c) {
            for (float& value : in) {
                sample = 1664525 * sample + 1013904223;
                value = static_cast<short>(sample >> 16U) * 0.25F;
            }
            for (int start = 0, len; start < kPiece; start += len) {
                len = 18 + 6 * static_cast<int>(draw() % 500);
                len = start + len + 18 > kPiece ? kPiece - start : len;
                EXPECT_EQ(RSMPL_Down(contexts[c], in + start, out + start / 3, len, 2), 0U);
            }
            for (int i = 0; i < kPiece; ++i) {
                const double expected = models[c].table[0] * models[c].step(in[i]);
                if (i % 3 == 0)
                    largest = std::max(largest, std::abs(out[i / 3] - expected));
            }
        }
        if (piece == 60 * 48000 / kPiece)
            pages = pages_in_use();
    }
    open_and_close(100000);
    EXPECT_EQ(mallinfo2().uordblks, bytes) << "with glibc.malloc.tcache_count=0";
    EXPECT_LE(pages_in_use(), pages + 4) << "its own buffer lies across one page more or less";
    EXPECT_LE(largest, 1.0 / 512) << "the last bit of a float at full scale";
    std::printf("largest difference: %.2g of full scale, %.2g of a float's last bit there\n",
                largest / 32768, 512 * largest);
}

} // namespace
