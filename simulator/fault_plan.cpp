#include "fault_plan.h"

namespace slavesim {

namespace {

struct FaultText
{
    std::string_view name;
    std::string_view description;
};

constexpr std::array<FaultText, FaultKindCount> FaultTexts = {{
    {"late", "the reply comes late, see --late-ms"},
    {"drop", "no reply"},
    {"silent", "no reply; nothing is executed"},
    {"truncate", "the first half of the reply, then silence"},
    {"tid", "the transaction identifier is the previous request's"},
    {"unit", "the unit identifier is one too high"},
    {"protocol", "the protocol identifier is 1"},
    {"length", "the header's length field is one too high"},
    {"function", "the function code is one too high"},
    {"reset", "half of the reply, then the connection is reset"},
    {"close", "the connection is closed together with the reply"},
    {"rubbish", "up to 16 bytes of rubbish right before the reply"},
    {"double", "the reply comes twice, in one piece"},
    {"drip", "the reply comes one byte at a time, 1 ms apart"},
    {"exception", "exception 6 (device busy); nothing is executed"},
    {"both", "exception 6, then the reply all the same"},
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

std::string faultNames()
{
    std::string names;
    for (const FaultText& text : FaultTexts)
        names += (names.empty() ? "" : ", ") + std::string(text.name);
    return names;
}

FaultPlan::FaultPlan(FaultSchedule schedule) : m_schedule(std::move(schedule)), m_random(m_schedule.seed)
{
}

std::optional<FaultKind> FaultPlan::kindForThisRequest()
{
    const std::vector<FaultKind>& kinds = m_schedule.kinds;
    if (kinds.empty())
        return std::nullopt;
    if (m_schedule.rate > 0) {
        const double drawn = static_cast<std::uint32_t>(m_random()) / 4294967296.0;
        return drawn < m_schedule.rate ? std::optional(kinds[m_random() % kinds.size()]) : std::nullopt;
    }
    if (m_requests % m_schedule.every != 0)
        return std::nullopt;
    return kinds[static_cast<std::size_t>((m_requests / m_schedule.every - 1) % kinds.size())];
}

std::optional<Fault> FaultPlan::next()
{
    ++m_requests;
    const auto kind = kindForThisRequest();
    if (!kind)
        return std::nullopt;
    ++m_faults[static_cast<std::size_t>(*kind)];
    return Fault{*kind, static_cast<std::uint32_t>(m_random())};
}

void FaultPlan::makeAlways(std::vector<FaultKind> kinds)
{
    m_schedule = {std::move(kinds), 1, 0, m_schedule.seed};
}

} // namespace slavesim
