#ifndef TEXT_NEW_FILE_H
#define TEXT_NEW_FILE_H

#include <QFile>
#include <QString>

#include <sys/types.h>

/// Writes a file next to the one that it will replace; commit() puts it in place, complete and on the disk.
/// Until then, and after any failure, the old file stays as it was. Without commit() the new one is deleted
/// with this object.
///
/// Safe in folders where others may write too:
///  - The folder is opened once. The new file gets a random name in it, and an existing file is never used.
///  - A symbolic link in the file's place is followed if this user or root owns it; any other is refused.
///  - The new file is not more readable than the old one: it gets its permissions, and its group as far as
///    the system allows. Before commit() only this user can read it.
///
/// A device or a pipe, such as /dev/stdout or >(...), is written to directly and never replaced by a file.
///
/// After a failure every further call fails with the same error.
class NewFile
{
public:
    enum Target
    {
        AnyTarget,
        FileOnly ///< any link, device or pipe in the file's place is refused without opening it
    };

    explicit NewFile(const QString& name, Target target = AnyTarget);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// Appends. Returns whether all of it was written.
    bool write(const QByteArray& bytes);

    /// For writing through a QTextStream, which must be flushed before commit(). A write that fails there
    /// makes commit() fail.
    QFile& device() { return m_file; }

    /// Makes the new file no more readable than this open file, from which it is copied.
    void limitAccess(int source);

    /// Returns false if the old file is still in place; error() says why.
    bool commit();

    /// "can not write NAME: REASON" after the first failure, empty before.
    const QString& error() const { return m_error; }

    /// Descriptor of the file's folder, for openat() and flock(); -1 if it could not be opened. Owned by this
    /// object.
    int folder() const { return m_folder; }

    /// Removes what killed writers of the same file have left behind. Only for a caller who knows that no
    /// other writer is at work.
    void removeLeftovers();

private:
    QString begin(QString path, Target target);
    QString enter(const QString& path);
    QString openDevice(int flags);
    QString create();
    QString finish();
    bool check(const QString& reason);

    const QString m_name; ///< as the caller gave it
    QByteArray m_base;    ///< its last part, in m_folder
    QByteArray m_newBase; ///< of the new file; empty if there is none to remove
    int m_folder = -1;
    mode_t m_mode = 0777; ///< the most that is allowed
    QFile m_file;
    QString m_error;
};

#endif
