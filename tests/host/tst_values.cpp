#include "session/device_address.h"
#include "session/frame_trace.h"
#include "signals/element_address.h"
#include "signals/values.h"

#include <QJsonDocument>
#include <QtTest>

namespace {

/// "word" or "word int": a type and, if there is one, a notation.
CommandDataType typeIn(const QString& kind)
{
    return *dataTypeFromName(kind.section(QLatin1Char(' '), 0, 0));
}

std::optional<Notation> notationIn(const QString& kind)
{
    return notationFromName(kind.section(QLatin1Char(' '), 1));
}

QStringList words(const QString& text)
{
    return text.split(QLatin1Char('|'));
}

} // namespace

class tst_values : public QObject
{
    Q_OBJECT

private slots:
    void encoded_data();
    void encoded();
    void refused_data();
    void refused();
    void printed_data();
    void printed();
    void notations();
    void elementAddresses_data();
    void elementAddresses();
    void deviceAddresses_data();
    void deviceAddresses();
    void frames_data();
    void frames();
};

void tst_values::encoded_data()
{
    QTest::addColumn<QString>("values");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("bit") << "1" << QByteArray("01");
    QTest::newRow("bitblock") << "1|0|0|0|0|0|0|1|1|0x1" << QByteArray("8103");
    QTest::newRow("byte") << "0|255|-128|-1|0xfF" << QByteArray("00ff80ffff");
    QTest::newRow("word") << "0|65535|-32768|0x1234|007" << QByteArray("0000ffff008034120700");
    QTest::newRow("dword") << "305419896|-1|4294967295|-2147483648"
                           << QByteArray("78563412ffffffffffffffff00000080");
    QTest::newRow("qword") << "1|18446744073709551615|-9223372036854775808"
                           << QByteArray("0100000000000000ffffffffffffffff0000000000000080");
    QTest::newRow("word int") << "-5|32767" << QByteArray("fbffff7f");
    QTest::newRow("word hex") << "ff|0x10" << QByteArray("ff001000");
    QTest::newRow("word bits") << "100000001|1111111111111111" << QByteArray("0101ffff");
    QTest::newRow("dword ") << "1.5|-0.1|1e3|3.4028235e38" << QByteArray("0000c03fcdccccbd00007a44ffff7f7f");
    QTest::newRow("dword float") << "1|2.5|0" << QByteArray("0000803f0000204000000000");
    QTest::newRow("block text") << QString::fromUtf8("H\u00f6he [1]") << QByteArray("48c3b66865205b315d");
}

void tst_values::encoded()
{
    QFETCH(QString, values);
    QFETCH(QByteArray, bytes);
    const QString kind = QString::fromLatin1(QTest::currentDataTag());
    QString error;
    const auto data = encodeValues(typeIn(kind), notationIn(kind), words(values), error);
    QVERIFY2(data, qPrintable(error));
    QCOMPARE(data->bytes.toHex(), bytes);
    QCOMPARE(data->bytes.size(), int(dataLength(typeIn(kind), data->count)));
}

void tst_values::refused_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("values");
    QTest::addColumn<QString>("error");
    const QString word = QStringLiteral("a whole number from -32768 to 65535");
    const auto row = [](const char* kind, const char* values, const QString& error) {
        QTest::addRow("%s: %s", kind, values) << kind << values << error;
    };
    row("bit", "1|2", QStringLiteral("value 2, \"2\", does not fit a bit: it must be 0 or 1"));
    row("bit", "-1", QStringLiteral("0 or 1"));
    row("byte", "256", QStringLiteral("-128 to 255"));
    row("byte", "-129", QStringLiteral("-128 to 255"));
    row("word", "65536", word);
    row("word", "1|-32769", QStringLiteral("value 2, \"-32769\""));
    for (const char* none :
         {"", " 1", "1 ", "+1", "0x", "-", "--1", "1.5", "1e3", "ten", "0x1g", "99999999999999999999"})
        row("word", none, word);
    row("word int", "32768", QStringLiteral("-32768 to 32767"));
    row("word uint", "-1", QStringLiteral("0 to 65535"));
    row("word hex", "10000", QStringLiteral("0 to ffff in hexadecimal"));
    row("word bits", "2", QStringLiteral("at most 16 binary digits"));
    row("word bits", "10000000000000000", QStringLiteral("at most 16 binary digits"));
    row("dword", "4294967296", QStringLiteral("-2147483648 to 4294967295, or a number with a decimal point"));
    row("dword", "1.5|2", QStringLiteral("are mixed"));
    row("dword", "1e39", QStringLiteral("single precision"));
    row("dword float", "x", QStringLiteral("single precision"));
    row("qword", "18446744073709551616", QStringLiteral("18446744073709551615"));
    row("byte text", "a|b", QStringLiteral("takes one text"));
    row("byte text", "", QStringLiteral("takes one text"));
}

