#include "privileges.h"
#include "watch/chart_script.h"
#include "watch/gnuplot.h"
#include "watch/record_writer.h"
#include "watch/time_axis.h"

#include <QTemporaryDir>
#include <QtTest>

#include <cmath>
#include <csignal>
#include <limits>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

constexpr double gap = std::numeric_limits<double>::quiet_NaN();

QByteArray contentsOf(const QString& fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
}

void put(const QString& fileName, const QByteArray& contents)
{
    QFile file(fileName);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(contents), qint64(contents.size()));
}

constexpr qint64 recordBegin = 1795388285250; ///< 2026-11-22 22:58:05.250 UTC in milliseconds since 1970

/// "0,7,1,2.000,|...": the rows of a record without its header, times counted from recordBegin.
QString rowsIn(const QByteArray& contents)
{
    QStringList rows;
    for (const QString& line :
         QString::fromUtf8(contents).split(QLatin1Char('\n'), Qt::SkipEmptyParts).mid(1)) {
        const QString time = line.section(QLatin1Char(','), 0, 0);
        const QDateTime moment = QDateTime::fromString(time, Qt::ISODateWithMs);
        rows += QString::number(moment.toMSecsSinceEpoch() - recordBegin) + line.mid(time.size());
    }
    return rows.join(QLatin1Char('|'));
}

/// "HR1: 1 2 / 4", with a stroke where the line is broken.
QString textOf(const RecordColumn& column)
{
    QString text = column.name + QLatin1Char(':');
    for (const CurvePoint& point : column.curve.points())
        text += std::isnan(point.value) ? QStringLiteral(" /") : QStringLiteral(" %1").arg(point.value);
    return text;
}

} // namespace

class tst_record : public QObject
{
    Q_OBJECT

private slots:
    void recorderStarts_data();
    void recorderStarts();
    void recorderCountsWhatIsLost();
    void recorderMeetsOthers_data();
    void recorderMeetsOthers();
    void rowsAreCompleteOrAbsent();
    void recorderRefuses_data();
    void recorderRefuses();
    void headings_data();
    void headings();
    void rows_data();
    void rows();
    void records_data();
    void records();
    void selections_data();
    void selections();
    void moments_data();
    void moments();
    void curvesKeepPeaks();
    void timeAxes_data();
    void timeAxes();
    void gnuplotStrings();

private:
    QString read(const QByteArray& contents, const RecordSelection& selection);

    QTemporaryDir m_folder;
};

void tst_record::recorderStarts_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after"); // after one row was appended; empty: refused
    QTest::newRow("new") << QByteArray() << QByteArray("time,HR1\n2,2\n");
    QTest::newRow("continued") << QByteArray("time,HR1\n1,1\n") << QByteArray("time,HR1\n1,1\n2,2\n");
    QTest::newRow("torn") << QByteArray("time,HR1\n1,1\n1,") << QByteArray("time,HR1\n1,1\n2,2\n");
    QTest::newRow("header only") << QByteArray("time,HR1\n") << QByteArray("time,HR1\n2,2\n");
    QTest::newRow("other columns") << QByteArray("time,HR2\n1,1\n") << QByteArray();
    QTest::newRow("longer header") << QByteArray("time,HR1,x\n1,1\n") << QByteArray();
    QTest::newRow("no lines") << QByteArray("precious") << QByteArray();
    const QByteArray longRow = "time,HR1\n" + QByteArray(10000, '7') + '\n';
    QTest::newRow("torn far back") << longRow + QByteArray(9000, '8') << longRow + "2,2\n";
}

void tst_record::recorderStarts()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    const QString file = m_folder.filePath(QStringLiteral("start.csv"));
    put(file, before);
    QString error;
    auto recorder = CsvRecorder::open(file, "time,HR1\n", error);
    QCOMPARE(recorder == nullptr, after.isEmpty());
    if (recorder)
        recorder->append("2,2\n");
    else
        QVERIFY2(error.contains(file), qPrintable(error));
    QCOMPARE(contentsOf(file), after.isEmpty() ? before : after); // written before the recorder ends
}

