#include "session/host_lookup.h"

#include <cstring>
#include <netdb.h>
#include <string>

/// What the system reads and writes while it looks up a name.
struct HostLookup::Question
{
    Question(const QString& host, quint16 port) : name(host.toStdString()), service(std::to_string(port))
    {
        hints.ai_family = AF_UNSPEC;
        hints.ai_socktype = SOCK_STREAM;
        hints.ai_flags = AI_NUMERICSERV;
        request.ar_name = name.c_str();
        request.ar_service = service.c_str();
        request.ar_request = &hints;
    }

    ~Question()
    {
        if (request.ar_result)
            ::freeaddrinfo(request.ar_result);
    }

    Question(const Question&) = delete;
    Question& operator=(const Question&) = delete;

    /// Returns 0, or the EAI_ code that says why the question was not asked.
    int ask()
    {
        addrinfo numeric = hints;
        numeric.ai_flags |= AI_NUMERICHOST;
        if (::getaddrinfo(name.c_str(), service.c_str(), &numeric, &request.ar_result) == 0)
            return 0;
        gaicb* list[] = {&request};
        return ::getaddrinfo_a(GAI_NOWAIT, list, 1, nullptr);
    }

    /// Returns 0, EAI_INPROGRESS while there is no answer yet, or the EAI_ code that says why there is none.
    int wait(const Waiting& waiting)
    {
        const gaicb* list[] = {&request};
        while (::gai_error(&request) == EAI_INPROGRESS && !waiting.stopped() &&
               waiting.remaining().count() > 0) {
            const timespec slice = waiting.slice();
            ::gai_suspend(list, 1, &slice);
        }
        return ::gai_error(&request);
    }

    std::vector<SocketAddress> addresses() const
    {
        std::vector<SocketAddress> found;
        for (const addrinfo* entry = request.ar_result; entry; entry = entry->ai_next) {
            SocketAddress address;
            address.length = entry->ai_addrlen;
            std::memcpy(&address.storage, entry->ai_addr, entry->ai_addrlen);
            found.push_back(address);
        }
        return found;
    }

    const std::string name;
    const std::string service;
    addrinfo hints{};
    gaicb request{};
};

HostLookup::HostLookup(const QString& host, quint16 port) : m_host(host), m_port(port)
{
}

HostLookup::~HostLookup()
{
    if (m_question && ::gai_cancel(&m_question->request) == EAI_NOTCANCELED)
        static_cast<void>(m_question.release()); // the system will still write into it
}

std::vector<SocketAddress> HostLookup::addresses(const Waiting& waiting, QString& error)
{
    int result = 0;
    if (!m_question) {
        m_question = std::make_unique<Question>(m_host, m_port);
        result = m_question->ask();
    }
    if (result == 0)
        result = m_question->wait(waiting);
    if (result == EAI_INPROGRESS) {
        error = QStringLiteral("host name \"%1\" was not resolved in time").arg(m_host);
        return {};
    }
    if (result != 0)
        error = QStringLiteral("host name \"%1\" cannot be resolved (%2)")
                    .arg(m_host, QString::fromLocal8Bit(::gai_strerror(result)));
    const std::unique_ptr<Question> answered = std::move(m_question);
    return answered->addresses();
}
