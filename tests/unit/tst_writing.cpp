#include "modbus_tcp_slave.h"
#include "project_fixture.h"
#include "scripted_link.h"

#include <QtTest>

Q_DECLARE_METATYPE(CommandDataType)

class tst_writing : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void requests_data();
    void requests();
    void limits_data();
    void limits();
    void oddRegisterDataRefused();
    void hugeCommandsCostNothing_data();
    void hugeCommandsCostNothing();
    void badEchoes_data();
    void badEchoes();
    void neighbouringBitsKeepTheirValues();
    void requestNotTakenWhole_data();
    void requestNotTakenWhole();
    void areasThatCanNotBeWritten_data();
    void areasThatCanNotBeWritten();
};

void tst_writing::initTestCase()
{
    ProjectFixture::clear();
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), QStringList()));
}

void tst_writing::requests_data()
{
    QTest::addColumn<CommandDataType>("type");
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("count");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("sent"); // without transaction identifiers, one request after the other
    QTest::newRow("words") << Word << "HR10" << 2 << hex("0100 0200") << "0000000b0110000900020400010002";
    QTest::newRow("missing words are zero") << Word << "HR100" << 3 << hex("3412 7856")
                                            << "0000000d011000630003061234567800"
                                               "00";
    QTest::newRow("surplus words are cut")
        << Word << "hr1" << 1 << hex("3412 7856") << "00000009011000000001021234";
    QTest::newRow("no data") << Word << "HR1" << 1 << QByteArray() << "00000009011000000001020000";
    QTest::newRow("count 0") << Word << "HR1" << 0 << hex("1234")
                             << "000000070110000000"
                                "0000";
    QTest::newRow("double word, low word first")
        << DoubleWord << "HR100" << 1 << hex("78563412") << "0000000b0110006300020456781234";
    QTest::newRow("double word, high word first")
        << DoubleWord << "HR100sw" << 1 << hex("78563412") << "0000000b0110006300020412345678";
    QTest::newRow("odd number of bytes")
        << Byte << "HR1" << 3 << hex("0A0B0C") << "0000000b011000000002040b0a000c";
    QTest::newRow("registers one by one") << Block << "FN6HR5" << 3 << hex("0A0B0C")
                                          << "0000000601060004"
                                             "0b0a 0000000601060005"
                                             "000c";
    QTest::newRow("double word register by register")
        << DoubleWord << "fn6hr1SW" << 1 << hex("78563412") << "00000006010600001234 00000006010600015678";
    QTest::newRow("coils") << Bit << "DO1" << 10 << hex("FF03") << "00000009010f0000000a02ff03";
    QTest::newRow("coil block") << BitBlock << "do65529" << 8 << hex("A5") << "00000008010ffff8000801a5";
    QTest::newRow("no coils") << Bit << "DO1" << 0 << QByteArray() << "00000007010f0000000000";
    QTest::newRow("coils one by one") << Bit << "FN5DO11" << 3 << hex("05")
                                      << "000000060105000aff00 000000060105000b0000 000000060105000cff00";
    QTest::newRow("no coils one by one") << Bit << "FN5DO11" << 0 << hex("05") << "";
    QTest::newRow("bit of a register")
        << Bit << "HR7.2" << 1 << hex("01") << "00000006010300060001 00000009011000060001020004";
    QTest::newRow("bits across a register border")
        << Bit << "HR1.15" << 2 << hex("03") << "00000006010300000002 0000000b0110000000020480000001";
    QTest::newRow("bits register by register")
        << BitBlock << "FN6HR1.15" << 2 << hex("03")
        << "00000006010300000002 00000006010600008000 00000006010600010001";
}

void tst_writing::requests()
{
    QFETCH(CommandDataType, type);
    QFETCH(QString, address);
    QFETCH(int, count);
    QFETCH(QByteArray, data);
    QFETCH(QString, sent);
    DriverModbusTcpSlave driver;
    ObedientDevice link;
    const bool done = driver.write(&link, CommunicatorCommand(type, count, address), data);
    QVERIFY2(done, qPrintable(driver.getLastError()));
    QVERIFY(!driver.hasError());
    QCOMPARE(link.requests().join(QLatin1String(" ")), sent);
}

