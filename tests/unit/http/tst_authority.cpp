#include <http/server/authority.h>

#include <QtTest>

using http::server::readAuthority;

class AuthorityTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void takesApart_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("host");
        QTest::addColumn<QByteArray>("port");
        QTest::newRow("nothing") << QByteArray("") << QByteArray("") << QByteArray("");
        QTest::newRow("host") << QByteArray("a") << QByteArray("a") << QByteArray("");
        QTest::newRow("host and port") << QByteArray("a.b:80") << QByteArray("a.b") << QByteArray("80");
        QTest::newRow("empty port") << QByteArray("a:") << QByteArray("a") << QByteArray("");
        QTest::newRow("port alone") << QByteArray(":80") << QByteArray("") << QByteArray("80");
        QTest::newRow("IPv4") << QByteArray("127.0.0.1:1") << QByteArray("127.0.0.1") << QByteArray("1");
        QTest::newRow("IPv6") << QByteArray("[::1]") << QByteArray("[::1]") << QByteArray("");
        QTest::newRow("IPv6 and port")
            << QByteArray("[fe80::1]:8750") << QByteArray("[fe80::1]") << QByteArray("8750");
        QTest::newRow("IPv6 with IPv4")
            << QByteArray("[::ffff:1.2.3.4]") << QByteArray("[::ffff:1.2.3.4]") << QByteArray("");
        QTest::newRow("future address")
            << QByteArray("[vA1.x:y]:2") << QByteArray("[vA1.x:y]") << QByteArray("2");
        QTest::newRow("signs") << QByteArray("-._~!$&'()*+;=%Af0aZ") << QByteArray("-._~!$&'()*+;=%Af0aZ")
                               << QByteArray("");
    }
    void takesApart()
    {
        QFETCH(QByteArray, text);
        const auto authority = readAuthority({text.constData(), static_cast<std::size_t>(text.size())});
        QVERIFY(authority);
        QTEST(QByteArray(authority->host.data(), static_cast<int>(authority->host.size())), "host");
        QTEST(QByteArray(authority->port.data(), static_cast<int>(authority->port.size())), "port");
    }

    void refuses_data()
    {
        QTest::addColumn<QByteArray>("text");
        for (const char *text : {"a:b",    "a:8 0",   "a:+80",   "a:-1",   "a:1:2",     "::1",
                                 "::1]",   "[::1",    "[]",      "[",      "]",         "[::1]a",
                                 "[::1]]", "[[::1]]", "[::1]:x", "[a]",    "[1.2.3.4]", "[::1%25eth0]",
                                 "[v.a]",  "[v1.]",   "[v1]",    "[vg.a]", "[v1.a/b]",  "a[b]",
                                 "%",      "%a",      "%zz",     "%2g",    "a,b",       "a b",
                                 "a/b",    "a?b",     "a#b",     "u@a",    "a\\b",      "\"a\"",
                                 "<a>",    "a^",      "a`",      "{a}",    "a|b",       "\xc3\xa9",
                                 "a\t",    "a\x7f"})
            QTest::newRow(text) << QByteArray(text);
        QTest::newRow("NUL") << QByteArray("a\0", 2);
        QTest::newRow("NUL in brackets") << QByteArray("[::1\0]", 6);
        QTest::newRow("NUL in a port") << QByteArray("a:8\0", 4);
    }
    void refuses()
    {
        QFETCH(QByteArray, text);
        QVERIFY(!readAuthority({text.constData(), static_cast<std::size_t>(text.size())}));
    }
};

QTEST_GUILESS_MAIN(AuthorityTest)
#include "tst_authority.moc"
