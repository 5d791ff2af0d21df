// Comparison to the bit, except that all NaNs are alike.
#ifndef RSMPL_TESTS_BITS_H
#define RSMPL_TESTS_BITS_H

#include "spectral/Resample_Complex.h"

#include <cmath>
#include <cstring>

inline bool same(float a, float b)
{
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

inline bool operator==(DCOMPLEX a, DCOMPLEX b)
{
    return same(a.re, b.re) && same(a.im, b.im);
}

#endif
