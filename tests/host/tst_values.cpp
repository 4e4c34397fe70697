#include "session/device_address.h"
#include "session/frame_trace.h"
#include "signals/values.h"

#include <QJsonDocument>
#include <QtTest>

namespace {

QStringList words(const QString& text)
{
    return text.split(QLatin1Char('|'));
}

/// The only item that a text gives.
Item itemIn(const QString& text)
{
    QString error;
    const QVector<Item> items = parseItems(text, {Grammar::ModbusTcp, {125, 2008}, {}, {}}, error);
    return items.size() == 1 ? items.first() : Item();
}

QString compact(const QJsonArray& array)
{
    return QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Compact));
}

/// 0.1 °C a step.
Signal ovenTemperature()
{
    Signal signal;
    signal.name = QStringLiteral("Oven 3 temp");
    signal.address = QStringLiteral("3-HR7");
    signal.type = parseSignalType(QStringLiteral("int16"));
    signal.scale = 0.1;
    signal.unit = QString::fromUtf8("\u00b0C");
    signal.decimals = 1;
    return signal;
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
    void codec_data();
    void codec();
    void signalValues_data();
    void signalValues();
    void notations();
    void addresses_data();
    void addresses();
    void items_data();
    void items();
    void names();
    void badSignals_data();
    void badSignals();
    void foreignAddresses();
    void deviceAddresses_data();
    void deviceAddresses();
    void frames_data();
    void frames();
};

// What the driver's own types take, as "HR2:TYPE[:NOTATION]".
void tst_values::encoded_data()
{
    QTest::addColumn<QString>("values");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("bit") << "1" << QByteArray("01");
    QTest::newRow("bitblock") << "1|0|0|0|0|0|0|1|1|0x1" << QByteArray("8103");
    QTest::newRow("byte") << "0|255|-128|-1|0xfF|7" << QByteArray("00ff80ffff07");
    QTest::newRow("word") << "0|65535|-32768|0x1234|007" << QByteArray("0000ffff008034120700");
    QTest::newRow("dword") << "305419896|-1|4294967295|-2147483648"
                           << QByteArray("78563412ffffffffffffffff00000080");
    QTest::newRow("qword") << "1|18446744073709551615|-9223372036854775808"
                           << QByteArray("0100000000000000ffffffffffffffff0000000000000080");
    QTest::newRow("word:int") << "-5|32767" << QByteArray("fbffff7f");
    QTest::newRow("word:hex") << "ff|0x10" << QByteArray("ff001000");
    QTest::newRow("word:bits") << "100000001|1111111111111111" << QByteArray("0101ffff");
    QTest::newRow("dword:float") << "1|2.5|-0.1|1e3|3.4028235e38"
                                 << QByteArray("0000803f00002040cdccccbd00007a44ffff7f7f");
    QTest::newRow("block:text") << QString::fromUtf8("H\u00f6he [1]!") << QByteArray("48c3b66865205b315d21");
}

void tst_values::encoded()
{
    QFETCH(QString, values);
    QFETCH(QByteArray, bytes);
    const Item item = itemIn(QStringLiteral("HR2:") + QString::fromLatin1(QTest::currentDataTag()));
    QString error;
    const auto data = encodeValues(item, words(values), error);
    QVERIFY2(data, qPrintable(error));
    QCOMPARE(data->bytes.toHex(), bytes);
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
    row("bool", "2", QStringLiteral("0 or 1"));
    row("byte", "256|0", QStringLiteral("-128 to 255"));
    row("byte", "-129|0", QStringLiteral("-128 to 255"));
    row("word", "65536", word);
    row("word", "1|-32769", QStringLiteral("value 2, \"-32769\""));
    for (const char* none :
         {"", " 1", "1 ", "+1", "0x", "-", "--1", "1.0", "1e3", "ten", "0x1g", "99999999999999999999"})
        row("word", none, word);
    row("word:int", "32768", QStringLiteral("-32768 to 32767"));
    row("word:uint", "-1", QStringLiteral("0 to 65535"));
    row("word:hex", "10000", QStringLiteral("0 to ffff in hexadecimal"));
    row("word:bits", "2", QStringLiteral("at most 16 binary digits"));
    row("word:bits", "10000000000000000", QStringLiteral("at most 16 binary digits"));
    row("dword", "4294967296", QStringLiteral("-2147483648 to 4294967295"));
    row("dword", "100.0", QStringLiteral("take --type float32 for a number with a decimal point"));
    row("dword:float", "x", QStringLiteral("single precision"));
    row("qword", "18446744073709551616", QStringLiteral("18446744073709551615"));
    row("byte:text", "a|b", QStringLiteral("takes one text"));
    row("byte:text", "", QStringLiteral("takes one text"));
    row("byte", "1|2|3", QStringLiteral("3 byte(s) end in the middle of a register"));
    row("byte:text", "abc", QStringLiteral("give one byte more, or write words (--type word)"));
    row("int16", "32768", QStringLiteral("-32768 to 32767"));
    row("uint16", "-1", QStringLiteral("0 to 65535"));
    row("int32", "2147483648", QStringLiteral("-2147483648 to 2147483647"));
    row("uint32", "4294967296", QStringLiteral("0 to 4294967295"));
    row("int64", "9223372036854775808", QStringLiteral("9223372036854775807"));
    row("uint64", "18446744073709551616", QStringLiteral("18446744073709551615"));
    row("float32", "1e39", QStringLiteral("single precision"));
    row("float64", "1e309", QStringLiteral("double precision"));
    row("string(6)", "seven..", QStringLiteral("at most 6 bytes"));
    row("string(5)", "five.", QStringLiteral("take string(6)"));
}

