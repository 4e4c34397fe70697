#include "modbus_tcp_slave.h"
#include "project_fixture.h"
#include "scripted_link.h"

#include <QtTest>

Q_DECLARE_METATYPE(CommandDataType)

class tst_reading : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void requestsAndData_data();
    void requestsAndData();
    void addressTexts_data();
    void addressTexts();
    void largestRequests_data();
    void largestRequests();
    void refusedBeforeSending_data();
    void refusedBeforeSending();
    void badResponses_data();
    void badResponses();
    void everyPrefixOfAResponse();
    void attemptsDelaysAndRetries();
    void transactionIdentifierWraps();
    void requestNotTakenWhole_data();
    void requestNotTakenWhole();
    void linkThatCanNotBeOpened();
    void unservedDataTypes();
    void errorStateAndDescriptions();
};

void tst_reading::initTestCase()
{
    ProjectFixture::clear();
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), QStringList() << QLatin1String("DO1")));
}

void tst_reading::requestsAndData_data()
{
    QTest::addColumn<CommandDataType>("type");
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("count");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QByteArray>("data");
    const QString registers = QLatin1String("0304 1234 5678");
    const char* const holding = "0304 1234 5678";
    const char* const input = "0404 1234 5678";

    QTest::newRow("words") << Word << "HR100" << 2 << hex("0000 0006 01 03 0063 0002") << QByteArray(holding)
                           << hex("3412 7856");
    QTest::newRow("FN6HR reads as HR") << Word << "fn6hr100" << 2 << hex("0000 0006 01 03 0063 0002")
                                       << QByteArray(holding) << hex("3412 7856");
    QTest::newRow("input registers") << Word << "IR1" << 2 << hex("0000 0006 01 04 0000 0002")
                                     << QByteArray(input) << hex("3412 7856");
    QTest::newRow("unknown prefix reads input registers")
        << Word << "DO1" << 2 << hex("0000 0006 01 04 0000 0002") << QByteArray(input) << hex("3412 7856");
    QTest::newRow("low word first") << DoubleWord << "HR1" << 1 << hex("0000 0006 01 03 0000 0002")
                                    << QByteArray(holding) << hex("3412 7856");
    QTest::newRow("high word first") << DoubleWord << "HR1SW" << 1 << hex("0000 0006 01 03 0000 0002")
                                     << QByteArray(holding) << hex("7856 3412");
    QTest::newRow("high word first, small letters")
        << DoubleWord << "ir10sw" << 1 << hex("0000 0006 01 04 0009 0002") << QByteArray(input)
        << hex("7856 3412");
    QTest::newRow("odd number of bytes")
        << Byte << "hr8" << 3 << hex("0000 0006 01 03 0007 0002") << QByteArray(holding) << hex("341278");
    QTest::newRow("block") << Block << "IR8" << 4 << hex("0000 0006 01 04 0007 0002") << QByteArray(input)
                           << hex("34127856");
    QTest::newRow("coils, last byte masked")
        << Bit << "DO5" << 10 << hex("0000 0006 01 01 0004 000a") << QByteArray("0102 FFFF") << hex("ff03");
    QTest::newRow("FN5DO reads as DO") << BitBlock << "FN5DO5" << 8 << hex("0000 0006 01 01 0004 0008")
                                       << QByteArray("0101 A5") << hex("a5");
    QTest::newRow("discrete inputs") << Bit << "DI65536" << 1 << hex("0000 0006 01 02 ffff 0001")
                                     << QByteArray("0201 01") << hex("01");
    QTest::newRow("bits across a register border") << Bit << "HR1.12" << 8 << hex("0000 0006 01 03 0000 0002")
                                                   << QByteArray("0304 ABCD 1234") << hex("4a");
    QTest::newRow("bits from the second register on")
        << Bit << "IR1.20" << 4 << hex("0000 0006 01 04 0000 0002") << QByteArray("0404 FFFF 0050")
        << hex("05");
    QTest::newRow("bits without a bit number")
        << Bit << "HR1" << 4 << hex("0000 0006 01 03 0000 0001") << QByteArray("0302 00F9") << hex("09");
    QTest::newRow("byte count field is not looked at")
        << Word << "HR1" << 1 << hex("0000 0006 01 03 0000 0001") << QByteArray("03FF 1234") << hex("3412");
}

