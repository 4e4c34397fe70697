#include "hex_bytes.h"
#include "tx_package.h"

#include <QtTest>
#include <climits>

static QList<int> sizes(const char* text)
{
    QList<int> list;
    const QList<QByteArray> numbers = QByteArray(text).split(' ');
    for (int i = 0; i < numbers.size(); ++i)
        list << numbers.at(i).toInt();
    return list;
}

static void addLayout(const char* rule, const char* entries, int section, int start, int size,
                      const char* data)
{
    QTest::newRow(rule) << QByteArray(entries) << section << start << size << hex(data);
}

class tst_tx_package : public QObject
{
    Q_OBJECT

private slots:
    void appended()
    {
        TxPackage package;
        QVERIFY(package.appendByte(0x01) && package.appendWord(0x0203) && package.appendDWord(0x84050607));
        QVERIFY(package.appendString(QString::fromLatin1("a\xe4")) && package.appendByte2Ascii(0x0A));
        QVERIFY(package.appendSection(QByteArray()) && package.appendSection(hex("0005")));
        QCOMPARE(package.byteArrayData().toHex(), hex("01 0302 07060584 61e4 3041 0005").toHex());
        QVERIFY(package.numberOfSections() == 7 && package.totalSize() == 13);
        const int starts[] = {0, 1, 3, 7, 9, 11, 11, 13};
        for (int i = 0; i < 7; ++i) {
            QCOMPARE(package.sectionStartIndex(i), starts[i]);
            QCOMPARE(package.sectionSize(i), starts[i + 1] - starts[i]);
            QCOMPARE(package.dataAt(i), package.byteArrayData().mid(starts[i], starts[i + 1] - starts[i]));
        }
        const int invalid[] = {-1, 7, INT_MIN, INT_MAX};
        for (int i = 0; i < 4; ++i) {
            QVERIFY(!package.validSectionNumber(invalid[i]) && package.dataAt(invalid[i]).isEmpty());
            QVERIFY(package.sectionStartIndex(invalid[i]) == -1 && package.sectionSize(invalid[i]) == 0);
        }
        package.clearAll();
        QVERIFY(package.numberOfSections() == 0 && package.totalSize() == 0);
    }

    void checkCharacters()
    {
        TxPackage lrc, wrapped, fcs;
        QVERIFY(lrc.appendSection(hex("1020")) && lrc.appendLRCByte() && lrc.appendLRCAscii());
        QCOMPARE(lrc.byteArrayData(), hex("102030") + "60");
        QVERIFY(wrapped.appendSection(hex("ff02")) && wrapped.appendLRCByte());
        QCOMPARE(wrapped.byteArrayData(), hex("ff0201"));
        QVERIFY(fcs.appendSection(hex("1030c5")));
        const int excluded[] = {INT_MIN, 0, 1, 2, 3, INT_MAX}, expected[] = {0xE5, 0xE5, 0x20, 0x10, 0, 0};
        for (int i = 0; i < 6; ++i)
            QCOMPARE(TxPackage::calculateFCS(&fcs, excluded[i]), expected[i]);
        QVERIFY(fcs.appendFCSAscii(77));
        QCOMPARE(fcs.byteArrayData(), hex("1030c5") + "E5");
        QCOMPARE(fcs.sectionSize(1), 2);
    }

    // Laid over the content 03 00 00 00 aa bb cc dd.
    void layout_data()
    {
        QTest::addColumn<QByteArray>("entries");
        QTest::addColumn<int>("section");
        QTest::addColumn<int>("start");
        QTest::addColumn<int>("size");
        QTest::addColumn<QByteArray>("data");
        addLayout("inside", "4 3", 1, 4, 3, "aabbcc");
        addLayout("reaches beyond", "4 100", 1, 4, 100, "aabbccdd");
        addLayout("lies beyond", "100 1", 1, 100, 1, "");
        addLayout("length in two bytes", "2 -3 7 2", 1, 2, 0xDDCC, "0000aabbccdd");
        addLayout("length in one byte", "2 -2 1", 1, 2, 3, "0000aa");
        addLayout("length in the start of a longer section", "2 -2 6", 1, 2, 3, "0000aa");
        addLayout("length partly before the content", "0 -2 4", 1, 0, 3, "030000");
        addLayout("length in an empty section", "1 -2 0 1", 1, 1, 0, "");
        addLayout("names itself", "4 -1", 1, 4, int(0xDDCCBBAA), "");
        addLayout("names each other", "5 -2 -1", 1, 5, int(0xCCBBAA00), "");
        addLayout("names nothing", "4 -2", 1, 4, 0, "");
        addLayout("smallest entry", "4 -2147483648", 1, 4, 0, "");
        addLayout("negative start", "2 -5 7", 2, -3, 7, "03000000");
        addLayout("start beyond int", "2147483647 2147483647 5", 2, INT_MAX, 5, "");
        addLayout("start below int", "-2147483648 -2147483648 9", 2, INT_MIN, 9, "");
        addLayout("end beyond int", "1 2147483647", 1, 1, INT_MAX, "000000aabbccdd");
    }

    void layout()
    {
        QFETCH(QByteArray, entries);
        QFETCH(int, section);
        TxPackage package;
        package.setSectionSize(sizes(entries));
        package.setData(hex("03000000aabbccdd"));
        QTEST(package.sectionStartIndex(section), "start");
        QTEST(package.sectionSize(section), "size");
        QTEST(package.dataAt(section), "data");
    }

    void contentIsReplaced()
    {
        TxPackage package;
        const QByteArray seven = hex("01020304050607");
        QVERIFY(package.appendByte(1) && package.setData(seven));
        QCOMPARE(package.numberOfSections(), 1);
        package.data()[0] = '\x7f';
        QCOMPARE(seven.toHex(), QByteArray("01020304050607"));
        package.setSectionSize(sizes("2 3"));
        QCOMPARE(package.byteArrayData().toHex(), QByteArray("7f02030405"));
        package.setSectionSize(sizes("7 -1"));
        QCOMPARE(package.byteArrayData().toHex(), QByteArray("7f0203040500"));
        package.setSectionSize(sizes("1 -9"));
        QCOMPARE(package.totalSize(), 0);

        char raw[] = {'\x01', '\x3a', '\0', '\x08'};
        QVERIFY(package.setData(raw, 3));
        QCOMPARE(package.toString(), QString::fromLatin1("(0X1 0X3a 0X0 ) : \x01:"));
        QVERIFY(package.setData(raw, -1));
        QCOMPARE(package.totalSize(), 0);
        package.setSectionSize(EmptyPackageSizeList());
        QCOMPARE(package.numberOfSections(), 0);
        QVERIFY(package.arrayToInt(hex("ff01")) == 255 && package.arrayToInt(QByteArray()) == 0);
    }
};

QTEST_MAIN(tst_tx_package)
#include "tst_tx_package.moc"