void tst_writing::limits_data()
{
    QTest::addColumn<CommandDataType>("type");
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("error"); // empty: the command is sent
    QTest::newRow("123 words") << Word << "HR1" << 123 << "";
    QTest::newRow("124 words") << Word << "HR1" << 124 << "can't write 124 words to HR1";
    QTest::newRow("words to the last register") << Word << "HR65535" << 2 << "";
    QTest::newRow("words past the last register")
        << Word << "HR65535" << 3 << "can't write 3 words to HR65535";
    QTest::newRow("61 double words") << DoubleWord << "HR1" << 61 << "";
    QTest::newRow("62 double words") << DoubleWord << "HR1" << 62 << "can't write 124 words to HR1";
    QTest::newRow("246 bytes") << Byte << "HR1" << 246 << "";
    QTest::newRow("247 bytes") << Byte << "HR1" << 247 << "can't write 124 words to HR1";
    QTest::newRow("123 words one by one") << Word << "FN6HR1" << 123 << "";
    QTest::newRow("124 words one by one") << Word << "FN6HR1" << 124 << "can't write any word to HR1";
    QTest::newRow("1976 coils") << Bit << "DO1" << 1976 << "";
    QTest::newRow("1977 coils") << Bit << "DO1" << 1977 << "can't write 1977 bits to DO1";
    QTest::newRow("coils past the last") << Bit << "DO65536" << 2 << "can't write 2 bits to DO65536";
    QTest::newRow("1977 coils one by one") << Bit << "FN5DO1" << 1977 << "can't write 1977 bits to DO1";
    QTest::newRow("bits in 126 registers") << Bit << "HR1" << 2001 << "can't read any word from HR1";
    QTest::newRow("bits in 124 registers") << Bit << "HR1" << 1984 << "can't write 124 words to HR1";
}

void tst_writing::limits()
{
    QFETCH(CommandDataType, type);
    QFETCH(QString, address);
    QFETCH(int, count);
    QFETCH(QString, error);
    DriverModbusTcpSlave driver;
    ObedientDevice link;
    const QByteArray data(type == Bit ? (count + 7) / 8 : 0, '\0');
    QCOMPARE(driver.write(&link, CommunicatorCommand(type, count, address), data), error.isEmpty());
    QCOMPARE(driver.hasError() ? driver.getLastError().section(QLatin1String("> "), 1) : QString(), error);
    if (!error.isEmpty())
        QVERIFY(link.sent.isEmpty() || link.requests() == QStringList(QLatin1String("0000000601030000007c")));
}

/// The check rounds half a register up, the message rounds it down.
void tst_writing::oddRegisterDataRefused()
{
    DriverModbusTcpSlave driver;
    ObedientDevice link;
    QVERIFY(!driver.writeWords(&link, 0, QByteArray(247, '\1')));
    QCOMPARE(driver.getLastError(), QString::fromLatin1("can't write 123 words to HR1"));
    QVERIFY(!driver.writeWords(&link, 65535, QByteArray(3, '\1')));
    QCOMPARE(driver.getLastError(), QString::fromLatin1("can't write 1 words to HR65536"));
    QVERIFY(link.sent.isEmpty());
}

