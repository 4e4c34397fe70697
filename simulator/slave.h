#ifndef SLAVESIM_SLAVE_H
#define SLAVESIM_SLAVE_H

#include "fault_plan.h"
#include "options.h"
#include "reply_maker.h"
#include "request.h"
#include "station_images.h"

#include <chrono>

namespace slavesim {

/// What a client gets for a request.
struct Answer
{
    Bytes bytes;                    ///< to send, spoilt already if a fault spoils them; may be empty
    std::optional<FaultKind> fault; ///< what else to do is the session's: to wait, to reset and so on
};

/// Answers the requests of all clients out of the process images.
class Slave
{
public:
    /// options must outlive it. Throws std::runtime_error for an image that cannot be used.
    explicit Slave(const Options& options);

    /// Executes a request as it should be, or makes a fault. client: for the log.
    Answer answer(const Request& request, const std::string& client);

    /// Notes that a client has sent what is no request.
    void logNoModbus(const std::string& client) const;

    /// The requests and faults so far.
    const FaultPlan& counts() const { return m_plan; }

    const Options& options() const { return m_options; }

private:
    Bytes reply(const Request& request);
    void log(const Request& request, const std::string& client, std::string_view remark) const;

    const Options& m_options;
    const std::chrono::steady_clock::time_point m_start;
    StationImages m_images;
    FaultPlan m_plan;
    ReplyMaker m_replyMaker;
};

} // namespace slavesim

#endif
