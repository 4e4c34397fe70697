#include "session/device_address.h"
#include "session/frame_trace.h"
#include "signals/values.h"

#include <QJsonDocument>
#include <QtTest>

namespace {

/// What the program makes of an input: the result in words, or "!" and the error.
using Conversion = QString (*)(const QString& input);

struct Row
{
    std::vector<const char*> inputs;
    const char* expected; ///< of an error: "!" and a part of it
};

/// A conversion and its rows.
struct Table
{
    const char* name;
    Conversion convert;
    std::vector<Row> rows;
};

/// The items that a text asks of the driver.
QVector<Item> itemsIn(const QString& text, QString& error)
{
    return parseItems(text, {Grammar::ModbusTcp, {125, 2008}, {}, {}}, error);
}

/// The only item that a text gives.
Item itemIn(const QString& text)
{
    QString error;
    return itemsIn(text, error).value(0);
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

/// "TYPE[:NOTATION] VALUE|VALUE", as bytes for the driver.
QString encoded(const QString& input)
{
    const int blank = input.indexOf(QLatin1Char(' '));
    QString error;
    const auto data = encodeValues(itemIn(QStringLiteral("HR2:") + input.left(blank)),
                                   input.mid(blank + 1).split(QLatin1Char('|')), error);
    return data ? QString::fromLatin1(data->bytes.toHex()) : QLatin1Char('!') + error;
}

const std::vector<Row> encodedRows = {
    {{"bit 1"}, "01"},
    {{"bitblock 1|0|0|0|0|0|0|1|1|0x1"}, "8103"},
    {{"byte 0|255|-128|-1|0xfF|7"}, "00ff80ffff07"},
    {{"word 0|65535|-32768|0x1234|007"}, "0000ffff008034120700"},
    {{"dword 305419896|-1|4294967295|-2147483648"}, "78563412ffffffffffffffff00000080"},
    {{"qword 1|18446744073709551615|-9223372036854775808"},
     "0100000000000000ffffffffffffffff0000000000000080"},
    {{"word:int -5|32767"}, "fbffff7f"},
    {{"word:hex ff|0x10"}, "ff001000"},
    {{"word:bits 100000001|1111111111111111"}, "0101ffff"},
    {{"dword:float 1|2.5|-0.1|1e3|3.4028235e38"}, "0000803f00002040cdccccbd00007a44ffff7f7f"},
    {{"block:text H\u00f6he [1]!"}, "48c3b66865205b315d21"},
    {{"int16:BADC -2|4660"}, "fffe1234"},
    {{"uint64:BADC 1234605616436508552|1"}, "11223344556677880000000000000001"},
    {{"uint32:DCBA 287454020"}, "33441122"},
    {{"string(6):BADC Hello|a", "string(6):DCBA Hello|a"}, "48656c6c6f00610000000000"},
    {{"string(6):ABCD Hello|a", "string(6) Hello|a"}, "65486c6c006f006100000000"},
    {{"bit 1|2"}, "!value 2, \"2\", does not fit a bit: it must be 0 or 1"},
    {{"bit -1", "bool 2"}, "!0 or 1"},
    {{"byte 256|0", "byte -129|0"}, "!-128 to 255"},
    {{"word 1|-32769"}, "!value 2, \"-32769\""},
    {{"word 65536", "word ", "word  1", "word 1 ", "word +1", "word 0x", "word -", "word --1", "word 1.0",
      "word 1e3", "word ten", "word 0x1g", "word 99999999999999999999"},
     "!a whole number from -32768 to 65535"},
    {{"word:int 32768", "int16 32768"}, "!-32768 to 32767"},
    {{"word:uint -1", "uint16 -1"}, "!0 to 65535"},
    {{"word:hex 10000"}, "!0 to ffff in hexadecimal"},
    {{"word:bits 2", "word:bits 10000000000000000"}, "!at most 16 binary digits"},
    {{"dword 4294967296"}, "!-2147483648 to 4294967295"},
    {{"dword 100.0"}, "!take --type float32 for a number with a decimal point, which fills two registers"},
    {{"int16 1,5", "float32 1,5"}, "!; the decimal sign is a point"},
    {{"int16 1.5"}, "!value 1, \"1.5\", does not fit an int16"},
    {{"dword:float x", "float32 1e39"}, "!single precision"},
    {{"qword 18446744073709551616", "uint64 18446744073709551616"}, "!18446744073709551615"},
    {{"byte:text a|b", "byte:text "}, "!takes one text"},
    {{"byte 1|2|3"}, "!3 byte(s) end in the middle of a register"},
    {{"byte:text abc"}, "!give one byte more, or write words (--type word)"},
    {{"int64 9223372036854775808"}, "!9223372036854775807"},
    {{"float64 1e309"}, "!double precision"},
    {{"string(6) seven.."}, "!at most 6 bytes"},
    {{"string(5) five."}, "!take string(6)"}};

/// "TYPE:COUNT[...] BYTES", as texts and in JSON.
QString printed(const QString& input)
{
    const Item item = itemIn(QStringLiteral("HR2:") + input.section(QLatin1Char(' '), 0, 0));
    const QByteArray data = QByteArray::fromHex(input.section(QLatin1Char(' '), 1).toLatin1());
    return valueTexts(item, data).join(QLatin1Char('|')) + QLatin1Char(' ') +
           compact(valueNumbers(item, data));
}

const std::vector<Row> printedRows = {
    {{"bit:10 8102"}, "1|0|0|0|0|0|0|1|0|1 [1,0,0,0,0,0,0,1,0,1]"},
    {{"byte:2:int 80ff"}, "-128|-1 [-128,-1]"},
    {{"word:2 3412ffff"}, "4660|65535 [4660,65535]"},
    {{"word:2:hex 34120000"}, "0x1234|0x0000 [4660,0]"},
    {{"byte:1:bits 81"}, "10000001 [1,0,0,0,0,0,0,1]"},
    {{"dword:1 78563412"}, "305419896 [305419896]"},
    {{"dword:4:float cdcccc3d0000c0ff00007fc30000807f"}, "0.1|-nan|-255|inf [0.1,null,-255,null]"},
    {{"qword:2 ffffffffffff1f000100000000000000"}, "9007199254740991|1 [9007199254740991,1]"},
    {{"byte:5:text 41c3a4000a"}, "A\u00e4\\x00\\x0a [65,195,164,0,10]"},
    {{"block:2:text 41e4"}, "A\\xe4 [65,228]"},
    {{"uint32:1:ABCD:hex 34127856"}, "0x12345678 [305419896]"},
    {{"uint64:2:BADC 00010203040506070000000000000001"}, "283686952306183|1 [283686952306183,1]"},
    {{"float32:1:hex 0000803f"}, "0x3f800000 [1065353216]"},
    {{"string(3):1:bits 42410043"}, "01000001 01000010 01000011 [\"01000001 01000010 01000011\"]"},
    {{"string(4):2 624163001b41e462"}, "Ab|A\\x1bb\\xe4 [\"Ab\",\"A\\\\x1bb\\\\xe4\"]"},
    {{"string(4):1:BADC 41620063"}, "Ab [\"Ab\"]"}};

/// "TYPE SCALE OFFSET DECIMALS VALUE" of a signal in bar: bytes, then the value read back, as text and in
/// JSON.
QString written(const QString& input)
{
    const QStringList parts = input.split(QLatin1Char(' '));
    Signal signal = ovenTemperature();
    signal.type = parseSignalType(parts.at(0));
    signal.scale = parts.at(1).toDouble();
    signal.offset = parts.at(2).toDouble();
    bool rounds = false;
    const int decimals = parts.at(3).toInt(&rounds);
    signal.decimals = rounds ? std::optional(decimals) : std::nullopt;
    signal.unit = QStringLiteral("bar");
    QString error;
    const Item item = itemOfSignal(signal, ItemContext(), error).value_or(Item());
    const auto data = encodeValues(item, {parts.at(4)}, error);
    if (!data)
        return QLatin1Char('!') + error;
    return QStringLiteral("%1 %2 %3")
        .arg(QString::fromLatin1(data->bytes.toHex()), withUnit(item, valueTexts(item, data->bytes).first()),
             compact(valueNumbers(item, data->bytes)));
}

const std::vector<Row> writtenRows = {
    {{"int16 0.1 0 1 180.5"}, "0d07 180.5 bar [180.5]"},
    {{"int16 0.1 0 - -12.3"}, "85ff -12.3 bar [-12.3]"},
    {{"word 0.5 -10 2 20"}, "3c00 20.00 bar [20]"},
    {{"uint16 -1 0 - -1"}, "0100 -1 bar [-1]"},
    {{"uint32 1 0 2 7"}, "07000000 7.00 bar [7]"},
    {{"float32 10 0 3 2.5"}, "0000803e 2.500 bar [2.5]"},
    {{"float32 10 0 - 123"}, "cdcc4441 123 bar [123]"},
    {{"float32 10 0 - 2e39"}, "9976167f 1.99999993605714e+39 bar [1.99999993605714e+39]"},
    {{"int16 0.1 0 1 180.55", "int16 0.1 0 1 3276.8", "int16 0.1 0 1 0x10"},
     "!a number from -3276.8 to 3276.7 bar in steps of 0.1"},
    {{"uint16 -1 10 0 11"}, "!a number from -65525 to 10 bar in steps of 1"},
    {{"float32 10 0 1 1e40", "float32 10 0 1 nan"},
     "!a number from -3.40282346638529e+39 to 3.40282346638529e+39 bar"}};

/// The notations that fit a type.
QString notations(const QString& input)
{
    const auto type = parseSignalType(input);
    if (!type)
        return QStringLiteral("!");
    QStringList names = {signalTypeName(*type)};
    for (const QString& name : notationNames()) {
        if (notationProblem(*type, *notationFromName(name)).isEmpty())
            names += name;
    }
    return names.join(QLatin1Char(' '));
}

const std::vector<Row> notationRows = {
    {{"bit"}, "bit uint bits"},
    {{"bool"}, "bool uint bits"},
    {{"byte"}, "byte uint int hex bits text"},
    {{"word"}, "word uint int hex bits"},
    {{"dword"}, "dword uint int hex float bits"},
    {{"float64"}, "float64 uint int hex float bits"},
    {{"string(250)"}, "string(250) hex bits text"},
    {{"float", "Word", "string", "string(0)", "string(N)", "string(251)", "string(07)", ""}, "!"}};

QString addressed(const QString& input)
{
    QString problem;
    const bool isGood = parseAddress(input, Grammar::ModbusTcp, problem).has_value();
    const bool isQuoted = problem.startsWith(QLatin1Char('"') + input);
    return isGood ? problem : QLatin1Char(isQuoted ? '!' : '?') + problem;
}

const std::vector<Row> addressRows = {
    {{"DI1", "do65536", "FN5DO12", "HR1", "fn6hr10", "IR3", "HR100.0", "HR100.255", "HR100SW", "hr100.3sw",
      "2-DI5", "0-HR1", "255-FN6HR1", "DO007", "HR65536.15"},
     ""},
    {{"XY1", "H1", "5", "1-", "1-XY2", "FN7HR1", " DI1", "MR1", "40000", "4x0", "20001", "4x65537", "465537",
      "Pump-3"},
     "!is in no area of the driver (DI, DO, FN5DO, HR, FN6HR, IR)"},
    {{""}, "!is no address"},
    {{"DI", "DI0", "DO65537", "HR65546", "HR4294967297", "DI-1", "HR.5", "HRSW", "DI 1"},
     "!a number from 1 to 65536"},
    {{"256-DI1", "4294967297-DI1"}, "!a station beyond 255"},
    {{"DI1.0", "DI1SW"}, "!must end with the number of the bit"},
    {{"HR1.256", "HR1.300", "HR1.", "HR1.x", "HR1.4294967296"}, "!a bit number from 0 to 255"},
    {{"HR65536.16"}, "!a bit behind the last register"},
    {{"HR1WS", "HR1.3.4"}, "!more behind the number than .BIT or SW"},
    {{"HR30-32"}, "!a range is written HR1..HR8"},
    {{"HR1,HR2", "DI1;pump"}, "!more than one address"},
    {{"40001", "400001", "4x1"}, "!is HR1 here"},
    {{"4X00010"}, "!is HR10 here"},
    {{"30001", "3x1"}, "!is IR1 here"},
    {{"465536"}, "!is HR65536 here"},
    {{"00001"}, "!is DO1 here"},
    {{"10001"}, "!is DI1 here"},
    {{"3-40002.5"}, "!is 3-HR2.5 here"}};

/// The command as ADDRESS*COUNT, then the names of its elements.
QString named(const QString& input)
{
    QString error;
    const Item item = itemsIn(input, error).value(0);
    if (!error.isEmpty())
        return QLatin1Char('!') + error;
    const QStringList names = item.elementNames();
    return QStringLiteral("%1*%2 %3 %4")
        .arg(item.command().address)
        .arg(item.command().count)
        .arg(signalTypeName(item.type()),
             names.join(QLatin1Char(names.first().contains(QLatin1Char(' ')) ? '|' : ' ')));
}

const std::vector<Row> namedRows = {
    {{"HR100"}, "HR100*1 word HR100"},
    {{"HR100:word:3"}, "HR100*3 word HR100 HR101 HR102"},
    {{"ir7:word:2"}, "ir7*2 word IR7 IR8"},
    {{"HR20.3"}, "HR20.3*1 bit HR20.3"},
    {{"HR100.14:bool:3"}, "HR100.14*3 bool HR100.14 HR100.15 HR101.0"},
    {{"HR9:bitblock:2"}, "HR9*2 bitblock HR9.0 HR9.1"},
    {{"HR1SW:dword:2"}, "HR1SW*2 dword HR1SW HR3SW"},
    {{"HR1:qword:2"}, "HR1*2 qword HR1 HR5"},
    {{"HR1:float32:2:BADC"}, "HR1*4 float32 HR1 HR3"},
    {{"HR1:DCBA:string(5):2"}, "HR1*6 string(5) HR1 HR4"},
    {{"3-FN6HR9:byte:3"}, "FN6HR9*3 byte 3-FN6HR9 low|3-FN6HR9 high|3-FN6HR10 low"},
    {{"DO8:byte:2"}, "DO8*2 byte DO8 DO16"},
    {{"fn5do3:bit:2"}, "fn5do3*2 bit FN5DO3 FN5DO4"},
    {{"HR1..HR3"}, "HR1*3 word HR1 HR2 HR3"},
    {{"HR2.14..HR3.0"}, "HR2.14*3 bit HR2.14 HR2.15 HR3.0"},
    {{"3-DI7..3-DI8"}, "DI7*2 bit 3-DI7 3-DI8"},
    {{"HR1SW..HR4SW:float32:hex"}, "HR1SW*4 float32 HR1SW HR3SW"},
    {{"HR1SW:float32:ABCD"}, "HR1SW*2 float32 HR1SW"},
    {{"HR1:word:CDAB"}, "HR1*1 word HR1"},
    {{"HR1..HR2:float64", "HR1..HR3:int32"}, "!does not hold a whole number of"},
    {{"HR1..HR2:word:2"}, "!name its first element only"},
    {{"HR2..HR1", "HR1..IR2", "HR1..HR2.0", "HR1..HR3SW", "1-HR1..2-HR2"}, "!is no range"},
    {{"HR1..HR65537"}, "!a number from 1 to 65536"},
    {{"HR100:bite", "HR100:", "HR1:word:1:1", "HR1:word:0", "HR1:word:65537", "HR1:3", "HR1:word:dword",
      "HR1:ABCD:CDAB", "HR1:string(0)"},
     "!is no type (bool, int16"},
    {{":word"}, "!is no address"},
    {{"DO5:word"}, "!it is a bit, and no word"},
    {{"HR20.3:float32"}, "!without the point it is a register"},
    {{"HR1SW:float32:CDAB"}, "!the mark SW says ABCD, not CDAB"},
    {{"HR1:dword:ABCD", "HR1:word:BADC", "DO1:DCBA", "HR1:qword:ABCD"},
     "!is the driver's own type and has no order"},
    {{"HR1:word:float"}, "!float needs --type float32, float64 or dword"}};

/// What is not an address is a name; a range takes as many commands as the driver's blocks need.
QString commands(const QString& input)
{
    ItemContext context{Grammar::ModbusTcp, {125, 2000}, {}, {}};
    if (input.contains(QLatin1String("--count")))
        context.options.count = 2;
    context.findSignals = [](const QString& name, QString& problem) {
        problem = QStringLiteral("no signal has this name");
        const QVector<Signal> both = {ovenTemperature(), ovenTemperature()};
        return name == QLatin1String("Oven*") ? both : both.mid(name == QLatin1String("Oven 3 temp") ? 1 : 2);
    };
    QString error;
    QStringList texts;
    for (const Item& item : parseItems(input.section(QStringLiteral(" --count"), 0, 0), context, error))
        texts += QStringLiteral("%1*%2").arg(item.command().address).arg(item.command().count) +
                 (item.notation ? QStringLiteral(" shown") : QString());
    return error.isEmpty() ? texts.join(QLatin1Char(' ')) : QLatin1Char('!') + error;
}

const std::vector<Row> commandRows = {
    {{"Oven 3 temp"}, "HR7*1"},
    {{"Oven 3 temp:hex"}, "HR7*1 shown"},
    {{"Oven*"}, "HR7*1 HR7*1"},
    {{"HR1..HR300"}, "HR1*125 HR126*125 HR251*50"},
    {{"HR2..HR301:float64"}, "HR2*124 HR126*124 HR250*52"},
    {{"HR1.9..HR130.3:bool"}, "HR1.9*1991 HR126.0*68"},
    {{"DO1..DO4001"}, "DO1*2000 DO2001*2000 DO4001*1"},
    {{"Oven 4 temp", "Oven 4 temp:hex"}, "!; no signal has this name"},
    {{"Oven 3 temp:word", "Oven 3 temp:int16:hex"}, "!its name takes a notation (uint, "},
    {{"A234567890123456789012345678901234567890"}, "!\"A234567890123456789012345678901234567890\" is"},
    {{"A2345678901234567890123456789012345678901"}, "!\"A234567890123456789012345678901234567890...\" is"},
    {{"Oven 3 temp --count 2"}, "!\"Oven 3 temp\" is a signal, which has one value"}};

/// A good signal with one field changed.
QString checkedSignal(const QString& input)
{
    const QString field = input.section(QLatin1Char(' '), 0, 0);
    const QString value = input.section(QLatin1Char(' '), 1);
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
    const QString problem = signalProblem(signal, Grammar::ModbusTcp);
    return problem.isEmpty() ? problem : QLatin1Char('!') + problem;
}

const std::vector<Row> signalRows = {
    {{"name Oven 3 temp", "name ", "address HR1SW", "type float64"}, ""},
    {{"name HR1", "name 3-HR1:word"}, "!is an address, so it cannot be a name"},
    {{"address HR0"}, "!a number from 1 to 65536"},
    {{"address DO1"}, "!it is a bit, and no int16"},
    {{"type string(8)"}, "!has no scale and no offset"},
    {{"scale 0", "scale inf"}, "!a number other than 0"},
    {{"decimals 16"}, "!0 to 15"}};

/// Another driver's addresses reach it as they are, whatever stands in them.
QString foreign(const QString& input)
{
    QString error;
    const Grammar grammar = grammarOfDriver(QStringLiteral("Modbus ASCII over TCP"));
    const Item item = parseItems(input, {grammar, {10, 10}, {}, {}}, error).value(0);
    return QStringLiteral("%1 %2 %3")
        .arg(item.command().address, signalTypeName(item.type()), item.elementNames().join(QLatin1Char('|')));
}

const std::vector<Row> foreignRows = {{{"3-DB1:4..9"}, "3-DB1:4..9 word 3-DB1:4..9"},
                                      {{"DB1:4:int32:2"}, "DB1:4 int32 DB1:4|DB1:4 +1"},
                                      {{"%MW3.256:bool"}, "%MW3.256 bool %MW3.256"}};

/// "HOST PORT"; the port is 0 if there is none.
QString device(const QString& input)
{
    QString error;
    const auto address = parseDeviceAddress(input, error);
    return address ? QStringLiteral("%1 %2%3").arg(address->host).arg(address->port.value_or(0)).arg(error)
                   : QLatin1Char('!') + error;
}

const std::vector<Row> deviceRows = {
    {{"plc"}, "plc 0"},
    {{"10.0.0.1:1502"}, "10.0.0.1 1502"},
    {{"::1", "[::1]"}, "::1 0"},
    {{"[fe80::1%eth0]:65535"}, "fe80::1%eth0 65535"},
    {{"plc:", "plc:0", "plc:65536", "plc:x", "plc:-1", "plc: 1"},
     "!the port must be a number from 1 to 65535"},
    {{"", ":502", "[::1", "[::1]502", "a b"}, "!must be HOST, HOST:PORT or [IPV6]:PORT"}};

/// A request behind ">", or a reply.
QString described(const QString& input)
{
    return describeFrame(QByteArray::fromHex(input.toLatin1()), input.startsWith(QLatin1Char('>')));
}

const std::vector<Row> frameRows = {
    {{">00ff00000006ff0f00000008"}, "tid 255 unit 255 Write Multiple Coils address 0 quantity 8"},
    {{">000100000006010500 0aff00"}, "tid 1 unit 1 Write Single Coil address 10 value 0xff00"},
    {{"000100000006010600 090102"}, "tid 1 unit 1 Write Single Register address 9 value 258"},
    {{"00010000000401010155"}, "tid 1 unit 1 Read Coils 1 data bytes"},
    {{"00010000000301840b"},
     "tid 1 unit 1 Read Input Registers exception 11 (gateway target device failed to respond)"},
    {{"000100000003018463"}, "tid 1 unit 1 Read Input Registers exception 99 (not in the Modbus standard)"},
    {{"00010000000201ab"}, "tid 1 unit 1 function code 43 exception without a code"},
    {{"0001000000020110"}, "tid 1 unit 1 Write Multiple Registers"},
    {{"", "0001", "000100010003018402", "0001000000030184", "00010000000101", "0001000000ff01"}, ""}};

const Table tables[] = {{"encoded", encoded, encodedRows},   {"printed", printed, printedRows},
                        {"written", written, writtenRows},   {"notations", notations, notationRows},
                        {"address", addressed, addressRows}, {"item", named, namedRows},
                        {"commands", commands, commandRows}, {"signal", checkedSignal, signalRows},
                        {"foreign", foreign, foreignRows},   {"device", device, deviceRows},
                        {"frame", described, frameRows}};

} // namespace

Q_DECLARE_METATYPE(Conversion)

class tst_values : public QObject
{
    Q_OBJECT

private slots:
    void conversions_data();
    void conversions();
};

void tst_values::conversions_data()
{
    QTest::addColumn<Conversion>("convert");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");
    for (const Table& table : tables)
        for (const Row& row : table.rows)
            for (const char* input : row.inputs)
                QTest::addRow("%s: %s", table.name, input)
                    << table.convert << QString::fromUtf8(input) << QString::fromUtf8(row.expected);
}

void tst_values::conversions()
{
    QFETCH(Conversion, convert);
    QFETCH(QString, input);
    QFETCH(QString, expected);
    const QString found = convert(input);
    if (!expected.startsWith(QLatin1Char('!')))
        QCOMPARE(found, expected);
    else
        QVERIFY2(found.startsWith(QLatin1Char('!')) && found.contains(expected.mid(1)), qPrintable(found));
}

QTEST_GUILESS_MAIN(tst_values)
#include "tst_values.moc"
