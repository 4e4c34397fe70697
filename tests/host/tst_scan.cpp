#include "rows.h"
#include "scan/device_scan.h"
#include "scan/number_list.h"
#include "text/progress_bar.h"

#include <QtTest>

namespace {

bool holds(const QVector<int>& numbers, int first, int count)
{
    for (int number = first; number < first + count; ++number) {
        if (!numbers.contains(number))
            return false;
    }
    return true;
}

QVector<int> numbers(const char* list)
{
    return *list ? scan::parseNumberList(QLatin1String(list), 1, largestNumber) : QVector<int>();
}

/// An area of a station, and what a scan of it finds.
struct Area
{
    const char* name; ///< the elements that it serves
    scan::AreaPlan plan;
    const char* expected;
    int requests; ///< at most
    const char* silent = "";
    int mostInRequest = largestNumber;
    int exceptionCode = 2;
    int stopAfter = largestNumber; ///< requests until the user stops the scan
};

/// Reads from an area, and counts.
struct Station
{
    explicit Station(const Area& description)
        : area(description), served(numbers(area.name)), silent(numbers(area.silent))
    {
    }

    Answer read(int first, int count)
    {
        if (requests == area.stopAfter)
            return {Answer::Stopped, 0, QStringLiteral("interrupted")};
        ++requests;
        for (int number = first; number < first + count; ++number) {
            if (silent.contains(number))
                return {Answer::Silence, 0, QStringLiteral("no answer")};
        }
        if (count > area.mostInRequest)
            return {Answer::Exception, 3, QStringLiteral("03")};
        if (!holds(served, first, count))
            return {Answer::Exception, area.exceptionCode, QStringLiteral("0%1").arg(area.exceptionCode)};
        return Answer();
    }

    const Area& area;
    const QVector<int> served, silent;
    int requests = 0;
};

/// "1-10 ok, 11-12 02, 13 silent, 14-20 unasked"
QString textOf(const scan::AreaFindings& findings)
{
    QStringList texts;
    for (const scan::Range& range : findings.ranges) {
        const char* const states[] = {"ok", nullptr, "not divided", "silent", "unasked"};
        QVector<int> numbers;
        for (int number = range.first; number <= range.last; ++number)
            numbers += number;
        texts += scan::numberListText(numbers) + QLatin1Char(' ') +
                 (range.state == scan::Range::Refused ? range.reason : QLatin1String(states[range.state]));
    }
    return texts.join(QStringLiteral(", "));
}

} // namespace

// Each refused element costs a request of its own and, in groups of 8 and more, a quarter of one.
static const Area areas[] = {
    {"1-1000", {1, 1000, 125, 1}, "1-1000 ok", 8},
    {"1-1000", {5, 1000, 125, 1}, "5-1000 ok", 8},
    {"1-200", {1, 500, 125, 1}, "1-200 ok, 201-500 02", 384},
    {"201-400", {1, 500, 125, 1}, "1-200 02, 201-400 ok, 401-500 02", 389},
    {"1-62,64-500", {1, 500, 125, 1}, "1-62 ok, 63 02, 64-500 ok", 25},
    {"7", {1, 10, 125, 1}, "1-6 02, 7 ok, 8-10 02", 13},
    {"1,3,5,7", {1, 8, 8, 1}, "1 ok, 2 02, 3 ok, 4 02, 5 ok, 6 02, 7 ok, 8 02", 9},
    {"", {1, 125, 125, 1}, "1-125 02", 156},
    {"65536", {65530, 65536, 125, 1}, "65530-65535 02, 65536 ok", 8},
    {"9", {9, 9, 2000, 1}, "9 ok", 1},
    // Coarse: borders are still exact, islands may be missed.
    {"1-200", {1, 1000, 125, 16}, "1-200 ok, 201-1000 not divided", 130},
    {"1-10", {1, 1000, 125, 16}, "1-10 ok, 11-1000 not divided", 130},
    {"300-777", {1, 1000, 125, 16}, "1-299 not divided, 300-777 ok, 778-1000 not divided", 95},
    {"500", {1, 1000, 125, 16}, "1-1000 not divided", 128},
    {"", {1, 2000, 2000, 2000}, "1-2000 not divided", 23},
    // A silent area is left soon; single silent ranges between answers are no reason to give up.
    {"1-100", {1, 1000, 100, 1}, "1-100 ok, 101-300 silent, 301-1000 unasked", 3, "101-1000"},
    {"1-1000",
     {1, 500, 100, 1},
     "1-100 ok, 101-200 silent, 201-300 ok, 301-400 silent, 401-500 ok",
     5,
     "150,350"},
    // A station that carries less than the standard allows gets a request that is too large once, not each
    // time: 125 is 63 and 62, 62 is twice 31. So the first 125 elements take 7 requests, the other 875
    // take 29.
    {"1-1000", {1, 1000, 125, 1}, "1-1000 ok", 36, "", 50},
    {"1-1000", {1, 1000, 125, 64}, "1-1000 ok", 36, "", 50},
    {"", {1, 65536, 125, 1}, "1-65536 01", 1, "", largestNumber, ::illegalFunction},
    {"1-150", {1, 400, 100, 1}, "1-150 ok, 151-400 unasked", 3, "", largestNumber, 2, 3},
};

