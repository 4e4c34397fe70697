#include "text/csv_reader.h"

namespace {

constexpr int chunk = 65536;
constexpr int longestField = 65536; ///< bytes; a longer field means that the file is not CSV

QString tooLong()
{
    return QStringLiteral("a field is longer than %1 bytes").arg(longestField);
}

bool isControlCharacter(int byte)
{
    return byte >= 0 && byte < ' ' && byte != '\t';
}

} // namespace

int CsvReader::peek()
{
    if (m_next == m_buffer.size()) {
        m_buffer = m_device.read(chunk);
        m_next = 0;
        m_read += m_buffer.size();
    }
    return m_buffer.isEmpty() ? EndOfFile : static_cast<unsigned char>(m_buffer.at(m_next));
}

int CsvReader::take()
{
    const int byte = peek();
    if (byte == EndOfFile)
        return byte;
    ++m_next;
    if (byte == '\n')
        ++m_line;
    return byte;
}

void CsvReader::skipMark()
{
    if (m_read > 0 || peek() != 0xEF)
        return;
    if (m_buffer.startsWith("\xEF\xBB\xBF"))
        m_next = 3;
}

/// A CR without an LF after it is left alone.
bool CsvReader::skipLineEnd()
{
    if (peek() == '\r' && m_next + 1 == m_buffer.size()) {
        const QByteArray more = m_device.read(chunk);
        m_read += more.size();
        m_buffer = '\r' + more;
        m_next = 0;
    }
    if (peek() == '\r' && m_next + 1 < m_buffer.size() && m_buffer.at(m_next + 1) == '\n')
        ++m_next;
    if (peek() != '\n')
        return false;
    take();
    return true;
}

bool CsvReader::next(CsvRow& row)
{
    skipMark();
    while (skipLineEnd()) {
    }
    if (peek() == EndOfFile)
        return false;
    row.line = m_line;
    row.fields.clear();
    row.problem.clear();
    readRow(row);
    return true;
}

void CsvReader::readRow(CsvRow& row)
{
    while (true) {
        row.fields.append(QByteArray());
        row.problem = readField(row.fields.last());
        if (!row.problem.isEmpty())
            return skipRestOfLine();
        if (skipLineEnd() || peek() == EndOfFile)
            return;
        if (take() != m_separator) {
            row.problem = QStringLiteral("there is a carriage return in the middle of the line");
            return skipRestOfLine();
        }
    }
}

QString CsvReader::readField(QByteArray& field)
{
    return peek() == '"' ? readQuotedField(field) : readPlainField(field);
}

bool CsvReader::atEndOfField()
{
    const int byte = peek();
    return byte == m_separator || byte == '\n' || byte == '\r' || byte == EndOfFile;
}

QString CsvReader::readPlainField(QByteArray& field)
{
    while (!atEndOfField()) {
        const int byte = take();
        if (byte == '"')
            return QStringLiteral("a quote stands in a field that does not begin with one");
        if (isControlCharacter(byte))
            return QStringLiteral("it has the control character %1").arg(byte);
        if (field.size() == longestField)
            return tooLong();
        field.append(static_cast<char>(byte));
    }
    return QString();
}

QString CsvReader::readQuotedField(QByteArray& field)
{
    take();
    while (true) {
        const int byte = take();
        if (byte == EndOfFile)
            return QStringLiteral("a quote is opened and not closed");
        if (byte == '"' && peek() != '"')
            return atEndOfField() ? QString() : QStringLiteral("text follows a closing quote");
        if (byte == '"')
            take();
        if (field.size() == longestField)
            return tooLong();
        field.append(static_cast<char>(byte));
    }
}

void CsvReader::skipRestOfLine()
{
    while (peek() != EndOfFile && take() != '\n') {
    }
}

QByteArray csvField(const QByteArray& text)
{
    bool needsQuotes = text.isEmpty();
    for (const char character : text)
        needsQuotes =
            needsQuotes || character == ',' || character == '"' || character == '\n' || character == '\r';
    if (!needsQuotes)
        return text;
    QByteArray doubled = text;
    return '"' + doubled.replace('"', "\"\"") + '"';
}
