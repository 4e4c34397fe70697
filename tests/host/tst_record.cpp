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

using Conversion = QString (*)(const QString&);

/// The headings of "ITEM" or "ITEM@STATION", of a driver whose default station is 1. What stands in a heading
/// is the same item again, or said to be none.
QString headings(const QString& input)
{
    ItemContext context;
    context.findSignals = [](const QString& name, QString&) {
        Signal oven = signalAt(QStringLiteral("HR6"));
        Signal farOven = signalAt(QStringLiteral("2-HR6"));
        oven.name = QStringLiteral("Oven");
        oven.unit = QStringLiteral("°C");
        farOven.name = QStringLiteral("Far oven [old]");
        return name == oven.name      ? QVector<Signal>{oven}
               : name == farOven.name ? QVector<Signal>{farOven}
                                      : QVector<Signal>();
    };
    const auto headingsOf = [&context](const QString& text, int link) {
        QString error;
        const QVector<Item> items = parseItems(text, context, error);
        return items.isEmpty() ? QStringList(error) : columnHeadings(items.first(), {link, 1});
    };
    const int link = input.section(QLatin1Char('@'), 1).toInt();
    QStringList texts;
    for (const QString& heading : headingsOf(input.section(QLatin1Char('@'), 0, 0), std::max(link, 1))) {
        const QString name = heading.section(QStringLiteral(" ["), 0, 0);
        const bool isItem = headingsOf(name, 1) == QStringList(heading);
        texts += isItem ? heading : heading + QLatin1String(" (no item)");
    }
    return texts.join(QLatin1Char(','));
}

/// What is written of samples "BEGIN hTIME=VALUE dTIME=VALUE", in which h is HR1, d is DO3 and x a failure,
/// at an interval of a second. Between samples, somebody damages (!) or empties (0) the file.
QString written(const QString& samples)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("rows.csv"));
    QString error;
    const QVector<Item> items = {parseItems(QStringLiteral("HR1"), ItemContext(), error).value(0),
                                 parseItems(QStringLiteral("DO3"), ItemContext(), error).value(0)};
    const auto recorder = CsvRecorder::open(file, recordHeader(items, {}), error);
    if (!recorder)
        return error;
    RecordWriter writer(*recorder, items, std::chrono::seconds(1));
    Reading reading;
    for (const QString& sample : samples.split(QLatin1Char('|'))) {
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
    return rowsIn(contentsOf(file));
}

/// In seconds since 1970; a time alone is of 1970-01-11.
QString momentText(const QString& text)
{
    const auto moment = parseMoment(text);
    return moment ? QString::number(moment->seconds(QDate(1970, 1, 11)), 'g', 10) : QStringLiteral("none");
}

/// Step and format of an axis of this many seconds with room for 100 characters.
QString axisText(const QString& seconds)
{
    constexpr double begin = 1795388285;
    const TimeAxis axis = timeAxis(begin, begin + seconds.toInt(), 100);
    return QStringLiteral("%1 %2").arg(static_cast<int>(axis.step)).arg(axis.format);
}

} // namespace

Q_DECLARE_METATYPE(Conversion)

class tst_record : public QObject
{
    Q_OBJECT

private slots:
    void recorder_data();
    void recorder();
    void recorderRefuses_data();
    void recorderRefuses();
    void records_data();
    void records();
    void conversions_data();
    void conversions();
    void curvesKeepPeaks();

private:
    QTemporaryDir m_folder;
};

