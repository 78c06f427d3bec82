#include "hostprocess.h"
#include "processfigures.h"
#include "rawclient.h"

#include <QtTest>

#include <vector>

namespace {

QByteArray get(const QByteArray &path)
{
    return "GET " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n";
}

QByteArray put(const QByteArray &path, const QByteArray &body)
{
    return "PUT " + path + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: "
           + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

} // namespace

class ManyClientsTest : public QObject
{
    Q_OBJECT

    HostProcess host{{QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)}};

    [[nodiscard]] QByteArray ask(const QByteArray &request)
    {
        RawClient client(host.port());
        client.send(request);
        return client.readAnswer();
    }

private Q_SLOTS:
    void initTestCase()
    {
        const bool raised = raiseDescriptorLimit(10500);
        QVERIFY2(host.start(), host.readLog().constData());
        if (!raised)
            qWarning("The file limit cannot be raised to 10500.");
    }

    void oneChangeAnswersTenThousandPolls()
    {
        constexpr int count = 10000;
        if (!raiseDescriptorLimit(count + 500))
            QSKIP("The limit of open files cannot be raised far enough.");
        QVERIFY(ask(put("/context/shared", R"({"a":1})")).startsWith("HTTP/1.1 201 "));
        QVERIFY(ask(get("/context/shared/event")).startsWith("HTTP/1.1 200 "));

        std::vector<RawClient> polls;
        polls.reserve(count);
        for (int i = 0; i < count; ++i) {
            polls.emplace_back(host.port());
            polls.back().send(get("/context/shared/event"));
        }
        for (const RawClient &poll : polls)
            QVERIFY(poll.awaitReceipt());
        // A connection made after all others is served after all others.
        QVERIFY(ask(get("/context/shared")).startsWith("HTTP/1.1 200 "));
        QVERIFY(!polls.front().isReadable(0));
        QVERIFY(!polls.back().isReadable(0));

        QVERIFY(ask(put("/context/shared", R"({"a":2})")).startsWith("HTTP/1.1 200 "));
        int answered = 0;
        for (RawClient &poll : polls) {
            const QByteArray answer = poll.readAnswer();
            if (answer.startsWith("HTTP/1.1 200 ") && answer.contains(R"("a": 2)"))
                ++answered;
        }
        QCOMPARE(answered, count);
    }

    void aClientThatNeverReadsDoesNotGrowTheHost()
    {
        const QByteArray context = "{\"text\":\"" + QByteArray(1000, 'x') + "\"}";
        QVERIFY(ask(put("/context/kept", context)).startsWith("HTTP/1.1 201 "));
        const QByteArray request = get("/context/kept");
        const QByteArray burst = request.repeated(100);
        const ProcessFigures figures(host.process.processId());
        const qint64 before = figures.residentBytes();

        RawClient client(host.port());
        const int total = 100000 * request.size();
        int sent = 0;
        while (sent < total) {
            const int part = client.sendSome(burst.mid(sent % request.size()), 500);
            if (part < 0)
                break;
            sent += part;
        }
        QVERIFY2(sent < total, "The host has read everything although nobody reads its answers.");
        QVERIFY(ask(request).startsWith("HTTP/1.1 200 "));
        verifyMemoryGrowth(figures.residentBytes() - before, 4 << 20);
    }
};

QTEST_GUILESS_MAIN(ManyClientsTest)
#include "tst_manyclients.moc"
