#include "modbus_tcp_slave.h"
#include "project_fixture.h"
#include "rows.h"
#include "scripted_link.h"

#include <QtTest>

enum Direction
{
    Read,
    Write
};

static const struct
{
    const char* name;
    Direction direction;
    CommandDataType type;
    const char* address;
    int count;
    const char* data;     ///< read or to write
    const char* requests; ///< without their headers, one after the other
    const char* answer;   ///< to the first request; none: the device obeys
} exchanges[] = {
    {"words", Read, Word, "HR100", 2, "34127856", "0300630002", "030412345678"},
    {"FN6HR reads as HR", Read, Word, "fn6hr100", 2, "34127856", "0300630002", "030412345678"},
    {"input registers", Read, Word, "IR1", 2, "34127856", "0400000002", "040412345678"},
    {"words of any other area", Read, Word, "DO1", 2, "34127856", "0400000002", "040412345678"},
    {"low word first", Read, DoubleWord, "HR1", 1, "34127856", "0300000002", "030412345678"},
    {"high word first", Read, DoubleWord, "HR1SW", 1, "78563412", "0300000002", "030412345678"},
    {"small letters", Read, DoubleWord, "ir10sw", 1, "78563412", "0400090002", "040412345678"},
    {"odd number of bytes", Read, Byte, "hr8", 3, "341278", "0300070002", "030412345678"},
    {"block", Read, Block, "IR8", 4, "34127856", "0400070002", "040412345678"},
    {"coils, last byte masked", Read, Bit, "DO5", 10, "ff03", "010004000a", "0102FFFF"},
    {"FN5DO reads as DO", Read, BitBlock, "FN5DO5", 8, "a5", "0100040008", "0101A5"},
    {"discrete inputs", Read, Bit, "DI65536", 1, "01", "02ffff0001", "020101"},
    {"bits across a register border", Read, Bit, "HR1.12", 8, "4a", "0300000002", "0304ABCD1234"},
    {"bits of the second register", Read, Bit, "IR1.20", 4, "05", "0400000002", "0404FFFF0050"},
    {"bits without a bit number", Read, Bit, "HR1", 4, "09", "0300000001", "030200F9"},
    {"byte count field is not looked at", Read, Word, "HR1", 1, "3412", "0300000001", "03FF1234"},

    {"words", Write, Word, "HR10", 2, "01000200", "10000900020400010002", ""},
    {"missing words are zero", Write, Word, "HR100", 3, "34127856", "100063000306123456780000", ""},
    {"surplus words are cut", Write, Word, "hr1", 1, "34127856", "1000000001021234", ""},
    {"no data", Write, Word, "HR1", 1, "", "1000000001020000", ""},
    {"count 0", Write, Word, "HR1", 0, "1234", "100000000000", ""},
    {"low word first", Write, DoubleWord, "HR100", 1, "78563412", "10006300020456781234", ""},
    {"high word first", Write, DoubleWord, "HR100sw", 1, "78563412", "10006300020412345678", ""},
    {"odd number of bytes", Write, Byte, "HR1", 3, "0A0B0C", "1000000002040b0a000c", ""},
    {"register by register", Write, Block, "FN6HR5", 3, "0A0B0C", "0600040b0a 060005000c", ""},
    {"and a double word", Write, DoubleWord, "fn6hr1SW", 1, "78563412", "0600001234 0600015678", ""},
    {"coils", Write, Bit, "DO1", 10, "FF03", "0f0000000a02ff03", ""},
    {"coil block", Write, BitBlock, "do65529", 8, "A5", "0ffff8000801a5", ""},
    {"no coils", Write, Bit, "DO1", 0, "", "0f0000000000", ""},
    {"coils one by one", Write, Bit, "FN5DO11", 3, "05", "05000aff00 05000b0000 05000cff00", ""},
    {"no coils one by one", Write, Bit, "FN5DO11", 0, "05", "", ""},
    {"bit of a register", Write, Bit, "HR7.2", 1, "01", "0300060001 1000060001020004", ""},
    // bits 14 and 15 of ABCD become 1 and 0, bits 0 and 1 of 1234 become 1 and 0
    {"other bits stay", Write, Bit, "HR1.14", 4, "05", "0300000002 1000000002046bcd1235", "0304ABCD1234"},
    {"bits register by register", Write, BitBlock, "FN6HR1.15", 2, "03", "0300000002 0600008000 0600010001",
     ""},
};

