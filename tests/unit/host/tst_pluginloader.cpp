#include "logcapture.h"

#include <pluginloader.h>

#include <k7-plugin-api/vexoserviceinterface.h>

#include <QtTest>

class PluginLoaderTest : public QObject
{
    Q_OBJECT

    static QString file(const QString &name) { return QStringLiteral(TEST_PLUGIN_DIR "/lib%1.so").arg(name); }
    static QStringList names(const PluginSet &plugins)
    {
        QStringList names;
        for (const LoadedPlugin &plugin : plugins.all())
            names.append(plugin.name);
        return names;
    }
    static QStringList texts(const LogCapture &log)
    {
        QStringList texts;
        for (const LogCapture::Line &line : log.lines())
            texts.append(line.text);
        return texts;
    }

private Q_SLOTS:
    void filesComeInTheOrderGivenAndGoInReverse()
    {
        const LogCapture log("test.plugin");
        {
            const auto loaded =
                loadPlugins({file(QStringLiteral("second")), file(QStringLiteral("first"))}, {});
            const PluginSet &plugins = std::get<PluginSet>(loaded);
            QCOMPARE(names(plugins), (QStringList{QStringLiteral("second"), QStringLiteral("first")}));
            QCOMPARE(plugins.all()[0].file, file(QStringLiteral("second")));
            for (const LoadedPlugin &plugin : plugins.all())
                QCOMPARE(qobject_cast<VexoServicePlugin *>(plugin.instance.get()), plugin.plugin);
            QCOMPARE(log.lines().size(), 0);
        }
        QCOMPARE(texts(log),
                 (QStringList{QStringLiteral("first destroyed"), QStringLiteral("second destroyed")}));
    }

    void assignmentDestroysWhatWasThere()
    {
        const LogCapture log("test.plugin");
        auto first = std::get<PluginSet>(loadPlugins({file(QStringLiteral("first"))}, {}));
        first = std::get<PluginSet>(loadPlugins({file(QStringLiteral("second"))}, {}));
        QCOMPARE(texts(log), QStringList{QStringLiteral("first destroyed")});
        QCOMPARE(names(first), QStringList{QStringLiteral("second")});
    }

