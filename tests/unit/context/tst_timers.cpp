#include "contextplugin.h"
#include "contextpluginprobe.h"
#include "contextserviceprobe.h"
#include "contextstore.h"
#include "settingsdirectory.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QtTest>

// Coarse timers fire up to five per cent early or late.
static constexpr int earliest(int milliseconds)
{
    return milliseconds / 100 * 95;
}
static constexpr int latest(int milliseconds)
{
    return milliseconds / 100 * 105;
}

/// Both timers of the plug-in with the real clock: minutes, not milliseconds.
class TimersTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void storesTheDefaultValueAfterFiveSeconds();
    void storesNothingOnceThePluginIsGone();
    void collectsAfterOneMinute();

private:
    [[nodiscard]] static bool set(const SettingsDirectory &settings, const QString &line)
    {
        return settings.isReady() && settings.set(QStringLiteral("ch.tessel.vexo-service.context"), line);
    }
};

void TimersTest::storesTheDefaultValueAfterFiveSeconds()
{
    const SettingsDirectory settings;
    QVERIFY(set(settings, QStringLiteral("defaultValues=true")));
    ContextPlugin plugin;
    QElapsedTimer clock;
    clock.start();
    plugin.initialize();
    ContextService &contexts = ContextPluginProbe::contexts(plugin);
    QSignalSpy changes(&contexts, &ContextService::contextChanged);

    QVERIFY(changes.wait(latest(5000) + 5000));
    QVERIFY2(clock.elapsed() >= earliest(5000), qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(contexts.getContextKeys(), QStringList{QString()});
    QCOMPARE(contexts.getContext(QString()), QJsonValue(QJsonObject()));
    // It is a single shot: nothing follows a second period.
    contexts.deleteContext(QString());
    QVERIFY(!changes.wait(latest(5000) + 500));
    QCOMPARE(changes.size(), 1);
}

void TimersTest::storesNothingOnceThePluginIsGone()
{
    const SettingsDirectory settings;
    QVERIFY(set(settings, QStringLiteral("defaultValues=true")));
    auto plugin = std::make_unique<ContextPlugin>();
    plugin->initialize();
    QPointer<QTimer> armed = plugin->findChild<QTimer *>();
    QVERIFY(!armed.isNull());
    plugin.reset();
    QVERIFY(armed.isNull());

    // The event loop runs on past the moment of the step; sanitizers would see it.
    QTimer later;
    later.setSingleShot(true);
    QSignalSpy passed(&later, &QTimer::timeout);
    later.start(latest(5000));
    QVERIFY(passed.wait(2 * latest(5000)));
}

void TimersTest::collectsAfterOneMinute()
{
    const SettingsDirectory settings;
    QVERIFY(set(settings, QStringLiteral("ttl=0")));
    QElapsedTimer clock;
    clock.start();
    ContextStore store;
    for (const char *id : {"forgotten", "used"})
        store.contexts.setContext(QLatin1String(id), json(QStringLiteral("{}")));
    // As after an earlier sweep.
    ContextServiceProbe::lastUse(store.contexts).clear();
    QTimer::singleShot(30000, &store.contexts,
                       [&store] { (void)store.contexts.getContext(QStringLiteral("used")); });

    const QStringList first{QStringLiteral("removed forgotten")};
    store.events.clear();
    QTRY_COMPARE_WITH_TIMEOUT(store.events, first, latest(60000) + 5000);
    QVERIFY2(clock.elapsed() >= earliest(60000), qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(store.contexts.getContextKeys(), QStringList{QStringLiteral("used")});

    // Not used since the first sweep, though for little more than one period.
    const QStringList second{QStringLiteral("removed forgotten"), QStringLiteral("removed used")};
    QTRY_COMPARE_WITH_TIMEOUT(store.events, second, latest(60000) + 5000);
    QVERIFY2(clock.elapsed() >= 2 * earliest(60000), qPrintable(QString::number(clock.elapsed())));
}

QTEST_GUILESS_MAIN(TimersTest)
#include "tst_timers.moc"