void tst_reading::requestsAndData()
{
    QFETCH(CommandDataType, type);
    QFETCH(QString, address);
    QFETCH(int, count);
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, answer);
    QFETCH(QByteArray, data);

    DriverModbusTcpSlave driver;
    ScriptedLink link;
    link.answersPdu(answer.constData());
    QCOMPARE(driver.read(&link, CommunicatorCommand(type, count, address)).toHex(), data.toHex());
    QCOMPARE(link.requests(), QStringList(QString::fromLatin1(request.toHex())));
    QVERIFY2(!driver.hasError(), qPrintable(driver.getLastError()));
    QCOMPARE(link.calls.filter(QLatin1String("read")).size(), 2);
}

void tst_reading::addressTexts_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QByteArray>("sent"); // function code, start address, quantity of a read of one bit
    QTest::newRow("number 0") << "HR0" << hex("03 ffff 0001");
    QTest::newRow("65537 wraps") << "HR65537" << hex("03 0000 0001");
    QTest::newRow("digits beyond 32 bits wrap") << "HR4294967298" << hex("03 0001 0001");
    QTest::newRow("no number") << "HR" << hex("03 ffff 0001");
    QTest::newRow("bit number without a number") << "HR.5" << hex("03 ffff 0001");
    QTest::newRow("bit number of two registers on") << "HR1.31" << hex("03 0000 0002");
    QTest::newRow("bit number modulo 256") << "HR1.300" << hex("03 0000 0003");
    QTest::newRow("second point ends it") << "HR1.2.30" << hex("03 0000 0001");
    QTest::newRow("only a number") << "100" << hex("04 0063 0001");
    QTest::newRow("empty") << "" << hex("04 ffff 0001");
    QTest::newRow("one F") << "F" << hex("04 ffff 0001");
    QTest::newRow("F and two strange characters")
        << QString::fromUtf8("F\xe2\x82\xac.DO7") << hex("04 0006 0001");
    QTest::newRow("sign") << "HR-1" << hex("03 ffff 0001");
    QTest::newRow("blank") << "HR 1" << hex("03 ffff 0001");
    QTest::newRow("non-ASCII letter ends the prefix") << QString::fromUtf8("D\xc3\x96"
                                                                           "1")
                                                      << hex("04 ffff 0001");
    QTest::newRow("prefix only begins with the area") << "DOOR3" << hex("01 0002 0001");
}

void tst_reading::addressTexts()
{
    QFETCH(QString, address);
    QFETCH(QByteArray, sent);
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    driver.read(&link, CommunicatorCommand(Bit, 1, address));
    QCOMPARE(link.sent.size(), 1);
    QCOMPARE(link.sent.first().mid(7).toHex(), sent.toHex());
}

void tst_reading::largestRequests_data()
{
    QTest::addColumn<CommandDataType>("type");
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("quantity");
    QTest::addColumn<int>("dataBytes");
    QTest::newRow("words up to the last register") << Word << "HR65412" << 125 << 125 << 250;
    QTest::newRow("last register") << Word << "HR65536" << 1 << 1 << 2;
    QTest::newRow("double words") << DoubleWord << "HR1" << 62 << 124 << 248;
    QTest::newRow("bytes") << Byte << "HR1" << 250 << 125 << 250;
    QTest::newRow("coils") << Bit << "DO1" << 2008 << 2008 << 251;
    QTest::newRow("bits of registers") << Bit << "HR1.0" << 2000 << 125 << 250;
}

