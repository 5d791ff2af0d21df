// An hour of 48 kHz audio in 16 channels as fast as it goes, and a hundred thousand handles.
#include "api/resample_api.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "tests/common.h"

#include <gtest/gtest.h>
#include <malloc.h>

namespace
{

constexpr int kPiece = 9600;

std::size_t bytes_in_use()
{
    const auto heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

void open_and_close(int handles)
{
    std::minstd_rand draw;
    for (int i = 0; i < handles; ++i)
        resample_exit(resample_init(static_cast<int>(draw() % 17), 48000, 16000,
                                    static_cast<int>(draw() % 4000)));
}

// Contexts in blocks of random length, a handle in its own, and the model in one stream.
TEST(Load, AnHourInBlocksIsOneStreamInConstantMemory)
{
    static float in[kPiece], out[16 * kPiece / 3], contexts[16][9];
    static short pcm[16 * kPiece], narrow[16 * kPiece / 3];
    open_and_close(10000);
    resample_handle* handle = resample_init(16, 48000, 16000, kPiece);
    std::vector<Model> models(16, Model{kStages[2].table});
    std::minstd_rand draw;
    std::uint32_t sample = 1;
    double largest = 0, largest_cut = 0;
    const std::size_t bytes = bytes_in_use();
    for (int piece = 0; piece < 3600 * 48000 / kPiece; ++piece) {
        for (int c = 0; c < 16; ++c) {
            float* const filtered = out + c * kPiece / 3;
            Model& model = models[static_cast<std::size_t>(c)];
            for (int i = 0; i < kPiece; ++i) {
                sample = 1664525 * sample + 1013904223;
                in[i] = pcm[c * kPiece + i] =
                    static_cast<short>((sample >> 18U) - 8192U); // never wraps
            }
            for (int start = 0, len; start < kPiece; start += len) {
                len = 18 + 6 * static_cast<int>(draw() % 500);
                len = start + len + 18 > kPiece ? kPiece - start : len;
                EXPECT_EQ(RSMPL_Down(contexts[c], in + start, filtered + start / 3, len, 2), 0U);
            }
            for (int i = 0; i < kPiece; ++i) {
                const double expected = model.table[0] * model.step(in[i]);
                if (i % 3 == 0)
                    largest = std::max(largest, std::abs(filtered[i / 3] - expected));
            }
        }
        EXPECT_EQ(resample_process(handle, pcm, narrow, 16 * kPiece), 0);
        for (int i = 0; i < 16 * kPiece / 3; ++i)
            largest_cut = std::max<double>(largest_cut, std::abs(narrow[i] - out[i]));
    }
    open_and_close(100000);
    EXPECT_EQ(bytes_in_use(), bytes) << "with glibc.malloc.tcache_count=0";
    EXPECT_LE(largest, 1.0 / 512) << "the last bit of a float at full scale";
    EXPECT_LT(largest_cut, 1.001) << "what cuts off the fraction";
    std::printf("largest difference: %.2g of full scale, %.2g of a float's last bit there\n",
                largest / 32768, 512 * largest);
    resample_exit(handle);
}

} // namespace
