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

    /// Opens or creates the file, where FilePlace finds it. An existing record is continued if it has the
    /// same header and nobody else is recording in it; a header or last row that a power cut has left
    /// incomplete is cut off. Any other existing file is left as it is. On failure the result is null and
    /// error holds a sentence that names the file. header ends with a line feed.
    static std::unique_ptr<CsvRecorder> open(const QString& fileName, const QByteArray& header,
                                             QString& error);
    ~CsvRecorder();
    CsvRecorder(const CsvRecorder&) = delete;
    CsvRecorder& operator=(const CsvRecorder&) = delete;

    /// The record was there already, with rows.
    bool isContinued() const { return m_isContinued; }

    /// row ends with a line feed, and may have others in it.
    void append(const QByteArray& row);

    /// Syncs what has been written for syncInterval to the disk. Call it at least that often.
    void syncWhenDue();

    /// The same, at once.
    void sync();

    const QString& fileName() const { return m_fileName; }
    quint64 rowsWritten() const { return m_written; }
    quint64 rowsLost() const { return m_lost; }

    /// Why the last row is not in the record, or rows may not be on the disk; empty if all is well.
    const QString& problem() const { return m_problem.isEmpty() ? m_syncProblem : m_problem; }

private:
    CsvRecorder(const QString& fileName, const QByteArray& header, int descriptor)
        : m_fileName(fileName), m_header(header), m_descriptor(descriptor)
    {
    }

    QString begin();
    QString findEnd();
    QString write(const QByteArray& bytes);

    const QString m_fileName;
    const QByteArray m_header;
    const int m_descriptor;
    bool m_isHeaderDue = true; ///< not written yet
    bool m_isRegular = true;
    bool m_isContinued = false;
    qint64 m_end = 0; ///< after the last complete row
    quint64 m_written = 0;
    quint64 m_lost = 0;
    QString m_problem;     ///< of the last row
    QString m_syncProblem; ///< of any sync
    bool m_dirty = false;
    std::chrono::steady_clock::time_point m_lastSync = std::chrono::steady_clock::now();
};

#endif
