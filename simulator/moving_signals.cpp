#include "moving_signals.h"

#include <cmath>
#include <cstring>

namespace slavesim {

namespace {

constexpr double FullScale = 10000;
constexpr double TwoPi = 6.283185307179586;

/// The position within a period, 0 to 1.
double phase(double seconds, double period)
{
    return std::fmod(seconds, period) / period;
}

/// Maps 0 to 1 onto the scale of the analogue signals.
std::uint32_t scaled(double fraction)
{
    return static_cast<std::uint32_t>(std::lround(fraction * FullScale));
}

/// seconds * perSecond in whole steps, modulo 2^32.
std::uint32_t steps(double seconds, double perSecond)
{
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(seconds * perSecond));
}

std::uint32_t sine(double seconds, double period)
{
    return scaled(0.5 + 0.5 * std::sin(TwoPi * phase(seconds, period)));
}

std::uint32_t triangle(double seconds)
{
    return scaled(1 - std::fabs(2 * phase(seconds, 20) - 1));
}

std::uint32_t firstHalf(double seconds, double period)
{
    return phase(seconds, period) < 0.5 ? 1 : 0;
}

std::uint32_t floatSine(double seconds)
{
    const float value = static_cast<float>(std::sin(TwoPi * phase(seconds, 20)));
    std::uint32_t bits = 0;
    static_assert(sizeof bits == sizeof value, "an IEEE 754 single fills a double word");
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

/// A pseudo-random number from 0 to 1.
double scattered(std::uint32_t position, std::uint32_t seed)
{
    std::uint32_t mixed = position * 0x9E3779B1u + seed * 0x85EBCA77u;
    mixed = (mixed ^ mixed >> 15) * 0x2C1B3C6Du;
    mixed = (mixed ^ mixed >> 12) * 0x297A2D39u;
    return (mixed ^ mixed >> 15) / 4294967296.0;
}

/// Random values one second apart, with smooth transitions.
double smoothNoise(double position, std::uint32_t seed)
{
    const std::uint32_t before = steps(position, 1);
    const double way = phase(position, 1);
    const double smoothWay = way * way * (3 - 2 * way);
    const double from = scattered(before, seed);
    return from + (scattered(before + 1, seed) - from) * smoothWay;
}

/// Looks like a random walk within limits but needs no history: slow noise with ever weaker and faster noise
/// added.
std::uint32_t randomWalk(double seconds, std::uint32_t seed)
{
    double sum = 0;
    double weight = 0.5;
    double perSecond = 1 / 32.0;
    for (std::uint32_t octave = 0; octave < 7; ++octave) {
        sum += weight * smoothNoise(seconds * perSecond, seed + octave);
        weight /= 2;
        perSecond *= 2;
    }
    return scaled(sum);
}

std::string numbered(Area area, std::uint32_t number)
{
    return std::string(areaName(area)) + std::to_string(number);
}

} // namespace

const std::vector<MovingSignal>& movingSignals()
{
    const Area ir = Area::InputRegisters;
    const Area hr = Area::HoldingRegisters;
    const Area di = Area::DiscreteInputs;
    const Area coil = Area::Coils;
    static const std::vector<MovingSignal> signals = {
        {ir, 1, 1, "seconds since the start", [](double t) { return steps(t, 1); }},
        {ir, 2, 1, "sine, 20 s, 0 to 10000", [](double t) { return sine(t, 20); }},
        {ir, 3, 1, "sawtooth, 10 s, 0 to 10000", [](double t) { return scaled(phase(t, 10)); }},
        {ir, 4, 1, "triangle, 20 s, 0 to 10000", [](double t) { return triangle(t); }},
        {ir, 5, 1, "square, 10 s, 10000 and 0", [](double t) { return scaled(firstHalf(t, 10)); }},
        {ir, 6, 1, "random walk, 0 to 10000", [](double t) { return randomWalk(t, 1); }},
        {ir, 7, 2, "milliseconds since the start, low word in IR7", [](double t) { return steps(t, 1000); }},
        {hr, 1, 1, "counter, ten a second", [](double t) { return steps(t, 10); }},
        {hr, 2, 1, "sine, 60 s, 0 to 10000", [](double t) { return sine(t, 60); }},
        {hr, 3, 1, "another random walk, 0 to 10000", [](double t) { return randomWalk(t, 1001); }},
        {hr, 4, 2, "sine, 20 s, -1 to 1, IEEE 754 single, low word in HR4", floatSine},
        {di, 1, 1, "blinks once a second", [](double t) { return firstHalf(t, 1); }},
        {di, 2, 1, "on while IR5 is 10000", [](double t) { return firstHalf(t, 10); }},
        {di, 3, 8, "a running light, a step every 0.5 s", [](double t) { return 1u << steps(t, 2) % 8; }},
        {coil, 1, 1, "blinks every two seconds", [](double t) { return firstHalf(t, 2); }},
        {coil, 2, 8, "the low eight bits of IR1, lowest in DO2", [](double t) { return steps(t, 1); }},
    };
    return signals;
}

std::string cellsOf(const MovingSignal& signal)
{
    const std::string first = numbered(signal.area, signal.number);
    return signal.count == 1 ? first : first + "-" + numbered(signal.area, signal.number + signal.count - 1);
}

void moveSignals(ProcessImage& image, double seconds)
{
    for (const MovingSignal& signal : movingSignals()) {
        const std::uint32_t value = signal.value(seconds);
        for (std::uint32_t i = 0; i < signal.count; ++i) {
            const std::uint32_t part = isBitArea(signal.area) ? value >> i & 1 : value >> 16 * i & 0xFFFF;
            image.setValue(signal.area, signal.number + i, static_cast<std::uint16_t>(part));
        }
    }
}

} // namespace slavesim