void tst_values::refused()
{
    QFETCH(QString, kind);
    QFETCH(QString, values);
    QFETCH(QString, error);
    QString text;
    QVERIFY(!encodeValues(itemIn(QStringLiteral("HR2:") + kind), words(values), text));
    QVERIFY2(text.contains(error), qPrintable(text));
}

void tst_values::printed_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("texts");
    QTest::addColumn<QString>("json");
    QTest::newRow("bit:10") << QByteArray("8102") << "1|0|0|0|0|0|0|1|0|1"
                            << "[1,0,0,0,0,0,0,1,0,1]";
    QTest::newRow("byte:2:int") << QByteArray("80ff") << "-128|-1"
                                << "[-128,-1]";
    QTest::newRow("word:2") << QByteArray("3412ffff") << "4660|65535"
                            << "[4660,65535]";
    QTest::newRow("word:2:hex") << QByteArray("34120000") << "0x1234|0x0000"
                                << "[4660,0]";
    QTest::newRow("word:1:int") << QByteArray("ffff") << "-1"
                                << "[-1]";
    QTest::newRow("byte:1:bits") << QByteArray("81") << "10000001"
                                 << "[1,0,0,0,0,0,0,1]";
    QTest::newRow("dword:1") << QByteArray("78563412") << "305419896"
                             << "[305419896]";
    QTest::newRow("dword:4:float") << QByteArray("cdcccc3d0000c0ff00007fc30000807f") << "0.1|-nan|-255|inf"
                                   << "[0.1,null,-255,null]";
    QTest::newRow("qword:2") << QByteArray("ffffffffffff1f000100000000000000") << "9007199254740991|1"
                             << "[9007199254740991,1]";
    QTest::newRow("byte:5:text") << QByteArray("41c3a4000a") << QString::fromUtf8("A\u00e4\\x00\\x0a")
                                 << "[65,195,164,0,10]";
    QTest::newRow("block:2:text") << QByteArray("41e4") << "A\\xe4"
                                  << "[65,228]";
    QTest::newRow("uint32:1:ABCD:hex") << QByteArray("34127856") << "0x12345678"
                                       << "[305419896]";
    QTest::newRow("float32:1:hex") << QByteArray("0000803f") << "0x3f800000"
                                   << "[1065353216]";
    QTest::newRow("string(3):1:bits") << QByteArray("42410043") << "01000001 01000010 01000011"
                                      << "[\"01000001 01000010 01000011\"]";
    QTest::newRow("string(4):2") << QByteArray("62416300"
                                               "1b41e462")
                                 << "Ab|A\\x1bb\\xe4"
                                 << "[\"Ab\",\"A\\\\x1bb\\\\xe4\"]";
}

void tst_values::printed()
{
    QFETCH(QByteArray, bytes);
    const Item item = itemIn(QStringLiteral("HR2:") + QString::fromLatin1(QTest::currentDataTag()));
    const QByteArray data = QByteArray::fromHex(bytes);
    QTEST(valueTexts(item, data).join(QLatin1Char('|')), "texts");
    QTEST(compact(valueNumbers(item, data)), "json");
}

