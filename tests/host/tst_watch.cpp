#include "watch/csv_recorder.h"
#include "watch/gnuplot.h"
#include "watch/poll_schedule.h"
#include "watch/screen_layout.h"
#include "watch/statistics.h"
#include "watch/watched_items.h"

#include <QTemporaryDir>
#include <QtTest>

#include <cmath>
#include <limits>

namespace {

using std::chrono::milliseconds;

constexpr double gap = std::numeric_limits<double>::quiet_NaN();

QStringList words(const QString& text)
{
    return text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

Samples samplesOf(const QString& text)
{
    Samples samples;
    for (const QString& word : words(text))
        samples.push_back(word == QLatin1String("x") ? gap : word.toDouble());
    return samples;
}

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

} // namespace

class tst_watch : public QObject
{
    Q_OBJECT

private slots:
    void schedule_data();
    void schedule();
    void pauseIsNotMissed();
    void trends_data();
    void trends();
    void history();
    void roundTrips();
    void items_data();
    void items();
    void tags_data();
    void tags();
    void recorderStarts_data();
    void recorderStarts();
    void recorderCountsWhatIsLost();
    void everyScreenSize();
    void ages_data();
    void ages();
    void records_data();
    void records();
    void curvesKeepPeaks();

private:
    QTemporaryDir m_folder;
};

// Slots of 100 ms; a poll that begins in its slot takes so long. The next slot, and those missed, by hand.
void tst_watch::schedule_data()
{
    QTest::addColumn<int>("next");
    QTest::addColumn<int>("missed");
    QTest::newRow("0") << 100 << 0;
    QTest::newRow("99") << 100 << 0;
    QTest::newRow("100") << 100 << 0;
    QTest::newRow("101") << 200 << 1;
    QTest::newRow("200") << 200 << 1;
    QTest::newRow("1001") << 1100 << 10;
}

void tst_watch::schedule()
{
    QFETCH(int, next);
    QFETCH(int, missed);
    const auto start = PollSchedule::Clock::now();
    PollSchedule schedule(start, milliseconds(100));
    QCOMPARE(schedule.slot(), start);
    schedule.polled(start + milliseconds(QString::fromLatin1(QTest::currentDataTag()).toInt()));
    QCOMPARE(schedule.slot() - start, PollSchedule::Clock::duration(milliseconds(next)));
    QCOMPARE(schedule.missed(), quint64(missed));
}

void tst_watch::pauseIsNotMissed()
{
    const auto start = PollSchedule::Clock::now();
    PollSchedule schedule(start, milliseconds(100));
    schedule.resume(start - milliseconds(1));
    QCOMPARE(schedule.slot(), start);
    schedule.resume(start + milliseconds(250));
    QCOMPARE(schedule.slot(), start + milliseconds(300));
    QCOMPARE(schedule.missed(), quint64(0));
    schedule.notPolled(start + milliseconds(350));
    QCOMPARE(schedule.slot(), start + milliseconds(400));
    QCOMPARE(schedule.missed(), quint64(1));
}

void tst_watch::trends_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<bool>("isBit");
    QTest::addColumn<QString>("blocks");
    QTest::addColumn<QString>("ascii");
    QTest::newRow("") << 5 << false << ""
                      << "";
    QTest::newRow("0 1 2 3 4 5 6 7") << 8 << false << "▁▂▃▄▅▆▇█"
                                     << "_.,-~+*#";
    QTest::newRow("-70 0") << 5 << false << "▁█"
                           << "_#";
    QTest::newRow("900 0 1 7") << 3 << false << "▁▂█"
                               << "_.#";
    QTest::newRow("5 5 5") << 5 << false << "▅▅▅"
                           << "~~~";
    QTest::newRow("0 0") << 5 << true << "▁▁"
                         << "__";
    QTest::newRow("1 1 0") << 5 << true << "██▁"
                           << "##_";
    QTest::newRow("0 x 7") << 5 << false << "▁ █"
                           << "_ #";
    QTest::newRow("x x") << 5 << false << "  "
                         << "  ";
    QTest::newRow("1 2") << 0 << false << ""
                         << "";
}

void tst_watch::trends()
{
    QFETCH(int, width);
    QFETCH(bool, isBit);
    const Samples samples = samplesOf(QString::fromLatin1(QTest::currentDataTag()));
    QTEST(trendText(samples, width, isBit, TrendSymbols::Blocks), "blocks");
    QTEST(trendText(samples, width, isBit, TrendSymbols::Ascii), "ascii");
}

