#include "unixclient.h"

#include <hostsettings.h>
#include <httpdoors.h>
#include <listenaddress.h>

#include <QTcpSocket>
#include <QtTest>

using namespace http::server;

namespace {

class NoRequests final : public RequestHandler
{
    void requestReceived(const QSharedPointer<Request> & /*request*/,
                         const QSharedPointer<Response> & /*response*/) override
    {
        qFatal("Nobody asks for anything.");
    }
};

} // namespace

/// Who comes while the host ends is to learn at once that nobody serves.
class StopListeningTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nobodyConnectsAnyMore()
    {
        const QTemporaryDir dir;
        HostSettings settings;
        settings.access.socket = dir.filePath(QStringLiteral("host.sock"));
        NoRequests handler;
        HttpDoors doors(handler);
        const auto failure = doors.open(ListenAddress{QStringLiteral("127.0.0.1"), 0}, settings);
        QVERIFY2(!failure, failure ? qPrintable(failure->text) : "");
        const quint16 port = doors.port();
        QTcpSocket open;
        open.connectToHost(QHostAddress::LocalHost, port);
        QVERIFY(open.waitForConnected());
        QVERIFY(UnixClient(settings.access.socket).isConnected());

        doors.stopListening();
        QVERIFY(!UnixClient(settings.access.socket).isConnected());
        QVERIFY(!QFile::exists(settings.access.socket));
        QTcpSocket refused;
        refused.connectToHost(QHostAddress::LocalHost, port);
        QVERIFY(!refused.waitForConnected());
        QCOMPARE(refused.error(), QAbstractSocket::ConnectionRefusedError);
    }
};

QTEST_GUILESS_MAIN(StopListeningTest)
#include "tst_stoplistening.moc"
