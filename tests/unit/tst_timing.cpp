#include "tools/timing.h"

#include <QtTest>
#include <csignal>
#include <cstring>
#include <ctime>
#include <sys/time.h>

static volatile sig_atomic_t alarms = 0;

static void countAlarm(int)
{
    alarms = alarms + 1;
}

// Sends this process a signal every ms milliseconds; 0 stops that.
static void alarmEvery(int ms)
{
    std::signal(SIGALRM, countAlarm);
    itimerval timer;
    std::memset(&timer, 0, sizeof timer);
    timer.it_interval.tv_usec = timer.it_value.tv_usec = 1000 * ms;
    setitimer(ITIMER_REAL, &timer, nullptr);
}

static qint64 sleepFor(unsigned long ms)
{
    const qint64 before = CurrentMSecsSinceBoot();
    HRSleep(ms);
    return CurrentMSecsSinceBoot() - before;
}

class tst_timing : public QObject
{
    Q_OBJECT

private slots:
    void clockIsThatOfTheSystem()
    {
        timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        const qint64 seconds = CurrentMSecsSinceBoot() / 1000;
        QVERIFY2(seconds == now.tv_sec || seconds == now.tv_sec + 1, QByteArray::number(seconds));
    }

    void sleepLasts()
    {
        const qint64 slept = sleepFor(30);
        QVERIFY2(slept >= 29 && slept < 5000, QByteArray::number(slept));
        QVERIFY(sleepFor(0) < 5000);
    }

    void signalsDoNotShortenIt()
    {
        alarmEvery(50);
        const qint64 slept = sleepFor(1020);
        alarmEvery(0);
        QVERIFY2(slept >= 1019 && slept < 6000, QByteArray::number(slept));
        QVERIFY(alarms > 2);
    }
};

QTEST_MAIN(tst_timing)
#include "tst_timing.moc"
