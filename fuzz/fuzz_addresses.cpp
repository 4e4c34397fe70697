// Texts as addresses of commands: each must lead to the request that its letters and digits say, or to a
// refusal that names it.

#include "check.h"
#include "harness.h"
#include "modbus_tcp_slave.h"
#include "project_fixture.h"
#include "scripted_link.h"

#include <QRegularExpression>

#include <memory>

namespace {

std::unique_ptr<DriverModbusTcpSlave> driver;

quint32 numberOf(const QString& digits)
{
    quint32 number = 0;
    for (const QChar digit : digits)
        number = number * 10 + static_cast<quint32>(digit.unicode() - '0');
    return number;
}

/// What a pattern finds in an address text.
struct Parsed
{
    explicit Parsed(const QString& text)
    {
        static const QRegularExpression pattern(
            QLatin1String("^((?:[Ff].{0,2})?[A-Za-z]*)([0-9]*)(?:\\.([0-9]*))?"),
            QRegularExpression::DotMatchesEverythingOption);
        const QRegularExpressionMatch match = pattern.match(QString::fromLatin1(text.toLatin1()));
        prefix = match.captured(1);
        address = match.capturedLength(2) == 0 ? 65535 : (numberOf(match.captured(2)) - 1) & 0xFFFF;
        bit = numberOf(match.captured(3)) & 0xFF;
    }

    bool isIn(const char* area) const { return prefix.startsWith(QLatin1String(area), Qt::CaseInsensitive); }
    bool isHolding() const { return isIn("HR") || isIn("FN6HR"); }
    bool isBits() const { return isIn("DO") || isIn("FN5DO") || isIn("DI"); }

    QString prefix;
    quint32 address;
    quint32 bit;
};

/// An error text with the description of a read command in front, unless it holds a '>' of its own.
QString described(const QString& reason, const char* element, const QString& text)
{
    if (reason.contains(QLatin1Char('>')))
        return reason;
    return QLatin1String("read 1 ") + QLatin1String(element) + QLatin1String("(s) from 1-") + text +
           QLatin1String("> ") + reason;
}

/// The device stays silent.
void checkRead(CommandDataType type, const char* element, const QString& text, const Parsed& parsed,
               int functionCode, quint32 quantity)
{
    ScriptedLink link;
    CHECK(driver->read(&link, CommunicatorCommand(type, 1, text)).isEmpty());
    if (parsed.address + quantity > 65536) {
        const QString place = parsed.prefix + QString::number(parsed.address + 1);
        const QString reason = QLatin1String("can't read any word from ") + place;
        CHECK(driver->getLastError() == described(reason, element, text) && link.sent.isEmpty());
        return;
    }
    CHECK(driver->getLastError() == described(link.errorString(), element, text) && link.sent.size() == 1);
    const QString fields = QString::fromLatin1("%1%2%3")
                               .arg(functionCode, 2, 16, QLatin1Char('0'))
                               .arg(parsed.address, 4, 16, QLatin1Char('0'))
                               .arg(quantity, 4, 16, QLatin1Char('0'));
    CHECK(link.sent.first().mid(7).toHex() == fields.toLatin1());
}

void checkWrite(const QString& text, const Parsed& parsed)
{
    ScriptedLink link;
    CHECK(!driver->write(&link, CommunicatorCommand(Word, 1, text), QByteArray()));
    if (!parsed.isHolding()) {
        CHECK(driver->getLastError().endsWith(QLatin1String("can't write any word to ") + text));
        CHECK(link.sent.isEmpty());
        return;
    }
    CHECK(link.sent.size() == 1 && link.sent.first().at(7) == (parsed.isIn("HR") ? 16 : 6));
}

} // namespace

void prepare()
{
    ProjectFixture::clear();
    CHECK(ProjectFixture::create(ProjectFixture::usualPlace(), QStringList()));
    driver = std::make_unique<DriverModbusTcpSlave>();
    ScriptedLink link;
    CHECK(driver->readDB(&link, QString()));
    ProjectFixture::clear();
}

void tryInput(Input& input)
{
    const QString text = QString::fromUtf8(input.rest());
    const Parsed parsed(text);
    const int registers = parsed.isHolding() ? 3 : 4;
    checkRead(Word, "word", text, parsed, registers, 1);
    if (parsed.isBits())
        checkRead(Bit, "bit", text, parsed, parsed.isIn("DI") ? 2 : 1, 1);
    else
        checkRead(Bit, "bit", text, parsed, registers, parsed.bit / 16 + 1);
    checkWrite(text, parsed);
}