// What stands on the wire, register after register, for each type and order; both ways.
void tst_values::codec_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("registers"); ///< for ABCD, CDAB, BADC, DCBA
    const auto row = [](const char* type, const char* value, const char* registers) {
        QTest::newRow(type) << value << registers;
    };
    row("int16", "-2", "fffe|fffe|feff|feff");
    row("uint16", "4660", "1234|1234|3412|3412");
    row("int32", "-2", "fffffffe|fffeffff|fffffeff|feffffff");
    row("uint32", "287454020", "11223344|33441122|22114433|44332211");
    row("float32", "-12.5", "c1480000|0000c148|48c10000|000048c1");
    row("int64", "-2", "fffffffffffffffe|fffeffffffffffff|fffffffffffffeff|feffffffffffffff");
    row("uint64", "1234605616436508552",
        "1122334455667788|7788556633441122|2211443366558877|8877665544332211");
    row("float64", "0.1", "3fb999999999999a|999a999999993fb9|b93f999999999a99|9a9999999999b93f");
    row("string(6)", "Hello", "48656c6c6f00|48656c6c6f00|65486c6c006f|65486c6c006f");
}

void tst_values::codec()
{
    QFETCH(QString, value);
    QFETCH(QString, registers);
    for (int i = 0; i < byteOrderNames().size(); ++i) {
        Item item = itemIn(QStringLiteral("HR2:%1:2:%2")
                               .arg(QLatin1String(QTest::currentDataTag()), byteOrderNames().at(i)));
        QByteArray data = QByteArray::fromHex(words(registers).at(i).toLatin1()).repeated(2);
        for (int byte = 0; byte < data.size(); byte += 2) // the driver puts a register's low byte first
            std::iter_swap(data.begin() + byte, data.begin() + byte + 1);
        QCOMPARE(valueTexts(item, data), QStringList({value, value}));
        QString error;
        const auto encoded = encodeValues(item, {value, value}, error);
        QVERIFY2(encoded, qPrintable(error));
        QCOMPARE(encoded->bytes.toHex(), data.toHex());
        QCOMPARE(item.command().count * 2, data.size());
    }
}

void tst_values::signalValues_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<double>("scale");
    QTest::addColumn<double>("offset");
    QTest::addColumn<int>("decimals");     ///< -1: none
    QTest::addColumn<QByteArray>("bytes"); ///< empty: refused
    QTest::addColumn<QString>("text");     ///< or the range that the error names
    QTest::addColumn<QString>("json");
    const auto row = [](const char* value, const char* type, double scale, double offset, int decimals,
                        const char* bytes, const char* text, const char* json = "") {
        QTest::newRow(value) << type << scale << offset << decimals << QByteArray(bytes) << text << json;
    };
    row("180.5", "int16", 0.1, 0, 1, "0d07", "180.5 bar", "[180.5]");
    row("-12.3", "int16", 0.1, 0, -1, "85ff", "-12.3 bar", "[-12.3]");
    row("20", "word", 0.5, -10, 2, "3c00", "20.00 bar", "[20]");
    row("-1", "uint16", -1, 0, -1, "0100", "-1 bar", "[-1]");
    row("7", "uint32", 1, 0, 2, "07000000", "7.00 bar", "[7]");
    row("2.5", "float32", 10, 0, 3, "0000803e", "2.500 bar", "[2.5]");
    row("180.55", "int16", 0.1, 0, 1, "", "a number from -3276.8 to 3276.7 bar in steps of 0.1");
    row("3276.8", "int16", 0.1, 0, 1, "", "a number from -3276.8 to 3276.7 bar in steps of 0.1");
    row("11", "uint16", -1, 10, 0, "", "a number from -65525 to 10 bar in steps of 1");
    row("1e40", "float32", 10, 0, 1, "", "a number from -3.40282346638529e+39 to 3.40282346638529e+39 bar");
    row("nan", "float32", 10, 0, 1, "", "a number from");
    row("0x10", "int16", 0.1, 0, 1, "", "a number from");
}

void tst_values::signalValues()
{
    QFETCH(QString, type);
    QFETCH(double, scale);
    QFETCH(double, offset);
    QFETCH(int, decimals);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    Signal signal = ovenTemperature();
    signal.type = parseSignalType(type);
    signal.scale = scale;
    signal.offset = offset;
    signal.decimals = decimals < 0 ? std::nullopt : std::optional(decimals);
    signal.unit = QStringLiteral("bar");
    QString error;
    const auto item = itemOfSignal(signal, ItemContext(), error);
    QVERIFY2(item, qPrintable(error));
    const auto data = encodeValues(*item, {QString::fromLatin1(QTest::currentDataTag())}, error);
    QCOMPARE(data ? data->bytes.toHex() : QByteArray(), bytes);
    if (!data) {
        QVERIFY2(error.contains(text), qPrintable(error));
        return;
    }
    QCOMPARE(withUnit(*item, valueTexts(*item, data->bytes).first()), text);
    QTEST(compact(valueNumbers(*item, data->bytes)), "json");
}

