#include "fault_plan.h"

namespace slavesim {

namespace {

struct FaultText
{
    std::string_view name;
    std::string_view description;
};

constexpr std::array<FaultText, FaultKindCount> FaultTexts = {{
    {"late", "the reply comes later, see --late-ms"},
    {"drop", "no reply"},
    {"truncate", "the first half of the reply, then silence"},
    {"tid", "the transaction identifier is that of the request before"},
    {"unit", "the unit identifier is one too high"},
    {"protocol", "the protocol identifier is 1"},
    {"length", "the header's length field is one too high"},
    {"function", "the function code is one too high"},
    {"reset", "half of the reply, then the connection is reset"},
    {"rubbish", "up to 16 bytes of rubbish directly ahead of the reply"},
    {"double", "the reply comes twice in one piece"},
    {"drip", "the reply comes one byte at a time, 1 ms apart"},
    {"exception", "exception 6 (device busy); nothing is executed"},
    {"refuse", "all connections are closed and new ones refused, see\n--refuse-ms; nothing is executed"},
}};

const FaultText& textOf(FaultKind kind)
{
    return FaultTexts[static_cast<std::size_t>(kind)];
}

} // namespace

std::string_view faultName(FaultKind kind)
{
    return textOf(kind).name;
}

std::string_view faultDescription(FaultKind kind)
{
    return textOf(kind).description;
}

std::optional<FaultKind> faultNamed(std::string_view name)
{
    for (std::size_t i = 0; i < FaultKindCount; ++i) {
        if (name == FaultTexts[i].name)
            return static_cast<FaultKind>(i);
    }
    return std::nullopt;
}

FaultPlan::FaultPlan(FaultSchedule faultSchedule) : schedule(std::move(faultSchedule)), random(schedule.seed)
{
}

/// request counts from 1.
std::optional<FaultKind> FaultPlan::kindFor(std::uint64_t request)
{
    const std::vector<FaultKind>& kinds = schedule.kinds;
    if (schedule.rate > 0) {
        const double drawn = static_cast<std::uint32_t>(random()) / 4294967296.0;
        return drawn < schedule.rate ? std::optional(kinds[random() % kinds.size()]) : std::nullopt;
    }
    if (request % schedule.every != 0)
        return std::nullopt;
    return kinds[static_cast<std::size_t>((request / schedule.every - 1) % kinds.size())];
}

std::optional<Fault> FaultPlan::next()
{
    if (schedule.kinds.empty()) {
        ++requestCount;
        return std::nullopt;
    }
    const std::lock_guard<std::mutex> lock(mutex);
    const auto kind = kindFor(++requestCount);
    if (!kind)
        return std::nullopt;
    ++faultCounts[static_cast<std::size_t>(*kind)];
    return Fault{*kind, static_cast<std::uint32_t>(random())};
}

} // namespace slavesim
