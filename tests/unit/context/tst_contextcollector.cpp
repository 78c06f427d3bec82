#include "chunkbehaviour.h"
#include "contextcollector.h"
#include "contextserviceprobe.h"
#include "contextstore.h"
#include "logcapture.h"
#include "settingsdirectory.h"

#include <QPointer>
#include <QTimer>
#include <QVariant>
#include <QtTest>

#include <functional>
#include <memory>

using Use = std::function<void(ContextService &service, const QString &id)>;
Q_DECLARE_METATYPE(Use)

static constexpr const char *category = "ch.tessel.vexo-service.context.contextservice";

namespace {

class DyingBehaviour final : public ChunkBehaviour
{
public:
    explicit DyingBehaviour(std::function<void()> lastWords)
        : m_lastWords(std::move(lastWords))
    {
    }
    ~DyingBehaviour() override { m_lastWords(); }
    Q_DISABLE_COPY_MOVE(DyingBehaviour)
    void onChunk(const QJsonValue & /*chunk*/) override { }

private:
    std::function<void()> m_lastWords;
};

} // namespace

static LogCapture::Line sweepLine()
{
    return {QtDebugMsg, QStringLiteral("Garbage collector cleaning up.")};
}

static LogCapture::Line lookLine(const QString &id)
{
    return {QtDebugMsg, QStringLiteral("Context  \"%1\"").arg(id)};
}

static LogCapture::Line deleteLine(const QString &id, int ttl)
{
    return {QtWarningMsg,
            QStringLiteral("Deleting context that was not used in more than  %1  miliseconds:  \"%2\" . "
                           "Increase, decrease or disable this setting under "
                           "ch.tessel.vexo-service.context/ttl.")
                .arg(ttl)
                .arg(id)};
}

static QTimer *timerOf(const ContextService &service)
{
    return service.findChild<QTimer *>(QString(), Qt::FindDirectChildrenOnly);
}

static bool fire(const ContextService &service)
{
    QTimer *timer = timerOf(service);
    return timer != nullptr && QMetaObject::invokeMethod(timer, "timeout", Qt::DirectConnection);
}

class ContextCollectorTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void periodOfASetting_data();
    void periodOfASetting();

    void startsATimerByTheSetting_data();
    void startsATimerByTheSetting();
    void withoutTheSettingThereIsNoTimer_data();
    void withoutTheSettingThereIsNoTimer();
    void readsTheLayers_data();
    void readsTheLayers();
    void readsTheSettingOnce();
    void destructionStopsTheTimerBeforeTheBehavioursGo();

    void keepsWhatWasUsedWithinThePeriod_data();
    void keepsWhatWasUsedWithinThePeriod();
    void looksAtEachContextInTheOrderOfKeys();
    void forgetsEveryTimeOfUse();
    void keepsWhatIsUsedBetweenAnyTwoSweeps_data();
    void keepsWhatIsUsedBetweenAnyTwoSweeps();
    void deletesWhatIsNotUsedAfterTheSweepBefore();
    void deletesNullEntriesWithTheirWarningAndChunk();
    void deletesSilentlyWithoutABus();
    void tellsTheBusAloneOfADeletion();
    void takesTheKeysBeforeItDeletes();
    void theTimerSweeps();

private:
    [[nodiscard]] bool set(const QString &line) const
    {
        return m_settings->set(QStringLiteral("ch.tessel.vexo-service.context"), line);
    }
    static void sweep(ContextStore &store, int period = 60000,
                      const QDateTime &now = QDateTime::currentDateTime())
    {
        contextcollector::sweep(store.contexts, ContextServiceProbe::lastUse(store.contexts), period, now);
    }

    std::unique_ptr<SettingsDirectory> m_settings;
};

void ContextCollectorTest::init()
{
    m_settings = std::make_unique<SettingsDirectory>();
    QVERIFY(m_settings->isReady());
}

void ContextCollectorTest::cleanup()
{
    m_settings.reset();
}

void ContextCollectorTest::periodOfASetting_data()
{
    QTest::addColumn<QVariant>("minutes");
    QTest::addColumn<int>("period"); // -1 for none

    const auto row = [](const char *name, const QVariant &minutes, int period) {
        QTest::newRow(name) << minutes << period;
    };
    row("absent", QVariant(), -1);
    row("empty", QString(QLatin1String("")), -1);
    row("text", QStringLiteral("ten"), -1);
    row("a number and more", QStringLiteral("10 minutes"), -1);
    row("a fraction", QStringLiteral("1.5"), -1);
    row("a list", QStringList{QStringLiteral("1"), QStringLiteral("2")}, -1);
    row("two", QStringLiteral("2"), 120000);
    row("one", QStringLiteral("1"), 60000);
    row("zero", QStringLiteral("0"), 60000);
    row("negative", QStringLiteral("-5"), 60000);
    row("the most without a wrap", QStringLiteral("35791"), 2147460000);
    row("wraps to a negative period", QStringLiteral("35792"), 60000);
    row("wraps to a positive period below a minute", QStringLiteral("71583"), 60000);
    row("wraps to a positive period", QStringLiteral("71584"), 72704);
    row("negative, wraps to a long period", QStringLiteral("-35792"), 2147447296);
    row("negative, wraps to a short period", QStringLiteral("-71581"), 107296);
    row("the largest", QStringLiteral("2147483647"), 60000);
    row("the smallest", QStringLiteral("-2147483648"), 60000);
}

