#include "modbus_bit_set.h"

#include <QtTest>
#include <set>

class tst_bit_set : public QObject
{
    Q_OBJECT

private slots:
    void setsAreApart()
    {
        ModbusBitSet bits;
        bits.DOSetPush(9);
        bits.DOSetPush(2);
        bits.DISetPush(7);
        bits.DOSetSort();
        bits.DISetSort();
        QVERIFY(bits.DOSetContains(9) == 1 && bits.DOSetContains(7) == -1 && bits.DOSetContains(1, 2) == -1);
        QVERIFY(bits.DISetContains(7) == 0 && bits.DISetContains(9) == -1 && bits.DISetContains(1, 7) == -1);
    }

    void contains()
    {
        const unsigned short values[] = {3, 5, 9, 65535};
        UShortVector set(values, values + 4), empty;
        for (int from = 0; from < 6; ++from) {
            for (int i = 0; i < 4; ++i) {
                QCOMPARE(ModbusBitSet::setContains(set, from, values[i]), i < from ? -1 : i);
                QCOMPARE(ModbusBitSet::setContains(set, from, static_cast<ushort>(values[i] - 1)), -1);
                QCOMPARE(ModbusBitSet::setContains(empty, from, values[i]), -1);
            }
        }
    }

    void sort_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("range");
        QTest::newRow("empty") << 0 << 1;
        QTest::newRow("few, many twice") << 100 << 20;
        QTest::newRow("largest that is compared") << 2047 << 65536;
        QTest::newRow("smallest that is marked") << 2048 << 65536;
        QTest::newRow("a million, nearly all addresses") << 1000000 << 65536;
        QTest::newRow("a million times the same") << 1000000 << 1;
    }

    void sort()
    {
        QFETCH(int, size);
        QFETCH(int, range);
        UShortVector values;
        for (int i = 0; i < size; ++i)
            values.push_back(static_cast<unsigned short>(65535 - qrand() % range));
        const std::set<unsigned short> expected(values.begin(), values.end());
        ModbusBitSet::setSort(values);
        QVERIFY(values == UShortVector(expected.begin(), expected.end()));
    }
};

QTEST_MAIN(tst_bit_set)
#include "tst_bit_set.moc"