// What is there before a record, and what others do to it between two rows.
void tst_record::recorder_data()
{
    QTest::addColumn<QByteArray>("before"); ///< the record is opened; empty: nothing
    QTest::addColumn<QByteArray>(
        "theirs");                         ///< is there before the second row; "as it was", "deleted", "full"
    QTest::addColumn<QByteArray>("after"); ///< the third row
    QTest::addColumn<QString>("problem");  ///< of the second row
    const QByteArray header = "time,HR1\n";
    const QByteArray longRow = QByteArray(10000, '7') + '\n';
    const char* const others = "it does not have the columns of this record; name another file";
    const std::tuple<const char*, QByteArray, QByteArray, QByteArray, const char*> rows[] = {
        {"new", "", "as it was", header + "1,1\n2,2\n3,3\n", ""},
        {"continued", header + "0,0\n", "as it was", header + "0,0\n1,1\n2,2\n3,3\n", ""},
        {"torn", header + "0,0\n0,", "as it was", header + "0,0\n1,1\n2,2\n3,3\n", ""},
        {"torn far back", header + longRow + QByteArray(9000, '8'), "as it was",
         header + longRow + "1,1\n2,2\n3,3\n", ""},
        {"header only", header, "as it was", header + "1,1\n2,2\n3,3\n", ""},
        {"half a header", "time,H", "tim", header + "2,2\n3,3\n", ""},
        {"other columns", "time,HR2\n1,1\n", "", "", others},
        {"longer header", "time,HR1,x\n1,1\n", "", "", others},
        {"no lines", "precious", "", "", others},
        {"emptied", "", "", header + "2,2\n3,3\n", ""},
        {"cut in a row", "", header + "1,", header + "2,2\n3,3\n", ""},
        {"a row more", "", header + "1,1\n9,9\n", header + "1,1\n9,9\n2,2\n3,3\n", ""},
        {"half a row more", "", header + "1,1\n9,", header + "1,1\n2,2\n3,3\n", ""},
        {"room for half a row", "", "full", header + "1,1\n3,3\n", "File too large"},
        {"other columns now", "", "a\nb\n", "a\nb\n", others},
        {"deleted", "", "deleted", "(none)", "somebody has deleted it"}};
    for (const auto& [name, before, theirs, after, problem] : rows)
        QTest::newRow(name) << before << theirs << after << QString::fromLatin1(problem);
}

void tst_record::recorder()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, theirs);
    QFETCH(QByteArray, after);
    QFETCH(QString, problem);
    const QString file = m_folder.filePath(QStringLiteral("recorder.csv"));
    put(file, before);
    QString error;
    const auto recorder = CsvRecorder::open(file, "time,HR1\n", error);
    QCOMPARE(recorder == nullptr, after.isEmpty());
    if (!recorder) {
        QCOMPARE(error, QStringLiteral("cannot write %1: %2").arg(file, problem));
        QCOMPARE(contentsOf(file), before);
        return;
    }
    recorder->append("1,1\n");
    if (theirs == "deleted")
        QVERIFY(QFile::remove(file));
    else if (theirs != "as it was" && theirs != "full")
        put(file, theirs);
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit unlimited = {RLIM_INFINITY, RLIM_INFINITY};
    const rlimit limit = {theirs == "full" ? 15 : RLIM_INFINITY, RLIM_INFINITY};
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    recorder->append("2,2\n");
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &unlimited), 0);
    QCOMPARE(recorder->problem(), problem);
    QCOMPARE(recorder->rowsLost(), quint64(problem.isEmpty() ? 0 : 1));
    QCOMPARE(recorder->rowsWritten(), 2 - recorder->rowsLost());
    QVERIFY(theirs == "deleted" || contentsOf(file).endsWith('\n')); // rows are complete or absent
    recorder->append("3,3\n");
    QCOMPARE(contentsOf(file), after); // written before the recorder ends
}

void tst_record::recorderRefuses_data()
{
    QTest::addColumn<QString>("reason");
    QTest::newRow("busy") << "another watch is recording in it";
    QTest::newRow("folder") << "Is a directory";
    QTest::newRow("folder/x") << "Permission denied";
    QTest::newRow("pipe") << "nobody reads from it";
}

void tst_record::recorderRefuses()
{
    QFETCH(QString, reason);
    const QTemporaryDir folder;
    QString error;
    const auto busy = CsvRecorder::open(folder.filePath(QStringLiteral("busy")), "time\n", error);
    QVERIFY2(busy, qPrintable(error));
    QCOMPARE(::mkdir(qPrintable(folder.filePath(QStringLiteral("folder"))), 0555), 0);
    QCOMPARE(::mkfifo(qPrintable(folder.filePath(QStringLiteral("pipe"))), 0666), 0);
    const WithoutPrivileges plain;
    const QString file = folder.filePath(QLatin1String(QTest::currentDataTag()));
    QVERIFY(!CsvRecorder::open(file, "time\n", error));
    QCOMPARE(error, QStringLiteral("cannot write %1: %2").arg(file, reason));
}

