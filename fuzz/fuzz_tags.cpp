// Texts as addresses of tags, in the toolkit's functions and in the table of valid bits that the driver makes
// of a project's tags.

#include "check.h"
#include "harness.h"
#include "modbus_tcp_slave.h"
#include "project_fixture.h"
#include "scripted_link.h"
#include "tools.h"

#include <QRegularExpression>

#include <cctype>
#include <memory>

namespace {

const unsigned char defaultStation = 7;

std::unique_ptr<DriverModbusTcpSlave> driver;
QString connection;

/// Where a tag belongs.
struct Place
{
    bool isBit;
    unsigned char station;
    bool isInput;
    int address;
};

/// The value of a digit, 99 for what is none.
int digitValue(char c)
{
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
                                  : 99;
}

/// The number of a text of digits, 0 for any other text and for numbers beyond 31 bits. Blanks behind the
/// digits and the "0x" of a hexadecimal number are no harm to Qt.
int numberOf(const QByteArray& digits, int base = 10)
{
    QByteArray text = QByteArray(digits.constData()).trimmed();
    if (base == 16 && text.size() > 2 && text.toLower().startsWith("0x"))
        text.remove(0, 2);
    qint64 number = 0;
    for (const char c : text) {
        number = number * base + digitValue(c);
        if (digitValue(c) >= base || number > 0x7FFFFFFF)
            return 0;
    }
    return static_cast<int>(number);
}

int firstDigit(const QByteArray& text, int base = 10)
{
    const auto found =
        std::find_if(text.begin(), text.end(), [base](char c) { return digitValue(c) < base; });
    return static_cast<int>(found - text.begin());
}

int addressOf(int number)
{
    return (number - 1) & 0xFFFF;
}

Place placeOf(const QString& tag)
{
    static const QRegularExpression plain(QLatin1String("^(?:FN5(?=DO))?(D[IO])"),
                                          QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression qualified(QLatin1String("^(\\d+)-((?:FN5)?DO|DI)(\\d+)"),
                                              QRegularExpression::CaseInsensitiveOption |
                                                  QRegularExpression::UseUnicodePropertiesOption);
    const QRegularExpressionMatch own = plain.match(tag);
    if (own.hasMatch()) {
        const QByteArray rest = tag.mid(own.capturedStart(1)).toLatin1();
        const int number = numberOf(rest.mid(firstDigit(rest)));
        return {true, defaultStation, rest.at(1) == 'I' || rest.at(1) == 'i', addressOf(number)};
    }
    const QRegularExpressionMatch other = qualified.match(tag);
    if (!other.hasMatch())
        return {false, defaultStation, false, 0};
    return {true, static_cast<unsigned char>(other.captured(1).toUInt()),
            other.captured(2).startsWith(QLatin1String("DI"), Qt::CaseInsensitive),
            addressOf(numberOf(other.captured(3).toLatin1()))};
}

void checkTable(const QString& tag)
{
    QSqlQuery insert(QSqlDatabase::database(connection));
    CHECK(insert.exec(QLatin1String("DELETE FROM custom_tag_table")));
    CHECK(insert.prepare(QLatin1String("INSERT INTO custom_tag_table VALUES (1, ?)")));
    insert.addBindValue(tag);
    CHECK(insert.exec());
    CHECK(driver->initValidBitAddressesMap(1, defaultStation));

    const Place place = placeOf(tag);
    ScriptedLink link;
    link.station = place.station;
    const QByteArray area(place.isInput ? "DI" : "DO");
    const QString first = QLatin1String(area) + QString::number(place.address + 1);
    CHECK(driver->read(&link, CommunicatorCommand(Byte, 1, first)).isEmpty());
    if (!place.isBit) {
        CHECK(driver->getLastError().endsWith(QLatin1String("invalid address 7-DO")));
        return;
    }
    CHECK(link.sent.size() == 1);
    CHECK(link.sent.first().mid(7).toHex() ==
          (place.isInput ? "02" : "01") + QByteArray::number(0x10000 + place.address, 16).mid(1) + "0001");
}

void checkFunctions(const QString& text)
{
    const QByteArray bytes = text.toLatin1();
    const QByteArray prefix = ExtractPrefixSymbol(text);
    CHECK(prefix == ExtractPrefixSymbol(bytes) && bytes.startsWith(prefix));
    const auto isSymbol = [](char c) { return (c & 0x80) == 0 && (std::isalpha(c) || c == '_'); };
    CHECK(std::all_of(prefix.begin(), prefix.end(), isSymbol));
    CHECK(prefix.size() == bytes.size() || !isSymbol(bytes.at(prefix.size())));

    for (int base = -1; base <= 37; ++base) {
        const int number = ExtractPLCDeviceAddress(text, base);
        CHECK(number == ExtractPLCDeviceAddress(bytes, base));
        const bool isKnown = base == 8 || base == 10 || base == 16;
        CHECK(number == (isKnown ? numberOf(bytes.mid(firstDigit(bytes, base)), base) : -1));
    }
    DevStrToHmiPort(text);
}

} // namespace

/// Puts a database in memory in the place of the project once that is loaded.
void prepare()
{
    ProjectFixture::clear();
    CHECK(ProjectFixture::create(ProjectFixture::usualPlace(), QStringList()));
    driver = std::make_unique<DriverModbusTcpSlave>();
    ScriptedLink link;
    CHECK(driver->readDB(&link, QString()));
    ProjectFixture::clear();

    CHECK(QSqlDatabase::connectionNames().size() == 1);
    connection = QSqlDatabase::connectionNames().first();
    QSqlDatabase::removeDatabase(connection);
    QSqlDatabase database = QSqlDatabase::addDatabase(QLatin1String("QSQLITE"), connection);
    database.setDatabaseName(QLatin1String(":memory:"));
    CHECK(database.open());
    QSqlQuery create(database);
    CHECK(create.exec(QLatin1String("CREATE TABLE custom_tag_table (connector_id INTEGER, address TEXT)")));
}

void tryInput(Input& input)
{
    const QString text = QString::fromUtf8(input.rest());
    checkFunctions(text);
    checkTable(text);
}