static const struct
{
    const char* name;
    int silences;
    bool isUnreachable;
    const char* asked;
    const char* stopped;
} attempts[] = {
    {"silence, then an answer", 1, false, "1-HR1x1 1-HR1x1 1-HR1x5 1-HR1x5", ""},
    {"silence too often", 9, false, "1-HR1x1 1-HR1x1", ""},
    {"no connection", 0, true, "1-HR1x1 1-HR1x1 1-HR1x1", "connection refused"},
};

class tst_scan : public QObject
{
    Q_OBJECT

private slots:
    void area_data() { addRows(areas); }
    void area();
    void stations();
    void retries_data() { addRows(attempts); }
    void retries();
    void answers_data();
    void answers();
    void numberLists_data();
    void numberLists();
    void progress();
};

void tst_scan::area()
{
    QFETCH(int, row);
    const Area& area = areas[row];
    Station station(area);
    int settled = 0;
    const auto findings = scan::scanArea(
        area.plan, [&](int first, int count) { return station.read(first, count); },
        [&](int elements) { settled += elements; });
    QCOMPARE(textOf(findings), QString::fromLatin1(area.expected));
    QCOMPARE(findings.mostInRequest, area.mostInRequest == 50 ? 31 : area.plan.mostInRequest);
    QVERIFY2(station.requests <= area.requests, qPrintable(QString::number(station.requests)));
    if (!textOf(findings).contains(QLatin1String("unasked")))
        QCOMPARE(settled, area.plan.last - area.plan.first + 1);
}

namespace {

/// Stations 1 and 3 exist. Station 1 serves HR 1 to 10 and answers IR with an exception; station 3 answers
/// only the first request. All others are silent.
struct TwoStations : scan::Requester
{
    QStringList asked;
    bool isUnreachable = false;
    int silences = 0; ///< how often station 1 stays silent before it answers

    Answer ask(const scan::Request& request) override
    {
        asked += QStringLiteral("%1-%2%3x%4")
                     .arg(request.station)
                     .arg(request.area.name)
                     .arg(request.first)
                     .arg(request.count);
        if (isUnreachable)
            return {Answer::Unreachable, 0, QStringLiteral("connection refused")};
        const bool isFirstOf3 = request.station == 3 && asked.filter(QStringLiteral("3-")).size() == 1;
        if (asked.count(asked.last()) <= silences || (request.station != 1 && !isFirstOf3))
            return {Answer::Silence, 0, QStringLiteral("no answer")};
        return request.area.name == QLatin1String("HR")
                   ? Answer()
                   : Answer{Answer::Exception, illegalFunction, QStringLiteral("01")};
    }
};

scan::DevicePlan planOf(const QVector<int>& stations)
{
    scan::DevicePlan plan;
    plan.stations = stations;
    for (const char* name : {"HR", "IR", "XR"})
        plan.areas.append({QLatin1String(name), Word, 5});
    plan.last = 10;
    return plan;
}

} // namespace

void tst_scan::stations()
{
    TwoStations device;
    qint64 lastDone = 0;
    const auto findings =
        scan::scanDevice(planOf({1, 2, 3}), device, [&](const QString& label, qint64 done, qint64 total) {
            lastDone = label.contains(QLatin1String("R")) ? done : lastDone;
            QVERIFY(done <= total);
        });
    QCOMPARE(device.asked.join(QLatin1Char(' ')),
             QStringLiteral("1-HR1x1 2-HR1x1 3-HR1x1 1-HR1x5 1-HR6x5 1-IR1x5 1-XR1x5 "
                            "3-HR1x5 3-HR6x5 3-IR1x5 3-IR6x5")); // two silent areas: no third one
    QCOMPARE(findings.requests, device.asked.size());
    QVERIFY(findings.stopped.isEmpty());
    QCOMPARE(findings.stations.size(), 3);
    QVERIFY(findings.stations.at(1).areas.isEmpty());
    QCOMPARE(textOf(findings.stations.at(0).areas.at(1).findings), QStringLiteral("1-10 01"));
    QCOMPARE(textOf(findings.stations.at(2).areas.at(2).findings), QStringLiteral("1-10 unasked"));
    QCOMPARE(lastDone, qint64(45)); // of 60, before the request for the last 5 that were asked for
}

