#include "cli/header.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sndfile.h>
#include <string>
#include <unistd.h>

namespace
{

// Chunks: an identifier, the size of what follows, and that.
struct Container {
    const char* magic;
    const char* kind;
    int first_chunk; // where it starts
    int id_bytes;
    int size_bytes;
    int counted;  // bytes of the chunk's own head that its size includes
    int multiple; // of which chunks are long
    bool big_endian;
    const char* audio; // the chunk with samples
};

constexpr Container kContainers[] = {{"RIFF", "WAV", 12, 4, 4, 0, 2, false, "data"},
                                     {"RIFX", "WAV", 12, 4, 4, 0, 2, true, "data"},
                                     {"RF64", "WAV", 12, 4, 4, 0, 2, false, "data"},
                                     {"FORM", "AIFF", 12, 4, 4, 0, 2, true, "SSND"},
                                     {"riff", "W64", 40, 16, 8, 24, 8, false, "data"},
                                     {"caff", "CAF", 8, 4, 8, 0, 1, true, "data"}};

// A file or a pipe from its beginning on.
class Bytes
{
public:
    explicit Bytes(int descriptor) : descriptor_(descriptor) {}

    bool read(unsigned char* to, std::size_t count)
    {
        while (count > 0) {
            const ssize_t got = ::read(descriptor_, to, count);
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                return false;
            to += got;
            at += got;
            count -= static_cast<std::size_t>(got);
        }
        return true;
    }

    bool skip(std::int64_t count)
    {
        if (lseek(descriptor_, count, SEEK_CUR) >= 0) {
            at += count;
            return true;
        }
        unsigned char scrap[4096];
        for (; count > 0; count -= std::min<std::int64_t>(count, sizeof scrap))
            if (!read(scrap, std::min(static_cast<std::size_t>(count), sizeof scrap)))
                return false;
        return true;
    }

