#include "rows.h"
#include "watch/block_reader.h"
#include "watch/poll_schedule.h"
#include "watch/screen_layout.h"
#include "watch/statistics.h"
#include "watch/table_layout.h"

#include <QtTest>

#include <clocale>
#include <limits>
#include <numeric>

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

QString textOf(const ScreenLine& line)
{
    return std::accumulate(line.begin(), line.end(), QString(),
                           [](const QString& text, const ScreenSpan& span) { return text + span.text; });
}

} // namespace

static const struct
{
    const char* name; ///< samples; x is a gap
    int width;
    bool isBit;
    const char* blocks;
    const char* ascii;
} trendRows[] = {
    {"", 5, false, "", ""},
    {"0 1 2 3 4 5 6 7", 8, false, "▁▂▃▄▅▆▇█", "_.,-~+*#"},
    {"-70 0", 5, false, "▁█", "_#"},
    {"900 0 1 7", 3, false, "▁▂█", "_.#"},
    {"5 5 5", 5, false, "▅▅▅", "~~~"},
    {"0 0", 5, true, "▁▁", "__"},
    {"1 1 0", 5, true, "██▁", "##_"},
    {"0 x 7", 5, false, "▁ █", "_ #"},
    {"x x", 5, false, "  ", "  "},
    {"1 2", 0, false, "", ""},
};

// The columns that a window of this width has room for.
static const struct
{
    const char* name;
    int width;
    bool fails;
} headings[] = {
    {"AD…S", 4, false},
    {"ADDRESS  VALUE", 20, false},
    {"ADDRESS  VALUE  TREND", 21, false},
    {"ADDRESS  VALUE     AGE", 22, false},
    {"ADDRESS  VALUE     AGE  FAILED", 30, false},
    {"ADDRESS  VALUE  TREND        AGE  FAILED", 40, false},
    {"ADDRESS  VALUE  TREND     AGE  FAILED  LAST ERROR", 49, false},
    {"ADDRESS  VALUE    MIN    MAX  TREND     AGE  READS  FAILED  LAST ERROR", 70, false},
    {"ADDRESS  VALUE    MIN    MAX  TREND          AGE  READS  FAILED  LAST ERROR", 80, false},
    {"ADDRESS  VALUE  TREND         AGE  FAILED", 41, true},
    {"ADDRESS  VALUE     AGE  FAILED  LAST ERROR", 42, true},
    {"ADDRESS  VALUE    MIN    MAX  TREND     AGE  FAILED  LAST ERROR", 70, true},
};

class tst_watch : public QObject
{
    Item itemIn(const char* text)
    {
        QString error;
        return parseItems(QLatin1String(text), ItemContext(), error).value(0);
    }
    void fitsEverySize(const ScreenContents& contents);

    Q_OBJECT

private slots:
    void schedule();
    void pauseIsNotMissed();
    void trends_data() { addRows(trendRows); }
    void trends();
    void history();
    void roundTrips();
    void blocks_data();
    void blocks();
    void keys_data();
    void keys();
    void columns_data() { addRows(headings); }
    void columns();
    void everyScreenSize();
    void ages();
};

