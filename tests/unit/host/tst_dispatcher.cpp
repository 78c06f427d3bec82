#include "fakecontroller.h"
#include "logcapture.h"
#include "recordingsink.h"

#include <dispatcher.h>

#include <QEventLoop>
#include <QTimer>
#include <QtTest>

#include <stdexcept>

using http::server::Request;
using http::server::Response;

/// One exchange as the server would open it.
struct Opened
{
    RecordingSink sink;
    QSharedPointer<Request> request = QSharedPointer<Request>::create(
        Request::HttpMethod::Get, QUrl(QStringLiteral("/x")), http::server::HeaderFields(), QByteArray());
    QSharedPointer<Response> response = QSharedPointer<Response>::create(&sink);
};

class DispatcherTest : public QObject
{
    Q_OBJECT

    QStringList m_journal;

    static void answer(FakeController &controller) { controller.response->end("done"); }
    static void park(FakeController & /*controller*/) { }

    http::Controller *make(const char *name, const FakeController::Work &work)
    {
        return new FakeController(m_journal, QLatin1String(name), work);
    }

    // Everything that the work posts and starts is done in an event loop, as in the service.
    static void inEventLoop(const std::function<void()> &work)
    {
        QEventLoop loop;
        QTimer::singleShot(0, &loop, [&] {
            work();
            QTimer::singleShot(0, &loop, &QEventLoop::quit);
        });
        loop.exec();
    }
    // A nested loop that gives every posted event several chances.
    static void spin()
    {
        for (int i = 0; i < 5; ++i) {
            QEventLoop loop;
            QTimer::singleShot(0, &loop, &QEventLoop::quit);
            loop.exec();
        }
    }

    int releases() const { return m_journal.filter(QStringLiteral("release")).size(); }

private Q_SLOTS:
    void cleanup() { m_journal.clear(); }

    void callsComeInOrderWithTheExchangesObjects()
    {
        Opened opened;
        FakeStrategy strategy([&] {
            return make("a", [&](FakeController &controller) {
                QCOMPARE(controller.request, opened.request);
                QCOMPARE(controller.response, opened.response);
                answer(controller);
            });
        });
        Dispatcher dispatcher({&strategy});
        dispatcher.requestReceived(opened.request, opened.response);
        QCOMPARE(strategy.lastRequest, opened.request);
        QCOMPARE(m_journal, (QStringList{QStringLiteral("a setRequest"), QStringLiteral("a setResponse"),
                                         QStringLiteral("a onNewRequest"), QStringLiteral("a release")}));
        QCOMPARE(opened.sink.last->body, QByteArray("done"));
    }

    void firstControllerTakesTheRequest()
    {
        FakeStrategy none([] { return nullptr; });
        FakeStrategy first([&] { return make("first", answer); });
        FakeStrategy second([&] { return make("second", answer); });
        Dispatcher dispatcher({&none, &first, &second});
        Opened opened;
        dispatcher.requestReceived(opened.request, opened.response);
        QCOMPARE(none.asked, 1);
        QCOMPARE(first.asked, 1);
        QCOMPARE(second.asked, 0);
        QVERIFY(m_journal.contains(QStringLiteral("first onNewRequest")));
    }

    void nobodysRequestIs404_data()
    {
        QTest::addColumn<int>("strategies");
        QTest::newRow("no strategy at all") << 0;
        QTest::newRow("no strategy that wants it") << 2;
    }
    void nobodysRequestIs404()
    {
        QFETCH(int, strategies);
        FakeStrategy none([] { return nullptr; });
        Dispatcher dispatcher(
            std::vector<http::ControllerStrategy *>(static_cast<size_t>(strategies), &none));
        Opened opened;
        dispatcher.requestReceived(opened.request, opened.response);
        QCOMPARE(none.asked, strategies);
        QCOMPARE(opened.sink.last->status, 404);
        QCOMPARE(opened.sink.last->headers.joined("Content-Type"), QByteArray("application/problem+json"));
        QVERIFY(opened.sink.last->body.contains("\"status\":404"));
    }

    void strategyThatThrowsIs500()
    {
        const LogCapture log("ch.tessel.vexo-service.dispatcher");
        FakeStrategy broken([]() -> http::Controller * { throw std::runtime_error("broken"); });
        Dispatcher dispatcher({&broken});
        Opened opened;
        dispatcher.requestReceived(opened.request, opened.response);
        QCOMPARE(opened.sink.last->status, 500);
        QCOMPARE(opened.sink.last->headers.joined("Content-Type"), QByteArray("application/problem+json"));
        QCOMPARE(log.lines().size(), 1);
        QVERIFY(log.lines().constFirst().text.contains(QLatin1String("broken")));
    }