void tst_record::recorderCountsWhatIsLost()
{
    QString error;
    const auto recorder = CsvRecorder::open(QStringLiteral("/dev/full"), "time\n", error);
    QVERIFY2(recorder, qPrintable(error));
    recorder->append("1\n");
    recorder->append("2\n");
    QCOMPARE(recorder->rowsLost(), quint64(2));
    QCOMPARE(recorder->rowsWritten(), quint64(0));
    QCOMPARE(recorder->problem(), QStringLiteral("No space left on device"));
}

// What others do to a record while rows are appended to it.
void tst_record::recorderMeetsOthers_data()
{
    QTest::addColumn<QByteArray>("theirs"); // what is there before the second row; "-": nothing
    QTest::addColumn<QByteArray>("after");  // what follows the second row
    QTest::addColumn<QString>("problem");
    const QByteArray header = "time,HR1\n";
    QTest::newRow("emptied") << QByteArray() << header + "2,2\n" << QString();
    QTest::newRow("cut in a row") << header + "1," << header + "2,2\n" << QString();
    QTest::newRow("a row more") << header + "1,1\n9,9\n" << header + "1,1\n9,9\n2,2\n" << QString();
    QTest::newRow("half a row more") << header + "1,1\n9," << header + "1,1\n2,2\n" << QString();
    QTest::newRow("other columns") << QByteArray("a\nb\n") << QByteArray("a\nb\n")
                                   << "it does not have the columns of this record; name another file";
    QTest::newRow("deleted") << QByteArray("-") << QByteArray("(none)") << "somebody has deleted it";
}

void tst_record::recorderMeetsOthers()
{
    QFETCH(QByteArray, theirs);
    const QString file = m_folder.filePath(QStringLiteral("others.csv"));
    QFile::remove(file);
    QString error;
    const auto recorder = CsvRecorder::open(file, "time,HR1\n", error);
    QVERIFY2(recorder, qPrintable(error));
    recorder->append("1,1\n");
    if (theirs == "-")
        QVERIFY(QFile::remove(file));
    else
        put(file, theirs);
    recorder->append("2,2\n");
    QTEST(contentsOf(file), "after");
    QTEST(recorder->problem(), "problem");
    QCOMPARE(recorder->rowsLost(), quint64(recorder->problem().isEmpty() ? 0 : 1));
}

// The limit on the file's size ends inside the second row.
void tst_record::rowsAreCompleteOrAbsent()
{
    const QString file = m_folder.filePath(QStringLiteral("limited.csv"));
    QString error;
    const auto recorder = CsvRecorder::open(file, "time,HR1\n", error);
    QVERIFY2(recorder, qPrintable(error));
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit unlimited = {RLIM_INFINITY, RLIM_INFINITY};
    const rlimit tight = {15, RLIM_INFINITY};
    recorder->append("1,1\n");
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &tight), 0);
    recorder->append("2,2\n");
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &unlimited), 0);
    QCOMPARE(contentsOf(file), QByteArray("time,HR1\n1,1\n"));
    QCOMPARE(recorder->problem(), QStringLiteral("File too large"));
    recorder->append("3,3\n");
    QCOMPARE(contentsOf(file), QByteArray("time,HR1\n1,1\n3,3\n"));
    QVERIFY(recorder->problem().isEmpty());
}

void tst_record::recorderRefuses_data()
{
    QTest::addColumn<QString>("reason");
    QTest::newRow("busy") << "another watch is recording in it";
    QTest::newRow("folder") << "Is a directory";
    QTest::newRow("missing/x") << "No such file or directory";
    QTest::newRow("forbidden/x") << "Permission denied";
    QTest::newRow("pipe") << "nobody reads from it";
    if (::geteuid() == 0)
        QTest::newRow("link") << "is a symbolic link of another user";
}

void tst_record::recorderRefuses()
{
    QFETCH(QString, reason);
    const QTemporaryDir folder;
    const auto name = [&folder](const char* base) {
        return QFile::encodeName(folder.filePath(QLatin1String(base)));
    };
    QString error;
    const auto busy = CsvRecorder::open(folder.filePath(QStringLiteral("busy")), "time\n", error);
    QVERIFY2(busy, qPrintable(error));
    QVERIFY(::mkdir(name("folder").constData(), 0777) == 0 &&
            ::mkdir(name("forbidden").constData(), 0555) == 0 &&
            ::mkfifo(name("pipe").constData(), 0666) == 0 && ::symlink("old", name("link").constData()) == 0);
    if (::geteuid() == 0)
        QCOMPARE(::lchown(name("link").constData(), 12345, 12345), 0);
    const WithoutPrivileges plain;
    const QString file = folder.filePath(QLatin1String(QTest::currentDataTag()));
    QVERIFY(!CsvRecorder::open(file, "time\n", error));
    QVERIFY2(error.startsWith(QStringLiteral("cannot write %1: ").arg(file)) && error.endsWith(reason),
             qPrintable(error));
}

