#include "hostlog.h"
#include "hostprocess.h"
#include "rawclient.h"

#include <QTcpServer>
#include <QtTest>

#include <sys/resource.h>

#include <vector>

/// What a process that ends by itself has left.
struct Ended
{
    int status = -1;
    QByteArray out;
    QByteArray error;
};

/// The start and the stop of the service as a process.
class VexoServiceTest : public QObject
{
    Q_OBJECT

    static QString plugin(const QString &name)
    {
        return QStringLiteral(TEST_PLUGIN_DIR "/lib%1.so").arg(name);
    }
    static QStringList plugins(const QStringList &names)
    {
        QStringList arguments;
        for (const QString &name : names)
            arguments << QStringLiteral("--plugin") << plugin(name);
        return arguments;
    }
    static QStringList bothPlugins() { return plugins({QStringLiteral("first"), QStringLiteral("second")}); }

    static QString fromFile(const QString &name)
    {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    static void setVariable(HostProcess &host, const char *name, const QString &value)
    {
        QProcessEnvironment environment = host.process.processEnvironment();
        environment.insert(QLatin1String(name), value);
        host.process.setProcessEnvironment(environment);
    }

    // The log of the test plug-ins is off, so that what the service itself says stands alone.
    static Ended end(const QStringList &arguments, const QByteArray &settings = {})
    {
        HostProcess host(arguments, settings);
        setVariable(host, "QT_LOGGING_RULES", QStringLiteral("test.plugin=false"));
        host.process.start();
        if (!host.process.waitForFinished(30000) || host.process.exitStatus() != QProcess::NormalExit)
            return {};
        return {host.process.exitCode(), host.process.readAllStandardOutput(), host.readLog()};
    }

    static QByteArray get(const HostProcess &host, const QByteArray &path)
    {
        RawClient client(host.port());
        client.send("GET " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
        return client.readAnswer();
    }

    static bool hasIpv6()
    {
        QTcpServer probe;
        return probe.listen(QHostAddress::LocalHostIPv6);
    }

private Q_SLOTS:
    void failedStartIsOneLineWithThingAndReason_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("settings");
        QTest::addColumn<QString>("line");
        QTest::addColumn<int>("status");
        const QStringList good = plugins({QStringLiteral("first")});
        const auto row = [](const char *name, const QStringList &arguments, const QString &line,
                            int status = 1, const QByteArray &settings = {}) {
            QTest::newRow(name) << arguments << settings << line << status;
        };
        row("address of another machine", good + QStringList{QStringLiteral("--listen=192.0.2.1:0")},
            QStringLiteral("cannot listen on 192.0.2.1:0: "));
        row("absent plug-in", plugins({QStringLiteral("absent")}),
            QStringLiteral("plug-in %1: no such file").arg(plugin(QStringLiteral("absent"))));
        for (const char *name : {"plain", "unresolved"})
            row(name, plugins({QString::fromLatin1(name)}),
                QStringLiteral("plug-in %1: not a plug-in: ").arg(plugin(QString::fromLatin1(name))));
        row("plug-in of another kind", plugins({QStringLiteral("first"), QStringLiteral("otherkind")}),
            QStringLiteral("plug-in %1: a plug-in of another kind, it does not implement "
                           "ch.tessel.vexo-service.plugin")
                .arg(plugin(QStringLiteral("otherkind"))));
        row("plug-in that throws", plugins({QStringLiteral("first"), QStringLiteral("throwing")}),
            QStringLiteral("plug-in %1: has thrown at its start: cannot start")
                .arg(plugin(QStringLiteral("throwing"))));
        row("no plug-in at all", {QStringLiteral("--plugin-dir=/dev")},
            QStringLiteral("no plug-in to load in /dev"));
        row("absent directory", {QStringLiteral("--plugin-dir=/absent")},
            QStringLiteral("plug-in directory /absent: no such directory"));
        row("senseless setting", good,
            QStringLiteral("setting ch.tessel.vexo-service/http.maxBodyBytes is \"-1\": must be at least 0"),
            1, "http.maxBodyBytes=-1");
        row("setting that would end or hide the line", good,
            QStringLiteral("setting ch.tessel.vexo-service/http.maxBodyBytes is \"1    x\": must be a whole "
                           "number\n"),
            1, "http.maxBodyBytes=\"1\\0\\r\\n\\x1bx\"");
#ifndef __SANITIZE_ADDRESS__ // which has a line of its own for that
        row("setting that claims to be larger than memory", good,
            QStringLiteral("settings cannot be read: std::bad_alloc\n"), 1,
            "other=@Variant(\\0\\0\\0\\t0\\0\\x4\\0/\\0\\x61)");
#endif
        row("port file that cannot be written",
            good + QStringList{QStringLiteral("--port-file=/absent/port")},
            QStringLiteral("port file /absent/port: "));
        row("unknown option", {QStringLiteral("--frobnicate")},
            QStringLiteral("Unknown option 'frobnicate'. See --help."), 2);
        row("stray argument", {QStringLiteral("stray")},
            QStringLiteral("Unexpected argument 'stray'. See --help."), 2);
        row("senseless address", {QStringLiteral("--listen=here")}, QStringLiteral("--listen 'here' is no "),
            2);
    }
    void failedStartIsOneLineWithThingAndReason()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, settings);
        QFETCH(QString, line);
        const Ended ended = end(arguments, settings);
        QTEST(ended.status, "status");
        QCOMPARE(ended.out, QByteArray());
        QVERIFY2(ended.error.startsWith("vexo-service: " + line.toUtf8()), ended.error.constData());
        QCOMPARE(ended.error.count('\n'), 1);
        QVERIFY(ended.error.endsWith('\n'));
        if (line.endsWith(QLatin1String(": ")))
            QVERIFY(ended.error.trimmed().size() > 14 + line.size());
    }

    void portInUseIsOneLineAndStatus1()
    {
        QTcpServer other;
        QVERIFY(other.listen(QHostAddress::LocalHost));
        const QString address = QStringLiteral("127.0.0.1:%1").arg(other.serverPort());
        const Ended ended =
            end(plugins({QStringLiteral("first")}) + QStringList{QStringLiteral("--listen"), address});
        QCOMPARE(ended.status, 1);
        QCOMPARE(ended.error, QStringLiteral("vexo-service: cannot listen on %1: address already in use\n")
                                  .arg(address)
                                  .toUtf8());
    }

    void failedStartTakesDownWhatHadStarted()
    {
        HostProcess host(
            plugins({QStringLiteral("first"), QStringLiteral("second"), QStringLiteral("throwing")}));
        host.process.start();
        QVERIFY(host.process.waitForFinished(30000));
        QCOMPARE(host.process.exitCode(), 1);
        QCOMPARE(pluginLog(host).mid(6),
                 (QStringList{QStringLiteral("second detachChunkService of its own"),
                              QStringLiteral("first detachChunkService of its own"),
                              QStringLiteral("second destroyed"), QStringLiteral("first destroyed")}));
    }

    void versionAndHelpGoToStandardOutput()
    {
        const Ended version = end({QStringLiteral("--version")});
        QCOMPARE(version.status, 0);
        QCOMPARE(version.out, QByteArray("vexo-service " K7_VERSION "\n"));
        QCOMPARE(version.error, QByteArray());
        const Ended help = end({QStringLiteral("--help")});
        QCOMPARE(help.status, 0);
        QVERIFY(help.out.contains("--listen <ADDRESS:PORT>"));
        QVERIFY(help.out.contains("http.maxConnections"));
        QCOMPARE(help.error, QByteArray());
    }

    void startTellsAddressAndPluginsInOneInfoLine()
    {
        HostProcess host(bothPlugins());
        QVERIFY2(host.start(), host.readLog().constData());
        const QString addresses =
            hasIpv6() ? QStringLiteral("127.0.0.1:%1 and [::1]:%1") : QStringLiteral("127.0.0.1:%1");
        const QString listening =
            QStringLiteral("Listening on %1 with the plug-ins first, second").arg(addresses.arg(host.port()));
        QVERIFY(get(host, "/first/hello").startsWith("HTTP/1.1 200 "));
        QVERIFY(stopHost(host));
        QStringList own = QString::fromUtf8(host.readLog()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        own = own.filter(QRegularExpression(QStringLiteral("^((?!test\\.plugin: ).)*$")));
        QCOMPARE(own.size(), 1);
        const QRegularExpression line(
            QStringLiteral(R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} info ch\.tessel\.vexo-service: %1$)")
                .arg(QRegularExpression::escape(listening)));
        QVERIFY2(line.match(own.constFirst()).hasMatch(), qPrintable(own.constFirst()));
        QCOMPARE(host.process.readAllStandardOutput(), QByteArray());
    }

    void messagePatternIsTheEnvironments()
    {
        HostProcess host(plugins({QStringLiteral("first")}));
        setVariable(host, "QT_MESSAGE_PATTERN", QStringLiteral("<%{message}>"));
        QVERIFY2(host.start(), host.readLog().constData());
        QVERIFY(waitForLog(host, "\n<Listening on "));
    }

    void pluginsAreStartedInTheOrderGiven()
    {
        HostProcess host(plugins({QStringLiteral("second"), QStringLiteral("first")}));
        QVERIFY2(host.start(), host.readLog().constData());
        QCOMPARE(pluginLog(host),
                 (QStringList{QStringLiteral("second initialize"), QStringLiteral("second getControllers"),
                              QStringLiteral("second attachChunkService"), QStringLiteral("first initialize"),
                              QStringLiteral("first getControllers"),
                              QStringLiteral("first attachChunkService")}));
        QVERIFY(get(host, "/shared").endsWith("\r\n\r\nsecond"));
        QVERIFY(get(host, "/first/hello").endsWith("\r\n\r\nfirst"));
    }

    void portFileHoldsTheBoundPort()
    {
        const QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("port"));
        HostProcess host(plugins({QStringLiteral("first")})
                         + QStringList{QStringLiteral("--port-file"), file});
        QVERIFY2(host.start(), host.readLog().constData());
        QCOMPARE(fromFile(file), QStringLiteral("%1\n").arg(host.port()));
    }

    void listensOnIPv6()
    {
        if (!hasIpv6())
            QSKIP("There is no IPv6 here.");
        HostProcess host(plugins({QStringLiteral("first")})
                         + QStringList{QStringLiteral("--listen"), QStringLiteral("[::1]:0")});
        host.process.start();
        QVERIFY(waitForLog(host, "Listening on [::1]:"));
    }

    void settingsStandInForOptions()
    {
        const QTemporaryDir dir;
        QVERIFY(QFile::copy(plugin(QStringLiteral("second")), dir.filePath(QStringLiteral("liba.so"))));
        QVERIFY(QFile::copy(plugin(QStringLiteral("first")), dir.filePath(QStringLiteral("libb.so"))));
        HostProcess host({}, "http.listen=127.0.0.1:0\nplugins.directory=" + dir.path().toUtf8());
        host.process.setArguments({});
        QVERIFY2(host.start(), host.readLog().constData());
        QVERIFY(waitForLog(host, " with the plug-ins a, b\n"));
        QVERIFY(get(host, "/shared").endsWith("\r\n\r\nsecond"));
    }

    void optionsWinOverSettings()
    {
        HostProcess host(plugins({QStringLiteral("first")}),
                         "http.listen=192.0.2.1:1\nplugins.directory=/absent");
        QVERIFY2(host.start(), host.readLog().constData());
        QVERIFY(waitForLog(host, " with the plug-ins first\n"));
    }

    void pluginsBesideTheExecutableAreTheDefault()
    {
        const QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("bin")));
        const QString executable = dir.filePath(QStringLiteral("bin/vexo-service"));
        QVERIFY(QFile::copy(QStringLiteral(VEXO_SERVICE), executable));
        {
            HostProcess host({});
            host.process.setProgram(executable);
            host.process.start();
            QVERIFY(host.process.waitForFinished(30000));
            QCOMPARE(host.process.exitCode(), 1);
            // Where an installed host finds them, whatever the prefix.
            const QString installed =
                QDir::cleanPath(dir.filePath(QStringLiteral("bin/" K7_INSTALLED_PLUGIN_DIR)));
            QVERIFY2(host.readLog().contains(QFile::encodeName(installed)), host.readLog().constData());
        }
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("plugins")));
        QVERIFY(
            QFile::copy(plugin(QStringLiteral("first")), dir.filePath(QStringLiteral("plugins/libz.so"))));
        HostProcess host({});
        host.process.setProgram(executable);
        QVERIFY2(host.start(), host.readLog().constData());
        QVERIFY(waitForLog(host, " with the plug-ins z\n"));
    }

    void signalsStopWithStatus0_data()
    {
        QTest::addColumn<int>("number");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
    }
    void signalsStopWithStatus0()
    {
        QFETCH(int, number);
        HostProcess host(bothPlugins());
        QVERIFY2(host.start(), host.readLog().constData());
        QVERIFY(stopHost(host, number));
    }

    void stopTakesEverythingDownInOrder()
    {
        HostProcess host(bothPlugins());
        QVERIFY2(host.start(), host.readLog().constData());
        RawClient parked(host.port());
        parked.send("GET /first/park HTTP/1.1\r\nHost: localhost\r\n\r\n");
        QVERIFY(waitForLog(host, "first parks"));
        const int before = pluginLog(host).size();
        QVERIFY(stopHost(host));
        QCOMPARE(pluginLog(host).mid(before),
                 (QStringList{QStringLiteral("second detachChunkService of its own"),
                              QStringLiteral("first detachChunkService of its own"),
                              QStringLiteral("first release park"), QStringLiteral("second destroyed"),
                              QStringLiteral("first destroyed")}));
        QCOMPARE(parked.readAnswer(), QByteArray());
    }

    void stopDropsWhatIsStillPublished()
    {
        HostProcess host(bothPlugins());
        setVariable(host, "QT_LOGGING_RULES", QStringLiteral("ch.tessel.vexo-service.bus.debug=true"));
        QVERIFY2(host.start(), host.readLog().constData());
        RawClient parked(host.port());
        parked.send("GET /first/park-publish HTTP/1.1\r\nHost: localhost\r\n\r\n");
        QVERIFY(waitForLog(host, "first parks"));
        QVERIFY(stopHost(host));
        QCOMPARE(host.readLog().count("first release park-publish"), 1);
        QCOMPARE(host.readLog().count("published"), 0);
    }

    void stopWithAThousandParkedPollsTakesUnderTwoSeconds()
    {
        static constexpr int count = 1000;
        rlimit limit{};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &limit), 0);
        limit.rlim_cur = limit.rlim_max;
        if (limit.rlim_max < count + 100 || setrlimit(RLIMIT_NOFILE, &limit) != 0)
            QSKIP("The limit of open files cannot be raised far enough.");
        HostProcess host(plugins({QStringLiteral("first")}));
        QVERIFY2(host.start(), host.readLog().constData());
        std::vector<RawClient> polls;
        for (int i = 0; i < count; ++i) {
            polls.emplace_back(host.port());
            polls.back().send("GET /first/park HTTP/1.1\r\nHost: localhost\r\n\r\n");
        }
        QVERIFY(waitForLog(host, "first parks", count));
        QVERIFY(stopHost(host, SIGTERM, 2000));
        QCOMPARE(host.readLog().count("first release park"), count);
    }

    void stopEndsANestedLoopInAController()
    {
        HostProcess host(plugins({QStringLiteral("first")}));
        QVERIFY2(host.start(), host.readLog().constData());
        RawClient client(host.port());
        client.send("GET /first/nested HTTP/1.1\r\nHost: localhost\r\n\r\n");
        QVERIFY(waitForLog(host, "first nested loop begins"));
        QVERIFY(stopHost(host));
        QCOMPARE(host.readLog().count("first release nested"), 1);
    }
};

QTEST_GUILESS_MAIN(VexoServiceTest)
#include "tst_vexoservice.moc"