static const struct
{
    const char* name;
    const char* sent; ///< function code, start address and quantity of a read of one bit
} addresses[] = {
    {"HR4294967298", "0300010001"}, // digits beyond 32 bits wrap
    {"HR.5", "03ffff0001"},
    {"HR1.31", "0300000002"},  // a bit of the next register
    {"HR1.300", "0300000003"}, // bit 44
    {"HR1.2.30", "0300000001"},
    {"100", "0400630001"},
    {"", "04ffff0001"},
    {"F", "04ffff0001"},
    {"F\xe2\x82\xac.DO7", "0400060001"}, // F takes two more characters with it, whatever they are
    {"D\xc3\x96"
     "1",
     "04ffff0001"}, // other letters than ASCII's end the prefix
    {"DOOR3", "0100020001"},
    {"FN512", "04000b0001"},
};

static const char* const WrongAddress = "wrong device address from response";
static const char* const WrongQuantity = "wrong quantity from response";

static const struct
{
    const char* name; ///< the answer: to a read of two words from unit 1, or to a write of one element
    const char* address;
    const char* error;
    int closes;
} badReplyRows[] = {
    {"7777 0000 0007 01 03 04 12345678", "", "invalid transaction ID", 1},
    {"TTTT 0001 0007 02 03 04 12345678", "", "invalid response", 1}, // told before the wrong unit
    {"TTTT 0000 0008 01 03 04 12345678", "", "invalid response", 1},
    {"TTTT 0000 0005 01 03 02 1234", "", "invalid response", 1},
    {"TTTT 0000 0007 02 03 04 12345678", "", "invalid station id", 1},
    {"TTTT 0000 0007 01 04 04 12345678", "", "invalid response", 1},
    {"TTTT 0000 0003 01 84 02", "", "invalid response", 1}, // exception of another function code
    {"TTTT 0000 0003 01 83 02", "", "exception code:02", 0},
    {"TTTT 0000 0003 01 83 AB", "", "exception code:AB", 0},
    {"TTTT 0000 0003 01 03 02", "", "the link's own words", 1}, // no exception in the length of one
    {"TTTT 0000 0006 01 10 0008 0001", "HR10", WrongAddress, 0},
    {"TTTT 0000 0006 01 10 0009 0002", "HR10", WrongQuantity, 0},
    {"TTTT 0000 0006 01 06 0008 0000", "FN6HR10", WrongAddress, 0}, // told before the wrong value
    {"TTTT 0000 0006 01 06 0009 0001", "FN6HR10", "failed to write HR10", 0},
    {"TTTT 0000 0006 01 06 0009 0100", "FN6HR10", "failed to write HR10", 0},
    {"TTTT 0000 0006 01 05 0003 FF00", "FN5DO3", WrongAddress, 0},
    {"TTTT 0000 0006 01 05 0002 0000", "FN5DO3", "failed to write DO3", 0},
    {"TTTT 0000 0006 01 05 0002 FF01", "FN5DO3", "failed to write DO3", 0},
    {"TTTT 0000 0006 01 0F 0001 0001", "DO3", WrongAddress, 0},
    {"TTTT 0000 0006 01 0F 0002 0000", "DO3", WrongQuantity, 0},
    {"TTTT 0000 0006 01 10 0002 0001", "DO3", "invalid response", 1},
};