    std::int64_t at = 0;

private:
    int descriptor_;
};

// At most 2^60, or -1 for 64 bits that are all set.
std::int64_t number(const unsigned char* bytes, int count, bool big_endian)
{
    std::uint64_t value = 0;
    for (int i = 0; i < count; ++i)
        value = value << 8U | bytes[big_endian ? i : count - 1 - i];
    constexpr std::uint64_t kMost = std::uint64_t{1} << 60U;
    return value == UINT64_MAX ? -1 : static_cast<std::int64_t>(std::min(value, kMost));
}

bool is(const unsigned char* bytes, const char* magic)
{
    return std::memcmp(bytes, magic, 4) == 0;
}

// What writers to pipes put where the length will be, less what they count with it.
bool is_placeholder(std::int64_t bytes)
{
    constexpr std::int64_t kMost[] = {0x7F000000, 0x7FFFF000, 0x80000000, 0xFFFFFFFF};
    return std::any_of(std::begin(kMost), std::end(kMost), [bytes](std::int64_t most) {
        return bytes >= most - 256 && bytes <= most + 16;
    });
}

// The subformat of SF_FORMAT_RAW, or 0.
int coding(int tag, int bits)
{
    const int pcm[] = {SF_FORMAT_PCM_U8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_PCM_32};
    if (tag == 1 && bits % 8 == 0 && bits >= 8 && bits <= 32)
        return pcm[bits / 8 - 1];
    if (tag == 3)
        return bits == 32 ? SF_FORMAT_FLOAT : bits == 64 ? SF_FORMAT_DOUBLE : 0;
    return bits != 8 ? 0 : tag == 6 ? SF_FORMAT_ALAW : tag == 7 ? SF_FORMAT_ULAW : 0;
}

// The first 40 bytes of a WAV file's format.
void take_format(const unsigned char* fmt, bool big_endian, Header& header)
{
    const auto field = [&](int at, int bytes) {
        return static_cast<int>(number(fmt + at, bytes, big_endian));
    };
    header.channels = field(2, 2);
    header.rate = number(fmt + 4, 4, big_endian);
    const int tag = field(0, 2) == 0xFFFE ? field(24, 2) : field(0, 2);
    const int block = field(12, 2);
    const int bytes = header.channels > 0 ? block / header.channels : 0;
    header.format = bytes * header.channels == block ? coding(tag, 8 * bytes) : 0;
    if (header.format != 0)
        header.format |= SF_FORMAT_RAW | (big_endian ? SF_ENDIAN_BIG : SF_ENDIAN_LITTLE);
}

// Sizes of 64 bits; of the data they are told before the format.
void take_sizes(const unsigned char* ds64, Header& header)
{
    header.whole_bytes = number(ds64, 8, false) + 8;
    header.audio_bytes = number(ds64 + 8, 8, false);
}

// Chunk by chunk to the samples.
std::optional<Header> walk(Bytes& bytes, const Container& container)
{
    Header header;
    header.kind = container.kind;
    const int head_bytes = container.id_bytes + container.size_bytes;
    for (unsigned char head[24] = {}; bytes.read(head, static_cast<std::size_t>(head_bytes));) {
        std::int64_t size =
            number(head + container.id_bytes, container.size_bytes, container.big_endian) -
            container.counted;
        if (is(head, container.audio)) {
            header.audio_at = bytes.at;
            const bool elsewhere = header.audio_bytes > 0 && size == 0xFFFFFFFF;
            header.placeholder = !elsewhere && is_placeholder(size);
            header.audio_bytes = elsewhere ? header.audio_bytes : size;
            return header;
        }
        if (size < 0)
            break;
        size += (container.multiple - size % container.multiple) % container.multiple;
        unsigned char start[40] = {};
        const auto kept = std::min<std::int64_t>(size, sizeof start);
        if (!bytes.read(start, static_cast<std::size_t>(kept)) || !bytes.skip(size - kept))
            break;
        if (is(head, "fmt ") && container.size_bytes == 4 && kept >= 16)
            take_format(start, container.big_endian, header);
        else if (is(head, "ds64") && kept >= 16)
            take_sizes(start, header);
    }
    return {};
}

// ".snd", where the samples start, how many bytes they are, coding, rate, channels.
std::optional<Header> read_au(Bytes& bytes)
{
    const int codings[] = {0,
                           SF_FORMAT_ULAW,
                           SF_FORMAT_PCM_S8,
                           SF_FORMAT_PCM_16,
                           SF_FORMAT_PCM_24,
                           SF_FORMAT_PCM_32,
                           SF_FORMAT_FLOAT,
                           SF_FORMAT_DOUBLE};
    unsigned char head[20] = {};
    if (!bytes.read(head, sizeof head))
        return {};
    Header header;
    header.kind = "AU";
    header.audio_at = number(head, 4, true);
    header.audio_bytes = number(head + 4, 4, true);
    header.placeholder = is_placeholder(header.audio_bytes);
    const std::int64_t encoding = number(head + 8, 4, true);
    header.format = encoding == 27                  ? SF_FORMAT_ALAW
                    : encoding >= 0 && encoding < 8 ? codings[encoding]
                                                    : 0;
    if (header.format != 0)
        header.format |= SF_FORMAT_RAW | SF_ENDIAN_BIG;
    header.rate = number(head + 12, 4, true);
    header.channels =
        static_cast<int>(std::min<std::int64_t>(number(head + 16, 4, true), INT32_MAX));
    if (header.audio_at < bytes.at || !bytes.skip(header.audio_at - bytes.at))
        return {};
    return header;
}

} // namespace

std::optional<Header> read_header(int descriptor)
{
    Bytes bytes(descriptor);
    unsigned char magic[4] = {};
    if (!bytes.read(magic, sizeof magic))
        return {};
    if (is(magic, ".snd"))
        return read_au(bytes);
    if (is(magic, "fLaC") || is(magic, "OggS")) {
        Header header; // of which no more is asked
        header.kind = is(magic, "fLaC") ? "FLAC" : "Ogg";
        return header;
    }
    for (const Container& container : kContainers) {
        if (!is(magic, container.magic))
            continue;
        unsigned char rest[40] = {};
        if (!bytes.read(rest, static_cast<std::size_t>(container.first_chunk) - sizeof magic))
            return {};
        std::optional<Header> header = walk(bytes, container);
        if (header && header->whole_bytes < 0 && container.id_bytes == 4 && container.multiple == 2)
            header->whole_bytes = number(rest, 4, container.big_endian) + 8;
        return header;
    }
    return {};
}
