#include "messageservice.h"

#include "logcapture.h"
#include "messages.h"
#include "structure/content/messageconsumption.h"

#include <QLoggingCategory>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

#include <type_traits>

using structure::content::Message;
using structure::content::MessageConsumption;

static_assert(std::is_base_of_v<QObject, MessageService>);
static_assert(std::is_same_v<decltype(&MessageService::hasMessages), bool (MessageService::*)() const>);
static_assert(std::is_same_v<decltype(&MessageService::addMessage), void (MessageService::*)(Message)>);
static_assert(std::is_same_v<decltype(&MessageService::applyMessageConsumption),
                             void (MessageService::*)(const MessageConsumption &)>);
static_assert(std::is_same_v<decltype(&MessageService::createMessageUpdate),
                             QJsonDocument (MessageService::*)() const>);
static_assert(std::is_same_v<decltype(&MessageService::indentedUpdate), QByteArray (MessageService::*)()>);
static_assert(std::is_same_v<decltype(&MessageService::messagesAvailable), void (MessageService::*)()>);

namespace {

const char *const category = "ch.tessel.vexo-service.context.messageservice";

using Texts = QMultiMap<QString, QString>;

MessageConsumption consumptionOf(const QStringList &identifiers)
{
    MessageConsumption consumption;
    consumption.identifiers = identifiers.toVector();
    return consumption;
}

} // namespace

class MessageServiceTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); }

    void isEmptyWhenNew()
    {
        const MessageService service;
        QVERIFY(service.parent() == nullptr);
        QVERIFY(!service.hasMessages());
        const QJsonDocument update = service.createMessageUpdate();
        QVERIFY(update.isArray());
        QVERIFY(update.array().isEmpty());
    }

    void declaresOneSignalAlone()
    {
        const QMetaObject &meta = MessageService::staticMetaObject;
        QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
        const QMetaMethod signal = meta.method(meta.methodOffset());
        QCOMPARE(signal.methodType(), QMetaMethod::Signal);
        QCOMPARE(signal.methodSignature(), QByteArray("messagesAvailable()"));
    }

    void messageIsThereWhenItIsTold()
    {
        MessageService service;
        Texts seen;
        connect(&service, &MessageService::messagesAvailable, this,
                [&] { seen = service.hasMessages() ? textsOf(service.createMessageUpdate()) : Texts(); });
        service.addMessage(message("a"));
        QCOMPARE(seen, (Texts{{QStringLiteral("a"), QStringLiteral("x")}}));
    }

    void updateHoldsTheWholeMessages()
    {
        MessageService service;
        Message whole = message("i", "t", "x");
        whole.setSubtitle(QStringLiteral("s"));
        whole.setTimestamp(QDateTime(QDate(2026, 1, 5), QTime(7, 8, 9)));
        whole.setCustomLifeTime(structure::content::Timespan(1));
        service.addMessage(whole);
        QCOMPARE(service.createMessageUpdate().toJson(QJsonDocument::Compact),
                 QByteArray(R"([{"id":"i","lifetime":"1","subtitle":"s","text":"x",)"
                            R"("timestamp":"2026-01-05T07:08:09","title":"t","type":"customlifetime"}])"));
    }

    void laterMessageReplacesTheEarlier()
    {
        MessageService service;
        const QSignalSpy told(&service, &MessageService::messagesAvailable);
        Message earlier = message("a", "t", "earlier");
        earlier.setPersistent();
        service.addMessage(earlier);
        service.addMessage(message("a", "t", "later"));
        QCOMPARE(told.size(), 2);
        QCOMPARE(textsOf(service.createMessageUpdate()),
                 (Texts{{QStringLiteral("a"), QStringLiteral("later")}}));
        // Nothing is left of it.
        QVERIFY(!service.createMessageUpdate().array().at(0).toObject().contains(QLatin1String("type")));
        service.applyMessageConsumption(consumptionOf({QStringLiteral("a")}));
        QVERIFY(!service.hasMessages());
        QVERIFY(service.createMessageUpdate().array().isEmpty());
    }

    void anyMessageIsTaken()
    {
        MessageService service;
        const QSignalSpy told(&service, &MessageService::messagesAvailable);
        service.addMessage(Message::createEmptyMessage());
        service.addMessage(message("a", "", ""));
        service.addMessage(message("A"));
        QCOMPARE(told.size(), 3);
        QCOMPARE(textsOf(service.createMessageUpdate()), (Texts{{QString(), QString()},
                                                                {QStringLiteral("A"), QStringLiteral("x")},
                                                                {QStringLiteral("a"), QString()}}));
    }

    void updateConsumesNothing()
    {
        MessageService service;
        for (const char *identifier : {"a", "b", "c"})
            service.addMessage(message(identifier));
        const QJsonDocument first = service.createMessageUpdate();
        QCOMPARE(first.array().size(), 3);
        QCOMPARE(service.createMessageUpdate(), first);
        QVERIFY(service.hasMessages());
    }

    void indentedUpdateFollowsEveryChange()
    {
        MessageService service;
        const auto isCurrent = [&] {
            const QByteArray text = service.indentedUpdate();
            // The second call gives the same text, kept.
            return text == service.createMessageUpdate().toJson()
                   && service.indentedUpdate().constData() == text.constData();
        };
        QVERIFY(isCurrent());
        QCOMPARE(service.indentedUpdate(), QByteArray("[\n]\n"));
        bool wasCurrentWhenTold = false;
        connect(&service, &MessageService::messagesAvailable, this,
                [&] { wasCurrentWhenTold = isCurrent(); });
        for (const char *text : {"first", "replaced"}) {
            service.addMessage(message("a", "t", text));
            QVERIFY(wasCurrentWhenTold);
            QVERIFY(service.indentedUpdate().contains(text));
        }
        service.addMessage(message("b"));
        QVERIFY(isCurrent());
        for (const char *identifier : {"unknown", "a", "b"}) {
            service.applyMessageConsumption(consumptionOf({QLatin1String(identifier)}));
            QVERIFY(isCurrent());
        }
        QCOMPARE(service.indentedUpdate(), QByteArray("[\n]\n"));
    }

    // Many identifiers, so that the set grows and shrinks, and that its order changes with it.
    void keptTextIsTheUpdateAtAnyTime()
    {
        MessageService service;
        QRandomGenerator random(20260131);
        const auto someIdentifier = [&] { return QString::number(random.bounded(100)); };
        for (int step = 0; step < 800; ++step) {
            const bool grows = step / 200 % 2 == 0;
            if (random.bounded(4) != 0 ? grows : !grows) {
                service.addMessage(message(someIdentifier().toLatin1().constData(), "t",
                                           QByteArray::number(step).constData()));
            } else {
                service.applyMessageConsumption(consumptionOf({someIdentifier(), someIdentifier()}));
            }
            // Not after every step, so that several changes also come in one.
            if (random.bounded(3) == 0) {
                const QByteArray kept = service.indentedUpdate();
                QCOMPARE(kept, service.createMessageUpdate().toJson());
                QCOMPARE(service.indentedUpdate(), kept);
            }
        }
    }

    void consumptionRemovesWhatItNames_data()
    {
        QTest::addColumn<QString>("consumed");
        QTest::addColumn<QString>("left");
        const auto row = [](const char *name, const char *consumed, const char *left) {
            QTest::newRow(name) << QString::fromLatin1(consumed) << QString::fromLatin1(left);
        };
        row("one", "b", "a c");
        row("several", "c a", "b");
        row("all", "a b c", "");
        row("one twice", "a a", "b c");
        row("unknown", "d", "a b c");
        row("other case", "A", "a b c");
        row("unknown between", "a d c", "b");
        row("unknown in front of all", "d a b c", "");
    }
    void consumptionRemovesWhatItNames()
    {
        QFETCH(QString, consumed);
        QFETCH(QString, left);
        const LogCapture log(category);
        MessageService service;
        for (const char *identifier : {"a", "b", "c"})
            service.addMessage(message(identifier));
        const int lines = log.lines().size();
        const QSignalSpy told(&service, &MessageService::messagesAvailable);
        service.applyMessageConsumption(consumptionOf(consumed.split(QLatin1Char(' '))));
        QCOMPARE(QStringList(textsOf(service.createMessageUpdate()).keys()).join(QLatin1Char(' ')), left);
        QCOMPARE(service.hasMessages(), !left.isEmpty());
        QCOMPARE(told.size(), 0);
        QCOMPARE(log.lines().size(), lines);
    }

    void nothingIsConsumedByAnEmptyReport()
    {
        MessageService service;
        service.addMessage(message(""));
        service.applyMessageConsumption(consumptionOf({}));
        QVERIFY(service.hasMessages());
        service.applyMessageConsumption(consumptionOf({QString()}));
        QVERIFY(!service.hasMessages());
    }

    void consumedMessageMayComeAgain()
    {
        MessageService service;
        service.addMessage(message("a"));
        service.applyMessageConsumption(consumptionOf({QStringLiteral("a")}));
        service.addMessage(message("a", "t", "again"));
        QCOMPARE(textsOf(service.createMessageUpdate()),
                 (Texts{{QStringLiteral("a"), QStringLiteral("again")}}));
    }

    void slotMayChangeTheQueue()
    {
        MessageService service;
        int told = 0;
        connect(&service, &MessageService::messagesAvailable, this, [&] {
            if (++told == 1)
                service.addMessage(message("b"));
            service.applyMessageConsumption(consumptionOf({QStringLiteral("a")}));
        });
        service.addMessage(message("a"));
        QCOMPARE(told, 2);
        QCOMPARE(textsOf(service.createMessageUpdate()).keys(), QStringList{QStringLiteral("b")});
    }

    // Consumption alone ends a message: nothing counts its lifetime.
    void lifetimeEndsNothing()
    {
        MessageService service;
        Message brief = message("a");
        brief.setTimestamp(QDateTime::currentDateTime());
        brief.setCustomLifeTime(structure::content::Timespan(1));
        service.addMessage(brief);
        service.addMessage(message("b"));
        QTimer clock;
        const QSignalSpy isOver(&clock, &QTimer::timeout);
        clock.start(1500);
        QTRY_VERIFY_WITH_TIMEOUT(!isOver.isEmpty(), 30000);
        QCOMPARE(textsOf(service.createMessageUpdate()).keys(),
                 (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
        QVERIFY(service.findChildren<QObject *>().isEmpty());
    }

    void everyMessageIsLogged()
    {
        QCOMPARE(MessageServiceLogging().categoryName(), category);
        const LogCapture log(category);
        MessageService service;
        bool wasLoggedBefore = false;
        connect(&service, &MessageService::messagesAvailable, this,
                [&] { wasLoggedBefore = !log.lines().isEmpty(); });
        service.addMessage(message("a", "Grüezi"));
        QVERIFY(wasLoggedBefore);
        service.addMessage(message("a", ""));
        QCOMPARE(log.lines().size(), 2);
        QVERIFY(log.contains(QtDebugMsg, QStringLiteral("Adding message with title  \"Grüezi\"")));
        QVERIFY(log.contains(QtDebugMsg, QStringLiteral("Adding message with title  \"\"")));
    }
};

QTEST_GUILESS_MAIN(MessageServiceTest)
#include "tst_messageservice.moc"