static const struct
{
    const char* name; ///< the address
    Direction direction;
    CommandDataType type;
    int count;
    const char* pdu; ///< of the whole reply
    int closes;      ///< when the link does not take all of the request
} commands[] = {
    {"HR1", Read, Word, 2, "03041234ABCD", 0},   {"HR1", Read, DoubleWord, 1, "03041234ABCD", 0},
    {"HR1", Read, Bit, 32, "03041234ABCD", 0},   {"HR1", Read, Byte, 4, "03041234ABCD", 1},
    {"DO1", Read, Bit, 32, "01041234ABCD", 1},   {"FN5DO1", Write, Bit, 1, "050000FF00", 1},
    {"FN6HR1", Write, Word, 1, "0600001203", 1}, {"DO1", Write, Bit, 2, "0F00000002", 1},
    {"HR1", Write, Word, 2, "1000000002", 1},
};

static const struct
{
    const char* name; ///< the error text of a command that is refused
    Direction direction;
    CommandDataType type;
    const char* address;
    int count;
} refusals[] = {
    {"read 4294967295 word(s) from 1-HR1> can't read any word from HR1", Read, Word, "HR1", -1},
    {"read 63 dword(s) from 1-HR1SW> can't read any double word from HR1", Read, DoubleWord, "HR1SW", 63},
    {"read 251 byte(s) from 1-ir1> can't read any byte from ir1", Read, Byte, "ir1", 251},
    {"read 2009 bit(s) from 1-DO1> can't read 2009 bits from DO1", Read, Bit, "DO1", 2009},
    {"read 1-FN5DO65530> can't read 8 bits from FN5DO65530", Read, BitBlock, "FN5DO65530", 8},
    {"write 1 bit(s) to 1-DI3> can't write any bit to DI3", Write, Bit, "DI3", 1},
    {"write 1 byte(s) to 1-DO3> can't write any byte to DO3", Write, Byte, "DO3", 1},
    {"write 1-IR%13> can't write any byte to IR%13", Write, Block, "IR%13", 1},
    {"write 3 word(s) to 1-HR65535> can't write 3 words to HR65535", Write, Word, "HR65535", 3},
    {"write 1 dword(s) to 1-X> can't write any double word to X", Write, DoubleWord, "X", 1},
};

class tst_commands : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void requestsAndData_data() { addRows(exchanges); }
    void requestsAndData();
    void addressTexts_data() { addRows(addresses); }
    void addressTexts();
    void badReplies_data() { addRows(badReplyRows); }
    void badReplies();
    void everyPrefixOfAReply_data() { addRows(commands); }
    void everyPrefixOfAReply();
    void descriptions_data() { addRows(refusals); }
    void descriptions();
    void requestNotTakenWhole_data() { addRows(commands); }
    void requestNotTakenWhole();
    void attemptsDelaysAndRetries();
    void linkThatCanNotBeOpened();
    void transactionIdentifierWraps();
    void oddRegisterDataRefused();
    void unservedDataTypes();
    void errorState();
};

/// Runs a command. True if it did what it is for.
static bool runs(DriverModbusTcpSlave& driver, ScriptedLink& link, Direction direction,
                 const CommunicatorCommand& command, const QByteArray& data = QByteArray())
{
    return direction == Write ? driver.write(&link, command, data) : !driver.read(&link, command).isEmpty();
}

static CommunicatorCommand commandFor(CommandDataType type, const char* address, int count)
{
    return CommunicatorCommand(type, count, QString::fromUtf8(address));
}

void tst_commands::initTestCase()
{
    ProjectFixture::clear();
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), QStringList()));
}

void tst_commands::requestsAndData()
{
    QFETCH(int, row);
    DriverModbusTcpSlave driver;
    ObedientDevice link;
    if (*exchanges[row].answer)
        link.answersPdu(exchanges[row].answer);
    const CommunicatorCommand command =
        commandFor(exchanges[row].type, exchanges[row].address, exchanges[row].count);
    const QByteArray data = hex(exchanges[row].data);
    if (exchanges[row].direction == Read)
        QCOMPARE(driver.read(&link, command).toHex(), data.toHex());
    else
        QVERIFY(driver.write(&link, command, data));
    QVERIFY2(!driver.hasError(), qPrintable(driver.getLastError()));

    QList<QByteArray> wanted;
    foreach (const QByteArray& pdu, QByteArray(exchanges[row].requests).split(' ')) {
        if (!pdu.isEmpty())
            wanted << hex("0000 00") + char(pdu.size() / 2 + 1) + '\1' + hex(pdu);
    }
    QCOMPARE(link.sent.size(), wanted.size());
    for (int i = 0; i < wanted.size(); ++i)
        QCOMPARE(link.sent.at(i).mid(2).toHex(), wanted.at(i).toHex());
}

