#include <listenaddress.h>

#include <QtTest>

class ListenAddressTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reads_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("address");
        QTest::addColumn<int>("port");
        QTest::addColumn<QString>("written");
        QTest::newRow("IPv4") << "127.0.0.1:8750"
                              << "127.0.0.1" << 8750 << "127.0.0.1:8750";
        QTest::newRow("any free port") << "0.0.0.0:0"
                                       << "0.0.0.0" << 0 << "0.0.0.0:0";
        QTest::newRow("highest port") << "127.0.0.1:65535"
                                      << "127.0.0.1" << 65535 << "127.0.0.1:65535";
        QTest::newRow("IPv6") << "[::1]:8750"
                              << "::1" << 8750 << "[::1]:8750";
        QTest::newRow("IPv6 with IPv4 inside") << "[::ffff:127.0.0.1]:1"
                                               << "::ffff:127.0.0.1" << 1 << "[::ffff:127.0.0.1]:1";
        QTest::newRow("localhost") << "localhost:80"
                                   << "127.0.0.1" << 80 << "127.0.0.1:80";
    }
    void reads()
    {
        QFETCH(QString, text);
        const auto address = ListenAddress::parse(text);
        QVERIFY(address.has_value());
        QTEST(address->address, "address");
        QTEST(static_cast<int>(address->port), "port");
        QTEST(address->toString(), "written");
    }

    void refuses_data()
    {
        QTest::addColumn<QString>("text");
        for (const char *text : {"",
                                 ":",
                                 "127.0.0.1",
                                 "127.0.0.1:",
                                 ":8750",
                                 "127.0.0.1:65536",
                                 "127.0.0.1:-1",
                                 "127.0.0.1:+1",
                                 "127.0.0.1:80a",
                                 "127.0.0.1:999999999999",
                                 "127.0.0.1: 80",
                                 "127.0.0.1:80\n",
                                 "::1:80",
                                 "[::1]",
                                 "[::1:80",
                                 "[]:80",
                                 "[127.0.0.1]:80",
                                 "::1",
                                 "[::g]:80",
                                 "127.0.1:80",
                                 "256.0.0.1:80",
                                 "example.org:80",
                                 "LOCALHOST:80",
                                 "http://127.0.0.1:80",
                                 "127.0.0.1:80:90"})
            QTest::newRow(text) << QString::fromLatin1(text);
        const QChar nul(QChar::Null);
        QTest::newRow("NUL behind an IPv4 address") << QStringLiteral("127.0.0.1%1x:80").arg(nul);
        QTest::newRow("NUL behind a name") << QStringLiteral("localhost%1:80").arg(nul);
        QTest::newRow("NUL behind an IPv6 address") << QStringLiteral("[::1%1]:80").arg(nul);
    }
    void refuses()
    {
        QFETCH(QString, text);
        QVERIFY(!ListenAddress::parse(text).has_value());
    }

    void tellsWhetherOnlyThisMachineReachesIt_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<bool>("loopback");
        for (const char *address : {"127.0.0.1", "127.0.0.0", "127.1.2.3", "127.255.255.255", "::1",
                                    "0:0:0:0:0:0:0:1", "::0.0.0.1"})
            QTest::newRow(address) << QString::fromLatin1(address) << true;
        // An IPv4 address inside of an IPv6 one is not counted.
        for (const char *address :
             {"0.0.0.0", "126.255.255.255", "128.0.0.0", "10.0.0.127", "192.168.1.1", "1.0.0.127",
              "::", "::2", "1::", "fe80::1", "::ffff:127.0.0.1", "::127.0.0.1", "localhost", "127.1", ""})
            QTest::newRow(address) << QString::fromLatin1(address) << false;
    }
    void tellsWhetherOnlyThisMachineReachesIt()
    {
        QFETCH(QString, address);
        QTEST((ListenAddress{address, 8750}.isLoopback()), "loopback");
    }

    void defaultIsLoopback()
    {
        QVERIFY(ListenAddress().isLoopback());
        QCOMPARE(ListenAddress().toString(), QStringLiteral("127.0.0.1:8750"));
    }
};

QTEST_GUILESS_MAIN(ListenAddressTest)
#include "tst_listenaddress.moc"