void tst_values::notations()
{
    const auto fitting = [](const char* type) {
        QStringList names;
        for (const QString& name : notationNames()) {
            if (notationProblem(*parseSignalType(QLatin1String(type)), *notationFromName(name)).isEmpty())
                names += name;
        }
        return names.join(QLatin1Char(' '));
    };
    QCOMPARE(fitting("bit"), QStringLiteral("uint bits"));
    QCOMPARE(fitting("bool"), QStringLiteral("uint bits"));
    QCOMPARE(fitting("byte"), QStringLiteral("uint int hex bits text"));
    QCOMPARE(fitting("word"), QStringLiteral("uint int hex bits"));
    QCOMPARE(fitting("dword"), QStringLiteral("uint int hex float bits"));
    QCOMPARE(fitting("float64"), QStringLiteral("uint int hex float bits"));
    QCOMPARE(fitting("string(7)"), QStringLiteral("hex bits text"));
    for (const char* none :
         {"float", "Word", "string", "string(0)", "string(N)", "string(251)", "string(07)", ""})
        QVERIFY2(!parseSignalType(QLatin1String(none)), none);
    for (const QString& name : signalTypeNames())
        QCOMPARE(
            signalTypeName(*parseSignalType(QString(name).replace(QLatin1Char('N'), QLatin1String("250")))),
            QString(name).replace(QLatin1Char('N'), QLatin1String("250")));
}

void tst_values::addresses_data()
{
    QTest::addColumn<QString>("problem"); ///< empty: the address is good
    for (const char* good : {"DI1", "do65536", "FN5DO12", "HR1", "fn6hr10", "IR3", "HR100.0", "HR100.255",
                             "HR100SW", "hr100.3sw", "2-DI5", "0-HR1", "255-FN6HR1", "DO007", "HR65536.15"})
        QTest::newRow(good) << "";
    for (const char* noArea : {"XY1", "H1", "5", "1-", "1-XY2", "FN7HR1", " DI1", "MR1", "40000", "4x0",
                               "20001", "4x65537", "465537", "Pump-3"})
        QTest::newRow(noArea) << "is in no area of the driver (DI, DO, FN5DO, HR, FN6HR, IR)";
    QTest::newRow("") << "is no address";
    for (const char* number :
         {"DI", "DI0", "DO65537", "HR65546", "HR4294967297", "DI-1", "HR.5", "HRSW", "DI 1"})
        QTest::newRow(number) << "a number from 1 to 65536";
    QTest::newRow("256-DI1") << "a station beyond 255";
    QTest::newRow("4294967297-DI1") << "a station beyond 255";
    QTest::newRow("DI1.0") << "must end with the number of the bit";
    QTest::newRow("DI1SW") << "must end with the number of the bit";
    for (const char* bit : {"HR1.256", "HR1.300", "HR1.", "HR1.x", "HR1.4294967296"})
        QTest::newRow(bit) << "a bit number from 0 to 255";
    QTest::newRow("HR65536.16") << "a bit behind the last register";
    QTest::newRow("HR1WS") << "more behind the number than .BIT or SW";
    QTest::newRow("HR1.3.4") << "more behind the number than .BIT or SW";
    QTest::newRow("HR30-32") << "a range is written HR1..HR8";
    QTest::newRow("HR1,HR2") << "more than one address";
    QTest::newRow("DI1;pump") << "more than one address";
    for (const char* other : {"40001 HR1", "400001 HR1", "4x1 HR1", "4X00010 HR10", "30001 IR1", "3x1 IR1",
                              "465536 HR65536", "00001 DO1", "10001 DI1", "3-40002.5 3-HR2.5"}) {
        const QList<QByteArray> parts = QByteArray(other).split(' ');
        QTest::newRow(parts.first().constData())
            << QStringLiteral("is %1 here").arg(QLatin1String(parts.last()));
    }
}

void tst_values::addresses()
{
    QFETCH(QString, problem);
    const QString text = QString::fromLatin1(QTest::currentDataTag());
    QString found;
    QCOMPARE(parseAddress(text, Grammar::ModbusTcp, found).has_value(), problem.isEmpty());
    QVERIFY2(found.contains(problem), qPrintable(found));
    QVERIFY(problem.isEmpty() || found.startsWith(QLatin1Char('"') + text));
}

