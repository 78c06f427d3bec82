#include "hostprocess.h"

#include <QtTest>

/// Where the real host takes its settings from, and those of its plug-ins.
class VexoSettingsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aLaterLayerWins_data();
    void aLaterLayerWins();
    void thePluginReadsEachLayer_data();
    void thePluginReadsEachLayer();
};

static bool write(const QString &path, const QString &text)
{
    QFile file(path);
    const QByteArray bytes = text.toUtf8();
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly)
           && file.write(bytes) == bytes.size();
}

// The layers from the weakest to the strongest.
static const QStringList &layerFiles()
{
    static const QStringList files{
        QStringLiteral("beside/vexo-service.ini"), QStringLiteral("system/tessel/vexo-service.ini"),
        QStringLiteral("configuration/vexo-service.ini"), QStringLiteral("user/tessel/vexo-service.ini"),
        QStringLiteral("run/settings.ini")};
    return files;
}

// The first part of its path.
static QString layerName(int layer)
{
    return layerFiles().at(layer).section(QLatin1Char('/'), 0, 0);
}

static void addRowForEachLayer()
{
    QTest::addColumn<int>("layer");

    QTest::newRow("beside the program") << 0;
    QTest::newRow("system scope") << 1;
    QTest::newRow("configuration directory") << 2;
    QTest::newRow("user scope") << 3;
    QTest::newRow("the file of one run") << 4;
}

// Makes `host` a copy of the program in `directory` that finds its layers below it and nowhere else.
static bool install(HostProcess &host, const QDir &directory)
{
    const QString program = directory.filePath(QStringLiteral("beside/vexo-service"));
    QProcessEnvironment environment = host.process.processEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_DIRS"), directory.filePath(QStringLiteral("system")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), directory.filePath(QStringLiteral("user")));
    environment.insert(QStringLiteral("TS_SETTINGS_INI_FILE"), directory.filePath(layerFiles().last()));
    host.process.setProcessEnvironment(environment);
    host.process.setProgram(program);
    host.process.setWorkingDirectory(directory.path());
    return directory.mkpath(QStringLiteral("configuration")) && directory.mkpath(QStringLiteral("beside"))
           && write(directory.filePath(QStringLiteral("vexo-service.ini")),
                    QStringLiteral("[ch.tessel.system]\npath.configuration=configuration\n"))
           && QFile::copy(QStringLiteral(VEXO_SERVICE), program);
}

void VexoSettingsTest::aLaterLayerWins_data()
{
    addRowForEachLayer();
}

// Each layer has its own name as a value that makes no sense, which the host quotes when it refuses to start.
void VexoSettingsTest::aLaterLayerWins()
{
    QFETCH(int, layer);
    const QTemporaryDir directory;
    QVERIFY(directory.isValid());
    for (int i = 0; i <= layer; ++i)
        QVERIFY(write(directory.filePath(layerFiles().at(i)),
                      QStringLiteral("[ch.tessel.vexo-service]\nhttp.maxBodyBytes=%1\n").arg(layerName(i))));

    HostProcess host({QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)});
    QVERIFY(install(host, QDir(directory.path())));
    host.process.start();
    QVERIFY(host.process.waitForFinished());
    QCOMPARE(host.process.exitCode(), 1);
    QCOMPARE(
        QString::fromUtf8(host.readLog()),
        QStringLiteral("vexo-service: setting ch.tessel.vexo-service/http.maxBodyBytes is \"%1\": must be a "
                       "whole number\n")
            .arg(layerName(layer)));
}

void VexoSettingsTest::thePluginReadsEachLayer_data()
{
    addRowForEachLayer();
}

void VexoSettingsTest::thePluginReadsEachLayer()
{
    QFETCH(int, layer);
    const QTemporaryDir directory;
    QVERIFY(directory.isValid());
    QVERIFY(write(directory.filePath(layerFiles().at(layer)),
                  QStringLiteral("[ch.tessel.vexo-service.context]\nttl=2\n")));
    HostProcess host({QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)});
    QVERIFY(install(host, QDir(directory.path())));
    QVERIFY(host.start());
    QVERIFY(
        host.readLog().contains("info ch.tessel.vexo-service.context.contextservice: Starting the context "
                                "garbage collector, runs every  120000 miliseconds.\n"));
}

QTEST_GUILESS_MAIN(VexoSettingsTest)
#include "tst_vexosettings.moc"
