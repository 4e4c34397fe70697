#include "watch/csv_recorder.h"

#include "text/file_place.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Bytes of a file from offset on; fewer at its end.
QByteArray bytesAt(int descriptor, qint64 offset, qint64 length)
{
    QByteArray bytes(static_cast<int>(length), '\0');
    const ssize_t got = ::pread(descriptor, bytes.data(), static_cast<std::size_t>(length), offset);
    bytes.truncate(static_cast<int>(std::max<ssize_t>(got, 0)));
    return bytes;
}

/// The end of the last line that has a line feed.
qint64 endOfLastLine(int descriptor, qint64 size)
{
    constexpr qint64 step = 4096;
    for (qint64 end = size; end > 0; end -= step) {
        const qint64 begin = std::max<qint64>(end - step, 0);
        const int feed = bytesAt(descriptor, begin, end - begin).lastIndexOf('\n');
        if (feed >= 0)
            return begin + feed + 1;
    }
    return 0;
}

/// Opens a device without waiting until somebody reads what is written to it.
int openDevice(const FilePlace& place)
{
    const int descriptor = place.open(O_WRONLY | O_NONBLOCK);
    if (descriptor >= 0)
        ::fcntl(descriptor, F_SETFL, O_WRONLY);
    return descriptor;
}

} // namespace

std::unique_ptr<CsvRecorder> CsvRecorder::open(const QString& fileName, const QByteArray& header,
                                               QString& error)
{
    const FilePlace place(fileName);
    QString problem = place.problem();
    std::unique_ptr<CsvRecorder> recorder;
    if (problem.isEmpty()) {
        const int descriptor = place.isDevice() ? openDevice(place) : place.open(O_RDWR | O_CREAT | O_APPEND);
        if (descriptor < 0)
            problem = errno == ENXIO ? QStringLiteral("nobody reads from it") : systemMessage(errno);
        else
            recorder.reset(new CsvRecorder(fileName, header, descriptor));
    }
    if (recorder)
        problem = recorder->begin();
    if (!problem.isEmpty()) {
        error = QStringLiteral("cannot write %1: %2").arg(fileName, problem);
        return nullptr;
    }
    ::fsync(place.folder()); // a new file survives a power cut only with its folder
    return recorder;
}

CsvRecorder::~CsvRecorder()
{
    sync();
    ::close(m_descriptor);
}

/// Like findEnd(), it returns what keeps rows from being written; empty if nothing does.
QString CsvRecorder::begin()
{
    struct stat status;
    if (::fstat(m_descriptor, &status) != 0)
        return systemMessage(errno);
    m_isRegular = S_ISREG(status.st_mode);
    if (m_isRegular && ::flock(m_descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        return QStringLiteral("another watch is recording in it");
    QString problem = findEnd();
    if (!problem.isEmpty())
        return problem;
    m_isContinued = m_end > m_header.size();
    if (m_isHeaderDue)
        m_problem = write(QByteArray());
    sync();
    return QString();
}

/// Makes the last complete row the end of the file, whoever has cut it off or appended to it.
QString CsvRecorder::findEnd()
{
    if (!m_isRegular)
        return QString();
    struct stat status;
    if (::fstat(m_descriptor, &status) != 0)
        return systemMessage(errno);
    if (status.st_nlink == 0)
        return QStringLiteral("somebody has deleted it");
    if (status.st_size > 0 && status.st_size == m_end)
        return QString();
    const qint64 length = std::min<qint64>(status.st_size, m_header.size());
    if (bytesAt(m_descriptor, 0, length) != m_header.left(static_cast<int>(length)))
        return QStringLiteral("it does not have the columns of this record; name another file");
    m_isHeaderDue = length < m_header.size();
    m_end = endOfLastLine(m_descriptor, status.st_size);
    return m_end == status.st_size || ::ftruncate(m_descriptor, m_end) == 0 ? QString()
                                                                            : systemMessage(errno);
}

/// Writes all of bytes, with the header in front where it is due, or nothing. Returns what went wrong, empty
/// on success.
QString CsvRecorder::write(const QByteArray& bytes)
{
    QString problem = findEnd();
    if (!problem.isEmpty())
        return problem;
    const QByteArray all = m_isHeaderDue ? m_header + bytes : bytes;
    qint64 written = 0;
    while (written < all.size()) {
        const ssize_t taken =
            ::write(m_descriptor, all.constData() + written, static_cast<std::size_t>(all.size() - written));
        if (taken < 0 && errno == EINTR)
            continue;
        if (taken <= 0) {
            const int reason = taken < 0 ? errno : ENOSPC;
            findEnd();
            return systemMessage(reason);
        }
        written += taken;
    }
    m_end += written;
    m_isHeaderDue = false;
    m_dirty = true;
    return QString();
}

void CsvRecorder::append(const QByteArray& row)
{
    m_problem = write(row);
    ++(m_problem.isEmpty() ? m_written : m_lost);
}

void CsvRecorder::syncWhenDue()
{
    if (std::chrono::steady_clock::now() - m_lastSync >= syncInterval)
        sync();
}

void CsvRecorder::sync()
{
    m_lastSync = std::chrono::steady_clock::now();
    if (!m_dirty)
        return;
    m_dirty = false;
    if (::fdatasync(m_descriptor) != 0 && errno != EINVAL && errno != EROFS)
        m_syncProblem = systemMessage(errno); // for good: nobody knows which rows are meant
}
