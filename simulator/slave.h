#ifndef SLAVESIM_SLAVE_H
#define SLAVESIM_SLAVE_H

#include "fault_plan.h"
#include "log.h"
#include "options.h"
#include "reply_maker.h"
#include "request.h"
#include "station_images.h"

#include <chrono>

namespace slavesim {

/// What a client gets for a request.
struct Answer
{
    Bytes bytes;                    ///< to send; already spoilt by a fault that spoils bytes; may be empty
    std::optional<FaultKind> fault; ///< the session does the rest of it: wait, reset and so on
};

/// Answers the requests of all clients from the process images.
class Slave
{
public:
    /// options must outlive it. Throws std::runtime_error for an image or a log that cannot be used.
    explicit Slave(const Options& options);

    /// Executes a request, or makes a fault. client is for the log.
    Answer answer(const Request& request, const std::string& client);

    /// Obeys a line of --control: an assignment of image_text.h, "fault KIND..." or "fault none". Throws
    /// std::runtime_error that says what is wrong and what would be right; nothing has changed then.
    void obey(std::string_view line);

    /// Adds a line to the log, if there is one.
    void log(const std::string& text);

    /// The counts of requests and faults so far.
    const FaultPlan& counts() const { return m_plan; }

    const Options& options() const { return m_options; }

private:
    bool hasStation(std::uint8_t station);
    bool hasCells(std::uint8_t station, const Cells& cells);
    Bytes executed(const Request& request, const std::optional<Fault>& fault);
    Bytes reply(const Request& request);

    const Options& m_options;
    const std::chrono::steady_clock::time_point m_start;
    StationImages m_images;
    FaultPlan m_plan;
    std::optional<Log> m_log;
    ReplyMaker m_replyMaker;
};

} // namespace slavesim

#endif
