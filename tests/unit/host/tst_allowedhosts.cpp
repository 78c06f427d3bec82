#include <allowedhosts.h>

#include <QtTest>

class AllowedHostsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void allows_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<bool>("allowed");
        for (const char *value : {"localhost", "localhost:8750", "127.0.0.1", "127.0.0.1:8750", "[::1]",
                                  "[::1]:8750", "LOCALHOST", "LocalHost:8750",
                                  // Listed without a port, in capitals.
                                  "desk.example", "desk.example:8750", "DESK.example",
                                  // Listed with one.
                                  "other.example:9", "OTHER.EXAMPLE:9", "[fe80::1]:9"})
            QTest::newRow(value) << QByteArray(value) << true;
        for (const char *value : {"", "localhost:", "localhost:8751", "localhost:80", "localhost:08750",
                                  "localhost:8750 ", "localhost.", "localhost.evil.example", "evil-localhost",
                                  "evil.localhost", "127.0.0.1.evil.example", "127.0.0.2", "127.1",
                                  "2130706433", "0.0.0.0", "[::]", "[0:0:0:0:0:0:0:1]", "[::ffff:127.0.0.1]",
                                  "::1", "127.0.0.1:9", "evil.example", "evil.example:8750", "desk.example:9",
                                  "desk.exampl", "desk.example.", "sub.desk.example", "desk_example",
                                  // Listed with a port, and that port alone.
                                  "other.example", "other.example:8750", "[fe80::1]", "localhost, localhost",
                                  "localhost, evil.example", "evil.example, localhost", "localhost,localhost",
                                  "user@localhost", "http://localhost", "localhost/", "%6cocalhost"})
            QTest::newRow(value) << QByteArray(value) << false;
        QTest::newRow("none") << QByteArray() << false;
        QTest::newRow("NUL behind it") << QByteArray("localhost\0", 10) << false;
    }
    void allows()
    {
        QFETCH(QByteArray, value);
        AllowedHosts hosts({*HostPort::parse("Desk.Example"), *HostPort::parse("other.example:9"),
                            *HostPort::parse("[fe80::1]:9")});
        hosts.setPort(8750);
        QTEST(hosts.allows(value), "allowed");
    }

    void withoutAListThisMachineAlone()
    {
        AllowedHosts hosts;
        hosts.setPort(8750);
        QVERIFY(hosts.allows("localhost:8750"));
        QVERIFY(!hosts.allows("desk.example"));
    }

    void beforeThePortIsKnownNoneIsAllowed()
    {
        AllowedHosts hosts;
        QCOMPARE(hosts.port(), quint16(0));
        QVERIFY(!hosts.allows("localhost:8750"));
        QVERIFY(hosts.allows("localhost"));
        hosts.setPort(8750);
        QCOMPARE(hosts.port(), quint16(8750));
        QVERIFY(hosts.allows("localhost:8750"));
        hosts.setPort(8760);
        QVERIFY(!hosts.allows("localhost:8750"));
    }
};

QTEST_GUILESS_MAIN(AllowedHostsTest)
#include "tst_allowedhosts.moc"
