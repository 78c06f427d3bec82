#include "contextfixture.h"

#include <http/server/response.h>

#include <QtTest>

using http::server::Request;
using http::server::Response;
using Method = Request::HttpMethod;

Q_DECLARE_METATYPE(Method)

namespace {

QStringList *journal = nullptr;

} // namespace

// In place of the library's: it keeps the calls, whose order an answer does not show.
Response::Response(http::server::AnswerSink *sink)
    : m_sink(sink)
{
}
Response::~Response() = default;
void Response::setHeader(const QString &name, const QString & /*value*/)
{
    journal->append(name);
}
void Response::writeHead(int status)
{
    journal->append(QString::number(status));
}
void Response::end(const QByteArray & /*body*/)
{
    journal->append(QStringLiteral("end"));
}
void Response::abandon() { }

/// Every answer calls setHeader() as often as needed, writeHead() once and end() once, in this order.
class AnswerOrderTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_journal.clear();
        journal = &m_journal;
    }

    void answers_data();
    void answers();
    void fileInBase64();
    void uploadIsAnsweredBehindItsFiles();
    void parkedPoll();
    void parkedPollOfMessages();

private:
    QStringList m_journal;
};

static QStringList cacheHeaders()
{
    return {QStringLiteral("Cache-Control"), QStringLiteral("Pragma"), QStringLiteral("Expires")};
}

static QStringList plain(int status)
{
    return {QString::number(status), QStringLiteral("end")};
}

static QStringList typed(int status)
{
    return QStringList{QStringLiteral("Content-Type")} + plain(status);
}

void AnswerOrderTest::answers_data()
{
    QTest::addColumn<Method>("method");
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("accept");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QStringList>("calls");
    const auto row = [](const char *name, Method method, const char *target, const char *accept,
                        const char *body, const QStringList &calls) {
        QTest::newRow(name) << method << QByteArray(target) << QByteArray(accept) << QByteArray(body)
                            << calls;
    };
    row("created, as JSON", Method::Post, "/context", "", "{}", typed(200));
    row("created, as text", Method::Post, "/context", "text/plain", "{}", typed(200));
    row("not created", Method::Post, "/context", "", "{", typed(400));
    row("read", Method::Get, "/context/known", "", "", typed(200));
    row("nothing to read", Method::Get, "/context/unknown", "", "", plain(404));
    row("put", Method::Put, "/context/known", "", "{}", typed(200));
    row("put under a new id", Method::Put, "/context/unknown", "", "{}", typed(201));
    row("deleted", Method::Delete, "/context/known", "", "", plain(204));
    row("nothing to delete", Method::Delete, "/context/unknown", "", "", plain(404));
    row("polled", Method::Get, "/context/known/event", "", "", cacheHeaders() + typed(200));
    row("polled after the removal", Method::Get, "/context/removed/event", "", "",
        cacheHeaders() + plain(404));
    row("file", Method::Get, "/context/known/file/a.txt", "", "", plain(200));
    row("file that is a PDF", Method::Get, "/context/known/file/a.pdf", "", "", typed(200));
    row("file to download", Method::Get, "/context/known/file/a.pdf?download=true", "", "",
        QStringList{QStringLiteral("Content-Type"), QStringLiteral("Content-Disposition")} + plain(200));
    row("file as FHIR", Method::Get, "/context/known/file/a.pdf", "application/fhir+json", "", plain(501));
    row("no such file", Method::Get, "/context/known/file/unknown", "", "", plain(404));
    row("file of an unknown context", Method::Get, "/context/unknown/file/a.pdf", "", "", plain(404));
    row("uploaded", Method::Post, "/context/known/file", "", "", plain(204));
    row("credentials taken", Method::Post, "/context/known/credentials", "", "[]", typed(200));
    row("form", Method::Post, "/context/known$form", "", "{}", {});
    row("parked", Method::Get, "/context/unknown/event", "", "", {});
    row("messages consumed", Method::Post, "/message", "", "[]", typed(200));
    row("no report of messages", Method::Post, "/message", "", "{", typed(200));
    row("poll of messages parked", Method::Get, "/message/event", "", "", {});
}

void AnswerOrderTest::answers()
{
    QFETCH(Method, method);
    QFETCH(QByteArray, target);
    QFETCH(QByteArray, accept);
    QFETCH(QByteArray, body);
    QFETCH(QStringList, calls);
    ContextFixture fixture;
    fixture.contexts.setContext(QStringLiteral("known"), object(R"({"a":1})"));
    for (const char *name : {"a.pdf", "a.txt"})
        fixture.files.setFile(QLatin1String("known_") + QLatin1String(name), "bytes");
    fixture.strategy.lastSentContexts()[QStringLiteral("removed")] = object(R"({"a":1})");
    const Exchange exchange(fixture.strategy, method, target, {{"Accept", accept}}, body);
    QCOMPARE(m_journal, calls);
}

void AnswerOrderTest::fileInBase64()
{
    ContextFixture fixture;
    fixture.contexts.setContext(QStringLiteral("known"), object(R"({"a":1})"));
    fixture.files.setFile(QStringLiteral("known_a.pdf"), "bytes");
    const Exchange exchange(fixture.strategy, Method::Get, "/context/known/file/a.pdf",
                            {{"Accept-Encoding", "base64"}});
    QCOMPARE(m_journal, QStringList{QStringLiteral("Content-Encoding")} + plain(200));
}

void AnswerOrderTest::uploadIsAnsweredBehindItsFiles()
{
    ContextFixture fixture;
    QObject::connect(&fixture.contexts, &ContextService::contextChanged, &fixture.contexts,
                     [this] { m_journal.append(QStringLiteral("changed")); });
    const QByteArray body = "--X\r\nContent-Disposition: a; filename=b\r\n\r\n1\r\n--X--\r\n";
    const Exchange exchange(fixture.strategy, Method::Post, "/context/abc/file",
                            {{"Content-Type", "multipart/form-data; boundary=X"}}, body);
    QCOMPARE(m_journal, QStringList{QStringLiteral("changed")} + plain(204));
}

void AnswerOrderTest::parkedPoll()
{
    ContextFixture fixture;
    const Exchange exchange(fixture.strategy, Method::Get, "/context/abc/event");
    QCOMPARE(m_journal, QStringList());
    fixture.contexts.setContext(QStringLiteral("abc"), object(R"({"a":1})"));
    QCOMPARE(m_journal, cacheHeaders() + typed(200));
}

void AnswerOrderTest::parkedPollOfMessages()
{
    ContextFixture fixture;
    const Exchange parked(fixture.strategy, Method::Get, "/message/event");
    QCOMPARE(m_journal, QStringList());
    fixture.messages.addMessage(structure::content::Message::createEmptyMessage());
    QCOMPARE(m_journal, typed(200));
    const Exchange answered(fixture.strategy, Method::Get, "/message/event");
    QCOMPARE(m_journal, typed(200) + typed(200));
}

QTEST_GUILESS_MAIN(AnswerOrderTest)
#include "tst_answerorder.moc"