void tst_values::items_data()
{
    QTest::addColumn<QString>("expected"); ///< for each command ADDRESS*COUNT, then names; or the error
    const auto row = [](const char* text, const char* expected) { QTest::newRow(text) << expected; };
    row("HR100", "HR100*1 word HR100");
    row("HR100:word:3", "HR100*3 word HR100 HR101 HR102");
    row("ir7:word:2", "ir7*2 word IR7 IR8");
    row("HR20.3", "HR20.3*1 bit HR20.3");
    row("HR100.14:bool:3", "HR100.14*3 bool HR100.14 HR100.15 HR101.0");
    row("HR9:bitblock:2", "HR9*2 bitblock HR9.0 HR9.1");
    row("HR1SW:dword:2", "HR1SW*2 dword HR1SW HR3SW");
    row("HR1:qword:2", "HR1*2 qword HR1 HR5");
    row("HR1:float32:2:BADC", "HR1*4 float32 HR1 HR3");
    row("HR1:DCBA:string(5):2", "HR1*6 string(5) HR1 HR4");
    row("3-FN6HR9:byte:3", "FN6HR9*3 byte 3-FN6HR9 low|3-FN6HR9 high|3-FN6HR10 low");
    row("DO8:byte:2", "DO8*2 byte DO8 DO16");
    row("fn5do3:bit:2", "fn5do3*2 bit FN5DO3 FN5DO4");
    row("HR1..HR3", "HR1*3 word HR1 HR2 HR3");
    row("HR2.14..HR3.0", "HR2.14*3 bit HR2.14 HR2.15 HR3.0");
    row("3-DI7..3-DI8", "DI7*2 bit 3-DI7 3-DI8");
    row("HR1SW..HR4SW:float32:hex", "HR1SW*4 float32 HR1SW HR3SW");
    for (const char* text : {"HR1..HR2:float64", "HR1..HR3:int32"})
        row(text, "does not hold a whole number of");
    row("HR1..HR2:word:2", "a range has a count of its own");
    for (const char* text : {"HR2..HR1", "HR1..IR2", "HR1..HR2.0", "HR1..HR3SW", "1-HR1..2-HR2"})
        row(text, "is no range");
    row("HR1..HR65537", "a number from 1 to 65536");
    for (const char* text : {"HR100:bite", "HR100:", "HR1:word:1:1", "HR1:word:0", "HR1:word:65537", "HR1:3",
                             "HR1:word:dword", "HR1:ABCD:CDAB", "HR1:string(0)"})
        row(text, "is no type (bool, int16");
    row(":word", "is no address");
    row("DO5:word", "it is a bit, and no word");
    row("HR20.3:float32", "without the point it is a register");
    row("HR1SW:float32:CDAB", "the mark SW says ABCD, not CDAB");
    row("HR1SW:float32:ABCD", "HR1SW*2 float32 HR1SW");
    for (const char* text : {"HR1:dword:ABCD", "HR1:word:BADC", "DO1:DCBA", "HR1:qword:ABCD"})
        row(text, "is the driver's own type and has no order");
    row("HR1:word:CDAB", "HR1*1 word HR1");
    row("HR1:word:float", "float needs --type float32, float64 or dword");
}

void tst_values::items()
{
    QString error;
    const QVector<Item> items = parseItems(QString::fromLatin1(QTest::currentDataTag()),
                                           {Grammar::ModbusTcp, {125, 2008}, {}, {}}, error);
    QFETCH(QString, expected);
    if (items.isEmpty()) {
        QVERIFY2(error.contains(expected), qPrintable(error));
        return;
    }
    const Item& item = items.first();
    const QStringList names = item.elementNames();
    QCOMPARE(QStringLiteral("%1*%2 %3 %4")
                 .arg(item.command().address)
                 .arg(item.command().count)
                 .arg(signalTypeName(item.type()),
                      names.join(QLatin1Char(names.first().contains(QLatin1Char(' ')) ? '|' : ' '))),
             expected);
}