void tst_commands::addressTexts()
{
    QFETCH(int, row);
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    driver.read(&link, commandFor(Bit, addresses[row].name, 1));
    QCOMPARE(link.sent.size(), 1);
    QCOMPARE(link.sent.first().mid(7).toHex(), QByteArray(addresses[row].sent));
}

void tst_commands::badReplies()
{
    QFETCH(int, row);
    const QString address = QLatin1String(badReplyRows[row].address);
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    link.answers(badReplyRows[row].name);
    const CommandDataType type = address.contains(QLatin1String("DO")) ? Bit : Word;
    QVERIFY(address.isEmpty() ? driver.read(&link, commandFor(Word, "HR1", 2)).isEmpty()
                              : !driver.write(&link, CommunicatorCommand(type, 1, address), hex("0101")));
    QCOMPARE(driver.getLastError().section(QLatin1String("> "), 1),
             QString::fromLatin1(badReplyRows[row].error));
    QCOMPARE(link.closes, badReplyRows[row].closes);
    QVERIFY(link.closes == 0 || driver.getLastError().endsWith(QLatin1String("words")) ||
            link.calls.filter(QLatin1String("read")).size() == 1);
}

void tst_commands::everyPrefixOfAReply()
{
    QFETCH(int, row);
    const QByteArray pdu = commands[row].pdu;
    const QByteArray whole = "TTTT0000000" + QByteArray::number(pdu.size() / 2 + 1) + "01" + pdu;
    for (int bytes = 0; bytes <= whole.size() / 2; ++bytes) {
        DriverModbusTcpSlave driver;
        ScriptedLink link;
        link.answers(whole.left(2 * bytes).constData());
        const bool isWhole = bytes == whole.size() / 2;
        QCOMPARE(runs(driver, link, commands[row].direction,
                      commandFor(commands[row].type, commands[row].name, commands[row].count),
                      hex("0312FF00")),
                 isWhole);
        QCOMPARE(driver.getLastError().section(QLatin1String("> "), 1),
                 QLatin1String(isWhole ? "" : "the link's own words"));
        QCOMPARE(link.closes, isWhole ? 0 : 1);
        QCOMPARE(link.calls.filter(QLatin1String("read")).size(), bytes < 9 ? 1 : 2);
    }
}

void tst_commands::requestNotTakenWhole()
{
    QFETCH(int, row);
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    link.takes = 11;
    QVERIFY(!runs(driver, link, commands[row].direction,
                  commandFor(commands[row].type, commands[row].name, commands[row].count), hex("0312FF00")));
    QVERIFY(driver.getLastError().endsWith(QLatin1String("> the link's own words")));
    QCOMPARE(link.closes, commands[row].closes);
    QCOMPARE(link.sent.size(), 1);
    QVERIFY(link.calls.filter(QLatin1String("read")).isEmpty());
}

void tst_commands::descriptions()
{
    QFETCH(int, row);
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    link.retries = 2;
    QVERIFY(!runs(driver, link, refusals[row].direction,
                  commandFor(refusals[row].type, refusals[row].address, refusals[row].count), hex("01")));
    QVERIFY(driver.hasError());
    QCOMPARE(driver.getLastError(), QString::fromLatin1(refusals[row].name));
    QCOMPARE(link.waits, 3);
    QVERIFY(link.sent.isEmpty());
    QCOMPARE(link.closes, 0);
}

