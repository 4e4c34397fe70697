#ifndef SLAVESIM_FAULT_PLAN_H
#define SLAVESIM_FAULT_PLAN_H

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <random>
#include <string_view>
#include <vector>

namespace slavesim {

enum class FaultKind
{
    Late,
    Drop,
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

constexpr std::size_t FaultKindCount = 14;

/// As on the command line: "late", "drop", ...
std::string_view faultName(FaultKind kind);

/// What a client sees, in a few words for the help text.
std::string_view faultDescription(FaultKind kind);

/// The kind of such a name; nothing for any other text.
std::optional<FaultKind> faultNamed(std::string_view name);

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
/// the same requests in the same order. Any thread may call it at any time.
class FaultPlan
{
public:
    explicit FaultPlan(FaultSchedule schedule);

    /// Counts one request. The fault that it gets, if any.
    std::optional<Fault> next();

    /// Requests and faults so far.
    std::uint64_t requests() const { return requestCount; }
    std::uint64_t faults(FaultKind kind) const { return faultCounts[static_cast<std::size_t>(kind)]; }

private:
    std::optional<FaultKind> kindFor(std::uint64_t request);

    const FaultSchedule schedule;
    std::mutex mutex; ///< of random and of the order of requests
    std::mt19937 random;
    std::atomic<std::uint64_t> requestCount{0};
    std::array<std::atomic<std::uint64_t>, FaultKindCount> faultCounts{};
};

} // namespace slavesim

#endif
