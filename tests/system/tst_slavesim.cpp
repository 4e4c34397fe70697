#include "modbus_client.h"
#include "slave_process.h"

#include <QtTest>

/// slavesim as its users meet it: the program, its command line, and bytes over TCP.
class TestSlavesim : public QObject
{
    Q_OBJECT

private slots:
    void answers_data();
    void answers();
};

void TestSlavesim::answers_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("reply");

    QTest::newRow("coils DO1-DO10") << QByteArray("000100000006010100000 00a")
                                    << QByteArray("000100000005010102 2401");
    QTest::newRow("discrete inputs DI1-DI10")
        << QByteArray("0001000000060102 0000 000a") << QByteArray("000100000005010202 1002");
    QTest::newRow("holding registers HR65535, HR65536")
        << QByteArray("0001000000060103 fffe 0002") << QByteArray("000100000007010304 ffff 0000");
    QTest::newRow("input registers IR1, IR2")
        << QByteArray("0001000000060104 0000 0002") << QByteArray("000100000007010404 fffe fffd");
}

void TestSlavesim::answers()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, reply);
    SlaveProcess slave;
    QVERIFY2(slave.start(), slave.problem());
    ModbusClient client(slave.port());
    QCOMPARE(client.exchange(request), reply.replace(' ', ""));
}

QTEST_GUILESS_MAIN(TestSlavesim)
#include "tst_slavesim.moc"
