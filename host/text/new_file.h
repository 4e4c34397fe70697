#ifndef TEXT_NEW_FILE_H
#define TEXT_NEW_FILE_H

#include <QFile>
#include <QString>

#include <sys/types.h>

/// Writes a file beside the one that it will replace, and puts it in its place by commit(), complete and on
/// the disk. Until then, and after any failure, the old file stays as it was; without commit() the new one
/// goes away with this object.
///
/// Safe in folders where others may write too:
///  - The folder is opened once. The new file has a random name in it and is made by us, never found there.
///  - A symbolic link in the file's place is followed when it is this user's or root's; anybody else's is
///    refused.
///  - The new file is not more readable than the old one: it gets its permissions, and its group as far as
///  the
///    system allows. Before commit() only this user can read it.
///
/// A device or a pipe, /dev/stdout or >(...), is written to directly, and never put aside for a file.
///
/// After a failure every further call fails with the same error.
class NewFile
{
public:
    enum Target
    {
        AnyTarget,
        FileOnly ///< a link of whomever, a device or a pipe in the file's place is refused without opening it
    };

    explicit NewFile(const QString& name, Target target = AnyTarget);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// Appends. Returns whether all of it was taken.
    bool write(const QByteArray& bytes);

    /// For those who write through a QTextStream, which must be flushed before commit(). A write that fails
    /// there makes commit() fail.
    QFile& device() { return m_file; }

    /// The new file is not more readable than this open file either, from which it is copied.
    void limitAccess(int source);

    /// False: the old file is still there, and error() says why.
    bool commit();

    /// "can not write NAME: REASON" after the first failure, empty before.
    const QString& error() const { return m_error; }

    /// Descriptor of the folder that the file is in, for openat() and flock(); -1 when it could not be
    /// opened. It is this object's.
    int folder() const { return m_folder; }

    /// Removes what writers of the same file have left that were killed. Only for a caller who knows that no
    /// other one is at work.
    void removeLeftovers();

private:
    QString begin(QString path, Target target);
    QString enter(const QString& path);
    QString openDevice(int flags);
    QString create();
    QString finish();
    bool check(const QString& reason);

    const QString m_name; ///< as the caller calls it
    QByteArray m_base;    ///< its last part, in m_folder
    QByteArray m_newBase; ///< of the new file, empty when there is none to be removed
    int m_folder = -1;
    mode_t m_mode = 0777; ///< at most
    QFile m_file;
    QString m_error;
};

#endif
