#include "project/private_database.h"

#include <QSqlQuery>
#include <QTemporaryDir>
#include <QVariant>
#include <QtEndian>

#include <atomic>
#include <sys/stat.h>

namespace {

constexpr int headerLength = 100; ///< of an SQLite file
constexpr qint64 chunk = 1 << 20;

QString connectionName()
{
    static std::atomic<int> number{0};
    return QStringLiteral("project-%1").arg(++number);
}

/// What changes when somebody writes to a file.
QVector<qint64> stampOf(const QFile& file)
{
    struct stat status = {};
    ::fstat(file.handle(), &status);
    return {status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

/// SQLite does not notice that the last page of a file is cut short. The header gives the size of a page and
/// the number of pages, which is valid if its two change counters are equal (an old SQLite does not keep it).
QString lengthProblem(const QByteArray& header, qint64 length)
{
    if (header.size() < headerLength || !header.startsWith("SQLite format 3"))
        return QString(); // SQLite says what it is not
    const char* bytes = header.constData();
    const qint64 pageField = qFromBigEndian<quint16>(bytes + 16);
    const qint64 page = pageField == 1 ? 65536 : pageField;
    const bool countIsValid = qFromBigEndian<quint32>(bytes + 24) == qFromBigEndian<quint32>(bytes + 92);
    const qint64 whole = countIsValid ? page * qFromBigEndian<quint32>(bytes + 28) : 0;
    if (length < whole)
        return QStringLiteral("it is damaged: only %1 of its %2 bytes are there").arg(length).arg(whole);
    return page > 0 && length % page != 0 ? QStringLiteral("it is damaged: its last page is cut off")
                                          : QString();
}

/// A database in log mode without a log beside it is complete; out of that mode, SQLite does not make one.
void takeOutOfLogMode(QByteArray& header)
{
    if (header.size() == headerLength && header.at(18) == 2 && header.at(19) == 2)
        header.replace(18, 2, "\1\1");
}

} // namespace

QString messageOf(const QSqlError& error)
{
    return error.databaseText().isEmpty() ? error.driverText() : error.databaseText();
}

PrivateDatabase::PrivateDatabase(QFile* source) : m_name(connectionName())
{
    QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
    m_problem = begin(source);
}

PrivateDatabase::~PrivateDatabase()
{
    QSqlDatabase::removeDatabase(m_name);
}

QString PrivateDatabase::begin(QFile* source)
{
    const QTemporaryDir folder; // mode 700
    m_file.setFileName(folder.filePath(QStringLiteral("database")));
    if (!folder.isValid() || !m_file.open(QIODevice::ReadWrite | QIODevice::NewOnly))
        return QStringLiteral("no room to work in %1: %2")
            .arg(QDir::tempPath(), folder.isValid() ? m_file.errorString() : folder.errorString());
    const QString problem = source ? copy(*source) : QString();
    return problem.isEmpty() ? open() : problem;
}

QString PrivateDatabase::copy(QFile& source)
{
    const QVector<qint64> stamp = stampOf(source);
    QByteArray header = source.read(headerLength);
    QString problem = lengthProblem(header, source.size());
    if (!problem.isEmpty())
        return problem;
    takeOutOfLogMode(header);
    for (QByteArray bytes = header; !bytes.isEmpty(); bytes = source.read(chunk)) {
        if (m_file.write(bytes) != bytes.size())
            break;
    }
    if (source.error() != QFile::NoError)
        return source.errorString();
    if (!m_file.flush() || m_file.error() != QFile::NoError)
        return QStringLiteral("no room to work in %1: %2").arg(QDir::tempPath(), m_file.errorString());
    return stampOf(source) == stamp ? QString() : QStringLiteral("another program is changing it");
}

QString PrivateDatabase::open()
{
    QSqlDatabase opened = database();
    opened.setDatabaseName(m_file.fileName());
    if (!opened.open())
        return messageOf(opened.lastError());
    for (const char* pragma : {"journal_mode = OFF", "synchronous = OFF"}) {
        QString problem = run(QLatin1String("PRAGMA ") + QLatin1String(pragma));
        if (!problem.isEmpty())
            return problem;
    }
    return integrityProblem();
}

QString PrivateDatabase::integrityProblem()
{
    QSqlQuery check(database());
    if (!check.exec(QStringLiteral("PRAGMA quick_check(1)")) || !check.next())
        return messageOf(check.lastError());
    const QString verdict = check.value(0).toString();
    return verdict == QLatin1String("ok") ? QString() : QStringLiteral("it is damaged: %1").arg(verdict);
}

QString PrivateDatabase::run(const QString& statement)
{
    QSqlQuery query(database());
    return query.exec(statement) ? QString() : messageOf(query.lastError());
}

QFile& PrivateDatabase::close()
{
    database().close();
    m_file.seek(0);
    return m_file;
}
