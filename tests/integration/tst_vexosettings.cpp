#include "hostprocess.h"

#include <QtTest>

/// Where the real host takes its settings from, and those of its plug-ins.
class VexoSettingsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aLaterLayerWins_data();
    void aLaterLayerWins();
    void thePluginReadsTheSameLayers();
};

static bool write(const QString &path, const QString &text)
{
    QFile file(path);
    const QByteArray bytes = text.toUtf8();
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly)
           && file.write(bytes) == bytes.size();
}

void VexoSettingsTest::aLaterLayerWins_data()
{
    QTest::addColumn<int>("layers");
    QTest::addColumn<QString>("strongest");

    QTest::newRow("beside the program") << 1 << "beside";
    QTest::newRow("system scope") << 2 << "system";
    QTest::newRow("configuration directory") << 3 << "configuration";
    QTest::newRow("user scope") << 4 << "user";
    QTest::newRow("the file of one run") << 5 << "run";
}

// Each layer has its own name as a value that makes no sense, which the host quotes when it refuses to start.
void VexoSettingsTest::aLaterLayerWins()
{
    QFETCH(int, layers);
    QFETCH(QString, strongest);
    const QTemporaryDir directory;
    QVERIFY(directory.isValid());
    const QStringList files{
        QStringLiteral("beside/vexo-service.ini"), QStringLiteral("system/tessel/vexo-service.ini"),
        QStringLiteral("configuration/vexo-service.ini"), QStringLiteral("user/tessel/vexo-service.ini"),
        QStringLiteral("run/settings.ini")};
    for (int i = 0; i < layers; ++i) {
        const QString name = files.at(i).section(QLatin1Char('/'), 0, 0);
        QVERIFY(write(directory.filePath(files.at(i)),
                      QStringLiteral("[ch.tessel.vexo-service]\nhttp.maxBodyBytes=%1\n").arg(name)));
    }
    QVERIFY(write(directory.filePath(QStringLiteral("vexo-service.ini")),
                  QStringLiteral("[ch.tessel.system]\npath.configuration=configuration\n")));
    QVERIFY(QDir(directory.path()).mkpath(QStringLiteral("configuration")));
    const QString program = directory.filePath(QStringLiteral("beside/vexo-service"));
    QVERIFY(QFile::copy(QStringLiteral(VEXO_SERVICE), program));

    HostProcess host({QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)});
    QProcessEnvironment environment = host.process.processEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_DIRS"), directory.filePath(QStringLiteral("system")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), directory.filePath(QStringLiteral("user")));
    environment.insert(QStringLiteral("TS_SETTINGS_INI_FILE"), directory.filePath(files.last()));
    host.process.setProcessEnvironment(environment);
    host.process.setProgram(program);
    host.process.setWorkingDirectory(directory.path());
    host.process.start();
    QVERIFY(host.process.waitForFinished());
    QCOMPARE(host.process.exitCode(), 1);
    QCOMPARE(
        QString::fromUtf8(host.readLog()),
        QStringLiteral("vexo-service: setting ch.tessel.vexo-service/http.maxBodyBytes is \"%1\": must be a "
                       "whole number\n")
            .arg(strongest));
}

void VexoSettingsTest::thePluginReadsTheSameLayers()
{
    HostProcess host({QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)},
                     "[ch.tessel.vexo-service.context]\nttl=2");
    QVERIFY(host.start());
    QVERIFY(
        host.readLog().contains("info ch.tessel.vexo-service.context.contextservice: Starting the context "
                                "garbage collector, runs every  120000 miliseconds.\n"));
}

QTEST_GUILESS_MAIN(VexoSettingsTest)
#include "tst_vexosettings.moc"