void tst_commands::attemptsDelaysAndRetries()
{
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    link.retries = 2;
    link.delay = 1;
    QVERIFY(!runs(driver, link, Read, commandFor(Word, "HR1", 1)));
    QCOMPARE(link.sent.size(), 3);
    QCOMPARE(link.waits, 3);
    QCOMPARE(link.opened, 2);
    QVERIFY(driver.hasError());

    link.answers("").answersPdu("0302 0001");
    QVERIFY(runs(driver, link, Read, commandFor(Word, "HR1", 1)));
    QCOMPARE(link.sent.size(), 5);
    QVERIFY(!driver.hasError());

    link.retries = -1;
    QVERIFY(!runs(driver, link, Read, commandFor(Word, "HR1", 1)));
    QCOMPARE(link.sent.size(), 6);
}

void tst_commands::linkThatCanNotBeOpened()
{
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    link.retries = 3;
    for (int direction = Read; direction <= Write; ++direction) {
        link.up = link.opens = false;
        QVERIFY(!runs(driver, link, Direction(direction), commandFor(Word, "HR1", 1)));
        QCOMPARE(driver.getLastError(), QString::fromLatin1("the link's own words"));
        QVERIFY(driver.hasError());
        QCOMPARE(link.opened, 1 + direction);
        QCOMPARE(link.waits, 1 + direction);
    }
}

void tst_commands::transactionIdentifierWraps()
{
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    int written = 0;
    for (int i = 1; i <= 65536; ++i) {
        link.sent.clear();
        driver.sendReadDevicesCmd(&link, 3, 0, 1, written);
        QVERIFY(driver.getTID() == i % 65536);
    }
    QCOMPARE(link.sent.last().toHex(), QByteArray("000000000006010300000001"));
    QCOMPARE(written, 12);
}

/// As no command has it. The check rounds half a register up, the message rounds it down.
void tst_commands::oddRegisterDataRefused()
{
    DriverModbusTcpSlave driver;
    ObedientDevice link;
    QVERIFY(!driver.writeWords(&link, 0, QByteArray(247, '\1')));
    QCOMPARE(driver.getLastError(), QString::fromLatin1("can't write 123 words to HR1"));
    QVERIFY(!driver.writeWords(&link, 65535, QByteArray(3, '\1')));
    QCOMPARE(driver.getLastError(), QString::fromLatin1("can't write 1 words to HR65536"));
    QVERIFY(!driver.write1WordWithFN6(&link, 65535, QByteArray(4, '\1')));
    QCOMPARE(driver.getLastError(), QString::fromLatin1("can't write any word to HR65536"));
    QVERIFY(link.sent.isEmpty());
}

void tst_commands::unservedDataTypes()
{
    DriverModbusTcpSlave driver;
    foreach (int type, QList<int>() << QuadWord << 7 << -1 << 0x7FFFFFFF) {
        ScriptedLink link;
        link.retries = 2;
        driver.setCommError(QLatin1String("earlier"));
        const CommunicatorCommand unserved = commandFor(static_cast<CommandDataType>(type), "HR1", 1);
        QVERIFY(!runs(driver, link, Read, unserved));
        QVERIFY(!runs(driver, link, Write, unserved, QByteArray(8, '\0')));
        QVERIFY(!driver.hasError());
        QCOMPARE(link.waits, 2);
        QVERIFY(link.sent.isEmpty());
    }
}

void tst_commands::errorState()
{
    DriverModbusTcpSlave driver;
    driver.setCommError(QLatin1String("first"));
    driver.setCommError(QLatin1String("second"));
    driver.clearError();
    QVERIFY(!driver.hasError());
    QCOMPARE(driver.getLastError(), QString::fromLatin1("second"));

    driver.appendCmdToWriteCommError(255, commandFor(Word, "HR%1", 2));
    QCOMPARE(driver.getLastError(), QString::fromLatin1("write 2 word(s) to 255-HR%1> second"));
    driver.appendCmdToReadCommError(1, commandFor(Bit, "DO7", 1));
    QCOMPARE(driver.getLastError(), QString::fromLatin1("write 2 word(s) to 255-HR%1> second"));

    driver.setCommError(QString());
    driver.appendCmdToReadCommError(3, commandFor(QuadWord, "HR100", 9));
    QCOMPARE(driver.getLastError(), QString::fromLatin1("read 3-HR100> "));
}

QTEST_MAIN(tst_commands)
#include "tst_commands.moc"
