#ifndef SLAVESIM_FAULT_PLAN_H
#define SLAVESIM_FAULT_PLAN_H

#include <array>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace slavesim {

enum class FaultKind
{
    Late,
    Drop,
    Silent,
    Truncate,
    Tid,
    Unit,
    Protocol,
    Length,
    Function,
    Reset,
    Close,
    Rubbish,
    Double,
    Drip,
    Exception,
    Both,
    Refuse
};

constexpr std::size_t FaultKindCount = 17;

/// As on the command line: "late", "drop", ...
std::string_view faultName(FaultKind kind);

/// What a client sees, in a few words for the help text.
std::string_view faultDescription(FaultKind kind);

/// The kind with this name; nothing for any other text.
std::optional<FaultKind> faultNamed(std::string_view name);

/// All names, separated by commas.
std::string faultNames();

/// Which requests get a fault, and which one.
struct FaultSchedule
{
    std::vector<FaultKind> kinds; ///< none: no faults at all
    std::uint32_t every = 10;     ///< every Nth request gets one, the kinds in turn; at least 1
    double rate = 0;              ///< above 0: replaces every by the probability of a fault of a random kind
    std::uint32_t seed = 1;       ///< of the random numbers
};

/// A fault to make now.
struct Fault
{
    FaultKind kind;
    std::uint32_t random; ///< decides details of the fault, such as the bytes of rubbish
};

/// Counts the requests of all clients and says which get a fault. The same schedule gives the same faults for
/// the same sequence of requests.
class FaultPlan
{
public:
    explicit FaultPlan(FaultSchedule schedule);

    /// Counts one request. Returns its fault, if any.
    std::optional<Fault> next();

    /// From now on every request gets one of these faults, in turn; no faults if kinds is empty.
    void makeAlways(std::vector<FaultKind> kinds);

    /// Requests and faults so far.
    std::uint64_t requests() const { return m_requests; }
    std::uint64_t faults(FaultKind kind) const { return m_faults[static_cast<std::size_t>(kind)]; }

private:
    std::optional<FaultKind> kindForThisRequest();

    FaultSchedule m_schedule;
    std::mt19937 m_random;
    std::uint64_t m_requests = 0;
    std::array<std::uint64_t, FaultKindCount> m_faults{};
};

} // namespace slavesim

#endif
