#include "watch/block_reader.h"
#include "watch/poll_schedule.h"
#include "watch/screen_layout.h"
#include "watch/statistics.h"

#include <QtTest>

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

} // namespace

class tst_watch : public QObject
{
    Item itemIn(const char* text)
    {
        QString error;
        return parseItems(QLatin1String(text), ItemContext(), error).value(0);
    }

    Q_OBJECT

private slots:
    void schedule_data();
    void schedule();
    void pauseIsNotMissed();
    void trends_data();
    void trends();
    void history();
    void roundTrips();
    void blocks_data();
    void blocks();
    void everyScreenSize();
    void ages_data();
    void ages();
};

// Slots of 100 ms; a poll that begins in its slot takes this long. The next slot and the missed ones, worked
// out by hand.
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

// The commands of two rounds to a device that refuses what has the register 66 in it, does not answer as
// station 9, and takes 4 registers or 5 bits at once.
void tst_watch::blocks_data()
{
    QTest::addColumn<QString>("commands");
    QTest::addColumn<QString>("failed"); ///< indexes of items in the second round
    const auto row = [](const char* items, const char* commands, const char* failed = "") {
        QTest::newRow(items) << QString::fromLatin1(commands) << QString::fromLatin1(failed);
    };
    row("HR3 HR1 HR2 HR2 hr1", "HR1*3; HR1*3");
    row("HR1 HR3", "HR1*1 HR3*1; HR1*1 HR3*1");
    row("HR1 HR2 HR3 HR4 HR5", "HR1*4 HR5*1; HR1*4 HR5*1");
    row("HR2:float32 HR4:int16 HR1 HR1.3 HR3.9:bit:8", "HR1*4; HR1*4");
    row("HR1SW:dword HR3SW:dword", "HR1*4; HR1*4");
    row("HR3 HR1:qword HR2", "HR2*2 HR1*1; HR2*2 HR1*1");
    row("HR1:word:6 HR7", "HR1*6 HR7*1; HR1*6 HR7*1");
    row("DO1:bit:4 DO5 DO6 DI1 DI2", "DO1*5 DO6*1 DI1*2; DO1*5 DO6*1 DI1*2");
    row("DO1 DO2 DO1:byte", "DO1*2 DO1*1; DO1*2 DO1*1");
    row("FN6HR1 HR2 FN6HR2", "FN6HR1*2 HR2*1; FN6HR1*2 HR2*1");
    row("3-HR1 HR2 3-HR2", "3-HR1*2 HR2*1; 3-HR1*2 HR2*1");
    row("HR65535 HR65536:word:2", "HR65535*1 HR65536*2; HR65535*1 HR65536*2");
    row("HR64 HR65 HR66 HR67", "HR64*4 HR64*2 HR66*2 HR66*1 HR67*1; HR64*2 HR66*1 HR67*1", "2");
    row("HR65:word:2 HR67", "HR65*3 HR65*2 HR67*1; HR65*2 HR67*1", "0");
    row("9-HR1 9-HR5 HR1", "9-HR1*1 HR1*1; 9-HR1*1 HR1*1", "0 1");
}

void tst_watch::blocks()
{
    QVector<Item> items;
    for (const QString& text : words(QString::fromLatin1(QTest::currentDataTag())))
        items += itemIn(text.toLatin1());
    QStringList commands;
    const auto read = [&](const CommunicatorCommand& command, std::optional<int> station) {
        const int first = command.address.mid(2).toInt();
        CommandOutcome outcome;
        outcome.data = QByteArray(8 * command.count, '\0');
        if (first <= 66 && first + command.count > 66)
            outcome.error = QStringLiteral("read it> exception code:02");
        if (station == 9)
            outcome.error = QStringLiteral("read it> no answer from 127.0.0.1:502 within 100 ms");
        commands += (station ? QStringLiteral("%1-").arg(*station) : QString()) +
                    QStringLiteral("%1*%2").arg(command.address).arg(command.count);
        return outcome;
    };
    QStringList failed;
    QVector<int> reported(items.size());
    BlockReader reader(items, {4, 5}, read);
    for (int round = 0; round < 2; ++round) {
        failed.clear();
        commands += QStringLiteral(";");
        reader.readAll(
            [&](int index, const CommandOutcome& outcome, bool) {
                ++reported[index];
                if (!outcome.done())
                    failed += QString::number(index);
            },
            [] { return false; });
    }
    QTEST(commands.join(QLatin1Char(' ')).mid(2).replace(QLatin1String(" ; "), QLatin1String("; ")),
          "commands");
    QTEST(failed.join(QLatin1Char(' ')), "failed");
    QCOMPARE(reported, QVector<int>(items.size(), 2));
}

// Whatever the window's size, nothing goes past its edges, and the title is there as soon as there is a line.
void tst_watch::everyScreenSize()
{
    WatchState state({itemIn("HR1:word:30"), itemIn("DO1")});
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

QTEST_GUILESS_MAIN(tst_watch)
#include "tst_watch.moc"
