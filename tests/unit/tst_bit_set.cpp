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

    void sort()
    {
        for (int range = 1; range <= 65536; range *= 16) { // from a single address to all of them
            UShortVector values;
            for (int i = 0; i < 10000; ++i)
                values.push_back(static_cast<unsigned short>(65535 - qrand() % range));
            const std::set<unsigned short> expected(values.begin(), values.end());
            ModbusBitSet::setSort(values);
            QVERIFY(values == UShortVector(expected.begin(), expected.end()));
        }
    }
};

QTEST_MAIN(tst_bit_set)
#include "tst_bit_set.moc"
