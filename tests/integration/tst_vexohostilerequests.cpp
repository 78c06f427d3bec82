#include "hostilerequests.h"
#include "hostlog.h"
#include "rawclient.h"

#include <QtTest>

#include <memory>

/// Every hostile request of the table over a socket of its own, beside a client that behaves.
class VexoHostileRequestsTest : public QObject
{
    Q_OBJECT

    // The limits and the name that the table is written for.
    HostProcess host{{QStringLiteral("--plugin"), QStringLiteral(TEST_PLUGIN_DIR "/libfirst.so")},
                     "http.maxTargetBytes=300\nhttp.maxHeaderBytes=1000\nhttp.maxBodyBytes=1000\n"
                     "http.allowedHosts=a"};
    std::unique_ptr<RawClient> wellBehaved;
    const QVector<HostileRequest> m_table = hostilerequests::all(QStringLiteral(HOSTILE_REQUESTS));

    /// What the host answers to what the table tells: the plug-in takes all below its own path.
    static QVector<int> expectedStatuses(const HostileRequest &request)
    {
        QVector<int> statuses;
        for (const QByteArray &outcome : request.outcomes) {
            if (HostileRequest::isStatus(outcome))
                statuses.append(outcome.toInt());
            else if (HostileRequest::isForApplication(outcome))
                statuses.append(outcome.split(' ').at(1).startsWith("/first/") ? 200 : 404);
        }
        return statuses;
    }

    /// The statuses in a stream of answers, of which those to a HEAD have a length and no body.
    static QVector<int> statusesIn(QByteArray stream, const HostileRequest &request)
    {
        QVector<QByteArray> asked;
        for (const QByteArray &outcome : request.outcomes) {
            if (HostileRequest::isForApplication(outcome))
                asked.append(outcome);
        }
        QVector<int> statuses;
        while (!stream.isEmpty()) {
            const int headEnd = stream.indexOf("\r\n\r\n") + 4;
            const QByteArray head = stream.left(headEnd);
            const int status = head.startsWith("HTTP/1.1 ") ? head.mid(9, 3).toInt() : 0;
            statuses.append(status);
            if (headEnd < 4 || status == 0)
                return statuses;
            const bool isHead = status >= 200 && !asked.isEmpty() && asked.takeFirst().startsWith("HEAD ");
            const int field = head.indexOf("Content-Length: ");
            const int length =
                field < 0 ? 0 : head.mid(field + 16, head.indexOf('\r', field) - field - 16).toInt();
            stream.remove(0, headEnd + (isHead ? 0 : length));
        }
        return statuses;
    }

    [[nodiscard]] bool serves(RawClient &client) const
    {
        client.send("POST /first/length HTTP/1.1\r\nHost: localhost\r\nContent-Length: 5\r\n\r\nhello");
        const QByteArray answer = client.readAnswer();
        return answer.startsWith("HTTP/1.1 200 OK\r\n") && answer.endsWith("\r\n\r\n5");
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(host.start(), host.readLog().constData());
        wellBehaved = std::make_unique<RawClient>(host.port());
        QVERIFY(serves(*wellBehaved));
    }

    void statuses_data()
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < m_table.size(); ++i)
            QTest::newRow(m_table.at(i).name.constData()) << i;
    }
    void statuses()
    {
        QFETCH(int, index);
        const HostileRequest &request = m_table.at(index);
        const QVector<int> expected = expectedStatuses(request);

        RawClient client(host.port());
        client.send(request.bytes);
        // The attempt is open still, or has just been ended.
        QVERIFY(serves(*wellBehaved));
        client.halfClose();
        QCOMPARE(statusesIn(client.readUntilClosed(), request), expected);
        // The host must never wait for its log to be read.
        while (host.process.waitForReadyRead(0)) { }
    }

    void theHostIsAliveAndNothingWasSmuggled()
    {
        QVERIFY(serves(*wellBehaved));
        RawClient another(host.port());
        QVERIFY(serves(another));
        QCOMPARE(host.process.state(), QProcess::Running);

        int pipelined = 0;
        for (const HostileRequest &request : m_table)
            pipelined += request.outcomes.count("GET /first/pipelined");
        QVERIFY(pipelined > 0);
        QVERIFY(waitForLog(host, "first release pipelined", pipelined));
        QCOMPARE(pluginLog(host).count(QStringLiteral("first release pipelined")), pipelined);
        QVERIFY(!pluginLog(host).contains(QStringLiteral("first release smuggled")));
        QVERIFY(stopHost(host));
    }
};

QTEST_GUILESS_MAIN(VexoHostileRequestsTest)
#include "tst_vexohostilerequests.moc"