void tst_record::records_data()
{
    QTest::addColumn<QByteArray>("contents");
    QTest::addColumn<QString>("selection"); ///< columns, separated by bars; from; to
    QTest::addColumn<QString>("result");    ///< the curves, or the exit status and the error
    const QByteArray t = "2026-11-22T22:58:0";
    const QByteArray first = t + "5.250Z,1,0,0.1,\n";
    const std::tuple<const char*, QByteArray, const char*> rows[] = {
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
        {"all failed", t + "6Z,,,3.0,no\n", "1  has no value to draw: every sample asked for failed"}};
    for (const auto& [name, row, result] : rows)
        QTest::newRow(name) << "time,HR1,DO3,milliseconds,error\n" + row << "" << QString::fromLatin1(result);
    const QByteArray oven = "time,Oven 3 temp [°C],Oven[a-z] temp [°C],HR1,milliseconds,error\n"
                            "2026-11-22T23:59:59.000Z,1,5,9,0.1,\n2026-11-23T00:00:01.000Z,2,6,,0.1,no\n";
    const std::pair<const char*, const char*> selections[] = {
        {"oven*", "2 samples; Oven 3 temp: 1 2; Oven[a-z] temp: 5 6"},
        {"Oven ? temp [°C]", "2 samples; Oven 3 temp: 1 2"},
        {"HR1|Oven[a-z]*", "2 samples; Oven[a-z] temp: 5 6; HR1: 9 /"},
        {"HR1|HR", "2  has no column \"HR\"; its columns are Oven 3 temp, Oven[a-z] temp, HR1"},
        {"HR*;23:59:59.5", "1  has no value to draw: every sample asked for failed"},
        {"Oven 3*;;2026-11-22 23:59:59", "1 samples; Oven 3 temp: 1 /"},
        {"Oven 3*;2026-11-23 00:00:01", "1 samples; Oven 3 temp: 2"},
        {"Oven 3*;2026-11-24",
         "2 --from, --to:  has no samples then; they are from 2026-11-22 23:59:59 to 2026-11-23 00:00:01"}};
    for (const auto& [selection, result] : selections)
        QTest::newRow(selection) << oven << QString::fromUtf8(selection) << QString::fromLatin1(result);
}

void tst_record::records()
{
    QFETCH(QByteArray, contents);
    QFETCH(QString, selection);
    const QString file = m_folder.filePath(QStringLiteral("record.csv"));
    put(file, contents);
    const QStringList parts = selection.split(QLatin1Char(';'));
    const RecordSelection selected = {parts.first().split(QLatin1Char('|'), Qt::SkipEmptyParts),
                                      parseMoment(parts.value(1)), parseMoment(parts.value(2))};
    Record record;
    QString error;
    const ExitStatus status = readRecord(file, selected, record, error);
    QStringList curves;
    for (const RecordColumn& column : record.columns)
        curves += textOf(column);
    const QString found =
        QStringLiteral("%1 samples; ").arg(record.samples) + curves.join(QStringLiteral("; "));
    QTEST(status == Done ? found : QStringLiteral("%1 %2").arg(status).arg(error.remove(file)), "result");
}

