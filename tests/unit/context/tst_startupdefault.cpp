#include "contextplugin.h"
#include "contextpluginprobe.h"
#include "contextservice.h"
#include "jsontext.h"
#include "logcapture.h"
#include "recordingchunkservice.h"
#include "settingsdirectory.h"

#include <QPointer>
#include <QTimer>
#include <QtTest>

#include <memory>

static constexpr const char *category = "ch.tessel.vexo-service.context";

/// What the plug-in does with the setting "defaultValues". Its timer is made to fire without the wait.
class StartupDefaultTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void armsATimerIfTheSettingIsTrue_data();
    void armsATimerIfTheSettingIsTrue();
    void readsTheLayers_data();
    void readsTheLayers();
    void readsTheSettingOnce();
    void storesTheEmptyObjectUnderTheEmptyId();
    void replacesWhatStandsUnderTheEmptyId();
    void theTimerGoesWithThePlugin();

private:
    [[nodiscard]] bool set(const QString &line) const
    {
        return m_settings->set(QStringLiteral("ch.tessel.vexo-service.context"), line);
    }
    [[nodiscard]] ContextService &contexts() const { return ContextPluginProbe::contexts(*m_plugin); }
    [[nodiscard]] QTimer *timer() const
    {
        return m_plugin->findChild<QTimer *>(QString(), Qt::FindDirectChildrenOnly);
    }
    [[nodiscard]] bool fire() const
    {
        return timer() != nullptr && QMetaObject::invokeMethod(timer(), "timeout", Qt::DirectConnection);
    }

    std::unique_ptr<SettingsDirectory> m_settings;
    std::unique_ptr<ContextPlugin> m_plugin;
};

void StartupDefaultTest::init()
{
    m_settings = std::make_unique<SettingsDirectory>();
    QVERIFY(m_settings->isReady());
    m_plugin = std::make_unique<ContextPlugin>();
}

void StartupDefaultTest::cleanup()
{
    m_plugin.reset();
    m_settings.reset();
}

void StartupDefaultTest::armsATimerIfTheSettingIsTrue_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("arms");

    QTest::newRow("absent") << "other=true" << false;
    QTest::newRow("true") << "defaultValues=true" << true;
    QTest::newRow("capitals") << "defaultValues=TRUE" << true;
    QTest::newRow("one") << "defaultValues=1" << true;
    QTest::newRow("any other text") << "defaultValues=no" << true;
    QTest::newRow("false") << "defaultValues=false" << false;
    QTest::newRow("false in capitals") << "defaultValues=False" << false;
    QTest::newRow("zero") << "defaultValues=0" << false;
    QTest::newRow("empty") << "defaultValues=" << false;
    QTest::newRow("a list is not convertible") << "defaultValues=true, true" << false;
}

void StartupDefaultTest::armsATimerIfTheSettingIsTrue()
{
    QFETCH(QString, line);
    QFETCH(bool, arms);
    QVERIFY(set(line));
    const LogCapture log(category);
    QVERIFY(timer() == nullptr);
    m_plugin->initialize();
    QCOMPARE(timer() != nullptr, arms);
    if (arms) {
        QVERIFY(timer()->isActive());
        QVERIFY(timer()->isSingleShot());
        QCOMPARE(timer()->interval(), 5000);
        QCOMPARE(timer()->timerType(), Qt::CoarseTimer);
    }
    QVERIFY(contexts().getContextKeys().isEmpty());
    QVERIFY(log.lines().isEmpty());
}

void StartupDefaultTest::readsTheLayers_data()
{
    QTest::addColumn<QString>("file");

    QTest::newRow("system scope") << "system/maker/program.ini";
    QTest::newRow("configuration directory") << "configuration/program.ini";
    QTest::newRow("user scope") << "user/maker/program.ini";
}

void StartupDefaultTest::readsTheLayers()
{
    QFETCH(QString, file);
    QVERIFY(!m_settings
                 ->write(file, QStringLiteral("ch.tessel.vexo-service.context"),
                         QStringLiteral("defaultValues=true"))
                 .isEmpty());
    QVERIFY(!m_settings
                 ->write(QStringLiteral("cwd/program.ini"), QStringLiteral("ch.tessel.system"),
                         QStringLiteral("path.configuration=")
                             + m_settings->filePath(QStringLiteral("configuration")))
                 .isEmpty());
    m_plugin->initialize();
    QVERIFY(timer() != nullptr);
}

void StartupDefaultTest::readsTheSettingOnce()
{
    QVERIFY(set(QStringLiteral("defaultValues=true")));
    m_plugin->initialize();
    QVERIFY(set(QStringLiteral("defaultValues=false")));
    QVERIFY(fire());
    QCOMPARE(contexts().getContextKeys(), QStringList{QString()});
}

void StartupDefaultTest::storesTheEmptyObjectUnderTheEmptyId()
{
    QVERIFY(set(QStringLiteral("defaultValues=true")));
    RecordingChunkService bus;
    m_plugin->initialize();
    m_plugin->attachChunkService(bus);
    QStringList changes;
    connect(&contexts(), &ContextService::contextChanged, this,
            [&changes](const QString &id, const QJsonValue &value) {
                changes.append(QStringLiteral("'%1' %2").arg(id, jsonText(value)));
            });
    const LogCapture log(category);

    const QPointer<QTimer> armed = timer();
    QVERIFY(fire());
    QCOMPARE(contexts().getContextKeys(), QStringList{QString()});
    QCOMPARE(contexts().getContext(QString()), QJsonValue(QJsonObject()));
    QVERIFY(bus.chunks.isEmpty());
    QCOMPARE(changes, QStringList{QStringLiteral("'' {}")});
    const QVector<LogCapture::Line> expected{{QtInfoMsg, QStringLiteral("Loading default value \"\"")}};
    QVERIFY(log.lines() == expected);

    QCoreApplication::sendPostedEvents(armed, QEvent::DeferredDelete);
    QVERIFY(armed.isNull());
}

void StartupDefaultTest::replacesWhatStandsUnderTheEmptyId()
{
    QVERIFY(set(QStringLiteral("defaultValues=true")));
    m_plugin->initialize();
    contexts().setContext(QString(), json(QStringLiteral("{\"x\":1}")));
    QVERIFY(fire());
    QCOMPARE(contexts().getContext(QString()), QJsonValue(QJsonObject()));
}

void StartupDefaultTest::theTimerGoesWithThePlugin()
{
    QVERIFY(set(QStringLiteral("defaultValues=true")));
    m_plugin->initialize();
    const QPointer<QTimer> armed = timer();
    QVERIFY(!armed.isNull());
    m_plugin.reset();
    QVERIFY(armed.isNull());
}

QTEST_GUILESS_MAIN(StartupDefaultTest)
#include "tst_startupdefault.moc"
