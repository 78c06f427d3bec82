#include <cors.h>

#include <QtTest>

using http::server::Answer;
using http::server::HeaderFields;
using http::server::Request;

class CorsTest : public QObject
{
    Q_OBJECT

    static QStringList told(const HeaderFields &fields)
    {
        QStringList lines;
        for (int i = 0; i < fields.size(); ++i)
            lines.append(QString::fromLatin1(fields.nameAt(i) + ": " + fields.valueAt(i)));
        return lines;
    }

private Q_SLOTS:
    void anyAnswerNamesTheOriginAsSent()
    {
        QCOMPARE(told(cors::fields("HTTPS://App.example")),
                 (QStringList{QStringLiteral("Access-Control-Allow-Origin: HTTPS://App.example"),
                              QStringLiteral("Access-Control-Expose-Headers: Content-Disposition, "
                                             "Content-Encoding, Date, WWW-Authenticate")}));
    }

    void aPreflightIsToldWhatTheRoutesTake()
    {
        const Answer answer = cors::preflightAnswer();
        QCOMPARE(answer.status, 204);
        QCOMPARE(answer.body, QByteArray());
        QCOMPARE(
            told(answer.headers),
            (QStringList{QStringLiteral("Access-Control-Allow-Methods: DELETE, GET, POST, PUT"),
                         QStringLiteral("Access-Control-Allow-Headers: Authorization, Content-Type, Prefer"),
                         QStringLiteral("Access-Control-Max-Age: 600")}));
    }

    void aPreflightAsksForAMethod_data()
    {
        QTest::addColumn<int>("method");
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<bool>("isOne");
        const QByteArray asks = "access-control-request-method";
        QTest::newRow("preflight") << int(Request::HttpMethod::Options) << asks << true;
        QTest::newRow("OPTIONS of a client")
            << int(Request::HttpMethod::Options) << QByteArray("Accept") << false;
        QTest::newRow("GET") << int(Request::HttpMethod::Get) << asks << false;
        QTest::newRow("DELETE") << int(Request::HttpMethod::Delete) << asks << false;
    }
    void aPreflightAsksForAMethod()
    {
        QFETCH(int, method);
        QFETCH(QByteArray, name);
        QTEST(cors::isPreflight(static_cast<Request::HttpMethod>(method), {{name, "PUT"}}), "isOne");
    }
};

QTEST_GUILESS_MAIN(CorsTest)
#include "tst_cors.moc"
