/* Resample_SparseLine_internal.h - a delay line at L times the rate of its inputs, zeros between.
 *
 * The zeros are there when a call begins and when it ends; within one only inputs are taken out of
 * the line and put in. */
#ifndef RSMPL_RESAMPLE_SPARSELINE_INTERNAL_H
#define RSMPL_RESAMPLE_SPARSELINE_INTERNAL_H

#include "fir/Resample_DelayLine_internal.h"

#include <algorithm>
#include <cstdint>

namespace rsmpl
{

// The inputs of a call and, with negative numbers, those before it, in a line of at least L ticks.
class Source
{
public:
    // At tick 0 the line holds what came before.
    // cppcheck-suppress uninitMemberVar ; the rest is written before it is read
    Source(const float* in, std::uint64_t inputs, DelayLine& line, std::uint64_t L,
           std::uint64_t rows)
        : in_(in), end_(static_cast<std::int64_t>(inputs)), line_(line),
          L_(static_cast<std::int64_t>(L)), kept_(static_cast<std::int64_t>(std::min(rows, kKept)))
    {
        stand(0);
    }

    // Has the last `rows` inputs before the tick at hand.
    void keep()
    {
        oldest_ = recent_ - kept_;
        recall(oldest_, recent_, past_);
    }

    float sample(std::int64_t i) const { return i < recent_ ? line_.values[place(i)] : in_[i]; }

    // Whether `count` inputs, from `first` on and up to from `last` on, are of the call.
    bool holds(std::int64_t first, std::int64_t last, std::uint64_t count) const
    {
        return first >= recent_ && last + static_cast<std::int64_t>(count) <= end_;
    }

    // Inputs [first, first + count): where they lie side by side, or copied to `scratch`.  Beyond
    // the last one there are zeros.
    const float* view(std::int64_t first, std::uint64_t count, float* scratch) const
    {
        if (holds(first, first, count))
            return in_ + first;
        const std::int64_t end = first + static_cast<std::int64_t>(count);
        if (first >= oldest_ && end <= recent_)
            return past_ + (first - oldest_);
        const std::int64_t old = std::clamp(oldest_, first, end);
        const std::int64_t recent = std::clamp(recent_, first, end);
        const std::int64_t last = std::clamp(end_, recent, end);
        recall(first, old, scratch);
        if (old < recent)
            std::copy_n(past_ + (old - oldest_), recent - old, scratch + (old - first));
        if (recent < last)
            std::copy_n(in_ + recent, last - recent, scratch + (recent - first));
        std::fill_n(scratch + (last - first), end - last, 0.0F);
        return scratch;
    }

    // Moves the line on to `tick`.
    void advance(std::int64_t tick)
    {
        const auto size = static_cast<std::int64_t>(line_.size);
        if (size % L_ != 0) // otherwise inputs take each other's places
            for_places(input_at(tick_ - size), input_at(std::min(tick_, tick - size)),
                       [](float& place, std::int64_t /*i*/) { place = 0; });
        for_places(input_at(std::max(tick_, tick - size)), input_at(tick),
                   [this](float& place, std::int64_t i) { place = in_[i]; });
        line_.index = (line_.index + static_cast<std::uint64_t>(tick - tick_)) % line_.size;
        stand(tick);
    }

private:
    static constexpr std::uint64_t kKept = 448;

    void stand(std::int64_t tick)
    {
        tick_ = tick;
        oldest_ = recent_ = input_at(tick);
    }

    // The first one that is not before `tick`.
    std::int64_t input_at(std::int64_t tick) const { return tick / L_ + (tick % L_ > 0 ? 1 : 0); }

    // Where in the line input i is, or will be.
    std::int64_t place(std::int64_t i) const
    {
        const auto size = static_cast<std::int64_t>(line_.size);
        const auto index = static_cast<std::int64_t>(line_.index);
        return (index + size + (i * L_ - tick_) % size) % size;
    }

    // use(value, i) for the places of inputs [first, end) in the line.
    template <typename Use>
    void for_places(std::int64_t first, std::int64_t end, Use use) const
    {
        const auto size = static_cast<std::int64_t>(line_.size);
        for (std::int64_t next; first < end; first = next) {
            const std::int64_t from = place(first);
            next = std::min(end, first + (size - from + L_ - 1) / L_);
            float* at = line_.values + from;
            for (std::int64_t i = first; i < next; ++i)
                use(at[(i - first) * L_], i);
        }
    }

    void recall(std::int64_t first, std::int64_t end, float* to) const
    {
        for_places(first, end, [=](float value, std::int64_t i) { to[i - first] = value; });
    }

    const float* in_;
    std::int64_t end_;
    DelayLine& line_;
    std::int64_t L_, kept_, tick_ = 0;
    std::int64_t recent_ = 0, oldest_ = 0; // the first input in in_, in past_
    float past_[kKept];                    // what is most asked for of the line
};

} // namespace rsmpl

#endif