// Of a driver whose default station is 1. What stands in a heading is the same item again.
void tst_record::headings_data()
{
    QTest::addColumn<QString>("item");
    QTest::addColumn<int>("station"); // of the link
    QTest::addColumn<QString>("headings");
    QTest::addColumn<bool>("isItem"); // each heading without a unit is one
    const std::tuple<const char*, int, const char*, bool> rows[] = {
        {"HR100", 1, "HR100", true},
        {"hr100:word:2:hex", 1, "HR100,HR101", true},
        {"DO7:bit:3", 1, "DO7,DO8,DO9", true},
        {"HR1:dword:2", 1, "HR1:dword,HR3:dword", true},
        {"HR1:dword:float", 1, "HR1:dword:float", true},
        {"HR1:word:int", 1, "HR1:int", true},
        {"HR1:int16:int", 1, "HR1:int16", true},
        {"HR1:float32:BADC", 1, "HR1:float32:BADC", true},
        {"HR1SW:float32", 1, "HR1SW:float32", true},
        {"HR1.15:bit:2", 1, "HR1.15,HR2.0", true},
        {"HR1.15:bool:2", 1, "HR1.15:bool,HR2.0:bool", true},
        {"HR1", 3, "3-HR1", true},
        {"1-HR1", 3, "HR1", true},
        {"3-HR1:float32:2", 1, "3-HR1:float32,3-HR3:float32", true},
        {"HR5:byte:2", 1, "HR5 low:byte,HR5 high:byte", false},
        {"Oven", 1, "Oven [°C]", true},
        {"Oven:hex", 1, "Oven [°C]", true},
        {"Oven:int", 1, "Oven:int", true},
        {"Oven", 3, "Oven (station 3) [°C]", false},
        {"Far oven [old]", 3, "Far oven [old] []", false}};
    for (const auto& [item, station, headings, isItem] : rows)
        QTest::addRow("%s at %d", item, station) << item << station << QString::fromUtf8(headings) << isItem;
}

void tst_record::headings()
{
    QFETCH(QString, item);
    QFETCH(int, station);
    QFETCH(bool, isItem);
    ItemContext context;
    context.findSignals = [](const QString& name, QString&) {
        Signal signal;
        signal.name = name;
        signal.address = name == QLatin1String("Oven") ? QStringLiteral("HR6") : QStringLiteral("2-HR6");
        signal.unit = name == QLatin1String("Oven") ? QStringLiteral("°C") : QString();
        const bool isKnown = name == QLatin1String("Oven") || name == QLatin1String("Far oven [old]");
        return isKnown ? QVector<Signal>{signal} : QVector<Signal>();
    };
    const auto headingsOf = [&context](const QString& text, int link) {
        QString error;
        const QVector<Item> items = parseItems(text, context, error);
        return items.isEmpty() ? QStringList(error) : columnHeadings(items.first(), {link, 1});
    };
    const QStringList headings = headingsOf(item, station);
    QTEST(headings.join(QLatin1Char(',')), "headings");
    for (QString heading : headings) {
        const QString name = heading.section(QStringLiteral(" ["), 0, 0);
        QVERIFY(!isItem || headingsOf(name, 1) == QStringList(heading));
    }
}

