#ifndef TEXT_FILE_PLACE_H
#define TEXT_FILE_PLACE_H

#include <QByteArray>
#include <QString>

#include <sys/stat.h>

/// Where the name of a file leads, safe in folders where others may write too: the folder is opened once, and
/// a symbolic link in the file's place is followed if this user or root owns it; any other is refused, and so
/// is a pipe, whose owner could keep the writer waiting.
class FilePlace
{
public:
    enum Target
    {
        AnyTarget,
        FileOnly ///< any link, device or pipe in the file's place is refused
    };

    explicit FilePlace(const QString& name, Target target = AnyTarget);
    ~FilePlace();
    FilePlace(const FilePlace&) = delete;
    FilePlace& operator=(const FilePlace&) = delete;

    /// Why nothing can be done there, such as "Permission denied"; empty if nothing is wrong. The other
    /// functions need a place without a problem.
    const QString& problem() const { return m_problem; }

    /// Something other than a file is there: a device or a pipe.
    bool isDevice() const { return m_isDevice; }

    /// As openat() does, without following any link there. A file that is made gets the usual access rights.
    int open(int flags) const;

    /// Descriptor of the folder, for openat() and flock(); owned by this object. -1 if it could not be
    /// opened.
    int folder() const { return m_folder; }

    /// The last part of the name, in the folder.
    const QByteArray& base() const { return m_base; }

private:
    QString find(QString path, Target target);
    QString enter(const QString& path);
    bool leadsToDevice();

    int m_folder = -1;
    QByteArray m_base;
    bool m_isDevice = false;
    int m_linkFlag; ///< of open()
    QString m_problem;
};

/// What the system says of an error number.
QString systemMessage(int reason);

#endif