void tst_reading::largestRequests()
{
    QFETCH(CommandDataType, type);
    QFETCH(QString, address);
    QFETCH(int, count);
    QFETCH(int, quantity);
    QFETCH(int, dataBytes);
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    const QByteArray functionCode = address.startsWith(QLatin1String("DO")) ? "01" : "03";
    link.answersPdu((functionCode + "FF" + QByteArray(dataBytes, '\x5A').toHex()).constData());
    const QByteArray data = driver.read(&link, CommunicatorCommand(type, count, address));
    QVERIFY2(!driver.hasError(), qPrintable(driver.getLastError()));
    QCOMPARE(data, QByteArray(dataBytes, '\x5A'));
    QCOMPARE(link.sent.first().mid(10).toHex(), QByteArray::number(quantity + 0x10000, 16).mid(1));
}

void tst_reading::refusedBeforeSending_data()
{
    QTest::addColumn<CommandDataType>("type");
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("error");
    QTest::newRow("126 words") << Word << "HR1" << 126
                               << "read 126 word(s) from 1-HR1> can't read any word from HR1";
    QTest::newRow("words past the end")
        << Word << "ir65536" << 2 << "read 2 word(s) from 1-ir65536> can't read any word from ir65536";
    QTest::newRow("negative words") << Word << "HR1" << -1
                                    << "read 4294967295 word(s) from 1-HR1> can't read any word from HR1";
    QTest::newRow("63 double words") << DoubleWord << "HR1SW" << 63
                                     << "read 63 dword(s) from 1-HR1SW> can't read any double word from HR1";
    QTest::newRow("double words whose double wraps")
        << DoubleWord << "HR1" << int(0x80000001u)
        << "read 2147483649 dword(s) from 1-HR1> can't read any double word from HR1";
    QTest::newRow("251 bytes") << Byte << "HR1" << 251
                               << "read 251 byte(s) from 1-HR1> can't read any byte from HR1";
    QTest::newRow("most bytes") << Byte << "HR1" << 0x7FFFFFFF
                                << "read 2147483647 byte(s) from 1-HR1> can't read any byte from HR1";
    QTest::newRow("2009 coils") << Bit << "DO1" << 2009
                                << "read 2009 bit(s) from 1-DO1> can't read 2009 bits from DO1";
    QTest::newRow("coils past the end")
        << BitBlock << "FN5DO65530" << 8 << "read 1-FN5DO65530> can't read 8 bits from FN5DO65530";
    QTest::newRow("2001 bits of registers")
        << Bit << "HR1" << 2001 << "read 2001 bit(s) from 1-HR1> can't read any word from HR1";
    QTest::newRow("bits of registers whose end wraps")
        << Bit << "HR1.5" << -3 << "read 4294967293 bit(s) from 1-HR1.5> can't read any word from HR1";
}

void tst_reading::refusedBeforeSending()
{
    QFETCH(CommandDataType, type);
    QFETCH(QString, address);
    QFETCH(int, count);
    QFETCH(QString, error);
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    QVERIFY(driver.read(&link, CommunicatorCommand(type, count, address)).isEmpty());
    QVERIFY(driver.hasError());
    QCOMPARE(driver.getLastError(), error);
    QVERIFY(link.sent.isEmpty());
    QCOMPARE(link.closes, 0);
}

