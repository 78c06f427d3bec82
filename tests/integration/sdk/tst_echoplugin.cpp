#include "hostlog.h"
#include "hostprocess.h"
#include "rawclient.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

/// The example of the SDK, in the installed host, beside the context plug-in.
class EchoPluginTest : public QObject
{
    Q_OBJECT

    // No options: the installed host finds what is installed beside it.
    HostProcess host{{}};

    [[nodiscard]] QByteArray ask(const QByteArray &line, const QByteArray &body = {}) const
    {
        RawClient client(host.port());
        client.send(line + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: "
                    + QByteArray::number(body.size()) + "\r\n\r\n" + body);
        return client.readAnswer();
    }

    [[nodiscard]] int changes() const
    {
        const QByteArray answer = ask("GET /echo/changes");
        return QJsonDocument::fromJson(answer.mid(answer.indexOf("\r\n\r\n")))
            .object()
            .value(QStringLiteral("changes"))
            .toInt(-1);
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY2(host.start(), host.readLog().constData()); }

    void bothPluginsAreLoadedAndTheOptionalOneIsNot()
    {
        QVERIFY2(host.readLog().contains(" with the plug-ins contextplugin, echoplugin\n"),
                 host.readLog().constData());
    }

    void librariesComeFromThePrefix()
    {
        QFile maps(QStringLiteral("/proc/%1/maps").arg(host.process.processId()));
        QVERIFY(maps.open(QIODevice::ReadOnly));
        int libraries = 0;
        for (const QByteArray &line : maps.readAll().split('\n')) {
            const QByteArray file = line.mid(line.indexOf('/'));
            if (!file.contains("libtq-http"))
                continue;
            ++libraries;
            QVERIFY2(file.startsWith(SDK_PREFIX "/"), file.constData());
        }
        QVERIFY(libraries > 0);
    }

    void countsTheChangesOfContexts()
    {
        QCOMPARE(changes(), 0);
        QVERIFY(ask("PUT /context/a", R"({"x":1})").startsWith("HTTP/1.1 201 "));
        QTRY_COMPARE(changes(), 1);
        QVERIFY(ask("PUT /context/a", R"({"x":2})").startsWith("HTTP/1.1 200 "));
        QVERIFY(ask("PUT /context/b", R"({"x":2})").startsWith("HTTP/1.1 201 "));
        QTRY_COMPARE(changes(), 3);
        // What changes nothing is not told.
        QVERIFY(ask("PUT /context/b", R"({"x":2})").startsWith("HTTP/1.1 200 "));
        QVERIFY(ask("DELETE /context/b").startsWith("HTTP/1.1 204 "));
        QVERIFY(ask("PUT /context/c", R"({"x":2})").startsWith("HTTP/1.1 201 "));
        QTRY_COMPARE(changes(), 4);
    }

    void leavesOtherRequestsToOthers()
    {
        QVERIFY(ask("GET /context/a").startsWith("HTTP/1.1 200 "));
        QVERIFY(ask("POST /echo/changes").startsWith("HTTP/1.1 404 "));
        QVERIFY(ask("GET /echo").startsWith("HTTP/1.1 404 "));
    }

    void stopsCleanly() { QVERIFY2(stopHost(host), host.readLog().constData()); }
};

QTEST_GUILESS_MAIN(EchoPluginTest)
#include "tst_echoplugin.moc"
