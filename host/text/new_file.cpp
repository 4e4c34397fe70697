#include "text/new_file.h"

#include <QDir>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int longestStem = 200; ///< bytes; with our suffix a name may have up to 255
const char* const infix = ".new-";

mode_t usualMode()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

} // namespace

NewFile::NewFile(const QString& name, Target target) : m_name(name), m_place(name, target)
{
    check(m_place.problem());
    if (m_error.isEmpty())
        check(m_place.isDevice() ? openDevice() : create());
}

NewFile::~NewFile()
{
    if (!m_newBase.isEmpty())
        ::unlinkat(folder(), m_newBase.constData(), 0);
}

/// Keeps the first reason. Returns true if there is none.
bool NewFile::check(const QString& reason)
{
    if (m_error.isEmpty() && !reason.isEmpty())
        m_error = QStringLiteral("cannot write %1: %2").arg(m_name, reason);
    return m_error.isEmpty();
}

/// Like the functions below, it returns what is wrong, empty if nothing is.
QString NewFile::openDevice()
{
    const int descriptor = m_place.open(O_WRONLY);
    struct stat status;
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0)
        return systemMessage(errno);
    if (!S_ISREG(status.st_mode) &&
        m_file.open(descriptor, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle))
        return QString();
    ::close(descriptor);
    return QStringLiteral("another program is changing it");
}

QString NewFile::create()
{
    const quint64 random = QRandomGenerator::system()->generate64();
    m_newBase =
        m_place.base().left(longestStem) + infix + QByteArray::number(random, 16).rightJustified(16, '0');
    const int descriptor =
        ::openat(folder(), m_newBase.constData(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor >= 0 && m_file.open(descriptor, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle))
        return QString();
    m_newBase.clear();
    return systemMessage(errno);
}

bool NewFile::write(const QByteArray& bytes)
{
    qint64 written = 0;
    while (m_error.isEmpty() && written < bytes.size()) {
        const qint64 taken = m_file.write(bytes.constData() + written, bytes.size() - written);
        check(taken > 0 ? QString() : m_file.errorString());
        written += taken;
    }
    return m_error.isEmpty();
}

bool NewFile::commit()
{
    if (!m_file.flush())
        m_file.flush(); // after a partial write, the next one says why
    if (m_file.error() != QFile::NoError)
        check(m_file.errorString());
    return m_error.isEmpty() && (m_newBase.isEmpty() || check(finish()));
}

void NewFile::limitAccess(int source)
{
    struct stat theirs;
    struct stat ours;
    const int descriptor = m_file.handle();
    if (::fstat(source, &theirs) != 0 || ::fstat(descriptor, &ours) != 0) {
        check(systemMessage(errno));
        return;
    }
    // The first file gives the group; what is allowed to it is not meant for that of another.
    const bool isFirst = m_mode == anybody;
    const bool isSameGroup =
        ours.st_gid == theirs.st_gid || (isFirst && ::fchown(descriptor, gid_t(-1), theirs.st_gid) == 0);
    // For the old file, a new group counts as others.
    const mode_t others = theirs.st_mode & 07;
    m_mode &= isSameGroup ? theirs.st_mode & 0777 : (theirs.st_mode & 0700) | others << 3 | others;
}

QString NewFile::finish()
{
    const int old = m_place.open(O_PATH);
    if (old < 0)
        m_mode &= usualMode();
    else
        limitAccess(old);
    if (old >= 0)
        ::close(old);
    const int descriptor = m_file.handle();
    if (::fchmod(descriptor, m_mode) != 0 || ::fsync(descriptor) != 0 ||
        ::renameat(folder(), m_newBase.constData(), folder(), m_place.base().constData()) != 0)
        return systemMessage(errno);
    m_newBase.clear();
    return ::fsync(folder()) == 0 || errno == EINVAL ? QString() : systemMessage(errno);
}

void NewFile::removeLeftovers()
{
    const QString stem = QFile::decodeName(m_place.base().left(longestStem) + infix);
    const QRegularExpression ours(QRegularExpression::anchoredPattern(QRegularExpression::escape(stem) +
                                                                      QStringLiteral("[0-9a-f]{16}")));
    const QDir place(QStringLiteral("/proc/self/fd/%1").arg(folder()));
    for (const QString& name : place.entryList(QDir::Files | QDir::Hidden | QDir::System).filter(ours)) {
        const QByteArray base = QFile::encodeName(name);
        if (base != m_newBase)
            ::unlinkat(folder(), base.constData(), 0);
    }
}