void tst_values::refused()
{
    QFETCH(QString, kind);
    QFETCH(QString, values);
    QFETCH(QString, error);
    QString text;
    QVERIFY(!encodeValues(typeIn(kind), notationIn(kind), words(values), text));
    QVERIFY2(text.contains(error), qPrintable(text));
}

void tst_values::printed_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("texts");
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("bit uint 10") << QByteArray("8102") << "1|0|0|0|0|0|0|1|0|1"
                                 << QByteArray("[1,0,0,0,0,0,0,1,0,1]");
    QTest::newRow("byte int 2") << QByteArray("80ff") << "-128|-1" << QByteArray("[-128,-1]");
    QTest::newRow("word uint 2") << QByteArray("3412ffff") << "4660|65535" << QByteArray("[4660,65535]");
    QTest::newRow("word hex 2") << QByteArray("34120000") << "0x1234|0x0000" << QByteArray("[4660,0]");
    QTest::newRow("word int 1") << QByteArray("ffff") << "-1" << QByteArray("[-1]");
    QTest::newRow("byte bits 1") << QByteArray("81") << "10000001" << QByteArray("[1,0,0,0,0,0,0,1]");
    QTest::newRow("dword uint 1") << QByteArray("78563412") << "305419896" << QByteArray("[305419896]");
    QTest::newRow("dword float 4") << QByteArray("cdcccc3d0000c0ff00007fc30000807f") << "0.1|-nan|-255|inf"
                                   << QByteArray("[0.1,null,-255,null]");
    QTest::newRow("qword uint 2") << QByteArray("ffffffffffff1f000100000000000000") << "9007199254740991|1"
                                  << QByteArray("[9007199254740991,1]");
    QTest::newRow("byte text 5") << QByteArray("41c3a4000a") << QString::fromUtf8("A\u00e4\\x00\\x0a")
                                 << QByteArray("[65,195,164,0,10]");
    QTest::newRow("block text 2") << QByteArray("41e4") << "A\\xe4" << QByteArray("[65,228]");
}

void tst_values::printed()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, texts);
    QFETCH(QByteArray, json);
    const QStringList parts = QString::fromLatin1(QTest::currentDataTag()).split(QLatin1Char(' '));
    const CommandDataType type = *dataTypeFromName(parts.at(0));
    const Notation notation = *notationFromName(parts.at(1));
    const QByteArray data = QByteArray::fromHex(bytes);
    QCOMPARE(valueTexts(type, notation, parts.at(2).toInt(), data).join(QLatin1Char('|')), texts);
    const QJsonArray numbers = valueNumbers(type, notation, parts.at(2).toInt(), data);
    QCOMPARE(QJsonDocument(numbers).toJson(QJsonDocument::Compact), json);
}

void tst_values::notations()
{
    const auto fitting = [](CommandDataType type) {
        QStringList names;
        for (const QString& name : notationNames()) {
            if (notationProblem(type, *notationFromName(name)).isEmpty())
                names += name;
        }
        return names.join(QLatin1Char(' '));
    };
    QCOMPARE(fitting(Bit), QStringLiteral("uint bits"));
    QCOMPARE(fitting(BitBlock), QStringLiteral("uint bits"));
    QCOMPARE(fitting(Byte), QStringLiteral("uint int hex bits text"));
    QCOMPARE(fitting(Word), QStringLiteral("uint int hex bits"));
    QCOMPARE(fitting(DoubleWord), QStringLiteral("uint int hex float bits"));
    QVERIFY(!dataTypeFromName(QStringLiteral("float")));
    QVERIFY(!notationFromName(QStringLiteral("word")));
}

