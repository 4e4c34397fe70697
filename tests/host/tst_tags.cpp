#include "project/tag_import.h"
#include "project/tag_row.h"
#include "rows.h"
#include "text/csv_reader.h"

#include <QBuffer>
#include <QTextCodec>
#include <QtTest>

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
        const auto take = [&](const Signal& signal) {
            QStringList row = rowOfSignal(signal);
            while (row.last().isEmpty())
                row.removeLast();
            taken += row.join(QLatin1Char('|'));
            return taken.size() < mostTags;
        };
        result = importTags(text, Grammar::ModbusTcp, take, [](qint64) { return true; });
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

/// The text as Excel saves "Unicode text".
QByteArray utf16(const char* text)
{
    return QTextCodec::codecForName("UTF-16LE")->fromUnicode(QString::fromUtf8(text)).prepend("\xFF\xFE");
}

} // namespace

static const struct
{
    const char* name;
    QByteArray text;
    const char* rows;
} csvTexts[] = {
    {"nothing", "", ""},
    {"LF, CRLF and no end at the end", "a,b\nc\r\nd", "1:a|b 2:c 3:d"},
    {"byte-order mark",
     "\xEF\xBB\xBF"
     "a\n",
     "1:a"},
    {"mark in quotes", "\xEF\xBB\xBF\"a\"\n", "1:a"},
    {"blank lines count", "\n\r\na\n\nb\n", "3:a 5:b"},
    {"empty fields", "a,,b,\n,\n", "1:a||b| 2:|"},
    {"quotes", "\"a,b\",\"c\"\"d\"\n\"\"\n", "1:a,b|c\"d 2:"},
    {"line ends in quotes", "\"a\nb\r\nc\",d\ne\n", "1:a\nb\r\nc|d 4:e"},
    {"quote inside a field", "a\"b,c\nd\n", "1!a quote stands in a field that does not begin with one 2:d"},
    {"text behind quotes", "\"a\"b\nd\n", "1!text follows a closing quote 2:d"},
    {"quote not closed", "a\n\"b\nc\n", "1:a 2!a quote is opened and not closed"},
    {"lone CR", "a\rb\nc\n", "1!there is a carriage return in the middle of the line 2:c"},
    {"NUL", QByteArray("a\0b\nc", 5), "1!it has the control character 0 2:c"},
    {"too long", QByteArray(65537, 'x') + "\nc", "1!a field is longer than 65536 bytes 2:c"},
};

static const char* const oven = "HR6|Oven, 3|int16||0.1|-40.5|°C|1";
static const char* const both = "HR6|Oven, 3|int16||0.1|-40.5|°C|1;DO5";
static const char* const begin =
    "1: the list must begin with the headings of its columns (address, name, type, order, scale, offset, "
    "unit, decimals, comment) or with an address; the columns are separated by comma, semicolon or tab";