// What is written of samples "BEGIN hTIME=VALUE dTIME=VALUE", in which h is HR1, d is DO3 and x a failure, at
// an interval of a second. Between samples, somebody damages (!) or empties (0) the file.
void tst_record::rows_data()
{
    QTest::addColumn<QString>("rows");
    const std::tuple<const char*, const char*> rows[] = {
        {"0 h5=7 d9=1|1000 h1005=8 d1009=0", "0,7,1,2.000,|1000,8,0,2.000,"},
        {"0 h5=x d9=1", "0,,1,2.000,HR1: no answer"},
        {"0 h5=7 d1000=1", "0,7,1,2.000,"},
        {"0 h5=7 d1001=1|1100 h1105=8 d1109=0", "0,7,,,|1001,,1,2.000,|1100,8,0,2.000,"},
        {"0 h3000=7 d3005=1", "3000,7,1,2.000,"},
        {"0 h5=7 d3000=x", "0,7,,,|3000,,,2.000,DO3: no answer"},
        {"0 h5=7 d9=1|2009 h2010=8 d2011=0", "0,7,1,2.000,|2009,8,0,2.000,"},
        {"0 h5=7 d9=1|2010 h2010=8 d2011=0",
         "0,7,1,2.000,|2010,,,0.000,nothing was read for 2.0 s|2010,8,0,2.000,"},
        {"0 h5=7 d9=1|-5 h5=8 d9=0", "0,7,1,2.000,|-5,,,0.000,the clock was set back|-5,8,0,2.000,"},
        {"0 h5=7|1000 h1005=8 d1009=0", "1000,8,0,2.000,"}, // the first is incomplete
        {"!|0 h5=7 d9=1|0|1000 h1005=8 d1009=0", "1000,,,0.000,1 row(s) are missing|1000,8,0,2.000,"}};
    for (const auto& [samples, written] : rows)
        QTest::newRow(samples) << QString::fromLatin1(written);
}

void tst_record::rows()
{
    const QString file = m_folder.filePath(QStringLiteral("rows.csv"));
    put(file, "");
    QString error;
    const QVector<Item> items = {parseItems(QStringLiteral("HR1"), ItemContext(), error).value(0),
                                 parseItems(QStringLiteral("DO3"), ItemContext(), error).value(0)};
    const auto recorder = CsvRecorder::open(file, recordHeader(items, {}), error);
    QVERIFY2(recorder, qPrintable(error));
    RecordWriter writer(*recorder, items, std::chrono::seconds(1));
    Reading reading;
    for (const QString& sample : QString::fromLatin1(QTest::currentDataTag()).split(QLatin1Char('|'))) {
        const QStringList words = sample.split(QLatin1Char(' '));
        if (words.size() == 1)
            put(file, sample == QLatin1String("!") ? "somebody else's\n" : "");
        ++reading.sample;
        reading.sampleTime = recordBegin + words.first().toInt();
        for (const QString& word : words.mid(1)) {
            const QString value = word.section(QLatin1Char('='), 1);
            reading.index = word.startsWith(QLatin1Char('d')) ? 1 : 0;
            reading.time = recordBegin + word.section(QLatin1Char('='), 0, 0).mid(1).toInt();
            reading.endsSample = reading.index == 1;
            reading.outcome.milliseconds = 1;
            reading.outcome.error = value == QLatin1String("x") ? QStringLiteral("no answer") : QString();
            reading.outcome.data = QByteArray(1, static_cast<char>(value.toInt())) + '\0';
            writer.add(reading);
        }
    }
    QTEST(rowsIn(contentsOf(file)), "rows");
}

/// The curves, or the error with its exit status.
QString tst_record::read(const QByteArray& contents, const RecordSelection& selection)
{
    const QString file = m_folder.filePath(QStringLiteral("record.csv"));
    put(file, contents);
    Record record;
    QString error;
    const ExitStatus status = readRecord(file, selection, record, error);
    if (status != Done)
        return QStringLiteral("%1 %2").arg(status).arg(error.remove(file));
    QStringList columns;
    for (const RecordColumn& column : record.columns)
        columns += textOf(column);
    return QStringLiteral("%1 samples; ").arg(record.samples) + columns.join(QStringLiteral("; "));
}

