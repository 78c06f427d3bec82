#pragma once

#include <k7-plugin-api/controller.h>
#include <k7-plugin-api/controllerstrategy.h>

#include <http/server/request.h>
#include <http/server/response.h>

#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>
#include <utility>

/// Writes what the dispatcher does to it into a journal, under its name, and works as it is told.
class FakeController : public http::Controller
{
public:
    using Work = std::function<void(FakeController &)>;

    FakeController(QStringList &journal, QString name, Work work)
        : m_journal(journal)
        , m_name(std::move(name))
        , m_work(std::move(work))
    {
    }
    virtual ~FakeController() = default;
    Q_DISABLE_COPY_MOVE(FakeController)

    void release() override
    {
        note(m_calls.use_count() == 1 ? "release" : "release inside");
        const auto thrown = std::exchange(onRelease, nullptr);
        delete this;
        if (thrown)
            thrown();
    }
    void setRequest(QSharedPointer<http::server::Request> given) override
    {
        note("setRequest");
        request = given;
        if (onSetRequest)
            onSetRequest();
    }
    void setResponse(QSharedPointer<http::server::Response> given) override
    {
        note("setResponse");
        response = given;
    }
    void onNewRequest() override
    {
        note("onNewRequest");
        call(m_work);
    }

    /// One of the controller's own calls, which may end the controller; a release() meanwhile is told as
    /// "release inside".
    void call(const Work &work)
    {
        const Work copy = work;
        const std::shared_ptr<void> call = m_calls;
        copy(*this);
    }

    QSharedPointer<http::server::Request> request;
    QSharedPointer<http::server::Response> response;
    std::function<void()> onSetRequest;
    std::function<void()> onRelease;

private:
    void note(const char *what) { m_journal.append(m_name + QLatin1Char(' ') + QLatin1String(what)); }

    QStringList &m_journal;
    const QString m_name;
    const Work m_work;
    const std::shared_ptr<void> m_calls = std::make_shared<int>(); ///< one more owner in each call
};

/// One that is a QObject and may end itself.
class FakeObjectController final : public QObject, public FakeController
{
public:
    using FakeController::FakeController;
};

/// Makes controllers by a function, and counts how often it is asked.
class FakeStrategy final : public http::ControllerStrategy
{
public:
    using Make = std::function<http::Controller *()>;

    explicit FakeStrategy(Make make)
        : m_make(std::move(make))
    {
    }
    http::Controller *createController(QSharedPointer<http::server::Request> request) override
    {
        ++asked;
        lastRequest = request;
        return m_make();
    }

    int asked = 0;
    QSharedPointer<http::server::Request> lastRequest;

private:
    const Make m_make;
};