    void directoriesComeInNameOrderAfterTheFiles()
    {
        const QTemporaryDir dir;
        QVERIFY(QFile::copy(file(QStringLiteral("first")), dir.filePath(QStringLiteral("libb.so"))));
        QVERIFY(QFile::copy(file(QStringLiteral("second")), dir.filePath(QStringLiteral("a.so"))));
        QFile note(dir.filePath(QStringLiteral("README.txt")));
        QVERIFY(note.open(QIODevice::WriteOnly));
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("c.so")));
        const auto loaded = loadPlugins({file(QStringLiteral("second"))}, {dir.path()});
        QCOMPARE(names(std::get<PluginSet>(loaded)),
                 (QStringList{QStringLiteral("second"), QStringLiteral("a"), QStringLiteral("b")}));
    }

    void fileReachedTwiceIsLoadedOnce()
    {
        const QTemporaryDir dir;
        const QString link = dir.filePath(QStringLiteral("link.so"));
        QVERIFY(QFile::link(file(QStringLiteral("first")), link));
        const auto loaded =
            loadPlugins({file(QStringLiteral("first")), file(QStringLiteral("first")), link}, {dir.path()});
        QCOMPARE(names(std::get<PluginSet>(loaded)), QStringList{QStringLiteral("first")});
    }

    void relativePathsAreSeenFromTheWorkingDirectory()
    {
        const QString relative = QDir::current().relativeFilePath(file(QStringLiteral("first")));
        const auto loaded = loadPlugins({relative}, {});
        QCOMPARE(std::get<PluginSet>(loaded).all()[0].file, file(QStringLiteral("first")));
    }

    void failuresNameTheFileAndSayWhy_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("why");
        QTest::newRow("absent") << QStringLiteral(TEST_PLUGIN_DIR "/absent.so") << "no such file";
        QTest::newRow("directory") << QStringLiteral(TEST_PLUGIN_DIR) << "not a file";
        QTest::newRow("library without metadata") << file(QStringLiteral("plain")) << "not a plug-in: ";
        QTest::newRow("no library") << QFINDTESTDATA("tst_pluginloader.cpp") << "not a plug-in: ";
        QTest::newRow("missing symbol") << file(QStringLiteral("unresolved")) << "not a plug-in: ";
        QTest::newRow("another kind") << file(QStringLiteral("otherkind"))
                                      << "a plug-in of another kind, it does not implement "
                                         "ch.tessel.vexo-service.plugin";
    }
    void failuresNameTheFileAndSayWhy()
    {
        QFETCH(QString, path);
        QFETCH(QString, why);
        const LogCapture log("test.plugin");
        const auto failure = std::get<StartFailure>(loadPlugins({file(QStringLiteral("first")), path}, {}));
        QCOMPARE(failure.exitStatus, 1);
        const QString start = QStringLiteral("plug-in %1: %2").arg(QFileInfo(path).absoluteFilePath(), why);
        QVERIFY2(failure.text.startsWith(start), qPrintable(failure.text));
        if (why.endsWith(QLatin1Char(' ')))
            QVERIFY(failure.text.size() > start.size());
        QCOMPARE(texts(log), QStringList{QStringLiteral("first destroyed")});
    }

    void missingSymbolIsNamed()
    {
        const auto failure = std::get<StartFailure>(loadPlugins({file(QStringLiteral("unresolved"))}, {}));
        QVERIFY2(failure.text.contains(QLatin1String("functionOfNobody")), qPrintable(failure.text));
    }

    void libraryInADirectoryThatIsNoPluginIsAFailure()
    {
        const QTemporaryDir dir;
        QVERIFY(QFile::copy(file(QStringLiteral("plain")), dir.filePath(QStringLiteral("plain.so"))));
        const auto failure = std::get<StartFailure>(loadPlugins({}, {dir.path()}));
        QVERIFY2(failure.text.contains(dir.filePath(QStringLiteral("plain.so"))), qPrintable(failure.text));
    }

    void directoryYieldsAnOptionalPluginIfItsSettingIsSet_data()
    {
        QTest::addColumn<QString>("set");
        QTest::addColumn<QStringList>("loaded");
        const QString first = QStringLiteral("first");
        QTest::newRow("not set") << QString() << QStringList{first};
        QTest::newRow("set") << "ch.tessel.vexo-service.optional/on"
                             << QStringList{first, QStringLiteral("optional")};
        QTest::newRow("another one set") << "ch.tessel.vexo-service.optional/other" << QStringList{first};
    }
    void directoryYieldsAnOptionalPluginIfItsSettingIsSet()
    {
        QFETCH(QString, set);
        const QTemporaryDir dir;
        for (const char *name : {"first", "optional"})
            QVERIFY(QFile::copy(file(QLatin1String(name)),
                                dir.filePath(QStringLiteral("lib%1.so").arg(QLatin1String(name)))));
        const auto loaded = loadPlugins({}, {dir.path()}, [&set](const QString &key) { return key == set; });
        QTEST(names(std::get<PluginSet>(loaded)), "loaded");
    }

    void optionalPluginThatIsNamedIsLoaded()
    {
        const auto loaded = loadPlugins({file(QStringLiteral("optional"))}, {});
        QCOMPARE(names(std::get<PluginSet>(loaded)), QStringList{QStringLiteral("optional")});
    }

    void directoryOfNothingButOptionalPluginsIsAFailure()
    {
        const QTemporaryDir dir;
        QVERIFY(QFile::copy(file(QStringLiteral("optional")), dir.filePath(QStringLiteral("a.so"))));
        const auto failure = std::get<StartFailure>(loadPlugins({}, {dir.path()}));
        QCOMPARE(failure.text, QStringLiteral("no plug-in to load in %1").arg(dir.path()));
    }

    void missingDirectoryIsAFailure()
    {
        const auto failure = std::get<StartFailure>(
            loadPlugins({file(QStringLiteral("first"))}, {QStringLiteral("/absent/plugins")}));
        QCOMPARE(failure.text, QStringLiteral("plug-in directory /absent/plugins: no such directory"));
    }

    void noPluginAtAllIsAFailure()
    {
        const QTemporaryDir a;
        const QTemporaryDir b;
        const auto failure = std::get<StartFailure>(loadPlugins({}, {a.path(), b.path()}));
        QCOMPARE(failure.exitStatus, 1);
        QCOMPARE(failure.text, QStringLiteral("no plug-in to load in %1, %2").arg(a.path(), b.path()));
    }
};

QTEST_GUILESS_MAIN(PluginLoaderTest)
#include "tst_pluginloader.moc"
