#ifndef WATCH_CSV_RECORDER_H
#define WATCH_CSV_RECORDER_H

#include <QByteArray>
#include <QString>

#include <chrono>
#include <memory>

/// A record on the disk, one row after the other. Each row is with the system when append returns, so that it
/// outlives the program, and on the disk within syncInterval, so that a power cut takes no more than that.
///
/// A disk that is full, or gone, costs the rows of that time and nothing else: rows are whole or not there,
/// and follow again once there is room.
class CsvRecorder
{
public:
    static constexpr std::chrono::milliseconds syncInterval{1000};

    /// Opens or creates the file. A record that is there already is continued if it has the same header, its
    /// last row being cut off if a power cut has left it unfinished; anything else there stays as it is. On
    /// failure the result is null and error holds a sentence that names the file. header ends in a line feed.
    static std::unique_ptr<CsvRecorder> open(const QString& fileName, const QByteArray& header,
                                             QString& error);
    ~CsvRecorder();
    CsvRecorder(const CsvRecorder&) = delete;
    CsvRecorder& operator=(const CsvRecorder&) = delete;

    /// row ends in a line feed.
    void append(const QByteArray& row);

    /// Brings to the disk what has been written for syncInterval. To be called that often, or more.
    void syncWhenDue();

    /// Likewise, at once.
    void sync();

    const QString& fileName() const { return m_fileName; }
    quint64 rowsWritten() const { return m_written; }
    quint64 rowsLost() const { return m_lost; }

    /// Why the last row is not in the record; empty when all is well.
    const QString& problem() const { return m_problem; }

private:
    CsvRecorder(const QString& fileName, int descriptor) : m_fileName(fileName), m_descriptor(descriptor) {}

    QString begin(const QByteArray& header);
    QString continueRecord(const QByteArray& header);
    QString write(const QByteArray& bytes);
    void restoreEnd();

    const QString m_fileName;
    const int m_descriptor;
    QByteArray m_headerDue; ///< not written yet
    bool m_isRegular = true;
    qint64 m_end = 0; ///< behind the last whole row
    quint64 m_written = 0;
    quint64 m_lost = 0;
    QString m_problem;
    bool m_dirty = false;
    std::chrono::steady_clock::time_point m_lastSync = std::chrono::steady_clock::now();
};

#endif