void ContextCollectorTest::periodOfASetting()
{
    QFETCH(QVariant, minutes);
    QFETCH(int, period);
    QCOMPARE(contextcollector::periodOf(minutes).value_or(-1), period);
}

void ContextCollectorTest::startsATimerByTheSetting_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("period");

    QTest::newRow("zero") << "ttl=0" << 60000;
    QTest::newRow("negative") << "ttl=-5" << 60000;
    QTest::newRow("one minute") << "ttl=1" << 60000;
    QTest::newRow("two minutes") << "ttl=2" << 120000;
    QTest::newRow("beyond 32 bits") << "ttl=35792" << 60000;
}

void ContextCollectorTest::startsATimerByTheSetting()
{
    QFETCH(QString, line);
    QFETCH(int, period);
    QVERIFY(set(line));
    const LogCapture log(category);
    const ContextStore store;

    const QTimer *timer = timerOf(store.contexts);
    QVERIFY(timer != nullptr);
    QVERIFY(timer->isActive());
    QVERIFY(!timer->isSingleShot());
    QCOMPARE(timer->interval(), period);
    QCOMPARE(timer->timerType(), Qt::CoarseTimer);
    const QVector<LogCapture::Line> expected{
        {QtInfoMsg,
         QStringLiteral("Starting the context garbage collector, runs every  %1 miliseconds.").arg(period)}};
    QVERIFY(log.lines() == expected);
}

void ContextCollectorTest::withoutTheSettingThereIsNoTimer_data()
{
    QTest::addColumn<QString>("line");

    QTest::newRow("absent") << "other=1";
    QTest::newRow("no integer") << "ttl=never";
    QTest::newRow("empty") << "ttl=";
}

void ContextCollectorTest::withoutTheSettingThereIsNoTimer()
{
    QFETCH(QString, line);
    QVERIFY(set(line));
    const LogCapture log(category);
    const ContextStore store;
    QVERIFY(timerOf(store.contexts) == nullptr);
    QVERIFY(log.lines().isEmpty());
}

void ContextCollectorTest::readsTheLayers_data()
{
    QTest::addColumn<QString>("file");

    QTest::newRow("system scope") << "system/maker/program.ini";
    QTest::newRow("configuration directory") << "configuration/program.ini";
    QTest::newRow("user scope") << "user/maker/program.ini";
}

void ContextCollectorTest::readsTheLayers()
{
    QFETCH(QString, file);
    QVERIFY(
        !m_settings->write(file, QStringLiteral("ch.tessel.vexo-service.context"), QStringLiteral("ttl=3"))
             .isEmpty());
    QVERIFY(!m_settings
                 ->write(QStringLiteral("cwd/program.ini"), QStringLiteral("ch.tessel.system"),
                         QStringLiteral("path.configuration=")
                             + m_settings->filePath(QStringLiteral("configuration")))
                 .isEmpty());
    const ContextStore store;
    QVERIFY(timerOf(store.contexts) != nullptr);
    QCOMPARE(timerOf(store.contexts)->interval(), 180000);
}

void ContextCollectorTest::readsTheSettingOnce()
{
    QVERIFY(set(QStringLiteral("ttl=2")));
    ContextStore store;
    QVERIFY(set(QStringLiteral("ttl=3")));
    (void)store.contexts.getContext(QStringLiteral("a"));
    ContextServiceProbe::lastUse(store.contexts).clear();
    const LogCapture log(category);
    QVERIFY(fire(store.contexts));
    QVERIFY(log.lines().contains(deleteLine(QStringLiteral("a"), 120000)));
    QCOMPARE(timerOf(store.contexts)->interval(), 120000);
}

