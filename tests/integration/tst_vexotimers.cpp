#include "hostprocess.h"
#include "rawclient.h"
#include "unixclient.h"

#include <QElapsedTimer>
#include <QtTest>

#include <algorithm>

/// The timers of the context plug-in in the real host, with the real clock: minutes, not milliseconds.
class VexoTimersTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void storesTheDefaultValueAndCollects();
};

// The status of the answer.
static QByteArray exchange(quint16 port, const QByteArray &request)
{
    RawClient client(port);
    client.send(request);
    return client.readAnswer().split(' ').value(1);
}

// Waits until the host has logged `line`; false if that takes longer than `milliseconds`.
static bool awaitLine(HostProcess &host, const QByteArray &line, int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    while (!host.readLog().contains(line)) {
        const int left = milliseconds - static_cast<int>(clock.elapsed());
        if (left <= 0 || !host.process.waitForReadyRead(left))
            return host.readLog().contains(line);
    }
    return true;
}

static QByteArray deletion(const QByteArray &id)
{
    return "Deleting context that was not used in more than  60000  miliseconds:  \"" + id + "\" .";
}

void VexoTimersTest::storesTheDefaultValueAndCollects()
{
    const QTemporaryDir directory;
    const QString wirePath = directory.filePath(QStringLiteral("buswire.sock"));
    HostProcess host({QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN), QStringLiteral("--plugin"),
                      QStringLiteral(BUSWIRE_PLUGIN)},
                     "[ch.tessel.vexo-service.context]\nttl=1\ndefaultValues=true\n"
                     "[ch.tessel.vexo-service.buswire]\nsocket="
                         + wirePath.toUtf8());
    QElapsedTimer clock;
    clock.start();
    QVERIFY(host.start());
    UnixClient wire(wirePath);
    QVERIFY(wire.isConnected());
    const QByteArray body = R"({"patient":"a"})";
    QCOMPARE(exchange(host.port(),
                      "PUT /context/desk HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
                      "Content-Length: "
                          + QByteArray::number(body.size()) + "\r\n\r\n" + body),
             QByteArrayLiteral("201"));

    QVERIFY2(awaitLine(host, "Loading default value \"\"\n", 10000), host.readLog().constData());
    QVERIFY(clock.elapsed() >= 4750);

    // The first sweep may come before or after the minute since its last use is over; the second finds it.
    QVERIFY2(awaitLine(host, deletion("desk"), 140000), host.readLog().constData());
    QVERIFY(clock.elapsed() >= 57000);
    QVERIFY2(awaitLine(host, deletion({}), 140000), host.readLog().constData());
    QCOMPARE(exchange(host.port(), "GET /context/desk HTTP/1.1\r\nHost: localhost\r\n\r\n"),
             QByteArrayLiteral("404"));

    // The bus has heard of the first store, of both removals, and of no default value.
    QVERIFY(wire.readLine().contains("context-changed"));
    QByteArrayList removed{wire.readLine(), wire.readLine()};
    std::sort(removed.begin(), removed.end());
    QCOMPARE(removed.value(0),
             QByteArrayLiteral(R"({"data":{"contextId":""},"exchange":"context-removed"})"));
    QCOMPARE(removed.value(1),
             QByteArrayLiteral(R"({"data":{"contextId":"desk"},"exchange":"context-removed"})"));
}

QTEST_GUILESS_MAIN(VexoTimersTest)
#include "tst_vexotimers.moc"
