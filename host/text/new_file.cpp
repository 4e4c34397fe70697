#include "text/new_file.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace {

constexpr int mostLinks = 16;
constexpr int longestStem = 200; ///< bytes; with our suffix a name may have up to 255
const char* const infix = ".new-";

QString systemMessage(int reason = errno)
{
    return QString::fromLocal8Bit(std::strerror(reason));
}

mode_t usualMode()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

/// A folder's entry itself: follows no link and opens no device.
class Entry
{
public:
    Entry(int folder, const QByteArray& name)
        : m_descriptor(::openat(folder, name.constData(), O_PATH | O_NOFOLLOW | O_CLOEXEC))
    {
        if (m_descriptor < 0 || ::fstat(m_descriptor, &m_status) != 0)
            m_problem = errno;
    }
    ~Entry()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

    int descriptor() const { return m_descriptor; }
    int problem() const { return m_problem; } ///< errno, 0 if the entry exists
    const struct stat& status() const { return m_status; }
    bool is(mode_t type) const { return (m_status.st_mode & S_IFMT) == type; }
    bool isOursOrRoots() const { return m_status.st_uid == ::geteuid() || m_status.st_uid == 0; }

    /// The target of a link.
    QString target() const
    {
        char text[PATH_MAX];
        const ssize_t length = ::readlinkat(m_descriptor, "", text, sizeof text);
        return QFile::decodeName(QByteArray(text, static_cast<int>(std::max<ssize_t>(length, 0))));
    }

private:
    const int m_descriptor;
    int m_problem = 0;
    struct stat m_status = {};
};

/// A link there leads to something open, and its text need not be a path.
bool isInProc(int folder)
{
    struct statfs status;
    return ::fstatfs(folder, &status) == 0 && status.f_type == PROC_SUPER_MAGIC;
}

} // namespace

NewFile::NewFile(const QString& name, Target target) : m_name(name)
{
    check(begin(name, target));
}

NewFile::~NewFile()
{
    if (!m_newBase.isEmpty())
        ::unlinkat(m_folder, m_newBase.constData(), 0);
    if (m_folder >= 0)
        ::close(m_folder);
}

/// Keeps the first reason. Returns true if there is none.
bool NewFile::check(const QString& reason)
{
    if (m_error.isEmpty() && !reason.isEmpty())
        m_error = QStringLiteral("can not write %1: %2").arg(m_name, reason);
    return m_error.isEmpty();
}

/// Finds the folder and opens what is to be written, following links as far as that is allowed. Like the
/// functions below, it returns what is wrong, empty if nothing is.
QString NewFile::begin(QString path, Target target)
{
    for (int links = 0; links < mostLinks; ++links) {
        const QString problem = enter(path);
        if (!problem.isEmpty())
            return problem;
        const Entry entry(m_folder, m_base);
        if (entry.problem() == ENOENT || entry.is(S_IFREG))
            return create();
        if (entry.problem() != 0 || entry.is(S_IFDIR))
            return systemMessage(entry.problem() != 0 ? entry.problem() : EISDIR);
        if (target == FileOnly)
            return QStringLiteral("%1 is a link, a device or a pipe, not a file").arg(path);
        if (!entry.is(S_IFLNK))
            return openDevice(O_NOFOLLOW);
        if (!entry.isOursOrRoots())
            return QStringLiteral("%1 is a symbolic link of another user").arg(path);
        if (isInProc(m_folder) && openDevice(0).isEmpty())
            return QString();
        path = QFileInfo(path).dir().filePath(entry.target());
    }
    return systemMessage(ELOOP);
}

QString NewFile::enter(const QString& path)
{
    if (m_folder >= 0)
        ::close(m_folder);
    m_base = QFile::encodeName(QFileInfo(path).fileName());
    const QByteArray folder = QFile::encodeName(QFileInfo(path).path());
    m_folder = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return m_folder < 0 ? systemMessage() : QString();
}

QString NewFile::openDevice(int flags)
{
    const int descriptor = ::openat(m_folder, m_base.constData(), O_WRONLY | O_NOCTTY | O_CLOEXEC | flags);
    struct stat status;
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0)
        return systemMessage();
    if (!S_ISREG(status.st_mode) &&
        m_file.open(descriptor, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle))
        return QString();
    ::close(descriptor);
    return QStringLiteral("another program is changing it");
}

QString NewFile::create()
{
    const quint64 random = QRandomGenerator::system()->generate64();
    m_newBase = m_base.left(longestStem) + infix + QByteArray::number(random, 16).rightJustified(16, '0');
    const int descriptor =
        ::openat(m_folder, m_newBase.constData(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor >= 0 && m_file.open(descriptor, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle))
        return QString();
    m_newBase.clear();
    return systemMessage();
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
        check(systemMessage());
        return;
    }
    const bool isSameGroup =
        ours.st_gid == theirs.st_gid || ::fchown(descriptor, gid_t(-1), theirs.st_gid) == 0;
    // For the old file, a new group counts as others.
    const mode_t others = theirs.st_mode & 07;
    m_mode &= isSameGroup ? theirs.st_mode & 0777 : (theirs.st_mode & 0700) | others << 3 | others;
}

QString NewFile::finish()
{
    const Entry old(m_folder, m_base);
    if (old.problem() == 0)
        limitAccess(old.descriptor());
    else
        m_mode &= usualMode();
    const int descriptor = m_file.handle();
    if (::fchmod(descriptor, m_mode) != 0 || ::fsync(descriptor) != 0 ||
        ::renameat(m_folder, m_newBase.constData(), m_folder, m_base.constData()) != 0)
        return systemMessage();
    m_newBase.clear();
    return ::fsync(m_folder) == 0 || errno == EINVAL ? QString() : systemMessage();
}

void NewFile::removeLeftovers()
{
    const QString stem = QFile::decodeName(m_base.left(longestStem) + infix);
    const QRegularExpression ours(QRegularExpression::anchoredPattern(QRegularExpression::escape(stem) +
                                                                      QStringLiteral("[0-9a-f]{16}")));
    const QDir folder(QStringLiteral("/proc/self/fd/%1").arg(m_folder));
    for (const QString& name : folder.entryList(QDir::Files | QDir::Hidden | QDir::System).filter(ours)) {
        const QByteArray base = QFile::encodeName(name);
        if (base != m_newBase)
            ::unlinkat(m_folder, base.constData(), 0);
    }
}
