#include <accesstoken.h>

#include <QtTest>

using http::server::HeaderFields;
using Verdict = AccessToken::Verdict;

Q_DECLARE_METATYPE(AccessToken::Verdict)

static const QByteArray secret = "aZ09-._~+/aZ09-._~+/aZ09-._~+/aZ09==";

class AccessTokenTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void checks_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<Verdict>("verdict");
        QTest::newRow("right") << "Bearer " + secret << Verdict::Right;
        QTest::newRow("scheme in lower case") << "bearer " + secret << Verdict::Right;
        QTest::newRow("scheme in upper case") << "BEARER " + secret << Verdict::Right;
        QTest::newRow("two blanks") << "Bearer  " + secret << Verdict::Right;

        QTest::newRow("one byte less") << "Bearer " + secret.chopped(1) << Verdict::Wrong;
        QTest::newRow("one byte more") << "Bearer " + secret + '=' << Verdict::Wrong;
        QTest::newRow("twice") << "Bearer " + secret + secret << Verdict::Wrong;
        QTest::newRow("other case") << "Bearer " + secret.toUpper() << Verdict::Wrong;
        QTest::newRow("first byte differs") << "Bearer b" + secret.mid(1) << Verdict::Wrong;
        QTest::newRow("last byte differs") << "Bearer " + secret.chopped(1) + '-' << Verdict::Wrong;
        QTest::newRow("another") << "Bearer " + QByteArray(36, 'x') << Verdict::Wrong;
        QTest::newRow("nothing behind the scheme") << QByteArray("Bearer ") << Verdict::Wrong;
        QTest::newRow("parameter behind it") << "Bearer " + secret + " x=y" << Verdict::Wrong;
        QTest::newRow("list in one line") << "Bearer " + secret + ", Bearer " + secret << Verdict::Wrong;
        QTest::newRow("in quotes") << "Bearer \"" + secret + '"' << Verdict::Wrong;

        QTest::newRow("empty") << QByteArray("") << Verdict::Missing;
        QTest::newRow("scheme alone") << QByteArray("Bearer") << Verdict::Missing;
        QTest::newRow("token alone") << secret << Verdict::Missing;
        QTest::newRow("no blank") << "Bearer" + secret << Verdict::Missing;
        QTest::newRow("Basic") << "Basic " + secret << Verdict::Missing;
        QTest::newRow("longer scheme") << "Bearers " + secret << Verdict::Missing;
    }
    void checks()
    {
        QFETCH(QByteArray, value);
        QTEST(AccessToken(secret).check({{"Host", "localhost"}, {"authorization", value}}), "verdict");
    }

    void eachByteCounts()
    {
        const AccessToken token(secret);
        for (int i = 0; i < secret.size(); ++i) {
            QByteArray other = secret;
            other[i] = other.at(i) == 'q' ? 'r' : 'q';
            QCOMPARE(token.check({{"Authorization", "Bearer " + other}}), Verdict::Wrong);
        }
    }

    void withoutAHeaderItIsMissing()
    {
        QCOMPARE(AccessToken(secret).check({{"Host", "localhost"}}), Verdict::Missing);
    }

    void severalLinesAreNeverRight_data()
    {
        QTest::addColumn<QByteArray>("one");
        QTest::addColumn<QByteArray>("two");
        const QByteArray right = "Bearer " + secret;
        QTest::newRow("both right") << right << right;
        QTest::newRow("second empty") << right << QByteArray("");
        QTest::newRow("first empty") << QByteArray("") << right;
        QTest::newRow("second of another kind") << right << QByteArray("Basic eDp5");
        QTest::newRow("first of another kind") << QByteArray("Basic eDp5") << right;
    }
    void severalLinesAreNeverRight()
    {
        QFETCH(QByteArray, one);
        QFETCH(QByteArray, two);
        QVERIFY(AccessToken(secret).check({{"Authorization", one}, {"Authorization", two}})
                != Verdict::Right);
    }

    void formOfAToken_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("wellFormed");
        for (const char *text : {"a", "aZ09-._~+/", "a=", "a=="})
            QTest::newRow(text) << QByteArray(text) << true;
        for (const char *text : {"", "=", "a=b", "a b", "a,b", "a\"", "a\n", "\xc3\xa9", "a:b", "a@b", "a[b"})
            QTest::newRow(text) << QByteArray(text) << false;
        QTest::newRow("NUL") << QByteArray("a\0", 2) << false;
    }
    void formOfAToken()
    {
        QFETCH(QByteArray, text);
        QTEST(AccessToken::isWellFormed(text), "wellFormed");
    }
};

QTEST_GUILESS_MAIN(AccessTokenTest)
#include "tst_accesstoken.moc"