void tst_writing::hugeCommandsCostNothing_data()
{
    QTest::addColumn<CommandDataType>("type");
    QTest::addColumn<QString>("address");
    QTest::addColumn<quint32>("count");
    QTest::addColumn<QString>("error");
    QTest::newRow("words that wrap to one")
        << Word << "HR1" << 0x80000001u << "can't write 2147483649 words to HR1";
    QTest::newRow("double words that wrap to one")
        << DoubleWord << "HR1" << 0x40000001u << "can't write 2147483650 words to HR1";
    QTest::newRow("double words that wrap to none")
        << DoubleWord << "FN6HR1SW" << 0x80000000u << "can't write any word to HR1";
    QTest::newRow("most bytes") << Byte << "HR1" << 0x7FFFFFFFu << "can't write 1073741824 words to HR1";
    QTest::newRow("most words one by one")
        << Word << "FN6HR9" << 0x7FFFFFFFu << "can't write any word to HR9";
    QTest::newRow("most coils") << Bit << "DO1" << 0x7FFFFFFFu << "can't write 2147483647 bits to DO1";
    QTest::newRow("most coils one by one")
        << Bit << "FN5DO1" << 0x7FFFFFFFu << "can't write 2147483647 bits to DO1";
    QTest::newRow("most bits of registers")
        << Bit << "HR1.15" << 0xFFFFFFF1u << "can't read any word from HR1";
}

void tst_writing::hugeCommandsCostNothing()
{
    QFETCH(CommandDataType, type);
    QFETCH(QString, address);
    QFETCH(quint32, count);
    QFETCH(QString, error);
    DriverModbusTcpSlave driver;
    ObedientDevice link;
    link.retries = 50; // fifty attempts that each built the data would take long
    QVERIFY(!driver.write(&link, CommunicatorCommand(type, static_cast<int>(count), address), hex("0102")));
    QVERIFY2(driver.getLastError().endsWith(QLatin1String("> ") + error), qPrintable(driver.getLastError()));
    QVERIFY(link.sent.isEmpty());
    QCOMPARE(link.waits, 51);
}

void tst_writing::badEchoes_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("error");
    QTest::addColumn<int>("closes");
    const char* const own = "the link's own words";
    QTest::newRow("FC16 address") << "HR10" << QByteArray("TTTT00000006 01 10 0008 0001")
                                  << "wrong device address from response" << 0;
    QTest::newRow("FC16 quantity") << "HR10" << QByteArray("TTTT00000006 01 10 0009 0002")
                                   << "wrong quantity from response" << 0;
    QTest::newRow("FC16 exception") << "HR10" << QByteArray("TTTT00000003 01 90 03") << "exception code:03"
                                    << 0;
    QTest::newRow("FC16 identifier") << "HR10" << QByteArray("777700000006 01 10 0009 0001")
                                     << "invalid transaction ID" << 1;
    QTest::newRow("FC16 short") << "HR10" << QByteArray("TTTT00000006 01 10 0009") << own << 1;
    QTest::newRow("FC16 silence") << "HR10" << QByteArray("") << own << 1;
    QTest::newRow("FC6 address, before the value") << "FN6HR10" << QByteArray("TTTT00000006 01 06 0008 0000")
                                                   << "wrong device address from response" << 0;
    QTest::newRow("FC6 high byte") << "FN6HR10" << QByteArray("TTTT00000006 01 06 0009 0001")
                                   << "failed to write HR10" << 0;
    QTest::newRow("FC6 low byte") << "FN6HR10" << QByteArray("TTTT00000006 01 06 0009 0100")
                                  << "failed to write HR10" << 0;
    QTest::newRow("FC6 exception") << "FN6HR10" << QByteArray("TTTT00000003 01 86 02") << "exception code:02"
                                   << 0;
    QTest::newRow("FC5 address") << "FN5DO3" << QByteArray("TTTT00000006 01 05 0003 FF00")
                                 << "wrong device address from response" << 0;
    QTest::newRow("FC5 off for on") << "FN5DO3" << QByteArray("TTTT00000006 01 05 0002 0000")
                                    << "failed to write DO3" << 0;
    QTest::newRow("FC5 another value")
        << "FN5DO3" << QByteArray("TTTT00000006 01 05 0002 FF01") << "failed to write DO3" << 0;
    QTest::newRow("FC15 address") << "DO3" << QByteArray("TTTT00000006 01 0F 0001 0001")
                                  << "wrong device address from response" << 0;
    QTest::newRow("FC15 quantity") << "DO3" << QByteArray("TTTT00000006 01 0F 0002 0000")
                                   << "wrong quantity from response" << 0;
    QTest::newRow("FC15 function code")
        << "DO3" << QByteArray("TTTT00000006 01 10 0002 0001") << "invalid response" << 1;
}