// Slots of 100 ms; a poll that begins in its slot takes this long. The next slot and the missed ones, worked
// out by hand.
void tst_watch::schedule()
{
    const struct
    {
        int took, next, missed;
    } polls[] = {{0, 100, 0}, {99, 100, 0}, {100, 100, 0}, {101, 200, 1}, {200, 200, 1}, {1001, 1100, 10}};
    for (const auto& [took, next, missed] : polls) {
        const auto start = PollSchedule::Clock::now();
        PollSchedule schedule(start, milliseconds(100));
        QCOMPARE(schedule.slot(), start);
        schedule.polled(start + milliseconds(took));
        QCOMPARE(schedule.slot() - start, PollSchedule::Clock::duration(milliseconds(next)));
        QCOMPARE(schedule.missed(), quint64(missed));
    }
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

void tst_watch::trends()
{
    QFETCH(int, row);
    const auto& [name, width, isBit, blocks, ascii] = trendRows[row];
    const Samples samples = samplesOf(QLatin1String(name));
    QCOMPARE(trendText(samples, width, isBit, TrendSymbols::Blocks), QString::fromUtf8(blocks));
    QCOMPARE(trendText(samples, width, isBit, TrendSymbols::Ascii), QLatin1String(ascii));
}

void tst_watch::history()
{
    ValueHistory history;
    QVERIFY(history.latest().isEmpty() && history.smallest().isEmpty());
    history.add(10, "10");
    history.add(9, "9");
    history.addGap();
    history.add(gap, "nan");
    QCOMPARE(history.latest(), QByteArray("nan"));
    QCOMPARE(history.smallest(), QByteArray("9"));
    QCOMPARE(history.largest(), QByteArray("10"));
    QCOMPARE(history.samples().size(), std::size_t(4));
    history.resetExtremes();
    history.add(10, "ten");
    QCOMPARE(history.smallest() + history.largest(), QByteArray("tenten"));
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

// The commands of two rounds, those with one attempt marked with ', to a device that takes 4 registers or 5
// bits at once and refuses what has the register 66 in it. Station 9 does not answer, neither does 8, for
// which it takes long, nor 7 for its first register.
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
    row("HR64 HR65 HR66 HR67", "HR64*4 HR64*2' HR66*2' HR66*1' HR67*1'; HR64*2 HR66*1' HR67*1", "2");
    row("HR65:word:2 HR67", "HR65*3 HR65*2' HR67*1'; HR65*2' HR67*1", "0");
    row("9-HR1 9-HR5 HR1", "9-HR1*1 HR1*1; 9-HR5*1' HR1*1", "1 0");
    row("8-HR1 HR1 8-HR5", "8-HR1*1 HR1*1; HR1*1", "2 0");
    row("8-HR1 8-HR5", "8-HR1*1; 8-HR5*1'", "1 0");
    row("7-HR1 7-HR5 7-HR9", "7-HR1*1; 7-HR5*1' 7-HR9*1' 7-HR1*1'", "0");
}

void tst_watch::blocks()
{
    QVector<Item> items;
    for (const QString& text : words(QString::fromLatin1(QTest::currentDataTag())))
        items += itemIn(text.toLatin1());
    QStringList commands;
    const auto read = [&](const CommunicatorCommand& command, std::optional<int> station, bool isOnce) {
        const int first = command.address.mid(2).toInt();
        CommandOutcome outcome;
        outcome.data = QByteArray(8 * command.count, '\0');
        if (first <= 66 && first + command.count > 66)
            outcome.error = QStringLiteral("read it> exception code:02");
        if (station >= 8 || (station == 7 && first == 1))
            outcome.error = QStringLiteral("read it> no answer from 127.0.0.1:502 within 100 ms");
        outcome.milliseconds = station == 8 ? 1e6 : 0;
        commands += (station ? QStringLiteral("%1-").arg(*station) : QString()) +
                    QStringLiteral("%1*%2").arg(command.address).arg(command.count) +
                    (isOnce ? QStringLiteral("'") : QString());
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

// The rows and the message after these keys; > marks the selected row. In the keys < is Enter, ^ Esc, \b
// Backspace, v and A the arrows, ] and [ a page of three rows down and up, ( and ) the first and last row.
void tst_watch::keys_data()
{
    QTest::addColumn<QString>("rows");
    QTest::addColumn<QString>("message");
    const auto row = [](const char* keys, const char* rows, const char* message = "") {
        QTest::newRow(keys) << QString::fromUtf8(rows) << QString::fromUtf8(message);
    };
    const char* const all = ">Oven 181 °C|HR4 2|HR5 3|3-HR9 |DO1 1|HR7 0x0007";
    row("", all);
    row("vx", "Oven 181 °C|>HR4 0x0002|HR5 3|3-HR9 |DO1 1|HR7 0x0007");
    row("vxx", "Oven 181 °C|>HR4 2|HR5 3|3-HR9 |DO1 1|HR7 0x0007");
    row("vvX", "Oven 0x016a|HR4 0x0002|>HR5 0x0003|3-HR9 |DO1 1|HR7 0x0007");
    for (const char* keys : {"vvvvvvv", "]v]", ")", "(AA]]"})
        row(keys, "Oven 181 °C|HR4 2|HR5 3|3-HR9 |DO1 1|>HR7 0x0007");
    for (const char* keys : {")AAA", ")[", "]v[v"})
        row(keys, "Oven 181 °C|HR4 2|>HR5 3|3-HR9 |DO1 1|HR7 0x0007");
    for (const char* keys : {")(", "]v[[", "vAA"})
        row(keys, all);
    row("/hR", ">Oven 181 °C|HR4 2|HR5 3|3-HR9 |HR7 0x0007",
        "show rows with (Enter keeps it, Esc shows all): hR_");
    row("vv/hr4\b5<", ">HR5 3");
    row("/VEN<w", ">Oven 181 °C", "new value for Oven in °C (Enter takes it, Esc ends): _");
    row("/nothing<wxXv", "");
    row("/nothing^", all);
    row("w180.5<", all, "write 180.5 °C to Oven (HR2)? y writes, any other key does not");
    row("w180.5<n", all, "nothing was written");
    row("w180.5<<", all, "nothing was written");
    row("w180.5<y", all, "writing 180.5 °C to Oven ...; HR2 1 6901");
    row("w180.5<yw/?", all, "writing 180.5 °C to Oven ...");
    row("w180.3<\b5<", all, "write 180.5 °C to Oven (HR2)? y writes, any other key does not");
    row("w180.3<", all,
        "value 1, \"180.3\", does not fit a uint16: it must be a number from 0 to 32767.5 °C in steps of "
        "0.5; the nearest are 180 and 180.5: new value for Oven in °C (Enter takes it, Esc ends): 180.3_");
    row("w1^", all, "nothing was written");
    row("w<", all, "nothing was written");
    row("vvxw10<y", "Oven 181 °C|HR4 2|>HR5 0x0003|3-HR9 |DO1 1|HR7 0x0007",
        "writing 10 to HR5 ...; HR5 1 0a00");
    row("/hr7<w10<y", ">HR7 0x0007", "writing 10 to HR7 ...; HR7 1 0a00");
    row("/hr7<xw0x10<y", ">HR7 7", "writing 16 to HR7 ...; HR7 1 1000");
    row("vvvw-1<y", "Oven 181 °C|HR4 2|HR5 3|>3-HR9 |DO1 1|HR7 0x0007",
        "writing -1 to 3-HR9 ...; 3-HR9 1 ffff");
}

void tst_watch::keys()
{
    Signal oven = signalAt(QStringLiteral("HR2"));
    oven.name = QStringLiteral("Oven");
    oven.unit = QStringLiteral("°C");
    oven.type = SignalType{SignalType::UInt16};
    oven.scale = 0.5;
    oven.decimals = 0;
    QString text;
    WatchState state({*itemOfSignal(oven, ItemContext(), text), itemIn("HR4:word:2"), itemIn("3-HR9:int16"),
                      itemIn("DO1"), itemIn("HR7:hex")});
    const QByteArray data[] = {QByteArray("\x6a\x01", 2), QByteArray("\2\0\3\0", 4), "", "\1",
                               QByteArray("\7\0", 2)};
    for (int i = 0; i < 5; ++i) {
        Reading reading;
        reading.index = i;
        reading.outcome.data = data[i];
        reading.outcome.error = data[i].isEmpty() ? QStringLiteral("no") : QString();
        state.add(reading);
    }
    WatchControl control(state);
    auto wish = WatchControl::Wish::Nothing;
    const std::map<char, KeyPress::Kind> named = {
        {'<', KeyPress::Enter},  {'^', KeyPress::Escape}, {'\b', KeyPress::Backspace},
        {'v', KeyPress::Down},   {'A', KeyPress::Up},     {']', KeyPress::PageDown},
        {'[', KeyPress::PageUp}, {'(', KeyPress::Home},   {')', KeyPress::End}};
    for (const char* key = QTest::currentDataTag(); *key != '\0'; ++key)
        wish = control.press(named.count(*key) ? KeyPress{named.at(*key), QString()}
                                               : KeyPress{KeyPress::Character, QString(QLatin1Char(*key))},
                             3);
    QStringList rows;
    for (const int row : control.rows()) {
        const WatchedElement& element = state.elements()[static_cast<std::size_t>(row)];
        const QString unit = state.unit(element);
        rows += (rows.size() == control.selected() ? QStringLiteral(">") : QString()) + element.name +
                QLatin1Char(' ') + state.text(element, element.history.latest()) +
                (unit.isEmpty() ? unit : QLatin1Char(' ') + unit);
    }
    QTEST(rows.join(QLatin1Char('|')), "rows");
    const ScreenMessage& message = control.message();
    text = message.problem.isEmpty() ? message.text : message.problem + QLatin1String(": ") + message.text;
    if (wish == WatchControl::Wish::Write)
        text += QStringLiteral("; %1 %2 %3")
                    .arg(control.itemToWrite().address.fullText())
                    .arg(control.itemToWrite().count)
                    .arg(QString::fromLatin1(control.dataToWrite().toHex()));
    QTEST(text, "message");
}

void tst_watch::columns()
{
    QFETCH(int, row);
    WatchState state({itemIn("HR1")});
    Reading reading;
    reading.outcome.data = QByteArray("\7\0", 2);
    state.add(reading);
    reading.outcome.error = QStringLiteral("read it> exception code:02");
    if (headings[row].fails)
        state.add(reading);
    const WatchControl control(state);
    const ScreenContents contents = {state,
                                     QString(),
                                     QString(),
                                     milliseconds(500),
                                     nullptr,
                                     false,
                                     control,
                                     TrendSymbols::Blocks,
                                     PollSchedule::Clock::now()};
    for (const ScreenLine& line : layOutTable(contents, headings[row].width, 9))
        QVERIFY2(textOf(line).size() <= headings[row].width, qPrintable(textOf(line)));
    const QString heading = textOf(layOutTable(contents, headings[row].width, 9).first());
    QCOMPARE(QString(heading + QLatin1Char('|')).remove(QRegularExpression(QStringLiteral(" *\\|$"))),
             QString::fromUtf8(headings[row].name));
}

// Whatever the window's size, nothing goes past its edges, nothing is on it that it cannot show, and the
// title is there as soon as there is a line.
void tst_watch::everyScreenSize()
{
    std::setlocale(LC_CTYPE, "C.UTF-8"); // which knows what is wide
    Item named = itemIn("HR40");
    named.signal.name = QStringLiteral("Serial number of the plant in the \u5730\u4e0b\u5ba4");
    WatchState state({itemIn("HR1:word:30"), itemIn("DO1"), named});
    state.setSilence(Silence{{1}, 2}, 4);
    Reading good;
    good.outcome.data = QByteArray(60, '\x7f');
    state.add(good);
    Reading bad;
    bad.index = 1;
    bad.sampleTime = 1000000000000;
    bad.outcome.error = QStringLiteral("read 1 bit(s) from 1-DO1> \n°") + QString(300, QLatin1Char('e'));
    state.add(bad);
    WatchControl control(state);
    ScreenContents contents = {state,
                               QStringLiteral("127.0.0.1:502"),
                               QStringLiteral("1"),
                               milliseconds(500),
                               nullptr,
                               true,
                               control,
                               TrendSymbols::Blocks,
                               PollSchedule::Clock::now()};
    QStringList lines;
    for (const ScreenLine& line : layOutScreen(contents, {80, 50}))
        lines += textOf(line);
    QCOMPARE(lines.filter(QRegularExpression(QStringLiteral("^DO1 .* no answer, attempt 2 of 4"))).size(), 1);
    QCOMPARE(lines.filter(QStringLiteral("last error  01:46:40 UTC  read 1 bit(s) ")).size(), 1);
    QCOMPARE(lines.filter(QRegularExpression(QStringLiteral("^Serial number of \u2026e \u5730\u4e0b\u5ba4 ")))
                 .size(),
             1);
    for (const char key : {'r', '/', '1', 'w', '?'}) { // each in the place to which those before it lead
        control.press({key == 'w' ? KeyPress::Enter : KeyPress::Character, QString(QLatin1Char(key))}, 9);
        for (const auto symbols : {TrendSymbols::Blocks, TrendSymbols::Ascii}) {
            contents.symbols = symbols;
            fitsEverySize(contents);
        }
    }
}

void tst_watch::fitsEverySize(const ScreenContents& contents)
{
    for (int width = 1; width < 200; width += 7) {
        for (int height = 1; height < 50; ++height) {
            const QVector<ScreenLine> lines = layOutScreen(contents, {width, height});
            QVERIFY(!lines.isEmpty() && lines.size() <= height);
            for (const ScreenLine& line : lines) {
                const QString text = textOf(line);
                const bool isAscii = std::all_of(text.begin(), text.end(),
                                                 [](QChar each) { return each >= ' ' && each <= '~'; });
                const auto wide =
                    std::count_if(text.begin(), text.end(), [](QChar each) { return each >= QChar(0x4e00); });
                QVERIFY2(text.size() + wide <= width,
                         qPrintable(QStringLiteral("%1x%2").arg(width).arg(height)));
                QVERIFY2(isAscii || contents.symbols == TrendSymbols::Blocks, qPrintable(text));
            }
        }
    }
}

void tst_watch::ages()
{
    const std::pair<int, const char*> rows[] = {
        {-5, "0.0 s"},     {949, "0.9 s"},       {9949, "9.9 s"},  {9950, "9 s"},       {119999, "119 s"},
        {120000, "2 min"}, {7199999, "119 min"}, {7200000, "2 h"}, {172799999, "47 h"}, {172800000, "2 d"}};
    for (const auto& [age, text] : rows)
        QCOMPARE(ageText(milliseconds(age)), QLatin1String(text));
}

QTEST_GUILESS_MAIN(tst_watch)
#include "tst_watch.moc"