static const struct
{
    const char* name;
    QByteArray text;
    const char* taken;
    const char* said; ///< problems, or else the note
} lists[] = {
    {"comma, UTF-8",
     "address,name,type,order,scale,offset,unit,decimals\nHR6,\"Oven, 3\",int16,,0.1,-40.5,°C,1\n", oven, ""},
    {"semicolon, mark, decimal comma, Windows' line ends, missing fields, blank rows",
     "\xEF\xBB\xBFName;ADDRESS;type;unit;scale;Offset;decimals\r\n"
     "Oven, 3 ; HR6;INT16;°C;0,1;-40,5;1\r\n;;;;;;\r\n;DO5\r\n\r\n",
     both, ""},
    {"tab, UTF-16",
     utf16("address\tname\ttype\tscale\toffset\tunit\tdecimals\r\n"
           "HR6\tOven, 3\tint16\t0.1\t-40.5\t°C\t1\r\nDO5\t\t\t\t\t\t\r\n"),
     both, ""},
    {"sep=, Windows-1252",
     "sep=|\naddress|name|type|scale|offset|unit|decimals\nHR6|Oven, 3|int16|0.1|-40.5|\xB0"
     "C|1",
     oven, ""},
    {"all types and orders",
     "address,type,order,comment\nHR1,string(8),badc,\"two\nlines; "
     "\"\"quoted\"\"\"\nHR9SW,Float64,ABCD,\n",
     "HR1||string(8)|BADC|||||two\nlines; \"quoted\";HR9SW||float64|ABCD", ""},
    {"no headings", "# pumps, \"left\"\n DI5\t\n2-do7\n", "DI5;2-do7", ""},
    {"no headings, more columns", "DI5,a\nDI6\n", "DI5;DI6",
     "the list has no headings, so only its first column was used, as addresses"},
    {"unknown columns", "address,naem,\nDI5,a,b\n", "DI5",
     "these columns were not used: \"naem\"; known ones are address, name, type, order, scale, offset, "
     "unit, "
     "decimals, comment"},
    {"headings alone", "address\n", "", ""},
    {"comment below headings", "address\n#DI5\n", "",
     "2: \"#DI5\" is in no area of the driver (DI, DO, FN5DO, HR, FN6HR, IR)"},
    {"no address column", "name,type\na,word\nb,word\n", "", begin},
    {"separated by something else", "address/name\nHR1/a\nHR2/b\n", "", begin},
    {"separated in two ways", "address,name\nHR1;a\nHR2;b\n", "",
     "2: its columns are not separated as those of the first row"},
    {"too many fields", "address,name\nDI5,a,b\nDI6,a,\n", "", "2: it has 3 column(s), the headings 2"},
    {"decimal comma between commas", "address,type,scale\nHR1,int16,\"0,5\"\n", "",
     "2: the scale \"0,5\" must be a number, such as 0.1 or -40"},
    {"wrong texts",
     "address,type,order,offset,decimals,name\nHR1,float\nHR2,,abdc\nHR3,,,x\nHR4,,,,16\nHR5,,,,,HR6\n"
     "HR6,bool,,1\n",
     "",
     "2: the type \"float\" must be bool, int16, uint16, int32, uint32, int64, uint64, float32, float64, "
     "string(N), bit, byte, word, dword, qword, block, bitblock; "
     "3: the order \"abdc\" must be ABCD, CDAB, BADC, DCBA; "
     "4: the offset \"x\" must be a number, such as 0.1 or -40; 5: the decimals \"16\" must be 0 to 15; "
     "6: \"HR6\" is an address, so it cannot be a name; 7: \"HR6\": bool has no scale and no offset"},
    {"duplicates", "address,name\nDI5,a\nDI6,\ndi05,\nHR1.16,A\nHR2.0,\nHR3,\n", "DI5|a;DI6",
     "4: the address is that of line 2; 5: the name is that of line 2; 6: the address is that of line 5"},
    {"alike and different", "DI5\nDO5\nFN5DO5\n1-DI5\nHR5\nHR5.0\nHR5SW\nIR5\nFN6HR5\nHR5.1\n2-DI5\n",
     "DI5;DO5;FN5DO5;1-DI5;HR5;HR5.0;HR5SW;IR5;FN6HR5;HR5.1;2-DI5", ""},
    {"names that look the same", "address,name\nDI5,O\u0308l 3\nDI6,\u00d6l 3\nDI7,\u00d6l\u00a03\n",
     "DI5|\u00d6l 3", "3: the name is that of line 2; 4: the name is that of line 2"},
    {"not CSV", "DI1\n\"DI2\"x\nDI3\n", "DI1", "2: text follows a closing quote"},
};

class tst_tags : public QObject
{
    Q_OBJECT

private slots:
    void csv_data() { addRows(csvTexts); }
    void csv();
    void csvOverTheEndOfABuffer();
    void importing_data() { addRows(lists); }
    void importing();
    void boundedProblems();
};

void tst_tags::csv()
{
    QFETCH(int, row);
    QCOMPARE(rowsOf(csvTexts[row].text), QString::fromLatin1(csvTexts[row].rows));
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

void tst_tags::importing()
{
    QFETCH(int, row);
    const auto& [name, text, taken, said] = lists[row];
    const Imported imported(text);
    QCOMPARE(imported.taken.join(QLatin1Char(';')), QString::fromUtf8(taken));
    QCOMPARE(imported.problems().join(QStringLiteral("; ")) + imported.result.note, QString::fromUtf8(said));
    QCOMPARE(imported.result.problemCount, qint64(imported.result.problems.size()));
}

void tst_tags::boundedProblems()
{
    QByteArray text;
    for (int i = 0; i < 1000; ++i)
        text += i % 2 ? "XY\n" : "DI1\n";
    const Imported imported(text);
    QCOMPARE(imported.result.problemCount, qint64(999));
    QCOMPARE(imported.problems().size(), mostProblemsListed);
    QCOMPARE(imported.problems().last(), QStringLiteral("21: the address is that of line 1"));
    QVERIFY(Imported("DI1\nDI2\nDI3\n", 2).result.stopped);
}

QTEST_APPLESS_MAIN(tst_tags)
#include "tst_tags.moc"
