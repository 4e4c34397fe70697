#ifndef FIGURES_H
#define FIGURES_H

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// The value below which part (0 to 1) of the samples lie.
inline double quantile(std::vector<double> samples, double part)
{
    std::sort(samples.begin(), samples.end());
    const double position = part * static_cast<double>(samples.size() - 1);
    const std::size_t below = static_cast<std::size_t>(position);
    const std::size_t above = std::min(below + 1, samples.size() - 1);
    return samples[below] + (position - static_cast<double>(below)) * (samples[above] - samples[below]);
}

inline double median(const std::vector<double>& samples)
{
    return quantile(samples, 0.5);
}

/// Ratio for each pair of samples, so that what slows the machine down for a while slows both.
inline std::vector<double> ratios(const std::vector<double>& samples, const std::vector<double>& against)
{
    std::vector<double> result;
    for (std::size_t i = 0; i < samples.size(); ++i)
        result.push_back(samples[i] / against[i]);
    return result;
}

/// Prints one figure as a line of JSON: the median of the samples and, as spread, the distance between their
/// quartiles. against names the peer of a ratio; empty if there is none.
inline void printFigure(const std::string& name, const std::vector<double>& samples, const char* unit,
                        const std::string& against = std::string())
{
    std::printf("{\"figure\": \"%s\", \"value\": %.6g, \"unit\": \"%s\", \"spread\": %.3g", name.c_str(),
                median(samples), unit, quantile(samples, 0.75) - quantile(samples, 0.25));
    if (!against.empty())
        std::printf(", \"against\": \"%s\"", against.c_str());
    std::printf(", \"samples\": %zu}\n", samples.size());
    std::fflush(stdout);
}

#endif