void tst_watch::history()
{
    ValueHistory history;
    QVERIFY(history.latest().isEmpty() && history.smallest().isEmpty());
    history.add(10, QStringLiteral("0x000a"));
    history.add(9, QStringLiteral("0x0009"));
    history.addGap();
    history.add(gap, QStringLiteral("nan"));
    QCOMPARE(history.latest(), QStringLiteral("nan"));
    QCOMPARE(history.smallest(), QStringLiteral("0x0009"));
    QCOMPARE(history.largest(), QStringLiteral("0x000a"));
    QCOMPARE(history.samples().size(), std::size_t(4));
}

void tst_watch::roundTrips()
{
    RoundTrips times;
    QCOMPARE(times.quantile(0.5), 0.0);
    times.add(7);
    QCOMPARE(times.quantile(0.5), 7.0);
    QCOMPARE(times.quantile(0.95), 7.0);
    for (int i = 1; i <= 2000; ++i) // the last thousand count: 1001 to 2000
        times.add(i);
    QCOMPARE(times.quantile(0.5), 1500.0);
    QCOMPARE(times.quantile(0.95), 1950.0);
    QCOMPARE(times.quantile(1), 2000.0);
}

void tst_watch::items_data()
{
    QTest::addColumn<QString>("names"); // of the columns in a record; or the error
    QTest::newRow("HR100") << "HR100";
    QTest::newRow("DO7:bit:3") << "DO7 DO8 DO9";
    QTest::newRow("HR1:dword:2") << "HR1:dword HR3:dword";
    QTest::newRow("HR1.15:bit:2") << "HR1.15:bit HR2.0:bit";
    QTest::newRow("HR100:bite") << "names no type";
    QTest::newRow("HR100:") << "names no type";
    QTest::newRow(":word") << "is not ADDRESS";
    QTest::newRow("") << "is not ADDRESS";
    QTest::newRow("HR1:word:1:1") << "is not ADDRESS";
    QTest::newRow("HR1:word:0") << "from 1 to 10000";
    QTest::newRow("HR1:word:10001") << "from 1 to 10000";
    QTest::newRow("HR1:word:x") << "from 1 to 10000";
}

void tst_watch::items()
{
    QFETCH(QString, names);
    QString error;
    const auto item =
        parseWatchedItem(QString::fromLatin1(QTest::currentDataTag()), Notation::Unsigned, error);
    if (!item) {
        QVERIFY2(error.contains(names), qPrintable(error));
        return;
    }
    QStringList columns;
    for (const QString& name : elementNames(*item))
        columns += columnName(name, item->command.dataType);
    QCOMPARE(columns, words(names));
}

void tst_watch::tags_data()
{
    QTest::addColumn<QString>("commands");
    QTest::newRow("HR3 HR1 HR2 HR2 hr1") << "HR1*3";
    QTest::newRow("HR1 HR3") << "HR1*1 HR3*1";
    QTest::newRow("HR1 HR2 HR3 HR4 HR5") << "HR1*4 HR5*1"; // the limit of registers in the test is 4
    QTest::newRow("DO1 DO2 DO3 DO4 DO5 DO6 DI1") << "DI1*1 DO1*5 DO6*1";
    QTest::newRow("HR9 HR10 HR9.1 HR11SW") << "HR9*1 HR9.1*1 HR10*1 HR11SW*1";
    QTest::newRow("FN6HR1 HR2 FN6HR2") << "FN6HR1*2 HR2*1";
    QTest::newRow("HR junk HR") << "HR*1 junk*1";
}

void tst_watch::tags()
{
    QStringList commands;
    for (const WatchedItem& item : itemsOfTags(words(QString::fromLatin1(QTest::currentDataTag())), {4, 5}))
        commands += QStringLiteral("%1*%2").arg(item.command.address).arg(item.command.count);
    QTEST(commands.join(QLatin1Char(' ')), "commands");
}

void tst_watch::recorderStarts_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after"); // one row was appended; empty: refused
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

void tst_watch::recorderStarts()
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
    QCOMPARE(contentsOf(file), after.isEmpty() ? before : after); // with the system before the recorder ends
}

void tst_watch::recorderCountsWhatIsLost()
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

