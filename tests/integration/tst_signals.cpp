#include "hostlog.h"
#include "hostprocess.h"
#include "rawclient.h"
#include "wellbehavedclient.h"

#include <QtTest>

#include <pty.h>
#include <sys/wait.h>

namespace {

const QByteArray hangUpLine =
    " info ch.tessel.vexo-service.unixsignals: SIGHUP is ignored: settings are read "
    "at the start only.\n";

/// The host in the foreground of a terminal of its own.
class TerminalHost final
{
public:
    TerminalHost()
    {
        m_processId = forkpty(&m_terminal, nullptr, nullptr, nullptr);
        if (m_processId != 0)
            return;
        for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_CONFIG_DIRS"})
            ::setenv(name, "/nowhere", 1);
        ::execl(VEXO_SERVICE, VEXO_SERVICE, "--listen", "127.0.0.1:0", "--plugin", CONTEXT_PLUGIN, nullptr);
        ::_exit(127);
    }
    ~TerminalHost()
    {
        if (m_processId > 0) {
            ::kill(m_processId, SIGKILL);
            ::waitpid(m_processId, nullptr, 0);
        }
    }
    Q_DISABLE_COPY_MOVE(TerminalHost)

    /// Waits until requests are accepted and gives the port; 0 if that does not come.
    [[nodiscard]] quint16 awaitPort() const
    {
        static const QRegularExpression listening(QStringLiteral(R"(Listening on 127\.0\.0\.1:(\d+) )"));
        QByteArray log;
        char buffer[4096];
        pollfd waiting{m_terminal, POLLIN, 0};
        while (::poll(&waiting, 1, 30000) == 1) {
            const ssize_t size = ::read(m_terminal, buffer, sizeof buffer);
            if (size <= 0)
                return 0;
            log.append(buffer, static_cast<int>(size));
            const auto match = listening.match(QString::fromUtf8(log));
            if (match.hasMatch())
                return match.captured(1).toUShort();
        }
        return 0;
    }

    /// What happens when a window is closed: the terminal goes, and the kernel sends SIGHUP.
    void closeTerminal() const { ::close(m_terminal); }

    void send(int number) const { ::kill(m_processId, number); }

    [[nodiscard]] bool hasEnded()
    {
        if (m_processId > 0 && ::waitpid(m_processId, &m_status, WNOHANG) == m_processId)
            m_processId = 0;
        return m_processId == 0;
    }
    [[nodiscard]] bool hasExitedWell() const { return WIFEXITED(m_status) && WEXITSTATUS(m_status) == 0; }

private:
    int m_terminal = -1;
    pid_t m_processId = -1;
    int m_status = -1;
};

QByteArray ask(quint16 port, const QByteArray &request)
{
    RawClient client(port);
    client.send(request);
    return client.readAnswer();
}

QByteArray put(const QByteArray &path, const QByteArray &body)
{
    return "PUT " + path + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: "
           + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

const QByteArray getKept = "GET /context/kept HTTP/1.1\r\nHost: localhost\r\n\r\n";
const QByteArray pollKept = "GET /context/kept/event HTTP/1.1\r\nHost: localhost\r\n\r\n";

} // namespace

/// Signals that come while the service has something to lose.
class SignalsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void signalsThatLeaveAllAsItIs_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("SIGHUP") << SIGHUP << hangUpLine;
        QTest::newRow("SIGPIPE") << SIGPIPE << QByteArray();
        QTest::newRow("SIGXFSZ") << SIGXFSZ << QByteArray();
    }
    void signalsThatLeaveAllAsItIs()
    {
        QFETCH(int, number);
        QFETCH(QByteArray, line);
        HostProcess host({QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)});
        QVERIFY2(host.start(), host.readLog().constData());
        WellBehavedClient other(host.port());
        QVERIFY(ask(host.port(), put("/context/kept", R"({"a":1})")).startsWith("HTTP/1.1 201 "));
        QVERIFY(ask(host.port(), pollKept).startsWith("HTTP/1.1 200 "));
        RawClient parked(host.port());
        parked.send(pollKept);
        QVERIFY(parked.awaitReceipt());

        for (int i = 1; i <= 20; ++i) {
            QCOMPARE(::kill(static_cast<pid_t>(host.process.processId()), number), 0);
            if (!line.isEmpty())
                QVERIFY2(waitForLog(host, line, i), host.readLog().constData());
            QCOMPARE(other.round(), QByteArray());
        }
        QVERIFY(!parked.isReadable(0));
        QVERIFY(ask(host.port(), put("/context/kept", R"({"a":2})")).startsWith("HTTP/1.1 200 "));
        QVERIFY(parked.readAnswer().contains("\"a\": 2"));
        QVERIFY(stopHost(host));
    }

    void aTerminalThatClosesLeavesTheHostRunning()
    {
        TerminalHost host;
        const quint16 port = host.awaitPort();
        QVERIFY(port != 0);
        QVERIFY(ask(port, put("/context/kept", R"({"a":1})")).startsWith("HTTP/1.1 201 "));
        WellBehavedClient other(port);
        host.closeTerminal();
        // From here on no line of the log can be written.
        for (int i = 0; i < 20; ++i) {
            host.send(SIGHUP);
            QCOMPARE(other.round(), QByteArray());
        }
        QVERIFY(ask(port, "what is this\r\n\r\n").startsWith("HTTP/1.1 400 "));
        QVERIFY(ask(port, getKept).endsWith("\r\n\r\n{\n    \"a\": 1\n}\n"));
        QVERIFY(!host.hasEnded());
        host.send(SIGTERM);
        QTRY_VERIFY_WITH_TIMEOUT(host.hasEnded(), 30000);
        QVERIFY(host.hasExitedWell());
    }
};

QTEST_GUILESS_MAIN(SignalsTest)
#include "tst_signals.moc"
