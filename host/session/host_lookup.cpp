#include "session/host_lookup.h"

#include <cstring>
#include <future>
#include <netdb.h>
#include <thread>

namespace {

struct Lookup
{
    int result;
    std::vector<SocketAddress> addresses;
};

Lookup askSystem(const std::string& host, quint16 port, int flags)
{
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags | AI_NUMERICSERV;
    addrinfo* list = nullptr;
    Lookup lookup{::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &list), {}};
    if (lookup.result != 0)
        return lookup;
    for (const addrinfo* entry = list; entry; entry = entry->ai_next) {
        SocketAddress address;
        address.length = entry->ai_addrlen;
        std::memcpy(&address.storage, entry->ai_addr, entry->ai_addrlen);
        lookup.addresses.push_back(address);
    }
    ::freeaddrinfo(list);
    return lookup;
}

/// Name servers can take longer than any deadline and getaddrinfo can not be interrupted: it runs on a thread
/// of its own, which is left behind when nobody waits for it any more.
std::future<Lookup> askInBackground(const std::string& host, quint16 port)
{
    std::packaged_task<Lookup()> task([host, port] { return askSystem(host, port, 0); });
    std::future<Lookup> answer = task.get_future();
    std::thread(std::move(task)).detach();
    return answer;
}

bool waitFor(const std::future<Lookup>& answer, const Waiting& waiting)
{
    const std::chrono::nanoseconds slice = std::chrono::milliseconds(20);
    while (!waiting.stopped()) {
        const auto left = waiting.remaining();
        if (answer.wait_for(std::min(left, slice)) == std::future_status::ready)
            return true;
        if (left.count() == 0)
            return false;
    }
    return false;
}

} // namespace

std::vector<SocketAddress> lookUpHost(const QString& host, quint16 port, const Waiting& waiting,
                                      QString& error)
{
    const std::string name = host.toStdString();
    Lookup lookup = askSystem(name, port, AI_NUMERICHOST);
    if (lookup.result == 0)
        return lookup.addresses;

    std::future<Lookup> answer = askInBackground(name, port);
    if (!waitFor(answer, waiting)) {
        error = QStringLiteral("host name \"%1\" was not resolved in time").arg(host);
        return {};
    }
    lookup = answer.get();
    if (lookup.result != 0)
        error = QStringLiteral("host name \"%1\" can not be resolved (%2)")
                    .arg(host, QString::fromLocal8Bit(::gai_strerror(lookup.result)));
    return lookup.addresses;
}
