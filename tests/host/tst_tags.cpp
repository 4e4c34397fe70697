#include "project/tag_import.h"

#include <QBuffer>
#include <QtTest>

class tst_tags : public QObject
{
    Q_OBJECT

private slots:
    void csv_data();
    void csv();
    void csvOverTheEndOfABuffer();
    void importing_data();
    void importing();
    void boundedProblems();
};

namespace {

/// "1:a|b 2:c" for two rows, "3!problem" for a row that is not valid CSV.
QString rowsOf(const QByteArray& text)
{
    QBuffer file;
    file.setData(text);
    file.open(QIODevice::ReadOnly);
    CsvReader reader(file);
    CsvRow row;
    QStringList rows;
    while (reader.next(row)) {
        if (!row.problem.isEmpty())
            rows += QStringLiteral("%1!%2").arg(row.line).arg(row.problem);
        else
            rows +=
                QStringLiteral("%1:%2").arg(row.line).arg(QString::fromLatin1(row.fields.toList().join('|')));
    }
    return rows.join(QLatin1Char(' '));
}

struct Imported
{
    explicit Imported(const QByteArray& text, int mostTags = 1 << 30)
    {
        QBuffer file;
        file.setData(text);
        file.open(QIODevice::ReadOnly);
        CsvReader reader(file);
        result = importTags(
            reader,
            [&](const QString& address) {
                taken += address;
                return taken.size() < mostTags;
            },
            [] { return true; });
    }

    QStringList problems() const
    {
        QStringList texts;
        for (const ImportProblem& problem : result.problems)
            texts += QStringLiteral("%1: %2").arg(problem.line).arg(problem.text);
        return texts;
    }

    ImportResult result;
    QStringList taken;
};

} // namespace

void tst_tags::csv_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("rows");
    const auto row = [](const char* name, const QByteArray& text, const char* rows) {
        QTest::newRow(name) << text << QString::fromLatin1(rows);
    };
    row("nothing", "", "");
    row("LF, CRLF and no end at the end", "a,b\nc\r\nd", "1:a|b 2:c 3:d");
    row("byte-order mark",
        "\xEF\xBB\xBF"
        "a\n",
        "1:a");
    row("mark in quotes", "\xEF\xBB\xBF\"a\"\n", "1:a");
    row("blank lines count", "\n\r\na\n\nb\n", "3:a 5:b");
    row("empty fields", "a,,b,\n,\n", "1:a||b| 2:|");
    row("quotes", "\"a,b\",\"c\"\"d\"\n\"\"\n", "1:a,b|c\"d 2:");
    row("line ends in quotes", "\"a\nb\r\nc\",d\ne\n", "1:a\nb\r\nc|d 4:e");
    row("quote inside a field", "a\"b,c\nd\n",
        "1!a quote stands in a field that does not begin with one 2:d");
    row("text behind quotes", "\"a\"b\nd\n", "1!text follows a closing quote 2:d");
    row("quote not closed", "a\n\"b\nc\n", "1:a 2!a quote is opened and not closed");
    row("lone CR", "a\rb\nc\n", "1!there is a carriage return in the middle of the line 2:c");
    row("NUL", QByteArray("a\0b\nc", 5), "1!it has the control character 0 2:c");
    row("too long", QByteArray(65537, 'x') + "\nc", "1!a field is longer than 65536 bytes 2:c");
}

void tst_tags::csv()
{
    QFETCH(QByteArray, text);
    QTEST(rowsOf(text), "rows");
}

// The reader takes 65536 bytes at once; the row's end, a quote pair and CRLF are moved across that border.
void tst_tags::csvOverTheEndOfABuffer()
{
    for (int filler = 65520; filler < 65540; ++filler) {
        const QByteArray blank = QByteArray(filler, '\n');
        QCOMPARE(rowsOf(blank + "a,\"b\"\"c\"\r\nd\r\n"),
                 QStringLiteral("%1:a|b\"c %2:d").arg(filler + 1).arg(filler + 2));
    }
}

void tst_tags::importing_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("taken");
    QTest::addColumn<QString>("problems");
    const auto row = [](const char* name, const char* text, const char* taken, const char* problems) {
        QTest::newRow(name) << QByteArray(text) << QString::fromLatin1(taken)
                            << QString::fromLatin1(problems);
    };
    row("header and more columns", "Address,name\nDI5,\"a, b\"\n2-do7,\n", "DI5 2-do7", "");
    row("no header", "DI5\nDO1\n", "DI5 DO1", "");
    row("header alone", "address\n", "", "");
    row("comments and blanks without a header", "# pumps, \"left\"\n DI5\t\n", "DI5", "");
    row("none with a header", "address\n#DI5\n", "",
        "2: \"#DI5\" is in no area of the driver (DI, DO, FN5DO, HR, FN6HR, IR)");
    row("a second header is no address", "address\naddress\n", "",
        "2: \"address\" is in no area of the driver (DI, DO, FN5DO, HR, FN6HR, IR)");
    row("columns", "DI5,a\nDI6\nDI7,b\nDI8,c,d\n", "DI5",
        "2: it has 1 column(s), the first row 2; 4: it has 3 column(s), the first row 2");
    row("duplicates", "DI5\nDI6\ndi05\nDI6\nDI6\n", "DI5 DI6 di05 DI6 DI6",
        "3: the address is that of line 1; 4: the address is that of line 2; 5: the address is that of line "
        "2");
    row("alike and different", "DI5\nDO5\nFN5DO5\n1-DI5\nHR5\nHR5.0\nHR5SW\nIR5\nFN6HR5\nHR5.1\n2-DI5\n",
        "DI5 DO5 FN5DO5 1-DI5 HR5 HR5.0 HR5SW IR5 FN6HR5 HR5.1 2-DI5", "");
    row("all kinds in the order of lines", "DI1\nXY\nDI1\n\"DI2\"x\nDI3,4\nDI70000\n", "DI1",
        "2: \"XY\" is in no area of the driver (DI, DO, FN5DO, HR, FN6HR, IR); 3: the address is that of "
        "line "
        "1; 4: text follows a closing quote; 5: it has 2 column(s), the first row 1; 6: \"DI70000\" must "
        "have "
        "a number from 1 to 65536 behind the area");
}

void tst_tags::importing()
{
    QFETCH(QByteArray, text);
    const Imported imported(text);
    QTEST(imported.taken.join(QLatin1Char(' ')), "taken");
    QTEST(imported.problems().join(QStringLiteral("; ")), "problems");
    QCOMPARE(imported.result.problemCount, qint64(imported.result.problems.size()));
}

void tst_tags::boundedProblems()
{
    QByteArray text;
    for (int i = 0; i < 1000; ++i)
        text += i % 2 ? "DI1\n" : "XY\n";
    const Imported imported(text);
    QCOMPARE(imported.result.problemCount, qint64(999));
    QCOMPARE(imported.problems().size(), mostProblemsListed);
    QCOMPARE(imported.problems().last(),
             QStringLiteral("21: \"XY\" is in no area of the driver (DI, DO, FN5DO, "
                            "HR, FN6HR, IR)"));
    QVERIFY(Imported("DI1\nDI2\nDI3\n", 2).result.stopped);
}

QTEST_APPLESS_MAIN(tst_tags)
#include "tst_tags.moc"
