// A whole plug-in: counts the changes of contexts on the bus and tells the count at GET /echo/changes.
#include <k7-plugin-api/chunkservice.h>
#include <k7-plugin-api/chunkupdatelistener.h>
#include <k7-plugin-api/controller.h>
#include <k7-plugin-api/controllerstrategy.h>
#include <k7-plugin-api/vexoserviceinterface.h>

#include <http/server/request.h>
#include <http/server/response.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>

using http::server::Request;
using http::server::Response;

class ChangesController final : public http::Controller
{
public:
    explicit ChangesController(int changes)
        : m_changes(changes)
    {
    }
    void release() override { delete this; }
    void setRequest(QSharedPointer<Request> /*request*/) override { }
    void setResponse(QSharedPointer<Response> response) override { m_response = response; }
    void onNewRequest() override
    {
        m_response->setHeader(QStringLiteral("Content-Type"), QStringLiteral("application/json"));
        m_response->writeHead(200);
        m_response->end(QJsonDocument({{QStringLiteral("changes"), m_changes}}).toJson());
    }

private:
    const int m_changes;
    QSharedPointer<Response> m_response;
};

class EchoPlugin final : public QObject,
                         public VexoServicePlugin,
                         private http::ControllerStrategy,
                         private ChunkUpdateListener
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.example.echo")
    Q_INTERFACES(VexoServicePlugin)

public:
    void initialize() override { m_controllers = {this}; }
    std::vector<http::ControllerStrategy *> getControllers() override { return m_controllers; }
    void attachChunkService(ChunkService &service) override { service.attachChunkListener(this); }
    void detachChunkService(ChunkService & /*service*/) override { }
    QTranslator *pluginTranslator(const QString & /*locale*/) override { return nullptr; }

private:
    http::Controller *createController(QSharedPointer<Request> request) override
    {
        const bool isOurs = request->method() == Request::HttpMethod::Get
                            && request->url().path() == QLatin1String("/echo/changes");
        return isOurs ? new ChangesController(m_changes) : nullptr;
    }
    void onChunkUpdated(const QJsonValue &chunk) override
    {
        if (chunk[QLatin1String("data")][QLatin1String("event")] == QLatin1String("context-changed"))
            ++m_changes;
    }

    std::vector<http::ControllerStrategy *> m_controllers;
    int m_changes = 0;
};

#include "echoplugin.moc"