// Whatever the window, nothing runs over its edges, and the title is there as soon as there is a line.
void tst_watch::everyScreenSize()
{
    QString error;
    WatchState state({*parseWatchedItem(QStringLiteral("HR1:word:30"), Notation::Unsigned, error),
                      *parseWatchedItem(QStringLiteral("DO1"), Notation::Unsigned, error)});
    Reading good;
    good.outcome.data = QByteArray(60, '\x7f');
    state.add(good);
    Reading bad;
    bad.index = 1;
    bad.outcome.error = QStringLiteral("read 1 bit(s) from 1-DO1> ") + QString(300, QLatin1Char('e'));
    state.add(bad);
    for (int width = 1; width < 200; width += 7) {
        for (int height = 1; height < 50; ++height) {
            const ScreenContents contents = {state,
                                             QStringLiteral("127.0.0.1:502"),
                                             QStringLiteral("1"),
                                             milliseconds(500),
                                             nullptr,
                                             true,
                                             0,
                                             TrendSymbols::Blocks,
                                             PollSchedule::Clock::now()};
            const QVector<ScreenLine> lines = layOutScreen(contents, {width, height});
            QVERIFY(!lines.isEmpty() && lines.size() <= height);
            for (const ScreenLine& line : lines) {
                int length = 0;
                for (const ScreenSpan& span : line)
                    length += span.text.size();
                QVERIFY2(length <= width, qPrintable(QStringLiteral("%1x%2").arg(width).arg(height)));
            }
        }
    }
}

void tst_watch::ages_data()
{
    QTest::addColumn<QString>("text");
    const std::pair<const char*, const char*> rows[] = {
        {"-5", "0.0 s"},       {"949", "0.9 s"},    {"9949", "9.9 s"},      {"9950", "9 s"},
        {"119999", "119 s"},   {"120000", "2 min"}, {"7199999", "119 min"}, {"7200000", "2 h"},
        {"172799999", "47 h"}, {"172800000", "2 d"}};
    for (const auto& [age, text] : rows)
        QTest::newRow(age) << QString::fromLatin1(text);
}

void tst_watch::ages()
{
    QTEST(ageText(milliseconds(QString::fromLatin1(QTest::currentDataTag()).toInt())), "text");
}

void tst_watch::records_data()
{
    QTest::addColumn<QByteArray>("rows");
    QTest::addColumn<QString>("result"); // the samples of HR1, or the error
    const QByteArray first = "2026-11-22T22:58:05.250Z,1,0,0.1,\n";
    QTest::newRow("one") << first << "1";
    QTest::newRow("failed") << first + "2026-11-22T22:58:06.000Z,,,3000.000,\"HR1: a, b\"\n"
                            << "1 nan";
    QTest::newRow("torn row") << first + "2026-11-22T22:58:06.000Z,7"
                              << "1";
    QTest::newRow("torn quote") << first + "2026-11-22T22:58:06.000Z,,,3,\"HR1: no"
                                << "1";
    QTest::newRow("torn in the middle") << "2026-1\n" + first << "line 2: it has another number of fields";
    QTest::newRow("no time") << "yesterday,1,0,0.1,\n" + first << "line 2: it does not begin with a time";
    QTest::newRow("empty") << QByteArray() << "holds no samples";
}

void tst_watch::records()
{
    QFETCH(QByteArray, rows);
    QFETCH(QString, result);
    const QString file = m_folder.filePath(QStringLiteral("record.csv"));
    put(file, "time,HR1,HR1.3:bit,milliseconds,error\n" + rows);
    QString error;
    const auto record = readRecord(file, error);
    if (!record) {
        QVERIFY2(error.contains(result), qPrintable(error));
        return;
    }
    QVERIFY(!record->columns.at(0).isBit && record->columns.at(1).isBit);
    QCOMPARE(record->times.front(), 1795388285.25);
    QStringList samples;
    for (const double value : record->columns.at(0).values)
        samples += QString::number(value);
    QCOMPARE(samples.join(QLatin1Char(' ')), result);
}

// A peak and a hole of one sample each among a hundred thousand are in the curve, which is short.
void tst_watch::curvesKeepPeaks()
{
    Record record;
    record.columns.resize(1);
    std::vector<double>& values = record.columns.front().values;
    values.assign(100000, 5);
    values[33333] = 900;
    values[66666] = -900;
    values[77777] = gap;
    for (std::size_t i = 0; i < values.size(); ++i)
        record.times.push_back(static_cast<double>(i));
    const std::vector<CurvePoint> curve = curveOf(record, record.columns.front(), 500);
    QVERIFY(curve.size() <= 1001);
    const auto count = [&curve](auto matches) { return std::count_if(curve.begin(), curve.end(), matches); };
    QCOMPARE(count([](const CurvePoint& p) { return p.value > 800 && p.time > 33332.5 && p.time < 33333.5; }),
             1L);
    QCOMPARE(
        count([](const CurvePoint& p) { return p.value < -800 && p.time > 66665.5 && p.time < 66666.5; }),
        1L);
    QCOMPARE(count([](const CurvePoint& p) { return std::isnan(p.value); }), 1L);
    QVERIFY(std::is_sorted(curve.begin(), curve.end(),
                           [](const CurvePoint& a, const CurvePoint& b) { return a.time < b.time; }));
}

QTEST_GUILESS_MAIN(tst_watch)
#include "tst_watch.moc"
