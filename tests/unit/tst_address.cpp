#include "tools/address.h"

#include <QtTest>

static QByteArray prefixOf(const QByteArray& text)
{
    const QByteArray prefix = ExtractPrefixSymbol(text);
    return ExtractPrefixSymbol(QString::fromLatin1(text)) == prefix ? prefix : QByteArray("forms differ");
}

static int numberIn(const QByteArray& text, int base)
{
    const int number = ExtractPLCDeviceAddress(text, base);
    return ExtractPLCDeviceAddress(QString::fromLatin1(text), base) == number ? number : -99;
}

class tst_address : public QObject
{
    Q_OBJECT

private slots:
    void prefix()
    {
        QCOMPARE(prefixOf("DI_X3"), QByteArray("DI_X"));
        QCOMPARE(prefixOf("FN5DO1"), QByteArray("FN"));
        QCOMPARE(prefixOf("aZ_z@"), QByteArray("aZ_z"));
        QCOMPARE(prefixOf("D\xc4"), QByteArray("D")); // a letter, but not of ASCII
        QCOMPARE(prefixOf("5DO"), QByteArray());
        QCOMPARE(prefixOf(""), QByteArray());
    }

    void number_data()
    {
        QTest::addColumn<int>("base");
        QTest::addColumn<int>("expected");
        QTest::newRow("DO17") << 10 << 17;
        QTest::newRow("\xc4:9") << 10 << 9;
        QTest::newRow("DI100.5") << 10 << 0; // not one number
        QTest::newRow("DO7 ") << 10 << 7;
        QTest::newRow("DO") << 10 << 0;
        QTest::newRow("") << 10 << 0;
        QTest::newRow("DO2147483647") << 10 << 2147483647;
        QTest::newRow("DO2147483648") << 10 << 0;
        QTest::newRow("X1F") << 16 << 31;
        QTest::newRow("x1f") << 16 << 31;
        QTest::newRow("X0x1F") << 16 << 31;
        QTest::newRow("DO1F") << 16 << 0; // starts at D
        QTest::newRow("X17") << 8 << 15;
        QTest::newRow("X91") << 8 << 1;
        QTest::newRow("X18") << 8 << 0;
        QTest::newRow("DO1") << 2 << -1;
    }

    void number()
    {
        QFETCH(int, base);
        QTEST(numberIn(QTest::currentDataTag(), base), "expected");
    }
};

QTEST_MAIN(tst_address)
#include "tst_address.moc"
