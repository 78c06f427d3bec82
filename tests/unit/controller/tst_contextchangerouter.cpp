#include "contextstore.h"
#include "controller/contextchangerouter.h"

#include <QJsonObject>
#include <QtTest>

class ContextChangeRouterTest : public QObject
{
    Q_OBJECT

    const QJsonValue one = QJsonObject{{QStringLiteral("n"), 1}};
    const QJsonValue two = QJsonObject{{QStringLiteral("n"), 2}};

private Q_SLOTS:
    void changeReachesThoseOfItsIdOnly()
    {
        ContextStore store;
        ContextChangeRouter router(store.contexts);
        QStringList heard;
        for (const QString &id : {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("a")}) {
            connect(router.changesOf(id), &ContextChanges::changed, this,
                    [&heard](const QString &changed, const QJsonValue &value) {
                        heard += changed + QString::number(value[QLatin1String("n")].toInt());
                    });
        }
        store.contexts.setContext(QStringLiteral("a"), one);
        store.contexts.setContext(QStringLiteral("c"), one);
        store.contexts.setContext(QStringLiteral("b"), two);
        QCOMPARE(heard.join(QLatin1Char(' ')), QStringLiteral("a1 a1 b2"));
    }

    void whatNobodyHearsIsDroppedAndMadeAnew()
    {
        ContextStore store;
        ContextChangeRouter router(store.contexts);
        const QString id = QStringLiteral("a");
        int heard = 0;
        {
            const QObject listener;
            connect(router.changesOf(id), &ContextChanges::changed, &listener, [&heard] { ++heard; });
        }
        QSignalSpy dropped(const_cast<ContextChanges *>(router.changesOf(id)), &QObject::destroyed);
        store.contexts.setContext(id, one);
        QCOMPARE(dropped.count(), 1);
        QCOMPARE(heard, 0);
        connect(router.changesOf(id), &ContextChanges::changed, this, [&heard] { ++heard; });
        store.contexts.setContext(id, two);
        QCOMPARE(heard, 1);
    }

    void slotMayChangeTheContextAgain()
    {
        ContextStore store;
        ContextChangeRouter router(store.contexts);
        const QString id = QStringLiteral("a");
        auto listener = std::make_unique<QObject>();
        QVector<int> heard;
        connect(router.changesOf(id), &ContextChanges::changed, listener.get(),
                [&](const QString &, const QJsonValue &value) {
                    heard.append(value[QLatin1String("n")].toInt());
                    if (heard.size() == 1)
                        store.contexts.setContext(id, two);
                    else
                        listener.reset();
                });
        store.contexts.setContext(id, one);
        QCOMPARE(heard, QVector<int>({1, 2}));
        store.contexts.setContext(id, one);
        QCOMPARE(heard.size(), 2);
    }
};

QTEST_GUILESS_MAIN(ContextChangeRouterTest)
#include "tst_contextchangerouter.moc"
