#include <originpolicy.h>

#include <QtTest>

using http::server::HeaderFields;
using Verdict = OriginPolicy::Verdict;

Q_DECLARE_METATYPE(OriginPolicy::Verdict)

/// A host on port 8750 that is also called desk.example and, through somebody's proxy, other.example:9.
class OriginPolicyTest : public QObject
{
    Q_OBJECT

    AllowedHosts m_hosts{{*HostPort::parse("desk.example"), *HostPort::parse("other.example:9")}};
    const QVector<Origin> m_listed{*Origin::parse("https://app.example"),
                                   *Origin::parse("http://localhost:3000")};

private Q_SLOTS:
    void initTestCase() { m_hosts.setPort(8750); }

    void judgesTheOrigin_data()
    {
        QTest::addColumn<QByteArray>("origin");
        QTest::addColumn<Verdict>("verdict");
        for (const char *own : {"http://localhost:8750", "http://127.0.0.1:8750", "http://[::1]:8750",
                                "http://desk.example:8750", "HTTP://LocalHost:8750"})
            QTest::newRow(own) << QByteArray(own) << Verdict::Own;
        for (const char *listed : {"https://app.example", "https://app.example:443", "HTTPS://App.Example",
                                   "http://localhost:3000"})
            QTest::newRow(listed) << QByteArray(listed) << Verdict::Listed;
        for (const char *foreign :
             {// Neither this host nor its port.
              "http://localhost", "http://localhost:8751", "https://localhost:8750", "http://127.0.0.2:8750",
              "http://desk.example", "http://evil.example:8750", "http://other.example:9",
              "http://other.example:8750", "ws://localhost:8750",
              // What a comparison by prefix or ending would let through.
              "https://app.example.evil.example", "https://app.exampl", "https://evilapp.example",
              "https://app.example:4433", "https://app.example@evil.example", "https://sub.app.example",
              "http://localhost:30000", "http://localhost:300", "http://localhost.evil.example:8750",
              "http://localhost:8750.evil.example",
              // The same place by another way.
              "http://app.example", "http://app.example:443", "https://localhost:3000",
              // No origins.
              "", "null", "NULL", "*", "https://app.example/", "app.example", "http://localhost:8750/"})
            QTest::addRow("\"%s\"", foreign) << QByteArray(foreign) << Verdict::Foreign;
    }
    void judgesTheOrigin()
    {
        QFETCH(QByteArray, origin);
        const OriginPolicy policy(m_listed, false, m_hosts);
        QTEST(policy.judge({{"Host", "localhost"}, {"oRIGIN", origin}}), "verdict");
    }

    void severalLinesAreNone_data()
    {
        QTest::addColumn<QByteArray>("one");
        QTest::addColumn<QByteArray>("two");
        QTest::newRow("the same") << QByteArray("https://app.example") << QByteArray("https://app.example");
        QTest::newRow("own") << QByteArray("http://localhost:8750") << QByteArray("http://localhost:8750");
        QTest::newRow("foreign last")
            << QByteArray("https://app.example") << QByteArray("https://evil.example");
        QTest::newRow("foreign first")
            << QByteArray("https://evil.example") << QByteArray("https://app.example");
        QTest::newRow("null") << QByteArray("null") << QByteArray("null");
        QTest::newRow("empty first") << QByteArray("") << QByteArray("https://app.example");
    }
    void severalLinesAreNone()
    {
        QFETCH(QByteArray, one);
        QFETCH(QByteArray, two);
        const OriginPolicy policy(m_listed, true, m_hosts);
        QCOMPARE(policy.judge({{"Origin", one}, {"Origin", two}}), Verdict::Foreign);
    }

    void nullIsAllowedIfListed()
    {
        const OriginPolicy policy({}, true, m_hosts);
        QCOMPARE(policy.judge({{"Origin", "null"}}), Verdict::Listed);
        QCOMPARE(policy.judge({{"Origin", "NULL"}}), Verdict::Foreign);
        QCOMPARE(policy.judge({{"Origin", "https://app.example"}}), Verdict::Foreign);
    }