void tst_values::elementAddresses_data()
{
    QTest::addColumn<QString>("elements"); ///< of indexes 0, 1, 2 and 20
    QTest::newRow("HR100 word") << "HR100|HR101|HR102|HR120";
    QTest::newRow("ir7 word") << "ir7|ir8|ir9|ir27";
    QTest::newRow("HR100 dword") << "HR100|HR102|HR104|HR140";
    QTest::newRow("HR100SW dword") << "HR100SW|HR102SW|HR104SW|HR140SW";
    QTest::newRow("HR1 qword") << "HR1|HR5|HR9|HR81";
    QTest::newRow("FN6HR9 byte") << "FN6HR9 low|FN6HR9 high|FN6HR10 low|FN6HR19 low";
    QTest::newRow("DO8 byte") << "DO8|DO16|DO24|DO168";
    QTest::newRow("HR100.14 bit") << "HR100.14|HR100.15|HR101.0|HR102.2";
    QTest::newRow("IR3 bitblock") << "IR3.0|IR3.1|IR3.2|IR4.4";
    QTest::newRow("fn5do3 bit") << "fn5do3|fn5do4|fn5do5|fn5do23";
    QTest::newRow("DI65530 bit") << "DI65530|DI65531|DI65532|DI65550";
    QTest::newRow("HR word") << "HR|HR +1|HR +2|HR +20";
}

void tst_values::elementAddresses()
{
    QFETCH(QString, elements);
    const QStringList parts = QString::fromLatin1(QTest::currentDataTag()).split(QLatin1Char(' '));
    const ElementAddresses addresses(parts.at(0), *dataTypeFromName(parts.at(1)));
    QCOMPARE(QStringList({addresses.at(0), addresses.at(1), addresses.at(2), addresses.at(20)}),
             words(elements));
    const bool bits = parts.at(0).contains(QLatin1Char('D'), Qt::CaseInsensitive);
    QCOMPARE(typeOfArea(parts.at(0)), bits ? Bit : Word);
}

void tst_values::deviceAddresses_data()
{
    QTest::addColumn<QString>("parsed"); ///< "host port", "host -" without a port, nothing when it is refused
    QTest::newRow("plc") << "plc -";
    QTest::newRow("10.0.0.1:1502") << "10.0.0.1 1502";
    QTest::newRow("::1") << "::1 -";
    QTest::newRow("[::1]") << "::1 -";
    QTest::newRow("[fe80::1%eth0]:65535") << "fe80::1%eth0 65535";
    for (const char* wrong :
         {"", ":502", "plc:", "plc:0", "plc:65536", "plc:x", "plc:-1", "plc: 1", "[::1", "[::1]502", "a b"})
        QTest::newRow(wrong) << QString();
}

void tst_values::deviceAddresses()
{
    QFETCH(QString, parsed);
    QString error;
    const auto address = parseDeviceAddress(QString::fromLatin1(QTest::currentDataTag()), error);
    QCOMPARE(!address, parsed.isEmpty());
    QCOMPARE(error.isEmpty(), bool(address));
    if (address)
        QCOMPARE(address->host +
                     (address->port ? QStringLiteral(" %1").arg(*address->port) : QStringLiteral(" -")),
                 parsed);
}

void tst_values::frames_data()
{
    QTest::addColumn<bool>("isRequest");
    QTest::addColumn<QString>("description");
    QTest::newRow("00ff00000006ff0f00000008")
        << true << "tid 255 unit 255 Write Multiple Coils address 0 quantity 8";
    QTest::newRow("000100000006010500 0aff00")
        << true << "tid 1 unit 1 Write Single Coil address 10 value 0xff00";
    QTest::newRow("000100000006010600 090102")
        << false << "tid 1 unit 1 Write Single Register address 9 value 258";
    QTest::newRow("00010000000401010155") << false << "tid 1 unit 1 Read Coils 1 data bytes";
    QTest::newRow("00010000000301840b")
        << false
        << "tid 1 unit 1 Read Input Registers exception 11 (gateway target device failed to respond)";
    QTest::newRow("000100000003018463")
        << false << "tid 1 unit 1 Read Input Registers exception 99 (not in the Modbus standard)";
    QTest::newRow("00010000000201ab") << false << "tid 1 unit 1 function code 43 exception without a code";
    QTest::newRow("0001000000020110") << false << "tid 1 unit 1 Write Multiple Registers";
    for (const char* none :
         {"", "0001", "000100010003018402", "0001000000030184", "00010000000101", "0001000000ff01"})
        QTest::newRow(none) << false << QString();
}

void tst_values::frames()
{
    QFETCH(bool, isRequest);
    QFETCH(QString, description);
    QCOMPARE(describeFrame(QByteArray::fromHex(QTest::currentDataTag()), isRequest), description);
}

QTEST_GUILESS_MAIN(tst_values)
#include "tst_values.moc"
