#include "cli/rates.h"

#include "stream/rsmpl_stream.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

namespace
{

// "; " and the nearest conversion, with one of the rates changed by a fiftieth at most; nothing
// without one.
std::string advice(int in_rate, int out_rate)
{
    const int most = std::min({in_rate / 50, out_rate / 50, 4000,
                               std::numeric_limits<int>::max() - std::max(in_rate, out_rate)});
    for (int off = 1; off <= most; ++off)
        for (const auto& [in, out] :
             {std::pair(in_rate - off, out_rate), std::pair(in_rate + off, out_rate),
              std::pair(in_rate, out_rate - off), std::pair(in_rate, out_rate + off)})
            if (is_served(in, out))
                return "; " + conversion_name(in, out) + " would be served";
    return "";
}

} // namespace

std::string conversion_name(int in_rate, int out_rate)
{
    return std::to_string(in_rate) + " to " + std::to_string(out_rate) + " Hz";
}

bool is_served(int in_rate, int out_rate)
{
    const int divisor = std::gcd(in_rate, out_rate);
    return std::max(in_rate, out_rate) / divisor <= RSMPL_STREAM_MOST_RATIO;
}

std::string why_not_served(int in_rate, int out_rate)
{
    const int divisor = std::gcd(in_rate, out_rate);
    return conversion_name(in_rate, out_rate) + " is " + std::to_string(out_rate / divisor) + ":" +
           std::to_string(in_rate / divisor) + ", and neither number may exceed " +
           std::to_string(RSMPL_STREAM_MOST_RATIO) + advice(in_rate, out_rate);
}
