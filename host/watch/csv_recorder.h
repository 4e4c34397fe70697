#ifndef WATCH_CSV_RECORDER_H
#define WATCH_CSV_RECORDER_H

#include <QByteArray>
#include <QString>

#include <chrono>
#include <memory>

/// A record on the disk, row by row. When append returns, the row has been handed to the system, so that it
/// outlives the program; it is on the disk within syncInterval, so that a power cut loses no more than that.
///
/// A full or missing disk costs only the rows of that time: rows are complete or absent, and recording
/// continues once there is room.
class CsvRecorder
{
public:
    static constexpr std::chrono::milliseconds syncInterval{1000};

    /// Opens or creates the file. An existing record is continued if it has the same header; a last row that
    /// a power cut has left incomplete is cut off. Any other existing file is left as it is. On failure the
    /// result is null and error holds a sentence that names the file. header ends with a line feed.
    static std::unique_ptr<CsvRecorder> open(const QString& fileName, const QByteArray& header,
                                             QString& error);
    ~CsvRecorder();
    CsvRecorder(const CsvRecorder&) = delete;
    CsvRecorder& operator=(const CsvRecorder&) = delete;

    /// row ends with a line feed.
    void append(const QByteArray& row);

    /// Syncs what has been written for syncInterval to the disk. Call it at least that often.
    void syncWhenDue();

    /// The same, at once.
    void sync();

    const QString& fileName() const { return m_fileName; }
    quint64 rowsWritten() const { return m_written; }
    quint64 rowsLost() const { return m_lost; }

    /// Why the last row is not in the record; empty if all is well.
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
    qint64 m_end = 0; ///< after the last complete row
    quint64 m_written = 0;
    quint64 m_lost = 0;
    QString m_problem;
    bool m_dirty = false;
    std::chrono::steady_clock::time_point m_lastSync = std::chrono::steady_clock::now();
};

#endif