// What is not an address is a name; a range takes as many commands as the driver's blocks need.
void tst_values::names()
{
    ItemContext context{Grammar::ModbusTcp, {125, 2000}, {}, {}};
    context.findSignals = [](const QString& name, QString& problem) {
        problem = QStringLiteral("no signal has this name");
        const QVector<Signal> both = {ovenTemperature(), ovenTemperature()};
        return name == QLatin1String("Oven*") ? both : both.mid(name == QLatin1String("Oven 3 temp") ? 1 : 2);
    };
    const auto commands = [&](const char* text) {
        QString error;
        QStringList texts;
        for (const Item& item : parseItems(QString::fromLatin1(text), context, error))
            texts += QStringLiteral("%1*%2").arg(item.command().address).arg(item.command().count) +
                     (item.notation ? QStringLiteral(" shown") : QString());
        return error.isEmpty() ? texts.join(QLatin1Char(' ')) : error;
    };
    QCOMPARE(commands("Oven 3 temp"), QStringLiteral("HR7*1"));
    QCOMPARE(commands("Oven 3 temp:hex"), QStringLiteral("HR7*1 shown"));
    QCOMPARE(commands("Oven*"), QStringLiteral("HR7*1 HR7*1"));
    QVERIFY(commands("Oven 4 temp").endsWith(QLatin1String("; no signal has this name")));
    QCOMPARE(commands("HR1..HR300"), QStringLiteral("HR1*125 HR126*125 HR251*50"));
    QCOMPARE(commands("HR2..HR301:float64"), QStringLiteral("HR2*124 HR126*124 HR250*52"));
    QCOMPARE(commands("HR1.9..HR130.3:bool"), QStringLiteral("HR1.9*1991 HR126.0*68"));
    QCOMPARE(commands("DO1..DO4001"), QStringLiteral("DO1*2000 DO2001*2000 DO4001*1"));
    context.options.count = 2;
    QCOMPARE(commands("Oven 3 temp"), QStringLiteral("\"Oven 3 temp\" is a signal, which has one value"));
}

void tst_values::badSignals_data()
{
    QTest::addColumn<QString>("problem"); ///< of the good signal with one field changed
    QTest::newRow("name Oven 3 temp") << "";
    QTest::newRow("name ") << "";
    QTest::newRow("name HR1") << "is an address, and can be no name";
    QTest::newRow("name 3-HR1:word") << "is an address, and can be no name";
    QTest::newRow("address HR0") << "a number from 1 to 65536";
    QTest::newRow("address DO1") << "it is a bit, and no int16";
    QTest::newRow("address HR1SW") << "";
    QTest::newRow("type float64") << "";
    QTest::newRow("type string(8)") << "has no scale and no offset";
    QTest::newRow("scale 0") << "a number other than 0";
    QTest::newRow("scale inf") << "a number other than 0";
    QTest::newRow("decimals 16") << "0 to 15";
}

void tst_values::badSignals()
{
    QFETCH(QString, problem);
    const QString field = QString::fromLatin1(QTest::currentDataTag()).section(QLatin1Char(' '), 0, 0);
    const QString value = QString::fromLatin1(QTest::currentDataTag()).section(QLatin1Char(' '), 1);
    Signal signal = ovenTemperature();
    if (field == QLatin1String("name"))
        signal.name = value;
    else if (field == QLatin1String("address"))
        signal.address = value;
    else if (field == QLatin1String("type"))
        signal.type = parseSignalType(value);
    else if (field == QLatin1String("scale"))
        signal.scale = value.toDouble();
    else
        signal.decimals = value.toInt();
    const QString found = signalProblem(signal, Grammar::ModbusTcp);
    QCOMPARE(found.isEmpty(), problem.isEmpty());
    QVERIFY2(found.contains(problem), qPrintable(found));
}

// Another driver's addresses reach it as they are, whatever stands in them.
void tst_values::foreignAddresses()
{
    const ItemContext context{Grammar::Foreign, {10, 10}, {}, {}};
    const auto taken = [&](const char* text) {
        QString error;
        const Item item = parseItems(QString::fromLatin1(text), context, error).value(0);
        return item.command().address + QLatin1Char(' ') + signalTypeName(item.type()) + QLatin1Char(' ') +
               item.elementNames().join(QLatin1Char('|'));
    };
    QCOMPARE(taken("3-DB1:4..9"), QStringLiteral("3-DB1:4..9 word 3-DB1:4..9"));
    QCOMPARE(taken("DB1:4:int32:2"), QStringLiteral("DB1:4 int32 DB1:4|DB1:4 +1"));
    QCOMPARE(taken("%MW3.256:bool"), QStringLiteral("%MW3.256 bool %MW3.256"));
    QCOMPARE(grammarOfDriver(QStringLiteral("Modbus ASCII over TCP")), Grammar::Foreign);
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