void ContextCollectorTest::destructionStopsTheTimerBeforeTheBehavioursGo()
{
    QVERIFY(set(QStringLiteral("ttl=1")));
    auto store = std::make_unique<ContextStore>();
    const QPointer<QTimer> timer = timerOf(store->contexts);
    QVERIFY(!timer.isNull());
    QStringList lastWords;
    store->contexts.setBehaviours({new DyingBehaviour([&] {
        lastWords.append(timer.isNull() || !timer->isActive() ? QStringLiteral("stopped")
                                                              : QStringLiteral("running"));
    })});
    store.reset();
    QCOMPARE(lastWords, QStringList{QStringLiteral("stopped")});
    QVERIFY(timer.isNull());
}

void ContextCollectorTest::keepsWhatWasUsedWithinThePeriod_data()
{
    QTest::addColumn<int>("period");
    QTest::addColumn<int>("age"); // milliseconds, -1 for no time of use
    QTest::addColumn<bool>("stays");

    QTest::newRow("used now") << 60000 << 0 << true;
    QTest::newRow("one millisecond less than the period") << 60000 << 59999 << true;
    QTest::newRow("exactly the period") << 60000 << 60000 << false;
    QTest::newRow("longer than the period") << 60000 << 60001 << false;
    QTest::newRow("no time of use") << 60000 << -1 << false;
    QTest::newRow("less than a longer period") << 2147460000 << 2147459999 << true;
    QTest::newRow("exactly a longer period") << 2147460000 << 2147460000 << false;
}

void ContextCollectorTest::keepsWhatWasUsedWithinThePeriod()
{
    QFETCH(int, period);
    QFETCH(int, age);
    QFETCH(bool, stays);
    const QString id = QStringLiteral("a");
    const QDateTime now = QDateTime::currentDateTime();
    ContextStore store;
    store.contexts.setContext(id, json(QStringLiteral("{\"x\":1}")));
    auto &lastUse = ContextServiceProbe::lastUse(store.contexts);
    lastUse[id] = now.addMSecs(-age);
    if (age < 0)
        lastUse.clear();
    store.events.clear();

    const LogCapture log(category);
    sweep(store, period, now);
    QVector<LogCapture::Line> expected{sweepLine(), lookLine(id)};
    if (!stays)
        expected.append(deleteLine(id, period));
    QVERIFY(log.lines() == expected);
    QCOMPARE(store.contexts.getContextKeys(), stays ? QStringList{id} : QStringList());
    QCOMPARE(store.events, stays ? QStringList() : QStringList{QStringLiteral("removed a")});
}

void ContextCollectorTest::looksAtEachContextInTheOrderOfKeys()
{
    ContextStore store;
    for (const char *id : {"c", "B", "", "a"})
        store.contexts.setContext(QLatin1String(id), json(QStringLiteral("{\"x\":1}")));
    auto &lastUse = ContextServiceProbe::lastUse(store.contexts);
    lastUse.remove(QStringLiteral("B"));
    lastUse.remove(QStringLiteral("c"));
    store.events.clear();

    const LogCapture log(category);
    sweep(store);
    const QVector<LogCapture::Line> expected{sweepLine(),
                                             lookLine({}),
                                             lookLine(QStringLiteral("B")),
                                             deleteLine(QStringLiteral("B"), 60000),
                                             lookLine(QStringLiteral("a")),
                                             lookLine(QStringLiteral("c")),
                                             deleteLine(QStringLiteral("c"), 60000)};
    QVERIFY(log.lines() == expected);
    QCOMPARE(store.events, QStringList({QStringLiteral("removed B"), QStringLiteral("removed c")}));
    QCOMPARE(store.contexts.getContextKeys(), QStringList({QString(), QStringLiteral("a")}));
}

void ContextCollectorTest::forgetsEveryTimeOfUse()
{
    ContextStore store;
    store.contexts.setContext(QStringLiteral("a"), json(QStringLiteral("{}")));
    // An id that nobody has stored anything under.
    const QString reserved = store.contexts.createContext();
    auto &lastUse = ContextServiceProbe::lastUse(store.contexts);
    QVERIFY(lastUse.contains(reserved));
    store.events.clear();

    const LogCapture log(category);
    sweep(store);
    QVERIFY(lastUse.isEmpty());
    const QVector<LogCapture::Line> expected{sweepLine(), lookLine(QStringLiteral("a"))};
    QVERIFY(log.lines() == expected);
    QCOMPARE(store.events, QStringList());
}

void ContextCollectorTest::keepsWhatIsUsedBetweenAnyTwoSweeps_data()
{
    QTest::addColumn<Use>("use");

    QTest::newRow("read") << Use(
        [](ContextService &service, const QString &id) { (void)service.getContext(id); });
    QTest::newRow("set") << Use([](ContextService &service, const QString &id) {
        service.setContext(id, json(QStringLiteral("{\"x\":1}")));
    });
    QTest::newRow("updated") << Use([](ContextService &service, const QString &id) {
        service.updateContext(id, json(QStringLiteral("{\"y\":1}")));
    });
}

