#include "testplugin.h"

#include <http/server/request.h>
#include <http/server/response.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QScopedValueRollback>

#include <algorithm>
#include <stdexcept>

namespace testplugin {

static const QLoggingCategory &testPluginLogging()
{
    static const QLoggingCategory category("test.plugin");
    return category;
}

void log(const QString &text)
{
    qCInfo(testPluginLogging).noquote() << TEST_PLUGIN_NAME << qUtf8Printable(text);
}

/// Answers one request as the last segment of its path, its task, says.
class Controller : public http::Controller
{
public:
    Controller(Shared &shared, const QString &task)
        : m_shared(shared)
        , m_task(task)
    {
    }
    virtual ~Controller() { m_shared.parked.erase(place(), m_shared.parked.end()); }

    void release() override
    {
        log((m_running ? QStringLiteral("release inside ") : QStringLiteral("release ")) + m_task);
        if (m_task == QLatin1String("park-publish"))
            m_shared.bus->publishChunk(QJsonObject());
        delete this;
    }
    void setRequest(QSharedPointer<http::server::Request> request) override { m_request = request; }
    void setResponse(QSharedPointer<http::server::Response> response) override { m_response = response; }
    void onNewRequest() override
    {
        const QScopedValueRollback<bool> running(m_running, true);
        answer();
    }

    virtual void wake() { end("woken"); }

protected:
    void end(const QByteArray &body)
    {
        m_response->writeHead(200);
        m_response->end(body);
    }

private:
    void answer();
    void nest();
    std::vector<Controller *>::iterator place()
    {
        return std::remove(m_shared.parked.begin(), m_shared.parked.end(), this);
    }

    Shared &m_shared;
    const QString m_task;
    bool m_running = false;
    QSharedPointer<http::server::Request> m_request;
    QSharedPointer<http::server::Response> m_response;
};

void Controller::answer()
{
    if (m_task.startsWith(QLatin1String("park"))) {
        log(QStringLiteral("parks"));
        return m_shared.parked.push_back(this);
    }
    if (m_task == QLatin1String("throw"))
        throw std::runtime_error("thrown on purpose");
    if (m_task == QLatin1String("throw-number"))
        throw 42;
    if (m_task == QLatin1String("nested"))
        nest();
    if (m_task == QLatin1String("unnest") && m_shared.nested != nullptr)
        m_shared.nested->quit();
    if (m_task == QLatin1String("publish"))
        m_shared.bus->publishChunk(QJsonDocument::fromJson(m_request->body()).object());
    if (m_task == QLatin1String("length"))
        return end(QByteArray::number(m_request->body().size()));
    if (m_task == QLatin1String("wake")) {
        const auto parked = m_shared.parked;
        for (Controller *controller : parked)
            controller->wake();
    }
    end(TEST_PLUGIN_NAME);
}

void Controller::nest()
{
    QEventLoop loop;
    m_shared.nested = &loop;
    log(QStringLiteral("nested loop begins"));
    loop.exec();
    m_shared.nested = nullptr;
    log(QStringLiteral("nested loop has ended"));
}

/// Ends itself once it has answered, unless the host is quicker.
class SelfEndingController final : public QObject, public Controller
{
    Q_OBJECT

public:
    using Controller::Controller;
    ~SelfEndingController() override { log(QStringLiteral("destroyed park-self")); }
    void wake() override
    {
        Controller::wake();
        deleteLater();
    }
};

http::Controller *Strategy::createController(QSharedPointer<http::server::Request> request)
{
    const QString path = request->url().path();
    const QString task = path.section(QLatin1Char('/'), -1);
    if (path == QLatin1String("/shared"))
        return new Controller(m_shared, task);
    if (!path.startsWith(QStringLiteral("/%1/").arg(QLatin1String(TEST_PLUGIN_NAME))))
        return nullptr;
    if (task == QLatin1String("strategy-throw"))
        throw std::runtime_error("thrown on purpose");
    if (task == QLatin1String("park-self"))
        return new SelfEndingController(m_shared, task);
    return new Controller(m_shared, task);
}

void Listener::onChunkUpdated(const QJsonValue &chunk)
{
    if (chunk.toObject().contains(QStringLiteral("throw")))
        throw std::runtime_error("thrown on purpose");
    log(QStringLiteral("chunk ")
        + QString::fromUtf8(QJsonDocument(chunk.toObject()).toJson(QJsonDocument::Compact)));
}

TestPlugin::~TestPlugin()
{
    log(QStringLiteral("destroyed"));
}

void TestPlugin::initialize()
{
    log(QStringLiteral("initialize"));
}

std::vector<http::ControllerStrategy *> TestPlugin::getControllers()
{
    log(QStringLiteral("getControllers"));
    return {&m_strategy};
}

void TestPlugin::attachChunkService(ChunkService &service)
{
    log(QStringLiteral("attachChunkService"));
    m_shared.bus = &service;
    service.attachChunkListener(&m_listener);
}

void TestPlugin::detachChunkService(ChunkService &service)
{
    log(QStringLiteral("detachChunkService ")
        + (&service == m_shared.bus ? QStringLiteral("of its own") : QStringLiteral("of another")));
}

QTranslator *TestPlugin::pluginTranslator(const QString & /*locale*/)
{
    return nullptr;
}

} // namespace testplugin

#include "testplugin.moc"
