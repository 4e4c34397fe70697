#ifndef TEXT_CSV_READER_H
#define TEXT_CSV_READER_H

#include <QByteArray>
#include <QIODevice>
#include <QString>
#include <QVector>

/// One row of a CSV file.
struct CsvRow
{
    qint64 line = 0; ///< where it begins, from 1
    QVector<QByteArray> fields;
    QString problem; ///< why the row is not CSV; empty: fields is complete
};

/// Reads comma-separated values strictly (RFC 4180), in constant memory. Rows end with LF or CRLF; a field
/// with separators, quotes or line ends is in double quotes, with its own quotes doubled. A UTF-8 byte-order
/// mark at the start and empty lines are skipped. Bytes are passed on unchanged, whatever the encoding.
class CsvReader
{
public:
    /// The device must be open for reading and outlive the reader.
    explicit CsvReader(QIODevice& device, char separator = ',') : m_device(device), m_separator(separator) {}

    /// Reads the next row; false at the end. A row with a problem ends with its line, or with the file if a
    /// quote is not closed.
    bool next(CsvRow& row);

    /// Number of bytes read so far.
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
    const char m_separator;
    QByteArray m_buffer;
    int m_next = 0; ///< index into m_buffer
    qint64 m_read = 0;
    qint64 m_line = 1;
};

/// A field as it must appear in a row: in quotes if it needs them.
QByteArray csvField(const QByteArray& text);

#endif