void ContextCollectorTest::keepsWhatIsUsedBetweenAnyTwoSweeps()
{
    QFETCH(Use, use);
    const QString id = QStringLiteral("a");
    ContextStore store;
    store.contexts.setContext(id, json(QStringLiteral("{\"x\":1}")));
    for (int i = 0; i < 5; ++i) {
        sweep(store);
        QCOMPARE(store.contexts.getContextKeys(), QStringList{id});
        use(store.contexts, id);
    }
}

void ContextCollectorTest::deletesWhatIsNotUsedAfterTheSweepBefore()
{
    const QString id = QStringLiteral("a");
    ContextStore store;
    store.contexts.setContext(id, json(QStringLiteral("{\"x\":1}")));
    (void)store.contexts.getContext(id);
    sweep(store);
    QCOMPARE(store.contexts.getContextKeys(), QStringList{id});
    // Neither counts as use.
    (void)store.contexts.getContextKeys();
    store.contexts.pushChunk(json(QStringLiteral("{}")));
    sweep(store);
    QCOMPARE(store.contexts.getContextKeys(), QStringList());
}

void ContextCollectorTest::deletesNullEntriesWithTheirWarningAndChunk()
{
    const QString id = QStringLiteral("never");
    ContextStore store;
    QVERIFY(store.contexts.getContext(id).isNull());
    sweep(store);
    QCOMPARE(store.contexts.getContextKeys(), QStringList{id});
    QCOMPARE(store.events, QStringList());

    const LogCapture log(category);
    sweep(store);
    const QVector<LogCapture::Line> expected{sweepLine(), lookLine(id), deleteLine(id, 60000)};
    QVERIFY(log.lines() == expected);
    QCOMPARE(store.contexts.getContextKeys(), QStringList());
    QCOMPARE(store.events, QStringList{QStringLiteral("removed never")});
}

void ContextCollectorTest::deletesSilentlyWithoutABus()
{
    ContextStore store;
    store.proxy.setChunkService(nullptr);
    store.contexts.setContext(QStringLiteral("a"), json(QStringLiteral("{}")));
    sweep(store);
    sweep(store);
    QCOMPARE(store.contexts.getContextKeys(), QStringList());
    QVERIFY(store.bus.chunks.isEmpty());
}

void ContextCollectorTest::tellsTheBusAloneOfADeletion()
{
    ContextStore store;
    store.contexts.setContext(QStringLiteral("a"), json(QStringLiteral("{\"x\":1}")));
    store.events.clear();
    sweep(store);
    sweep(store);
    QCOMPARE(store.events, QStringList{QStringLiteral("removed a")});
}

void ContextCollectorTest::takesTheKeysBeforeItDeletes()
{
    ContextStore store;
    for (const char *id : {"a", "b", "d"})
        store.contexts.setContext(QLatin1String(id), json(QStringLiteral("{}")));
    ContextServiceProbe::lastUse(store.contexts).clear();
    // Whoever hears of the first removal makes a new context and uses an old one.
    store.onPublish = [&store] {
        store.onPublish = nullptr;
        (void)store.contexts.getContext(QStringLiteral("c"));
        (void)store.contexts.getContext(QStringLiteral("d"));
    };
    store.events.clear();
    const LogCapture log(category);
    sweep(store);
    QCOMPARE(store.events, QStringList({QStringLiteral("removed a"), QStringLiteral("removed b")}));
    QCOMPARE(store.contexts.getContextKeys(), QStringList({QStringLiteral("c"), QStringLiteral("d")}));
    QVERIFY(!log.lines().contains(lookLine(QStringLiteral("c"))));
}

void ContextCollectorTest::theTimerSweeps()
{
    QVERIFY(set(QStringLiteral("ttl=1")));
    ContextStore store;
    for (const char *id : {"used", "old", "fresh"})
        store.contexts.setContext(QLatin1String(id), json(QStringLiteral("{}")));
    auto &lastUse = ContextServiceProbe::lastUse(store.contexts);
    const QDateTime now = QDateTime::currentDateTime();
    lastUse[QStringLiteral("old")] = now.addSecs(-60);
    lastUse[QStringLiteral("used")] = now.addSecs(-30);
    QVERIFY(fire(store.contexts));
    QCOMPARE(store.contexts.getContextKeys(), QStringList({QStringLiteral("fresh"), QStringLiteral("used")}));
    QVERIFY(lastUse.isEmpty());
    QVERIFY(timerOf(store.contexts)->isActive());
    QVERIFY(fire(store.contexts));
    QCOMPARE(store.contexts.getContextKeys(), QStringList());
}

QTEST_GUILESS_MAIN(ContextCollectorTest)
#include "tst_contextcollector.moc"
