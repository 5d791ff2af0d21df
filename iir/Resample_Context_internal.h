#ifndef RSMPL_RESAMPLE_CONTEXT_INTERNAL_H
#define RSMPL_RESAMPLE_CONTEXT_INTERNAL_H

#include <algorithm>

namespace rsmpl
{

// The fixed-ratio context: a reserved word, then (p, q) of four sections.
inline constexpr int kContextWords = 9;

inline void clear_context(float* ctx)
{
    std::fill_n(ctx, kContextWords, 0.0F);
}

} // namespace rsmpl

#endif