void tst_writing::badEchoes()
{
    QFETCH(QString, address);
    QFETCH(QByteArray, answer);
    QFETCH(QString, error);
    QFETCH(int, closes);
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    link.answers(answer.constData());
    const CommandDataType type = address.contains(QLatin1String("DO")) ? Bit : Word;
    QVERIFY(!driver.write(&link, CommunicatorCommand(type, 1, address), hex("0101")));
    QCOMPARE(driver.getLastError().section(QLatin1String("> "), 1), error);
    QCOMPARE(driver.getLastError().section(QLatin1String("> "), 0, 0),
             QString::fromLatin1("write 1 %1 to 1-%2")
                 .arg(QLatin1String(type == Bit ? "bit(s)" : "word(s)"), address));
    QCOMPARE(link.closes, closes);
}

void tst_writing::neighbouringBitsKeepTheirValues()
{
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    link.answersPdu("0304 ABCD 1234").answersPdu("10 0000 0002");
    QVERIFY(driver.write(&link, CommunicatorCommand(Bit, 4, QLatin1String("HR1.14")), hex("05")));
    // bits 14 and 15 of ABCD become 1 and 0, bits 0 and 1 of 1234 become 1 and 0
    QCOMPARE(link.requests().last(),
             QString::fromLatin1("0000000b01100000000204") + QLatin1String("6bcd1235"));
}

void tst_writing::requestNotTakenWhole_data()
{
    QTest::addColumn<CommandDataType>("type");
    QTest::addColumn<QString>("address");
    QTest::newRow("FC5") << Bit << "FN5DO1";
    QTest::newRow("FC6") << Word << "FN6HR1";
    QTest::newRow("FC15") << Bit << "DO1";
    QTest::newRow("FC16") << Word << "HR1";
}

void tst_writing::requestNotTakenWhole()
{
    QFETCH(CommandDataType, type);
    QFETCH(QString, address);
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    link.takes = 11;
    QVERIFY(!driver.write(&link, CommunicatorCommand(type, 2, address), hex("00000000")));
    QVERIFY(driver.getLastError().endsWith(QLatin1String("> the link's own words")));
    QCOMPARE(link.closes, 1);
    QCOMPARE(link.sent.size(), 1);
}

void tst_writing::areasThatCanNotBeWritten_data()
{
    QTest::addColumn<CommandDataType>("type");
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("error");
    QTest::newRow("bit") << Bit << "DI3"
                         << "write 1 bit(s) to 1-DI3> can't write any bit to DI3";
    QTest::newRow("byte") << Byte << "DO3"
                          << "write 1 byte(s) to 1-DO3> can't write any byte to DO3";
    QTest::newRow("block") << Block << "IR%13"
                           << "write 1-IR%13> can't write any byte to IR%13";
    QTest::newRow("word") << Word << "IR3"
                          << "write 1 word(s) to 1-IR3> can't write any word to IR3";
    QTest::newRow("double word") << DoubleWord << "X"
                                 << "write 1 dword(s) to 1-X> can't write any double word to X";
}

void tst_writing::areasThatCanNotBeWritten()
{
    QFETCH(CommandDataType, type);
    QFETCH(QString, address);
    QFETCH(QString, error);
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    link.retries = 2;
    QVERIFY(!driver.write(&link, CommunicatorCommand(type, 1, address), hex("01")));
    QCOMPARE(driver.getLastError(), error);
    QCOMPARE(link.waits, 3);
    QVERIFY(link.sent.isEmpty());
}

QTEST_MAIN(tst_writing)
#include "tst_writing.moc"
