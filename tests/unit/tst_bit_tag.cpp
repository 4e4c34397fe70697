#include "bit_tag.h"

#include <QtTest>

/// Texts that one step of a number generator after another makes of these pieces: nearly tags, most of them.
static QString randomText(quint32& state)
{
    static const char* const pieces[] = {"DI",         "DO",         "FN5",         "FN5DO", "HR", "di",
                                         "dO",         "1",          "2",           "0",     "9",  "65536",
                                         "4294967296", "2147483648", "255",         "-",     "-",  "-",
                                         ".",          " ",          "x",           "D",     "5",  "f",
                                         "\xd9\xa3",   "\xc4\xb0",   "\xef\xbc\x91"}; // other digits, a
                                                                                      // dotted capital i
    const int count = sizeof pieces / sizeof *pieces;
    QString text;
    do {
        state = state * 1664525 + 1013904223;
        text += QString::fromUtf8(pieces[(state >> 16) % count]);
    } while ((state >> 10) % 5 != 0);
    return text;
}

class tst_bit_tag : public QObject
{
    Q_OBJECT

    QRegExp m_qualified;

    /// "station area address", empty for no bit tag.
    static QString described(unsigned int station, bool isInput, unsigned int address)
    {
        return QString::fromLatin1("%1 %2 %3")
            .arg(station & 0xFF)
            .arg(QLatin1String(isInput ? "DI" : "DO"))
            .arg(address & 0xFFFF);
    }

    QString read(const QString& text) const
    {
        BitTag tag;
        return readBitTag(text, 7, m_qualified, tag) ? described(tag.station, tag.isInput, tag.address)
                                                     : QString();
    }

    static unsigned int addressIn(const QString& text)
    {
        const QByteArray characters = text.toLatin1();
        int start = 0;
        while (start < characters.size() && (characters.at(start) < '0' || characters.at(start) > '9'))
            ++start;
        return static_cast<unsigned int>(characters.mid(start).toInt()) - 1;
    }

    /// The rules with nothing but Qt's own comparisons, conversions and the regular expression.
    QString byTheRules(const QString& text) const
    {
        if (text.startsWith(QLatin1String("FN5DO"), Qt::CaseInsensitive))
            return described(7, false, addressIn(text.mid(3)));
        if (text.startsWith(QLatin1String("DI"), Qt::CaseInsensitive))
            return described(7, true, addressIn(text));
        if (text.startsWith(QLatin1String("DO"), Qt::CaseInsensitive))
            return described(7, false, addressIn(text));
        if (m_qualified.indexIn(text) != 0)
            return QString();
        return described(m_qualified.cap(1).toUInt(),
                         m_qualified.cap(2).toUpper().startsWith(QLatin1String("DI")),
                         static_cast<unsigned int>(m_qualified.cap(3).toInt()) - 1);
    }

private slots:
    void initTestCase()
    {
        m_qualified = QRegExp(QLatin1String("^(\\d+)-((?:FN5)?DO|DI)(\\d+)"), Qt::CaseInsensitive);
    }

    void reads_as_the_rules_say()
    {
        quint32 state = 1;
        int tags = 0;
        for (int i = 0; i < 200000; ++i) {
            const QString text = randomText(state);
            const QString expected = byTheRules(text);
            tags += expected.isEmpty() ? 0 : 1;
            QVERIFY2(read(text) == expected, qPrintable(text + QLatin1String(": ") + expected));
        }
        QVERIFY(tags > 10000);
    }

    void reads_data()
    {
        QTest::addColumn<QString>("expected");
        QTest::newRow("DI5") << "7 DI 4";
        QTest::newRow("fn5do12") << "7 DO 11";
        QTest::newRow("300-DO1") << "44 DO 0";
        QTest::newRow("1-DI5x") << "1 DI 4";
        QTest::newRow("2-fn5do7") << "2 DO 6";
        QTest::newRow("DI5x") << "7 DI 65535";
        QTest::newRow("1-FN5DI5") << "";
        QTest::newRow("1-HR10") << "";
        QTest::newRow("HR10") << "";
        QTest::newRow("") << "";
    }

    void reads()
    {
        QFETCH(QString, expected);
        QCOMPARE(read(QLatin1String(QTest::currentDataTag())), expected);
    }
};

QTEST_MAIN(tst_bit_tag)
#include "tst_bit_tag.moc"
