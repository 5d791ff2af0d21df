#ifndef RSMPL_CLI_FAMILIES_H
#define RSMPL_CLI_FAMILIES_H

#include <cstddef>
#include <cstdint>
#include <vector>

// A part of the library, what it makes of known signals as a checksum, and what that has to be.
struct Family {
    const char* name;
    std::uint32_t (*run)();
    std::uint32_t known;
};

const std::vector<Family>& families();

// FNV-1a of 32 bits.
class Checksum
{
public:
    template <typename T>
    Checksum& add(const std::vector<T>& values)
    {
        const auto* bytes = reinterpret_cast<const unsigned char*>(values.data());
        for (std::size_t i = 0; i < values.size() * sizeof(T); ++i)
            sum_ = (sum_ ^ bytes[i]) * 16777619U;
        return *this;
    }

    // Rounded to steps of 2^sf.
    Checksum& add_rounded(const float* values, std::size_t count, int sf = 0);
    Checksum& add_rounded(const std::vector<float>& values, int sf = 0);

    std::uint32_t sum() const { return sum_; }

private:
    std::uint32_t sum_ = 2166136261U;
};

// Integers from -2^(bits - 1) to below 2^(bits - 1), the same everywhere.
std::vector<short> noise(std::size_t count, int bits);

// The same times 2^-sf.
std::vector<float> float_noise(std::size_t count, int bits, int sf = 0);

#endif
