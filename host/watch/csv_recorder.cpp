#include "watch/csv_recorder.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString systemMessage(int reason)
{
    return QString::fromLocal8Bit(std::strerror(reason));
}

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

/// A new file survives a power cut only if its folder has been synced to the disk too. A system that cannot
/// sync folders does so by itself.
void syncFolder(const QString& fileName)
{
    const QByteArray folder = QFile::encodeName(QFileInfo(fileName).absolutePath());
    const int descriptor = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    ::fsync(descriptor);
    ::close(descriptor);
}

} // namespace

std::unique_ptr<CsvRecorder> CsvRecorder::open(const QString& fileName, const QByteArray& header,
                                               QString& error)
{
    const QByteArray name = QFile::encodeName(fileName);
    int descriptor = ::open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor < 0 && (errno == EACCES || errno == EINVAL || errno == ENXIO))
        descriptor = ::open(name.constData(), O_WRONLY | O_CLOEXEC); // such as a printer, a write-only device
    if (descriptor < 0) {
        error = QStringLiteral("can not write %1: %2").arg(fileName, systemMessage(errno));
        return nullptr;
    }
    std::unique_ptr<CsvRecorder> recorder(new CsvRecorder(fileName, descriptor));
    error = recorder->begin(header);
    if (!error.isEmpty())
        return nullptr;
    return recorder;
}

CsvRecorder::~CsvRecorder()
{
    sync();
    ::close(m_descriptor);
}

/// Returns a sentence that says why the file cannot be used; empty if it can.
QString CsvRecorder::begin(const QByteArray& header)
{
    struct stat status;
    if (::fstat(m_descriptor, &status) != 0)
        return QStringLiteral("can not write %1: %2").arg(m_fileName, systemMessage(errno));
    m_isRegular = S_ISREG(status.st_mode);
    m_end = m_isRegular ? endOfLastLine(m_descriptor, status.st_size) : 0;
    if (m_end > 0)
        return continueRecord(header);
    if (m_isRegular && status.st_size > 0)
        return QStringLiteral("%1 is no record of watch; name another file").arg(m_fileName);
    m_headerDue = header;
    m_problem = write(header);
    sync();
    if (m_isRegular)
        syncFolder(m_fileName);
    return QString();
}

QString CsvRecorder::continueRecord(const QByteArray& header)
{
    if (bytesAt(m_descriptor, 0, header.size()) != header)
        return QStringLiteral(
                   "%1 is there already and does not have the columns of this record; name another "
                   "file")
            .arg(m_fileName);
    restoreEnd();
    return QString();
}

/// Cuts off what follows the last complete row.
void CsvRecorder::restoreEnd()
{
    if (!m_isRegular)
        return;
    if (::ftruncate(m_descriptor, m_end) != 0 || ::lseek(m_descriptor, m_end, SEEK_SET) < 0)
        m_problem = systemMessage(errno);
}

/// Writes all of bytes or nothing. Returns the system's message, empty on success.
QString CsvRecorder::write(const QByteArray& bytes)
{
    const QByteArray all = m_headerDue.isEmpty() || bytes == m_headerDue ? bytes : m_headerDue + bytes;
    qint64 written = 0;
    while (written < all.size()) {
        const ssize_t taken =
            ::write(m_descriptor, all.constData() + written, static_cast<std::size_t>(all.size() - written));
        if (taken < 0 && errno == EINTR)
            continue;
        if (taken <= 0) {
            const int reason = taken < 0 ? errno : ENOSPC;
            restoreEnd();
            return systemMessage(reason);
        }
        written += taken;
    }
    m_end += written;
    m_headerDue.clear();
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
        m_problem = systemMessage(errno);
}