void tst_scan::retries()
{
    QFETCH(int, row);
    TwoStations device;
    device.silences = attempts[row].silences;
    device.isUnreachable = attempts[row].isUnreachable;
    scan::DevicePlan plan = planOf({1});
    plan.areas.resize(1);
    plan.last = 5;
    plan.probeRetries = 1;
    plan.retries = 2;
    const auto findings = scan::scanDevice(plan, device, [](const QString&, qint64, qint64) {});
    QCOMPARE(device.asked.join(QLatin1Char(' ')), QString::fromLatin1(attempts[row].asked));
    QCOMPARE(findings.stopped, QString::fromLatin1(attempts[row].stopped));
}

// The texts that the page on errors lists in the first cells of its tables, and no others.
void tst_scan::answers_data()
{
    QTest::addColumn<int>("code"); ///< of a text that counts as an answer of the device; 0: silence
    const QStringList refusals = {QStringLiteral("exception code:01"), QStringLiteral("exception code:02"),
                                  QStringLiteral("exception code:03"), QStringLiteral("exception code:04")};
    QFile page(QStringLiteral(ERRORS_PAGE));
    QVERIFY(page.open(QIODevice::ReadOnly));
    const QString ofCommands = QString::fromUtf8(page.readAll()).section(QLatin1String("\n## Records"), 0, 0);
    int found = 0;
    for (const QString& line : ofCommands.split(QLatin1Char('\n'))) {
        const QStringList texts = line.section(QLatin1Char('|'), 1, 1).split(QLatin1Char('`'));
        for (int i = 1; i < texts.size(); i += 2) {
            const int code = refusals.indexOf(texts.at(i)) + 1;
            QTest::newRow(qPrintable(texts.at(i))) << code;
            found += code > 0 ? 1 : 0;
        }
    }
    QCOMPARE(found, refusals.size());
}

void tst_scan::answers()
{
    const QString text = QString::fromUtf8(QTest::currentDataTag());
    const Answer answer = answerFromError(QStringLiteral("read 1 word(s) from 1-HR1> ") + text);
    QTEST(answer.code, "code");
    QCOMPARE(int(answer.kind), int(answer.code > 0 ? Answer::Exception : Answer::Silence));
    QCOMPARE(answer.text, text);
    QVERIFY(answerFromError(QString()).kind == Answer::Data);
}

void tst_scan::numberLists_data()
{
    QTest::addColumn<QString>("again"); ///< empty: the text is wrong
    QTest::newRow("1-247") << "1-247";
    QTest::newRow("7,5-6,1,5") << "1,5-7";
    QTest::newRow("0,255") << "0,255";
    for (const char* wrong : {"", "256", "3-1", "1-", "-1", "1,,2", "a", "1 ", "99999999999"})
        QTest::newRow(wrong) << "";
}

void tst_scan::numberLists()
{
    QTEST(scan::numberListText(scan::parseNumberList(QString::fromLatin1(QTest::currentDataTag()), 0, 255)),
          "again");
}

void tst_scan::progress()
{
    QCOMPARE(progressLine(QStringLiteral("HR"), 1, 4, 10, 80),
             QStringLiteral("[######..................]  25 %     0:30 left  HR"));
    QCOMPARE(progressLine(QStringLiteral("HR"), 1, 2, 3725, 80),
             QStringLiteral("[############............]  50 %  1:02:05 left  HR"));
    QCOMPARE(progressLine(QStringLiteral("HR"), 0, 0, 0, 80).size(),
             progressLine(QStringLiteral("HR"), 4, 4, 9, 80).size());
    QVERIFY(progressLine(QStringLiteral("HR"), 4, 4, 9, 80).contains(QLatin1String("] 100 %")));
    QCOMPARE(progressLine(QStringLiteral("HR"), 1, 4, 10, 20).size(), 19);

    QString screen;
    QTextStream err(&screen);
    {
        ProgressBar none(err, 0);
        none.show(QStringLiteral("HR"), 1, 2);
    }
    QVERIFY(screen.isEmpty());
    {
        ProgressBar bar(err, 60);
        bar.show(QStringLiteral("HR"), 1, 2);
        bar.show(QStringLiteral("HR"), 2, 2); // too early to be drawn
    }
    QCOMPARE(screen.count(QLatin1Char('\r')), 3);
    QVERIFY(screen.endsWith(QLatin1Char('\r') + QString(59, QLatin1Char(' ')) + QLatin1Char('\r')));
}

QTEST_APPLESS_MAIN(tst_scan)
#include "tst_scan.moc"
