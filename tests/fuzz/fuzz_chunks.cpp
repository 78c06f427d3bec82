#include "cardservice.h"
#include "chunkbehaviourfactory.h"
#include "chunkfrombytes.h"
#include "chunklistener.h"
#include "chunkserviceproxy.h"
#include "contextservice.h"
#include "fileservice.h"
#include "messageservice.h"
#include "recordingchunkservice.h"
#include "structure/content/messageconsumption.h"
#include "structure/content/messageupdate.h"
#include "structure/request/messageupdate.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QSettings>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>

// An input that is JSON is one chunk; any other grows some. All go to the whole set of behaviours over a
// store with some contexts; debug lines are on if the input has an odd number of bytes.

// Qt 5.15 loses an object or an array whose key comes again later in the same object.
extern "C" const char *__asan_default_options() // NOLINT(bugprone-reserved-identifier)
{
    return "detect_leaks=0";
}

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

QJsonValue parsed(const char *text)
{
    const QJsonDocument document = QJsonDocument::fromJson(text);
    require(document.isObject());
    return document.object();
}

// The directory to which the behaviours write the XML of cards.
class XmlDirectory final
{
public:
    XmlDirectory()
    {
        require(m_directory.isValid() && QDir(m_directory.path()).mkpath(QStringLiteral("maker"))
                && QDir(m_directory.path()).mkdir(QStringLiteral("xml")));
        QSettings::setPath(QSettings::IniFormat, QSettings::SystemScope, m_directory.path());
        QFile file(m_directory.filePath(QStringLiteral("maker/program.ini")));
        require(file.open(QIODevice::WriteOnly)
                && file.write("[ch.tessel.vexo-service.context]\nxml.directory=" + QFile::encodeName(path())
                              + '\n')
                       > 0);
    }

    // Only files of the two kinds, and names without a way out of the directory.
    void empty() const
    {
        const QStringList names = QDir(path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        for (const QString &name : names) {
            require((name.startsWith(QLatin1String("adm_")) || name.startsWith(QLatin1String("vkc_")))
                    && name.endsWith(QLatin1String(".xml")));
            require(QFile::remove(QDir(path()).filePath(name)));
        }
    }

private:
    [[nodiscard]] QString path() const { return m_directory.filePath(QStringLiteral("xml")); }

    QTemporaryDir m_directory;
};

class Plugin final
{
public:
    Plugin()
    {
        m_proxy.setChunkService(&m_bus);
        m_contexts.setBehaviours(
            ChunkBehaviourFactory(*m_cards, m_proxy, m_contexts, m_messages).createBehaviours());
    }

    // Leaves nothing of the input before.
    void reset()
    {
        // In place, where those who keep a reference find them.
        m_cards.emplace();
        m_files.emplace();
        const QStringList ids = m_contexts.getContextKeys();
        for (const QString &id : ids)
            m_contexts.deleteContext(id);
        static const QJsonValue context =
            parsed(R"({"_id":"a","patient":{"id":"p","name":["n",null]},"x":1,"y":null,
                       "matchingItems":[{"id":"r"},{"id":"r"},{},7],"actionRequests":"none",
                       "attachments":[{"status":"superseded","content":{"attachment":{"url":"/context/a/file/b"}}},
                                      {"content":[{"attachment":{"url":"b"}}]},7]})");
        m_contexts.setContext(QStringLiteral("a"), context);
        m_contexts.setContext(QStringLiteral("b"), QJsonArray{context});
        require(m_contexts.getContext(QStringLiteral("read only")).isNull());
        consumeMessages();
    }

    void deliver(const QJsonValue &chunk)
    {
        m_bus.chunks.clear();
        m_listener.onChunkUpdated(chunk);
        if (!chunk[QLatin1String("source")].isUndefined())
            m_xml.empty();
        require(chunk.isObject() || m_bus.chunks.isEmpty());
        QStringList created;
        for (const QJsonValue &published : qAsConst(m_bus.chunks)) {
            require(published.isObject());
            const QString id = published[QLatin1String("data")][QLatin1String("contextId")].toString();
            if (!id.isEmpty() && published[QLatin1String("exchange")] == QLatin1String("context-created"))
                created.append(id);
        }
        // The next id would otherwise be waited for, up to a second.
        for (const QString &id : qAsConst(created))
            m_contexts.deleteContext(id);
    }

    void requireAnswers()
    {
        static const QJsonValue request =
            parsed(R"({"exchange":"vexo-context-rpc-set","body":{"_id":"z","n":1},
                       "properties":{"reply-to":"123456789here","correlation-id":[7]}})");
        static const QJsonValue reply =
            parsed(R"({"exchange":"here","body":{"n":1},"properties":{"correlation-id":[7]}})");
        deliver(request);
        require(m_contexts.getContext(QStringLiteral("z"))[QLatin1String("n")] == 1);
        require(m_bus.chunks.last() == reply);
        static const QJsonValue message = parsed(R"({"exchange":"vexo-context-add-messages",
                       "messages":[{"id":"z","title":"t","text":"last"}]})");
        deliver(message);
        require(m_messages.indentedUpdate().contains("last"));
    }

private:
    // Every message that is kept is told, and is gone once it is reported.
    void consumeMessages()
    {
        require(QJsonDocument::fromJson(m_messages.indentedUpdate()).isArray());
        structure::request::MessageUpdate form;
        require(form.parse(m_messages.createMessageUpdate()));
        structure::content::MessageUpdate update;
        form.fill(update);
        structure::content::MessageConsumption consumption;
        for (const auto &message : qAsConst(update.messages))
            consumption.identifiers.append(message.identifier());
        m_messages.applyMessageConsumption(consumption);
        require(!m_messages.hasMessages());
    }

    XmlDirectory m_xml;
    RecordingChunkService m_bus;
    ChunkServiceProxy m_proxy;
    std::optional<CardService> m_cards{std::in_place};
    std::optional<FileService> m_files{std::in_place};
    MessageService m_messages;
    ContextService m_contexts{m_proxy, *m_files};
    ChunkListener m_listener{*m_cards, m_contexts};
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static const QCoreApplication application(*argc, *argv);
    QCoreApplication::setOrganizationName(QStringLiteral("maker"));
    QCoreApplication::setApplicationName(QStringLiteral("program"));
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    QLoggingCategory::setFilterRules(QLatin1String(size % 2 == 1 ? "*.debug=true" : "*.debug=false"));
    static Plugin plugin;
    plugin.reset();
    const QJsonDocument document = QJsonDocument::fromJson(
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<int>(size)));
    if (document.isObject()) {
        plugin.deliver(document.object());
    } else if (document.isArray()) {
        plugin.deliver(document.array());
    } else {
        for (ChunkFromBytes bytes(data, size); !bytes.atEnd();)
            plugin.deliver(bytes.chunk());
    }
    plugin.requireAnswers();
    return 0;
}