    void controllerThatThrowsIs500IfStillOpen_data()
    {
        QTest::addColumn<bool>("answered");
        QTest::addColumn<bool>("standard");
        QTest::addColumn<int>("status");
        QTest::newRow("before the answer") << false << true << 500;
        QTest::newRow("after the answer") << true << true << 200;
        QTest::newRow("something else, before") << false << false << 500;
        QTest::newRow("something else, after") << true << false << 200;
    }
    void controllerThatThrowsIs500IfStillOpen()
    {
        QFETCH(bool, answered);
        QFETCH(bool, standard);
        const LogCapture log("ch.tessel.vexo-service.dispatcher");
        FakeStrategy strategy([&] {
            return make("a", [&](FakeController &controller) {
                if (answered)
                    answer(controller);
                if (standard)
                    throw std::runtime_error("broken");
                throw 42;
            });
        });
        Dispatcher dispatcher({&strategy});
        Opened opened;
        dispatcher.requestReceived(opened.request, opened.response);
        QCOMPARE(opened.sink.answers, 1);
        QTEST(opened.sink.last->status, "status");
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines().constFirst().type, QtWarningMsg);
        QCOMPARE(m_journal.filter(QStringLiteral("release")), QStringList{QStringLiteral("a release")});
    }

    void throwingFromSetRequestIs500()
    {
        const LogCapture log("ch.tessel.vexo-service.dispatcher");
        FakeStrategy strategy([&] {
            auto *controller = new FakeController(m_journal, QStringLiteral("a"), park);
            controller->onSetRequest = [] { throw std::runtime_error("broken"); };
            return controller;
        });
        Dispatcher dispatcher({&strategy});
        Opened opened;
        dispatcher.requestReceived(opened.request, opened.response);
        QCOMPARE(opened.sink.last->status, 500);
        QCOMPARE(m_journal, (QStringList{QStringLiteral("a setRequest"), QStringLiteral("a release")}));
    }

    void throwingFromReleaseIsContained()
    {
        const LogCapture log("ch.tessel.vexo-service.controller");
        FakeStrategy strategy([&] {
            auto *controller = new FakeController(m_journal, QStringLiteral("a"), answer);
            controller->onRelease = [] { throw std::runtime_error("broken"); };
            return controller;
        });
        Dispatcher dispatcher({&strategy});
        Opened opened;
        dispatcher.requestReceived(opened.request, opened.response);
        QCOMPARE(opened.sink.last->status, 200);
        QCOMPARE(releases(), 1);
        QCOMPARE(log.lines().size(), 1);
    }

    void lateAnswerReleasesAfterwards()
    {
        FakeController *parked = nullptr;
        FakeStrategy strategy([&] {
            parked = new FakeController(m_journal, QStringLiteral("a"), park);
            return parked;
        });
        Dispatcher dispatcher({&strategy});
        Opened opened;
        dispatcher.requestReceived(opened.request, opened.response);
        spin();
        QCOMPARE(dispatcher.openExchanges(), 1);
        QCOMPARE(releases(), 0);
        inEventLoop([&] {
            parked->call(answer);
            QCOMPARE(releases(), 0);
        });
        QTRY_COMPARE(dispatcher.openExchanges(), 0);
        QCOMPARE(opened.sink.last->body, QByteArray("done"));
        QCOMPARE(m_journal.filter(QStringLiteral("release")), QStringList{QStringLiteral("a release")});
    }

    void departedClientReleasesWithoutAnAnswer()
    {
        FakeStrategy strategy([&] { return make("a", park); });
        Dispatcher dispatcher({&strategy});
        Opened opened;
        dispatcher.requestReceived(opened.request, opened.response);
        inEventLoop([&] { opened.response->abandon(); });
        QTRY_COMPARE(dispatcher.openExchanges(), 0);
        QCOMPARE(opened.sink.answers, 0);
        QCOMPARE(m_journal.filter(QStringLiteral("release")), QStringList{QStringLiteral("a release")});
    }

    void exchangeOverInsideOnNewRequestReleasesAfterIt_data()
    {
        QTest::addColumn<bool>("departs");
        QTest::addColumn<bool>("nested");
        QTest::newRow("answered") << false << false;
        QTest::newRow("answered from a nested loop") << false << true;
        QTest::newRow("departed") << true << false;
        QTest::newRow("departed in a nested loop") << true << true;
    }
    void exchangeOverInsideOnNewRequestReleasesAfterIt()
    {
        QFETCH(bool, departs);
        QFETCH(bool, nested);
        Opened opened;
        const auto finish = [&] {
            if (departs)
                opened.response->abandon();
            else
                opened.response->end("done");
        };
        FakeStrategy strategy([&] {
            return make("a", [&](FakeController & /*controller*/) {
                if (nested)
                    inEventLoop(finish);
                else
                    finish();
                spin();
            });
        });
        Dispatcher dispatcher({&strategy});
        inEventLoop([&] {
            dispatcher.requestReceived(opened.request, opened.response);
            QCOMPARE(releases(), 1);
        });
        QCOMPARE(m_journal.filter(QStringLiteral("release")), QStringList{QStringLiteral("a release")});
    }

    void slotThatAnsweredMayRunANestedLoop_data()
    {
        QTest::addColumn<bool>("object");
        QTest::newRow("plain controller") << false;
        QTest::newRow("QObject") << true;
    }
    void slotThatAnsweredMayRunANestedLoop()
    {
        QFETCH(bool, object);
        FakeController *parked = nullptr;
        FakeStrategy strategy([&]() -> http::Controller * {
            if (object)
                return parked = new FakeObjectController(m_journal, QStringLiteral("a"), park);
            return parked = new FakeController(m_journal, QStringLiteral("a"), park);
        });
        Dispatcher dispatcher({&strategy});
        Opened opened;
        dispatcher.requestReceived(opened.request, opened.response);
        inEventLoop([&] {
            parked->call([](FakeController &controller) {
                answer(controller);
                spin();
            });
            QCOMPARE(releases(), 0);
        });
        QTRY_COMPARE(dispatcher.openExchanges(), 0);
        QCOMPARE(m_journal.filter(QStringLiteral("release")), QStringList{QStringLiteral("a release")});
    }

    void exchangeOverUnderASlotsNestedLoopReleasesAfterTheSlot_data()
    {
        QTest::addColumn<bool>("departs");
        QTest::newRow("departed") << true;
        QTest::newRow("answered by another") << false;
    }
    void exchangeOverUnderASlotsNestedLoopReleasesAfterTheSlot()
    {
        QFETCH(bool, departs);
        FakeController *parked = nullptr;
        FakeStrategy strategy([&] {
            parked = new FakeController(m_journal, QStringLiteral("a"), park);
            return parked;
        });
        Dispatcher dispatcher({&strategy});
        Opened opened;
        QEventLoop service;
        QTimer::singleShot(0, &service, [&] {
            dispatcher.requestReceived(opened.request, opened.response);
            QTimer::singleShot(0, &service, [&] {
                parked->call([&](FakeController & /*controller*/) {
                    inEventLoop([&] {
                        if (departs)
                            opened.response->abandon();
                        else
                            opened.response->end("done");
                    });
                    spin();
                });
                QCOMPARE(releases(), 0);
            });
        });
        QTimer limit;
        connect(&limit, &QTimer::timeout, &service, [&] {
            if (releases() > 0)
                service.quit();
        });
        limit.start(1);
        QTimer::singleShot(5000, &service, &QEventLoop::quit);
        service.exec();
        QCOMPARE(m_journal.filter(QStringLiteral("release")), QStringList{QStringLiteral("a release")});
        QCOMPARE(dispatcher.openExchanges(), 0);
    }

    void controllerThatEndedItselfIsNotTouched_data()
    {
        QTest::addColumn<bool>("deletesFirst");
        QTest::newRow("deleteLater after the answer") << false;
        QTest::newRow("deleteLater before the answer") << true;
    }
    void controllerThatEndedItselfIsNotTouched()
    {
        QFETCH(bool, deletesFirst);
        static constexpr int count = 100;
        std::vector<QPointer<FakeObjectController>> parked;
        FakeStrategy strategy([&] {
            parked.emplace_back(new FakeObjectController(m_journal, QStringLiteral("a"), park));
            return parked.back().data();
        });
        Dispatcher dispatcher({&strategy});
        std::vector<std::unique_ptr<Opened>> opened;
        for (int i = 0; i < count; ++i) {
            opened.push_back(std::make_unique<Opened>());
            dispatcher.requestReceived(opened.back()->request, opened.back()->response);
        }
        QCOMPARE(dispatcher.openExchanges(), count);
        inEventLoop([&] {
            for (const auto &controller : parked) {
                if (deletesFirst)
                    controller->deleteLater();
                answer(*controller);
                if (!deletesFirst)
                    controller->deleteLater();
            }
        });
        QTRY_COMPARE(dispatcher.openExchanges(), 0);
        QVERIFY(std::all_of(parked.cbegin(), parked.cend(), [](const auto &c) { return c.isNull(); }));
        QCOMPARE(releases(), 0);
        QVERIFY(
            std::all_of(opened.cbegin(), opened.cend(), [](const auto &o) { return o->sink.answers == 1; }));
    }

    void controllerThatEndedItselfWithoutAnAnswerIsNotTouched()
    {
        QPointer<FakeObjectController> parked;
        FakeStrategy strategy([&] {
            parked = new FakeObjectController(m_journal, QStringLiteral("a"), park);
            return parked.data();
        });
        Dispatcher dispatcher({&strategy});
        Opened opened;
        dispatcher.requestReceived(opened.request, opened.response);
        inEventLoop([&] { parked->deleteLater(); });
        QTRY_VERIFY(parked.isNull());
        dispatcher.releaseAll();
        QCOMPARE(releases(), 0);
        QCOMPARE(dispatcher.openExchanges(), 0);
    }

    void pendingDeletionIsCancelledByTheRelease()
    {
        QPointer<FakeObjectController> controller;
        FakeStrategy strategy([&] {
            controller = new FakeObjectController(m_journal, QStringLiteral("a"), [](FakeController &self) {
                answer(self);
                static_cast<FakeObjectController &>(self).deleteLater();
            });
            return controller.data();
        });
        Dispatcher dispatcher({&strategy});
        Opened opened;
        inEventLoop([&] {
            dispatcher.requestReceived(opened.request, opened.response);
            QVERIFY(controller.isNull());
        });
        spin();
        QCOMPARE(releases(), 1);
    }

    void controllerGoneWithinOnNewRequestIsNotTouched()
    {
        FakeStrategy strategy([&] {
            return new FakeObjectController(m_journal, QStringLiteral("a"), [](FakeController &self) {
                answer(self);
                auto *object = static_cast<FakeObjectController *>(&self);
                object->deleteLater();
                QCoreApplication::sendPostedEvents(object, QEvent::DeferredDelete);
            });
        });
        Dispatcher dispatcher({&strategy});
        Opened opened;
        dispatcher.requestReceived(opened.request, opened.response);
        QCOMPARE(releases(), 0);
        QCOMPARE(opened.sink.answers, 1);
    }

    void releaseAllEndsEveryOpenExchangeInOrderWithoutAnAnswer()
    {
        int made = 0;
        FakeStrategy strategy([&] { return make(made++ == 0 ? "a" : "b", park); });
        Dispatcher dispatcher({&strategy});
        Opened first;
        Opened second;
        dispatcher.requestReceived(first.request, first.response);
        dispatcher.requestReceived(second.request, second.response);
        dispatcher.releaseAll();
        QCOMPARE(m_journal.filter(QStringLiteral("release")),
                 (QStringList{QStringLiteral("a release"), QStringLiteral("b release")}));
        QCOMPARE(dispatcher.openExchanges(), 0);
        for (const Opened *opened : {&first, &second}) {
            QVERIFY(opened->response->isOpen());
            QCOMPARE(opened->sink.answers + opened->sink.departures, 0);
            opened->response->abandon();
        }
        spin();
        QCOMPARE(releases(), 2);
    }

    void releaseAllAlsoEndsWhatWasAboutToBeReleased()
    {
        FakeStrategy strategy([&] { return make("a", park); });
        Dispatcher dispatcher({&strategy});
        Opened opened;
        dispatcher.requestReceived(opened.request, opened.response);
        opened.response->end("done");
        QCOMPARE(releases(), 0);
        dispatcher.releaseAll();
        QCOMPARE(releases(), 1);
        spin();
        QCOMPARE(releases(), 1);
    }

    void destructionReleases()
    {
        FakeStrategy strategy([&] { return make("a", park); });
        Opened opened;
        {
            Dispatcher dispatcher({&strategy});
            dispatcher.requestReceived(opened.request, opened.response);
        }
        QCOMPARE(releases(), 1);
    }

    void dispatchMayBeReenteredFromANestedLoop()
    {
        Opened outer;
        Opened answered;
        Opened parked;
        Dispatcher *dispatcher = nullptr;
        int made = 0;
        FakeStrategy strategy([&]() -> http::Controller * {
            switch (made++) {
            case 0:
                return make("outer", [&](FakeController &controller) {
                    inEventLoop([&] {
                        dispatcher->requestReceived(answered.request, answered.response);
                        dispatcher->requestReceived(parked.request, parked.response);
                    });
                    QCOMPARE(answered.sink.answers, 1);
                    inEventLoop([&] { parked.response->end("later"); });
                    spin();
                    m_journal.append(QStringLiteral("outer goes on"));
                    answer(controller);
                });
            case 1: return make("answered", answer);
            default: return make("parked", park);
            }
        });
        Dispatcher real({&strategy});
        dispatcher = &real;
        inEventLoop([&] { real.requestReceived(outer.request, outer.response); });
        QTRY_COMPARE(real.openExchanges(), 0);
        QCOMPARE(m_journal.filter(QRegularExpression(QStringLiteral("release|goes on"))),
                 (QStringList{QStringLiteral("answered release"), QStringLiteral("parked release"),
                              QStringLiteral("outer goes on"), QStringLiteral("outer release")}));
    }
};

QTEST_GUILESS_MAIN(DispatcherTest)
#include "tst_dispatcher.moc"