void tst_record::conversions_data()
{
    QTest::addColumn<Conversion>("convert");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");
    const std::tuple<Conversion, std::vector<const char*>, const char*> rows[] = {
        {headings, {"HR100"}, "HR100"},
        {headings, {"hr100:word:2:hex"}, "HR100,HR101"},
        {headings, {"DO7:bit:3"}, "DO7,DO8,DO9"},
        {headings, {"HR1:dword:2"}, "HR1:dword,HR3:dword"},
        {headings, {"HR1:dword:float"}, "HR1:dword:float"},
        {headings, {"HR1:word:int"}, "HR1:int"},
        {headings, {"HR1:int16:int"}, "HR1:int16"},
        {headings, {"HR1:float32:BADC"}, "HR1:float32:BADC"},
        {headings, {"HR1SW:float32"}, "HR1SW:float32"},
        {headings, {"HR1.15:bit:2"}, "HR1.15,HR2.0"},
        {headings, {"HR1.15:bool:2"}, "HR1.15:bool,HR2.0:bool"},
        {headings, {"HR1@3"}, "3-HR1"},
        {headings, {"1-HR1@3"}, "HR1"},
        {headings, {"3-HR1:float32:2"}, "3-HR1:float32,3-HR3:float32"},
        {headings, {"HR5:byte:2"}, "HR5 low:byte (no item),HR5 high:byte (no item)"},
        {headings, {"Oven"}, "Oven [°C]"},
        {headings, {"Oven:hex"}, "Oven [°C]"},
        {headings, {"Oven:int"}, "Oven:int"},
        {headings, {"Oven@3"}, "Oven (station 3) [°C] (no item)"},
        {headings, {"Far oven [old]@3"}, "Far oven [old] [] (no item)"},
        {written, {"0 h5=7 d9=1|1000 h1005=8 d1009=0"}, "0,7,1,2.000,|1000,8,0,2.000,"},
        {written,
         {"0 h5=7 d9=1|1000 h1005=x d1009=0|2000 h2005=8 d2009=1"},
         "0,7,1,2.000,|1000,,0,2.000,HR1: no answer|2000,8,1,2.000,"},
        {written, {"0 h5=7 d1000=1"}, "0,7,1,2.000,"},
        {written, {"0 h5=7 d1001=1|1100 h1105=8 d1109=0"}, "0,7,,,|1001,,1,2.000,|1100,8,0,2.000,"},
        {written, {"0 h3000=7 d3005=1"}, "3000,7,1,2.000,"},
        {written, {"0 h5=7 d3000=x"}, "0,7,,,|3000,,,2.000,DO3: no answer"},
        {written, {"0 h5=7 d9=1|2009 h2010=8 d2011=0"}, "0,7,1,2.000,|2009,8,0,2.000,"},
        {written,
         {"0 h5=7 d9=1|2010 h2010=8 d2011=0|3000 h3005=9 d3009=1"},
         "0,7,1,2.000,|2010,,,0.000,nothing was read for 2.0 s|2010,8,0,2.000,|3000,9,1,2.000,"},
        {written,
         {"!|0 h5=7 d9=1|0|1000 h1005=8 d1009=0|!|2000 h2005=8 d2009=0|0|3000 h3005=9 d3009=1"},
         "3000,,,0.000,1 row(s) are missing|3000,9,1,2.000,"},
        {written,
         {"0 h5=7 d9=1|-5 h5=8 d9=0"},
         "0,7,1,2.000,|-5,,,0.000,the clock was set back|-5,8,0,2.000,"},
        {written, {"0 h5=7|1000 h1005=8 d1009=0"}, "1000,8,0,2.000,"}, // the first is incomplete
        {written,
         {"!|0 h5=7 d9=1|1000 h1005=7 d1009=1|0|2000 h2005=8 d2009=0|3000 h3005=9 d3009=1"},
         "2000,,,0.000,2 row(s) are missing|2000,8,0,2.000,|3000,9,1,2.000,"},
        {momentText, {"1970-01-02"}, "86400"},
        {momentText, {"1970-01-02 00:01"}, "86460"},
        {momentText, {"1970-01-02T00:00:01.250Z"}, "86401.25"},
        {momentText, {"00:02"}, "864120"},
        {momentText, {"00:00:07.5"}, "864007.5"},
        {momentText,
         {"", "1970-02-30", "25:00", "1970-01-0200:01", "1970-01-02 00:01\n", "1970-01-02 ", "0:01"},
         "none"},
        {axisText, {"10", "120"}, "0 "},
        {axisText, {"121"}, "15 %H:%M:%S"},
        {axisText, {"10800"}, "900 %H:%M"},
        {axisText, {"86400"}, "7200 %H:%M"},
        {axisText, {"259200"}, "43200 %m-%d %H:%M"},
        {axisText, {"3456000"}, "432000 %Y-%m-%d"},
        {axisText, {"94608000"}, "12960000 %Y-%m-%d"},
        {gnuplotString, {"HR100 \u00b0C"}, "\"HR100 \u00b0C\""},
        {gnuplotString, {"'\"`@\\7 7"}, R"("\047\042\140\100\134\067 7")"},
        {gnuplotString, {"\n!b\x7f\u0085"}, R"("\134x0a\041b\134x7f\134x85")"},
        {[](const QString& text) { return gnuplotTicLabel(text); }, {"%n"}, R"("\045\045n")"}};
    for (const auto& [convert, inputs, expected] : rows)
        for (const char* input : inputs)
            QTest::newRow(input) << convert << QString::fromUtf8(input) << QString::fromUtf8(expected);
}

void tst_record::conversions()
{
    QFETCH(Conversion, convert);
    QFETCH(QString, input);
    QTEST(convert(input), "expected");
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

QTEST_GUILESS_MAIN(tst_record)
#include "tst_record.moc"
