#include "text/file_place.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace {

constexpr int mostLinks = 16;

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

    int problem() const { return m_problem; } ///< errno, 0 if the entry exists
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

} // namespace

QString systemMessage(int reason)
{
    return QString::fromLocal8Bit(std::strerror(reason));
}

FilePlace::FilePlace(const QString& name, Target target)
    : m_linkFlag(O_NOFOLLOW), m_problem(find(name, target))
{
}

FilePlace::~FilePlace()
{
    if (m_folder >= 0)
        ::close(m_folder);
}

/// Follows links as far as that is allowed. Returns what is wrong, empty if nothing is.
QString FilePlace::find(QString path, Target target)
{
    for (int links = 0; links < mostLinks; ++links) {
        QString problem = enter(path);
        if (!problem.isEmpty())
            return problem;
        const Entry entry(m_folder, m_base);
        if (entry.problem() == ENOENT || entry.is(S_IFREG))
            return QString();
        if (entry.problem() != 0 || entry.is(S_IFDIR))
            return systemMessage(entry.problem() != 0 ? entry.problem() : EISDIR);
        if (target == FileOnly)
            return QStringLiteral("%1 is a link, a device or a pipe, not a file").arg(path);
        m_isDevice = !entry.is(S_IFLNK);
        const bool isChosenByOthers = !entry.isOursOrRoots();
        if (isChosenByOthers && entry.is(S_IFIFO))
            return QStringLiteral("%1 is a pipe of another user").arg(path);
        if (m_isDevice)
            return QString();
        if (isChosenByOthers)
            return QStringLiteral("%1 is a symbolic link of another user").arg(path);
        if (leadsToDevice())
            return QString();
        path = QFileInfo(path).dir().filePath(entry.target());
    }
    return systemMessage(ELOOP);
}

QString FilePlace::enter(const QString& path)
{
    if (m_folder >= 0)
        ::close(m_folder);
    m_base = QFile::encodeName(QFileInfo(path).fileName());
    const QByteArray folder = QFile::encodeName(QFileInfo(path).path());
    m_folder = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return m_folder < 0 ? systemMessage(errno) : QString();
}

/// A link in /proc leads to something open, and its text need not be a path.
bool FilePlace::leadsToDevice()
{
    struct statfs folder;
    struct stat target;
    m_isDevice = ::fstatfs(m_folder, &folder) == 0 && folder.f_type == PROC_SUPER_MAGIC &&
                 ::fstatat(m_folder, m_base.constData(), &target, 0) == 0 && !S_ISREG(target.st_mode);
    m_linkFlag = m_isDevice ? 0 : O_NOFOLLOW;
    return m_isDevice;
}

int FilePlace::open(int flags) const
{
    return ::openat(m_folder, m_base.constData(), flags | m_linkFlag | O_NOCTTY | O_CLOEXEC, 0666);
}