void tst_reading::badResponses_data()
{
    QTest::addColumn<QByteArray>("answer"); // to a read of two words from unit 1
    QTest::addColumn<QString>("error");
    QTest::addColumn<int>("closes");
    QTest::addColumn<int>("reads");
    const char* const own = "the link's own words";
    QTest::newRow("silence") << QByteArray("") << own << 1 << 1;
    QTest::newRow("8 of 9 bytes") << QByteArray("TTTT 0000 0007 01 03") << own << 1 << 1;
    QTest::newRow("transaction identifier")
        << QByteArray("7777 0000 0007 01 03 04 12345678") << "invalid transaction ID" << 1 << 1;
    QTest::newRow("protocol identifier, before the unit identifier")
        << QByteArray("TTTT 0001 0007 02 03 04 12345678") << "invalid response" << 1 << 1;
    QTest::newRow("length one more") << QByteArray("TTTT 0000 0008 01 03 04 12345678") << "invalid response"
                                     << 1 << 1;
    QTest::newRow("two bytes shorter")
        << QByteArray("TTTT 0000 0005 01 03 02 1234") << "invalid response" << 1 << 1;
    QTest::newRow("unit identifier") << QByteArray("TTTT 0000 0007 02 03 04 12345678") << "invalid station id"
                                     << 1 << 1;
    QTest::newRow("function code") << QByteArray("TTTT 0000 0007 01 04 04 12345678") << "invalid response"
                                   << 1 << 1;
    QTest::newRow("exception of another function code")
        << QByteArray("TTTT 0000 0003 01 84 02") << "invalid response" << 1 << 1;
    QTest::newRow("exception") << QByteArray("TTTT 0000 0003 01 83 02") << "exception code:02" << 0 << 1;
    QTest::newRow("exception, large code")
        << QByteArray("TTTT 0000 0003 01 83 AB") << "exception code:AB" << 0 << 1;
    QTest::newRow("plain function code in the length of an exception")
        << QByteArray("TTTT 0000 0003 01 03 02") << own << 1 << 2;
    QTest::newRow("rest is short") << QByteArray("TTTT 0000 0007 01 03 04 123456") << own << 1 << 2;
}

void tst_reading::badResponses()
{
    QFETCH(QByteArray, answer);
    QFETCH(QString, error);
    QFETCH(int, closes);
    QFETCH(int, reads);
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    link.answers(answer.constData());
    QVERIFY(driver.read(&link, CommunicatorCommand(Word, 2, QLatin1String("HR1"))).isEmpty());
    QCOMPARE(driver.getLastError(), QLatin1String("read 2 word(s) from 1-HR1> ") + error);
    QCOMPARE(link.closes, closes);
    QCOMPARE(link.calls.filter(QLatin1String("read")).size(), reads);
}

void tst_reading::everyPrefixOfAResponse()
{
    const QByteArray whole("TTTT000000070103041234ABCD");
    for (int bytes = 0; bytes < whole.size() / 2; ++bytes) {
        DriverModbusTcpSlave driver;
        ScriptedLink link;
        link.answers(whole.left(2 * bytes).constData());
        QVERIFY(driver.read(&link, CommunicatorCommand(Word, 2, QLatin1String("HR1"))).isEmpty());
        QVERIFY2(driver.getLastError().endsWith(QLatin1String("> the link's own words")),
                 QByteArray::number(bytes).constData());
        QCOMPARE(link.closes, 1);
    }
}

void tst_reading::attemptsDelaysAndRetries()
{
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    link.retries = 2;
    link.delay = 1;
    driver.read(&link, CommunicatorCommand(Word, 1, QLatin1String("HR1")));
    QCOMPARE(link.sent.size(), 3);
    QCOMPARE(link.waits, 3);
    QCOMPARE(link.opened, 2);
    QVERIFY(driver.hasError());

    link.answers("").answersPdu("0302 0001");
    QCOMPARE(driver.read(&link, CommunicatorCommand(Word, 1, QLatin1String("HR1"))).toHex(),
             QByteArray("0100"));
    QCOMPARE(link.sent.size(), 5);
    QVERIFY(!driver.hasError());

    link.retries = -1;
    driver.read(&link, CommunicatorCommand(Word, 1, QLatin1String("HR1")));
    QCOMPARE(link.sent.size(), 6);
}

