#ifndef TEXT_NEW_FILE_H
#define TEXT_NEW_FILE_H

#include "text/file_place.h"

#include <QFile>
#include <QString>

#include <sys/types.h>

/// Writes a file next to the one that it will replace; commit() puts it in place, complete and on the disk.
/// Until then, and after any failure, the old file stays as it was. Without commit() the new one is deleted
/// with this object.
///
/// Safe in folders where others may write too:
///  - Where it is written is for FilePlace to find. The new file gets a random name there, and an existing
///    file is never used.
///  - The new file is not more readable than the old one: it gets its permissions, and its group as far as
///    the system allows. Before commit() only this user can read it.
///
/// A device or a pipe, such as /dev/stdout or >(...), is written to directly and never replaced by a file.
///
/// After a failure every further call fails with the same error.
class NewFile
{
public:
    using Target = FilePlace::Target;

    explicit NewFile(const QString& name, Target target = FilePlace::AnyTarget);
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

    /// "cannot write NAME: REASON" after the first failure, empty before.
    const QString& error() const { return m_error; }

    /// Descriptor of the file's folder, for openat() and flock(); -1 if it could not be opened. Owned by this
    /// object.
    int folder() const { return m_place.folder(); }

    /// Removes what killed writers of the same file have left behind. Only for a caller who knows that no
    /// other writer is at work.
    void removeLeftovers();

private:
    static constexpr mode_t anybody = 0777;

    QString openDevice();
    QString create();
    QString finish();
    bool check(const QString& reason);

    const QString m_name; ///< as the caller gave it
    const FilePlace m_place;
    QByteArray m_newBase;    ///< of the new file; empty if there is none to remove
    mode_t m_mode = anybody; ///< the most that is allowed
    QFile m_file;
    QString m_error;
};

#endif
