#ifndef TEXT_CSV_READER_H
#define TEXT_CSV_READER_H

#include <QByteArray>
#include <QIODevice>
#include <QString>
#include <QVector>

/// One row of a CSV file.
struct CsvRow
{
    qint64 line = 0; ///< on which it begins, from 1
    QVector<QByteArray> fields;
    QString problem; ///< why the row is no CSV; empty: fields are all of it
};

/// Reads comma-separated values strictly (RFC 4180), in constant memory: rows end with LF or CRLF, a field
/// with commas, quotes or line ends stands in double quotes, quotes in it are doubled. A byte-order mark at
/// the start and empty lines are passed over. Bytes are taken as they are, in whatever encoding.
class CsvReader
{
public:
    /// The device is open for reading and outlives the reader.
    explicit CsvReader(QIODevice& device) : m_device(device) {}

    /// The next row, false at the end. A row with a problem ends with its line, or with the file when a quote
    /// is not closed.
    bool next(CsvRow& row);

    /// Bytes of the file that have been read.
    qint64 position() const { return m_read; }

private:
    static constexpr int EndOfFile = -1;

    int peek();
    int take();
    void skipMark();
    bool skipLineEnd();
    bool atEndOfField();
    void readRow(CsvRow& row);
    QString readField(QByteArray& field);
    QString readQuotedField(QByteArray& field);
    QString readPlainField(QByteArray& field);
    void skipRestOfLine();

    QIODevice& m_device;
    QByteArray m_buffer;
    int m_next = 0; ///< index into m_buffer
    qint64 m_read = 0;
    qint64 m_line = 1;
};

/// A field as it must stand in a row: in quotes when it needs them.
QByteArray csvField(const QByteArray& text);

#endif
