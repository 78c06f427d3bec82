#include <hostoptions.h>

#include <QtTest>

class HostOptionsTest : public QObject
{
    Q_OBJECT

    static std::variant<HostOptions, StartFailure> parse(const QStringList &arguments)
    {
        return HostOptions::parse(QStringList{QStringLiteral("vexo-service")} + arguments);
    }

private Q_SLOTS:
    void nothingGivenLeavesAllToTheSettings()
    {
        const auto options = std::get<HostOptions>(parse({}));
        QCOMPARE(options.task, HostOptions::Task::Serve);
        QVERIFY(!options.listen.has_value());
        QCOMPARE(options.plugins, QStringList());
        QCOMPARE(options.pluginDirectories, QStringList());
        QCOMPARE(options.portFile, QString());
    }

    void allOptionsAreRead()
    {
        const auto options = std::get<HostOptions>(
            parse({QStringLiteral("--listen"), QStringLiteral("[::1]:0"), QStringLiteral("--plugin=b.so"),
                   QStringLiteral("--plugin"), QStringLiteral("a.so"), QStringLiteral("--plugin-dir"),
                   QStringLiteral("/y"), QStringLiteral("--plugin-dir=/x"), QStringLiteral("--port-file"),
                   QStringLiteral("/tmp/port")}));
        QCOMPARE(options.listen->address, QStringLiteral("::1"));
        QCOMPARE(static_cast<int>(options.listen->port), 0);
        QCOMPARE(options.plugins, (QStringList{QStringLiteral("b.so"), QStringLiteral("a.so")}));
        QCOMPARE(options.pluginDirectories, (QStringList{QStringLiteral("/y"), QStringLiteral("/x")}));
        QCOMPARE(options.portFile, QStringLiteral("/tmp/port"));
    }

    void tasks_data()
    {
        QTest::addColumn<QString>("argument");
        QTest::addColumn<int>("task");
        QTest::newRow("help") << "--help" << static_cast<int>(HostOptions::Task::ShowHelp);
        QTest::newRow("short help") << "-h" << static_cast<int>(HostOptions::Task::ShowHelp);
        QTest::newRow("version") << "--version" << static_cast<int>(HostOptions::Task::ShowVersion);
    }
    void tasks()
    {
        QFETCH(QString, argument);
        QTEST(static_cast<int>(std::get<HostOptions>(parse({argument})).task), "task");
    }

    void wrongOptionsAreOneLineAndStatus2_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("named");
        const auto row = [](const char *name, const QStringList &arguments, const char *named) {
            QTest::newRow(name) << arguments << QString::fromLatin1(named);
        };
        row("unknown option", {QStringLiteral("--frobnicate")}, "frobnicate");
        row("value missing", {QStringLiteral("--listen")}, "--listen");
        row("empty address", {QStringLiteral("--listen=")}, "--listen");
        row("empty plug-in", {QStringLiteral("--plugin"), QString()}, "--plugin");
        row("one empty plug-in of two", {QStringLiteral("--plugin=a"), QStringLiteral("--plugin=")},
            "--plugin");
        row("empty directory", {QStringLiteral("--plugin-dir="), QStringLiteral("x")}, "x");
        row("empty directory alone", {QStringLiteral("--plugin-dir=")}, "--plugin-dir");
        row("empty port file", {QStringLiteral("--port-file=")}, "--port-file");
        row("senseless address", {QStringLiteral("--listen"), QStringLiteral("127.0.0.1:x")}, "127.0.0.1:x");
        row("stray argument", {QStringLiteral("stray")}, "stray");
        row("value for a switch", {QStringLiteral("--version=3")}, "--version");
    }
    void wrongOptionsAreOneLineAndStatus2()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, named);
        const auto failure = std::get<StartFailure>(parse(arguments));
        QCOMPARE(failure.exitStatus, 2);
        QVERIFY2(failure.text.contains(named), qPrintable(failure.text));
        QVERIFY2(failure.text.contains(QLatin1String("--help")), qPrintable(failure.text));
        QVERIFY(!failure.text.contains(QLatin1Char('\n')));
    }

    void helpTellsOptionsSettingsAndDefaults_data()
    {
        QTest::addColumn<QString>("part");
        for (const char *part : {"--listen <ADDRESS:PORT>",
                                 "--plugin <FILE>",
                                 "--plugin-dir <DIR>",
                                 "--port-file <FILE>",
                                 "--version",
                                 "--help",
                                 "127.0.0.1:8750",
                                 "../plugins",
                                 "[ch.tessel.vexo-service]",
                                 "http.listen",
                                 "http.allowedHosts",
                                 "http.allowedOrigins",
                                 "http.allowedUsers",
                                 "http.sameUser        on ",
                                 "http.tokenFile",
                                 "http.socket",
                                 "plugins.directory",
                                 "http.maxTargetBytes",
                                 "16384",
                                 "http.maxHeaderBytes",
                                 "65536",
                                 "http.maxBodyBytes",
                                 "67108864",
                                 "http.headerTimeout",
                                 "10 ",
                                 "http.bodyTimeout",
                                 "60 ",
                                 "http.idleTimeout",
                                 "http.maxConnections",
                                 "TS_SETTINGS_INI_FILE",
                                 "QT_LOGGING_RULES",
                                 "QT_MESSAGE_PATTERN"})
            QTest::newRow(part) << QString::fromLatin1(part);
    }
    void helpTellsOptionsSettingsAndDefaults()
    {
        QFETCH(QString, part);
        QVERIFY2(HostOptions::helpText().contains(part), qPrintable(HostOptions::helpText()));
    }
};

QTEST_GUILESS_MAIN(HostOptionsTest)
#include "tst_hostoptions.moc"
