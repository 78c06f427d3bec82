#include "hostlog.h"
#include "hostprocess.h"
#include "processfigures.h"
#include "rawclient.h"
#include "wellbehavedclient.h"

#include <QElapsedTimer>
#include <QtTest>

#include <vector>

namespace {

constexpr int count = 50;
constexpr int requestsAClient = 20;
/// Answers that the one that is being made may need room for: its text grows by doubling, and what it grew
/// out of stays with the allocator for a while.
constexpr int inTheMaking = 8;

QByteArray request(const QByteArray &line, const QByteArray &headers = {}, const QByteArray &body = {})
{
    return line + " HTTP/1.1\r\nHost: localhost\r\n" + headers
           + "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

} // namespace

/// Many clients that ask for much, again and again, and read nothing of it.
class SlowReadersTest final : public QObject
{
    Q_OBJECT

    [[nodiscard]] static QByteArray ask(const HostProcess &host, const QByteArray &bytes)
    {
        RawClient client(host.port());
        client.send(bytes);
        return client.readAnswer();
    }

    /// A context with one file, both large.
    static void store(const HostProcess &host, const QByteArray &text, const QByteArray &file)
    {
        QVERIFY(ask(host, request("PUT /context/large", {}, "{\"text\":\"" + text + "\"}"))
                    .startsWith("HTTP/1.1 201 "));
        const QByteArray form =
            "--b\r\nContent-Disposition: form-data; name=\"f\"; filename=\"large\"\r\n\r\n" + file
            + "\r\n--b--\r\n";
        QVERIFY(ask(host, request("POST /context/large/file",
                                  "Content-Type: multipart/form-data; boundary=b\r\n", form))
                    .startsWith("HTTP/1.1 204 "));
    }

private Q_SLOTS:
    void answersThatNobodyReads_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<qint64>("bytesAClient");
        // The text of a context is made for each answer. The bytes of a file are those of the store.
        QTest::newRow("context") << QByteArray("/context/large") << (qint64(2) << 20) + bytesAConnection;
        QTest::newRow("file") << QByteArray("/context/large/file/large") << bytesAConnection;
    }
    void answersThatNobodyReads()
    {
        QFETCH(QByteArray, path);
        QFETCH(qint64, bytesAClient);
        HostProcess host({QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)},
                         "http.idleTimeout=1.5");
        QVERIFY2(host.start(), host.readLog().constData());
        store(host, QByteArray(2 << 20, 'x'), QByteArray(16 << 20, 'y'));
        const QByteArray whole = ask(host, request("GET " + path));
        QVERIFY(whole.startsWith("HTTP/1.1 200 "));
        const ProcessFigures figures(host.process.processId());
        const int descriptors = figures.openDescriptors();
        QVERIFY(figures.forgetPeak());
        const qint64 before = figures.residentBytes();

        QElapsedTimer clock;
        clock.start();
        std::vector<RawClient> clients;
        for (int i = 0; i < count; ++i) {
            clients.emplace_back(host.port());
            clients.back().send(request("GET " + path).repeated(requestsAClient));
        }
        for (const RawClient &client : clients)
            QVERIFY(client.isReadable(30000));
        do {
            // Each time on a new connection, since an old one may be idle for too long.
            QCOMPARE(WellBehavedClient(host.port()).round(), QByteArray());
            QVERIFY2(clock.elapsed() < 60000, "A client that does not read is not given up.");
        } while (figures.openDescriptors() > descriptors);
        QVERIFY(clock.elapsed() >= 1500);
        const qint64 growth = figures.peakBytes() - before;

        for (RawClient &client : clients) {
            const QByteArray answers = client.readUntilClosed();
            QVERIFY2(answers.startsWith("HTTP/1.1 200 "), answers.left(100).constData());
            QVERIFY(answers.size() < requestsAClient * whole.size());
        }
        verifyMemoryGrowth(growth, (count + inTheMaking) * bytesAClient);
    }
};

QTEST_GUILESS_MAIN(SlowReadersTest)
#include "tst_slowreaders.moc"