    void judgesTheSite_data()
    {
        QTest::addColumn<QByteArray>("site");
        QTest::addColumn<QByteArray>("origin");
        QTest::addColumn<Verdict>("verdict");
        const QByteArray own = "http://localhost:8750";
        const QByteArray listed = "https://app.example";
        QTest::newRow("typed by the user") << QByteArray("none") << QByteArray() << Verdict::Own;
        QTest::newRow("own page") << QByteArray("same-origin") << QByteArray() << Verdict::Own;
        QTest::newRow("own page with its origin") << QByteArray("same-origin") << own << Verdict::Own;
        QTest::newRow("not known yet") << QByteArray("same-planet") << QByteArray() << Verdict::Own;
        QTest::newRow("empty") << QByteArray("") << QByteArray() << Verdict::Own;
        QTest::newRow("link or image") << QByteArray("cross-site") << QByteArray() << Verdict::CrossSite;
        QTest::newRow("from another port") << QByteArray("same-site") << QByteArray() << Verdict::CrossSite;
        // No browser sends these; what stands in front of the host may make them of what one has sent.
        for (const char *odd : {"cross-site, same-origin", "same-origin,same-site", "none, ,cross-site",
                                "cross-site;by=link", "cross-site ; by=link", "Cross-Site", "SAME-SITE"})
            QTest::newRow(odd) << QByteArray(odd) << QByteArray() << Verdict::CrossSite;
        QTest::newRow("word within another") << QByteArray("not-cross-site") << QByteArray() << Verdict::Own;
        QTest::newRow("own origin of another site") << QByteArray("cross-site") << own << Verdict::CrossSite;
        QTest::newRow("own origin of another port") << QByteArray("same-site") << own << Verdict::CrossSite;
        QTest::newRow("listed") << QByteArray("cross-site") << listed << Verdict::Listed;
        QTest::newRow("listed, same site")
            << QByteArray("same-site") << QByteArray("http://localhost:3000") << Verdict::Listed;
        QTest::newRow("foreign, whatever the site")
            << QByteArray("none") << QByteArray("https://evil.example") << Verdict::Foreign;
    }
    void judgesTheSite()
    {
        QFETCH(QByteArray, site);
        QFETCH(QByteArray, origin);
        HeaderFields headers{{"sec-fetch-site", site}};
        if (!origin.isNull())
            headers.append("Origin", origin);
        QTEST(OriginPolicy(m_listed, false, m_hosts).judge(headers), "verdict");
    }

    void oneOfSeveralSitesIsEnough()
    {
        const OriginPolicy policy(m_listed, false, m_hosts);
        QCOMPARE(policy.judge({{"Sec-Fetch-Site", "same-origin"}, {"sec-fetch-site", "cross-site"}}),
                 Verdict::CrossSite);
        QCOMPARE(policy.judge({{"Sec-Fetch-Site", "same-site"}, {"Sec-Fetch-Site", "none"}}),
                 Verdict::CrossSite);
    }

    void withoutAPageNothingIsAsked()
    {
        QCOMPARE(OriginPolicy(m_listed, false, m_hosts).judge({{"Host", "localhost"}}), Verdict::Own);
        QCOMPARE(OriginPolicy({}, false, m_hosts).judge({}), Verdict::Own);
    }

    void tellsWhetherThereIsAList()
    {
        QVERIFY(!OriginPolicy({}, false, m_hosts).hasList());
        QVERIFY(OriginPolicy({}, true, m_hosts).hasList());
        QVERIFY(OriginPolicy(m_listed, false, m_hosts).hasList());
    }
};

QTEST_GUILESS_MAIN(OriginPolicyTest)
#include "tst_originpolicy.moc"