void tst_record::records_data()
{
    QTest::addColumn<QByteArray>("rows");
    QTest::addColumn<QString>("result");
    const QByteArray t = "2026-11-22T22:58:0";
    const QByteArray first = t + "5.250Z,1,0,0.1,\n";
    const std::tuple<const char*, QByteArray, const char*> rows[] = {
        {"one", first, "1 samples; HR1: 1; DO3: 0"},
        {"failed", first + t + "6Z,,,3000.0,\"HR1: a, b\"\n" + t + "7Z,3,1,1.0,\n",
         "2 samples; HR1: 1 / 3; DO3: 0 / 1"},
        {"one column failed", first + t + "6Z,,1,3.0,no\n" + t + "7Z,3,1,1.0,\n",
         "3 samples; HR1: 1 / 3; DO3: 0 1 1"},
        {"a sample in two rows", first + t + "6Z,2,,,\n" + t + "7Z,,1,1.0,\n" + t + "8Z,3,,,\n",
         "3 samples; HR1: 1 2 3; DO3: 0 1 /"},
        {"one of its columns failed", first + t + "6Z,2,,,\n" + t + "7Z,,,1.0,no\n" + t + "8Z,3,1,1.0,\n",
         "3 samples; HR1: 1 2 3; DO3: 0 / 1"},
        {"not read for a while", first + t + "7Z,,,0.000,\"nothing was read\"\n" + t + "7Z,2,0,1.0,\n",
         "2 samples; HR1: 1 / 2; DO3: 0 / 0"},
        {"no finite number", first + t + "6Z,nan,0,1.0,\n" + t + "7Z,inf,0,1.0,\n",
         "3 samples; HR1: 1 /; DO3: 0 0 0"},
        {"torn row", first + t + "6Z,7", "1 samples; HR1: 1; DO3: 0"},
        {"torn quote", first + t + "6Z,,,3,\"HR1: no", "1 samples; HR1: 1; DO3: 0"},
        {"torn in the middle", "2026-1\n" + first,
         "1 , line 2: it has another number of fields than the header"},
        {"no time", "yesterday,1,0,0.1,\n" + first, "1 , line 2: it does not begin with a time"},
        {"empty", "", "1  holds no samples"},
        {"all failed", t + "6Z,,,3.0,no\n", "1 every sample in  failed, there is nothing to draw"}};
    for (const auto& [name, row, result] : rows)
        QTest::newRow(name) << row << QString::fromLatin1(result);
}

void tst_record::records()
{
    QFETCH(QByteArray, rows);
    QTEST(read("time,HR1,DO3,milliseconds,error\n" + rows, {}), "result");
}

void tst_record::selections_data()
{
    QTest::addColumn<QString>("columns"); // separated by bars
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QString>("result");
    const char* const none = "";
    const char* const rows[][4] = {
        {"oven*", none, none, "2 samples; Oven 3 temp: 1 2; Oven[a-z] temp: 5 6"},
        {"Oven ? temp [°C]", none, none, "2 samples; Oven 3 temp: 1 2"},
        {"HR1|Oven[a-z]*", none, none, "2 samples; Oven[a-z] temp: 5 6; HR1: 9 /"},
        {"HR1|HR", none, none, "2  has no column \"HR\", but Oven 3 temp, Oven[a-z] temp, HR1"},
        {"HR*", "23:59:59.5", none, "1 every sample in  failed, there is nothing to draw"},
        {"Oven 3*", none, "2026-11-22 23:59:59", "1 samples; Oven 3 temp: 1 /"},
        {"Oven 3*", "2026-11-23", none, "1 samples; Oven 3 temp: 2"},
        {"Oven 3*", "2026-11-24", none,
         "2 --from, --to:  has no samples then, but from 2026-11-22 23:59:59 to 2026-11-23 00:00:01"}};
    for (const auto& row : rows)
        QTest::addRow("%s %s %s", row[0], row[1], row[2])
            << row[0] << row[1] << row[2] << QString::fromUtf8(row[3]);
}

void tst_record::selections()
{
    QFETCH(QString, columns);
    QFETCH(QString, from);
    QFETCH(QString, to);
    const RecordSelection selection = {columns.split(QLatin1Char('|')), parseMoment(from), parseMoment(to)};
    QTEST(read("time,Oven 3 temp [°C],Oven[a-z] temp [°C],HR1,milliseconds,error\n"
               "2026-11-22T23:59:59.000Z,1,5,9,0.1,\n2026-11-23T00:00:01.000Z,2,6,,0.1,no\n",
               selection),
          "result");
}

