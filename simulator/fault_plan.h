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
    Rubbish,
    Double,
    Drip,
    Exception,
    Refuse
};

constexpr std::size_t FaultKindCount = 15;

/// As on the command line: "late", "drop", ...
std::string_view faultName(FaultKind kind);

/// What a client sees, in a few words for the help text.
std::string_view faultDescription(FaultKind kind);

/// The kind of such a name; nothing for any other text.
std::optional<FaultKind> faultNamed(std::string_view name);

/// All names, with commas between them.
std::string faultNames();

/// Which requests get a fault, and which one.
struct FaultSchedule
{
    std::vector<FaultKind> kinds; ///< none: no faults at all
    std::uint32_t every = 10;     ///< each so-manieth request gets one, the kinds in turn; at least 1
    double rate = 0;              ///< above 0: in place of every, the probability of one; the kinds at random
    std::uint32_t seed = 1;       ///< of all that is random
};

/// A fault to make now.
struct Fault
{
    FaultKind kind;
    std::uint32_t random; ///< decides what the fault leaves open, like the bytes of rubbish
};

/// Counts the requests of all clients and says which get a fault. The same schedule gives the same faults for
/// the same requests in the same order.
class FaultPlan
{
public:
    explicit FaultPlan(FaultSchedule schedule);

    /// Counts one request. The fault that it gets, if any.
    std::optional<Fault> next();

    /// From now on every request gets one of these faults, in turn; none when there are none.
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