void tst_reading::transactionIdentifierWraps()
{
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    int written = 0;
    for (int i = 0; i < 65535; ++i) {
        driver.sendReadDevicesCmd(&link, 3, 0, 1, written);
        QVERIFY(int(driver.getTID()) == i + 1);
        if (i % 4096 == 0)
            link.sent.clear();
    }
    driver.sendReadDevicesCmd(&link, 3, 0, 1, written);
    QCOMPARE(link.sent.last().toHex(), QByteArray("000000000006010300000001"));
    QCOMPARE(written, 12);
}

void tst_reading::requestNotTakenWhole_data()
{
    QTest::addColumn<CommandDataType>("type");
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("closes");
    QTest::newRow("words") << Word << "HR1" << 0;
    QTest::newRow("double words") << DoubleWord << "HR1" << 0;
    QTest::newRow("bits of registers") << Bit << "HR1" << 0;
    QTest::newRow("bytes") << Byte << "HR1" << 1;
    QTest::newRow("coils") << Bit << "DO1" << 1;
}

void tst_reading::requestNotTakenWhole()
{
    QFETCH(CommandDataType, type);
    QFETCH(QString, address);
    QFETCH(int, closes);
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    link.takes = 11;
    QVERIFY(driver.read(&link, CommunicatorCommand(type, 1, address)).isEmpty());
    QVERIFY(driver.getLastError().endsWith(QLatin1String("> the link's own words")));
    QCOMPARE(link.closes, closes);
    QVERIFY(link.calls.filter(QLatin1String("read")).isEmpty());
}

void tst_reading::linkThatCanNotBeOpened()
{
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    link.retries = 3;
    link.up = link.opens = false;
    QVERIFY(driver.read(&link, CommunicatorCommand(Word, 1, QLatin1String("HR1"))).isEmpty());
    QCOMPARE(driver.getLastError(), QString::fromLatin1("the link's own words"));
    QVERIFY(driver.hasError());
    QCOMPARE(link.opened, 1);
    QCOMPARE(link.waits, 1);
}

void tst_reading::unservedDataTypes()
{
    DriverModbusTcpSlave driver;
    const int types[] = {QuadWord, 7, -1, 0x7FFFFFFF};
    for (size_t i = 0; i < sizeof types / sizeof *types; ++i) {
        ScriptedLink link;
        link.retries = 2;
        driver.setCommError(QLatin1String("earlier"));
        const CommunicatorCommand command(static_cast<CommandDataType>(types[i]), 1, QLatin1String("HR1"));
        QVERIFY(driver.read(&link, command).isEmpty());
        QVERIFY(!driver.write(&link, command, QByteArray(8, '\0')));
        QVERIFY(!driver.hasError());
        QCOMPARE(link.waits, 2);
        QVERIFY(link.sent.isEmpty());
    }
}

void tst_reading::errorStateAndDescriptions()
{
    DriverModbusTcpSlave driver;
    driver.setCommError(QLatin1String("first"));
    driver.setCommError(QLatin1String("second"));
    driver.clearError();
    QVERIFY(!driver.hasError());
    QCOMPARE(driver.getLastError(), QString::fromLatin1("second"));

    driver.appendCmdToWriteCommError(255, CommunicatorCommand(Word, 2, QLatin1String("HR%1")));
    QCOMPARE(driver.getLastError(), QString::fromLatin1("write 2 word(s) to 255-HR%1> second"));
    driver.appendCmdToReadCommError(1, CommunicatorCommand(Bit, 1, QLatin1String("DO7")));
    QCOMPARE(driver.getLastError(), QString::fromLatin1("write 2 word(s) to 255-HR%1> second"));

    driver.setCommError(QString());
    driver.appendCmdToReadCommError(3, CommunicatorCommand(QuadWord, 9, QLatin1String("HR100")));
    QCOMPARE(driver.getLastError(), QString::fromLatin1("read 3-HR100> "));
}

QTEST_MAIN(tst_reading)
#include "tst_reading.moc"