// In seconds since 1970; -1 means no moment.
void tst_record::moments_data()
{
    QTest::addColumn<double>("seconds");
    const std::pair<const char*, double> rows[] = {{"1970-01-02", 86400},
                                                   {"1970-01-02 00:01", 86460},
                                                   {"1970-01-02T00:00:01.250Z", 86401.25},
                                                   {"00:02", 864120},
                                                   {"00:00:07.5", 864007.5},
                                                   {"", -1},
                                                   {"1970-02-30", -1},
                                                   {"25:00", -1},
                                                   {"1970-01-0200:01", -1},
                                                   {"1970-01-02 00:01\n", -1},
                                                   {"1970-01-02 ", -1},
                                                   {"0:01", -1}};
    for (const auto& [text, seconds] : rows)
        QTest::newRow(text) << seconds;
}

void tst_record::moments()
{
    const auto moment = parseMoment(QString::fromLatin1(QTest::currentDataTag()));
    QTEST(moment ? moment->seconds(QDate(1970, 1, 11)) : -1, "seconds");
}

// A peak and a hole of one sample each among a hundred thousand appear in the curve, which is short; the
// curve does not cross a pause far longer than the rest.
void tst_record::curvesKeepPeaks()
{
    Curve curve;
    const auto valueAt = [](int time) {
        return time == 33333 ? 900 : time == 66666 ? -900 : time == 77777 ? gap : 5;
    };
    for (int time = 0; time < 100000; ++time)
        curve.add(time, valueAt(time));
    curve.breakLine();
    curve.add(10000000, 6);
    const std::vector<CurvePoint> points = curve.points();
    QVERIFY(points.size() <= 8002 && points.size() > 1000);
    const auto has = [&points](double time, double value) {
        return std::any_of(points.begin(), points.end(),
                           [&](const CurvePoint& p) { return p.time == time && p.value == value; });
    };
    QVERIFY(has(33333, 900) && has(66666, -900) && has(10000000, 6));
    QCOMPARE(
        std::count_if(points.begin(), points.end(), [](const CurvePoint& p) { return std::isnan(p.value); }),
        2L);
    QVERIFY(std::isnan(points[points.size() - 2].value));
    QVERIFY(std::is_sorted(points.begin(), points.end(),
                           [](const CurvePoint& a, const CurvePoint& b) { return a.time < b.time; }));
}

void tst_record::timeAxes_data()
{
    QTest::addColumn<int>("seconds");
    QTest::addColumn<QString>("axis"); // step and format
    const std::tuple<const char*, int, const char*> rows[] = {{"10 s", 10, "0 "},
                                                              {"120 s", 120, "0 "},
                                                              {"121 s", 121, "15 %H:%M:%S"},
                                                              {"3 h", 10800, "900 %H:%M"},
                                                              {"1 day", 86400, "7200 %H:%M"},
                                                              {"3 days", 259200, "43200 %m-%d %H:%M"},
                                                              {"40 days", 3456000, "432000 %Y-%m-%d"},
                                                              {"3 years", 94608000, "12960000 %Y-%m-%d"}};
    for (const auto& [name, seconds, axis] : rows)
        QTest::newRow(name) << seconds << QString::fromLatin1(axis);
}

// On an axis with room for 100 characters.
void tst_record::timeAxes()
{
    QFETCH(int, seconds);
    constexpr double begin = 1795388285;
    const TimeAxis axis = timeAxis(begin, begin + seconds, 100);
    QTEST(QStringLiteral("%1 %2").arg(static_cast<int>(axis.step)).arg(axis.format), "axis");
}

void tst_record::gnuplotStrings()
{
    QCOMPARE(gnuplotString(QStringLiteral("HR100 \u00b0C")), QStringLiteral("\"HR100 \u00b0C\""));
    QCOMPARE(gnuplotString(QStringLiteral("'\"`@\\7 7")), QStringLiteral(R"("\047\042\140\100\134\067 7")"));
    QCOMPARE(gnuplotString(QStringLiteral("\n!b\x7f\u0085")),
             QStringLiteral(R"("\134x0a\041b\134x7f\134x85")"));
    QCOMPARE(gnuplotTicLabel(QStringLiteral("%n")), QStringLiteral(R"("\045\045n")"));
}

QTEST_GUILESS_MAIN(tst_record)
#include "tst_record.moc"
