#include "cli/tags.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

namespace
{

// round(time up / down), up and down being at most 1024; the most that fits when it does not.
std::uint64_t rescaled(std::uint64_t time, int up, int down, std::uint64_t most)
{
    const auto l = static_cast<std::uint64_t>(up), m = static_cast<std::uint64_t>(down);
    const std::uint64_t whole = time / m, part = (time % m * l + m / 2) / m;
    return whole > (most - part) / l ? most : whole * l + part;
}

void copy_texts(SNDFILE* from, SNDFILE* to)
{
    for (int type = SF_STR_FIRST; type <= SF_STR_LAST; ++type)
        if (const char* text = sf_get_string(from, type))
            sf_set_string(to, type, text);
}

void copy_broadcast(SNDFILE* from, SNDFILE* to, int up, int down)
{
    using Extension = SF_BROADCAST_INFO_VAR(16000); // of history, of which 16384 are too many
    const auto extension = std::make_unique<Extension>();
    if (sf_command(from, SFC_GET_BROADCAST_INFO, extension.get(), sizeof *extension) != SF_TRUE)
        return;
    const std::uint64_t time =
        std::uint64_t{extension->time_reference_high} << 32U | extension->time_reference_low;
    const std::uint64_t there = rescaled(time, up, down, UINT64_MAX);
    extension->time_reference_low = static_cast<std::uint32_t>(there);
    extension->time_reference_high = static_cast<std::uint32_t>(there >> 32U);
    sf_command(to, SFC_SET_BROADCAST_INFO, extension.get(), sizeof *extension);
}

void copy_marks(SNDFILE* from, SNDFILE* to, int up, int down)
{
    std::uint32_t count = 0;
    if (sf_command(from, SFC_GET_CUE_COUNT, &count, sizeof count) != SF_TRUE || count == 0)
        return;
    // A count, and as many marks behind it, but at least what the type has.
    std::vector<SF_CUE_POINT> memory(std::max(count, 100U) + 1);
    auto* cues = reinterpret_cast<SF_CUES*>(memory.data());
    const auto bytes =
        static_cast<int>(offsetof(SF_CUES, cue_points) + count * sizeof(SF_CUE_POINT));
    if (sf_command(from, SFC_GET_CUE, cues, bytes) != SF_TRUE)
        return;
    SF_CUE_POINT* points = cues->cue_points;
    std::for_each_n(points, std::min(count, cues->cue_count), [up, down](SF_CUE_POINT& point) {
        point.position = static_cast<std::uint32_t>(rescaled(point.position, up, down, UINT32_MAX));
        point.sample_offset =
            static_cast<std::uint32_t>(rescaled(point.sample_offset, up, down, UINT32_MAX));
    });
    sf_command(to, SFC_SET_CUE, cues, bytes);
}

} // namespace

void copy_tags(SNDFILE* from, SNDFILE* to, int up, int down)
{
    copy_texts(from, to);
    copy_broadcast(from, to, up, down);
    copy_marks(from, to, up, down);
}
