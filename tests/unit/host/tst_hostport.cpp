#include <hostport.h>

#include <QtTest>

class HostPortTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reads_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("host");
        QTest::addColumn<int>("port");
        QTest::newRow("name") << QByteArray("desk") << QByteArray("desk") << 0;
        QTest::newRow("name and port")
            << QByteArray("desk.example:8750") << QByteArray("desk.example") << 8750;
        QTest::newRow("all that a name may hold")
            << QByteArray("a-b.c_d.09") << QByteArray("a-b.c_d.09") << 0;
        QTest::newRow("capitals") << QByteArray("Desk.EXAMPLE:1") << QByteArray("desk.example") << 1;
        QTest::newRow("IPv4") << QByteArray("127.0.0.1:80") << QByteArray("127.0.0.1") << 80;
        QTest::newRow("IPv6") << QByteArray("[::1]") << QByteArray("[::1]") << 0;
        QTest::newRow("IPv6 and port") << QByteArray("[FE80::A]:65535") << QByteArray("[fe80::a]") << 65535;
    }
    void reads()
    {
        QFETCH(QByteArray, text);
        const auto read = HostPort::parse(text);
        QVERIFY(read.has_value());
        QTEST(read->host, "host");
        QTEST(int(read->port), "port");
    }

    void refuses_data()
    {
        QTest::addColumn<QByteArray>("text");
        for (const char *text : {"",
                                 ":",
                                 ":80",
                                 "a:",
                                 "[::1]:",
                                 "a:0",
                                 "a:080",
                                 "a:65536",
                                 "a:+80",
                                 "a:-1",
                                 "a:b",
                                 "a:80:90",
                                 "a:99999999999999999999",
                                 "a:80 ",
                                 " a",
                                 "a ",
                                 "a b",
                                 "a, b",
                                 "a,b",
                                 "u@a",
                                 "http://a",
                                 "a/",
                                 "a/b",
                                 "a?b",
                                 "a#b",
                                 "*",
                                 "*.example",
                                 "a*b",
                                 "%61",
                                 "a!",
                                 "a~",
                                 "a'",
                                 "::1",
                                 "[::1",
                                 "::1]",
                                 "[a]",
                                 "[::1]a",
                                 "[]",
                                 "\xc3\xa9",
                                 "a\t",
                                 "a\n"})
            QTest::newRow(text) << QByteArray(text);
        QTest::newRow("NUL") << QByteArray("a\0", 2);
        QTest::newRow("null") << QByteArray();
    }
    void refuses()
    {
        QFETCH(QByteArray, text);
        QVERIFY(!HostPort::parse(text).has_value());
    }
};

QTEST_GUILESS_MAIN(HostPortTest)
#include "tst_hostport.moc"
