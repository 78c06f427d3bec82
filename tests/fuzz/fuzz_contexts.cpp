#include "chunksteps.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>

// Each line of an input is a step: a letter for what is done, a letter for the context, and the rest, mostly
// a JSON body. What is answered, stored, published and signalled, and who of the parked polls is woken, must
// be what the plain model says, as far as Qt is certain of the documents. Debug lines are on if an input is
// short and has an odd number of bytes.

// Qt 5.15 loses an object or an array whose key comes again later in the same object.
extern "C" const char *__asan_default_options() // NOLINT(bugprone-reserved-identifier)
{
    return "detect_leaks=0";
}

namespace {

using http::server::HeaderFields;
using Method = Exchange::Method;

constexpr int mostSteps = 32;

// Beyond it an input ends: indentation makes megabytes of a deeply nested kilobyte, time and again.
constexpr int mostRendered = 20000000;
const QString contentTypeJson = QStringLiteral("Content-Type: application/json");

class Clients final
{
public:
    Clients(WatchedStore &store, bool logsDebug)
        : m_store(store)
        , m_chunks(store, m_polls, logsDebug)
    {
    }

    void step(const QByteArray &line);
    [[nodiscard]] bool isExhausted() const { return m_rendered > mostRendered; }

    /// Every poll that waits gets an answer by a change that has its item.
    void wakeAll();

private:
    void put(const QString &id, const QByteArray &body);
    void putTwice(const QString &id, const QByteArray &body);
    void post(const QString &id, const QByteArray &body);
    void get(const QString &id, const QByteArray &rest);
    void remove(const QString &id);
    void addFile(const QString &id, const QByteArray &text);
    void requireRendered(const QString &id);
    void requireServed(const QString &id, const QByteArray &name, const QByteArray &content);

    WatchedStore &m_store;
    ContextControllerStrategy m_strategy{m_store.contexts, m_store.messages};
    ParkedPolls m_polls{m_store, m_strategy};
    ChunkSteps m_chunks;
    int m_wakings = 0;
    int m_rendered = 0; ///< bytes of what GET has answered
};

// What GET renders is what is stored.
void Clients::requireRendered(const QString &id)
{
    const QJsonObject stored = m_store.stored(id).toObject();
    const Exchange exchange(m_strategy, Method::Get, "/context/" + id.toLatin1());
    require(exchange.status() == 200 && exchange.headers() == QStringList{contentTypeJson},
            "A context is not served.");
    m_rendered += exchange.body().size();
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(exchange.body(), &error);
    require(error.error == QJsonParseError::NoError && document.isObject(), "A context is no JSON.");
    if (isPlain(stored))
        require(plainText(document.object()) == plainText(stored), "A context reads as another.");
}

void Clients::put(const QString &id, const QByteArray &body)
{
    const QJsonObject sent = parsed(body);
    m_store.begin(sent);
    const Exchange exchange(m_strategy, Method::Put, "/context/" + id.toLatin1(), {}, body);
    require(exchange.status() == (m_store.was(id).isNull() ? 201 : 200)
                && exchange.headers() == QStringList{contentTypeJson},
            "A PUT is answered otherwise.");
    m_store.expectUpdate(id, plainMembers(sent));
    if (m_polls.settle()) {
        require(plainMembers(parsed(exchange.body()))
                    == plainMerge(plainMembers(m_store.was(id).toObject()), plainMembers(sent)),
                "A PUT answers another object than the merge.");
    }
    requireRendered(id);
}

// The second finds what the first has set. It may only bring back the matching items of its body, which the
// first, if it was a change, has cleared.
void Clients::putTwice(const QString &id, const QByteArray &body)
{
    put(id, body);
    const QJsonObject first = m_store.stored(id).toObject();
    put(id, body);
    const QJsonObject second = m_store.stored(id).toObject();
    if (!m_store.isPlainStep() || !isPlain(second) || !isCertain(first, second))
        return;
    require(m_store.raised.isEmpty()
                || (plainText(first) != plainText(second)
                    && parsed(body).contains(QLatin1String("matchingItems"))),
            "The same PUT has changed a context once more.");
}

// The letter tells which headers are sent.
void Clients::post(const QString &letter, const QByteArray &body)
{
    const bool wantsText = letter == QLatin1String("b");
    const bool isLatin1 = letter == QLatin1String("c");
    const QByteArray utf8 = isLatin1 ? QString::fromLatin1(body).toUtf8() : body;
    QJsonParseError error;
    const QJsonObject sent = QJsonDocument::fromJson(utf8, &error).object();
    m_store.begin(sent);
    const HeaderFields fields{{"Accept", wantsText ? "text/plain" : "*/*"},
                              {"Content-Type", isLatin1 ? "text/json; charset=ISO-8859-1" : "text/json"}};
    const Exchange exchange(m_strategy, Method::Post, "/context", fields, body);
    if (error.error != QJsonParseError::NoError) {
        require(exchange.status() == 400 && exchange.body() == error.errorString().toLocal8Bit()
                    && exchange.headers() == QStringList{QStringLiteral("Content-Type: text/plain")},
                "A POST of no JSON is answered otherwise.");
        m_polls.settle();
        return;
    }
    require(exchange.status() == 200, "A POST is refused.");
    QStringList created = m_store.contexts.getContextKeys();
    for (const QString &id : m_store.idsBefore())
        created.removeOne(id);
    require(created.size() == 1 && created.constFirst().size() == 16, "A POST makes no context.");
    const QString id = created.constFirst();
    m_store.expectWrite(id, plainMerge(plainMembers(sent), {{QStringLiteral("_id"), plainText(id)}}));
    const QJsonObject event{{QStringLiteral("contextId"), id}};
    const QJsonObject announcement{{QStringLiteral("exchange"), QStringLiteral("context-created")},
                                   {QStringLiteral("data"), event}};
    m_polls.settle();
    require(m_store.others == QVector<QJsonObject>{announcement}, "A POST is announced otherwise.");
    const QByteArray rendered = indented(m_store.stored(id));
    require(exchange.body() == (wantsText ? id.toLatin1() : rendered), "A POST answers otherwise.");
    putTwice(id, utf8);
    // The next id would otherwise be waited for, up to a second.
    remove(id);
}

// `rest` is what stands behind the path of the context, and behind a blank the type of the content.
void Clients::get(const QString &id, const QByteArray &rest)
{
    const int blank = rest.indexOf(' ');
    const QByteArray path = rest.mid(0, blank);
    const QString type = QString::fromUtf8(blank < 0 ? QByteArray() : rest.mid(blank + 1));
    m_store.begin();
    try {
        const Exchange exchange(m_strategy, Method::Get, "/context/" + id.toLatin1() + path,
                                {{"Content-Type", type.toUtf8()}});
        m_rendered += exchange.body().size();
        require(!path.startsWith('?') || exchange.controller() == nullptr, "A query has a controller.");
        if (path.isEmpty() || path == "/") {
            const QJsonValue context = m_store.was(id);
            const bool isServed = type.isEmpty() || type == QLatin1String("application/json");
            require(exchange.status() == (isServed ? (context.isNull() ? 404 : 200) : 0)
                        && exchange.body() == (exchange.status() == 200 ? indented(context) : QByteArray()),
                    "A GET is answered otherwise.");
        }
    } catch (const std::runtime_error &error) {
        // The name of a file that consists of a byte order mark is empty.
        require(std::strcmp(error.what(), "Filename required.") == 0, "A GET fails.");
    }
    // Perhaps another one, behind whose id the rest stands.
    for (const QString &read : m_store.contexts.getContextKeys())
        m_store.expectRead(read);
    m_polls.settle();
}

void Clients::remove(const QString &id)
{
    m_store.begin();
    const bool isKnown = !m_store.was(id).isNull();
    const Exchange exchange(m_strategy, Method::Delete, "/context/" + id.toLatin1());
    require(exchange.status() == (isKnown ? 204 : 404)
                && exchange.body() == (isKnown ? QByteArray() : QByteArray("Context not found.")),
            "A DELETE is answered otherwise.");
    if (isKnown)
        m_store.expectRemoval(id);
    else
        m_store.expectRead(id);
    m_polls.settle();
    require(m_store.others.size() == (isKnown ? 1 : 0), "A DELETE is announced otherwise.");
}

// In every form that the query and the headers of a GET may ask for, if the name needs no encoding.
void Clients::requireServed(const QString &id, const QByteArray &name, const QByteArray &content)
{
    static const QByteArray letters("abcdefghijklmnopqrstuvwxyz0123456789_-.");
    if (name.isEmpty() || !std::all_of(name.begin(), name.end(), [](char c) { return letters.contains(c); }))
        return;
    const QString octets = QStringLiteral("Content-Type: application/octet-stream");
    const QString disposition = QStringLiteral("Content-Disposition: attachment");
    const QStringList byName =
        name.endsWith(".pdf") ? QStringList{QStringLiteral("Content-Type: application/pdf")} : QStringList();
    const auto requireAnswer = [&](const QByteArray &query, const HeaderFields &fields, int status,
                                   const QStringList &headers, const QByteArray &body) {
        const QByteArray target = "/context/" + id.toLatin1() + "/file/" + name + query;
        const Exchange exchange(m_strategy, Method::Get, target, fields);
        require(exchange.status() == status && exchange.headers() == headers && exchange.body() == body,
                "A file is served otherwise.");
    };
    requireAnswer("", {}, 200, byName, content);
    requireAnswer("?download=TRUE&filename=" + name, {}, 200, byName, content);
    requireAnswer("?download=true", {}, 200, {octets, disposition}, content);
    requireAnswer("?filename=" + name + "&download=true", {}, 200,
                  {octets, disposition + QStringLiteral("; filename=%1;").arg(QString::fromLatin1(name))},
                  content);
    requireAnswer("?download=true", {{"Accept-Encoding", "base64"}}, 200,
                  {QStringLiteral("Content-Encoding: base64")}, content.toBase64());
    requireAnswer("", {{"Accept", "application/fhir+json"}}, 501, {},
                  "Fhir file reprensentation not implemented.");
}

void Clients::addFile(const QString &id, const QByteArray &text)
{
    m_chunks.addFile(id, text);
    const QString name = parsed(text).value(QLatin1String("filename")).toString();
    if (!m_store.stored(id).isNull())
        requireServed(id, name.toUtf8(), m_store.contexts.getFile(id, name));
}

void Clients::wakeAll()
{
    for (QString id; !(id = m_polls.awaited()).isNull();) {
        // A key of its own for the change, and the items.
        QJsonObject body{{QStringLiteral("woken"), ++m_wakings}};
        for (const QString &item : m_polls.itemsOf(id))
            body.insert(item, m_wakings);
        put(id, QJsonDocument(body).toJson());
        // What Qt is not certain of may still be waited for.
        if (!isPlain(body) || !m_store.isPlainStep())
            return;
        require(m_polls.awaited() != id, "A poll was not woken.");
    }
}

void Clients::step(const QByteArray &line)
{
    if (line.size() < 2)
        return;
    const QString id = QString(QLatin1Char("cab"[static_cast<unsigned char>(line.at(1)) % 3]));
    const QByteArray rest = line.mid(2);
    switch (line.at(0)) {
    case 'p': put(id, rest); break;
    case 't': putTwice(id, rest); break;
    case 'c': post(id, rest); break;
    case 'g': get(id, rest); break;
    case 'd': remove(id); break;
    case 'e': m_polls.park(id, rest); break;
    case 'l': m_polls.leave(id); break;
    case 's': m_chunks.set(id, rest); break;
    case 'u': m_chunks.update(id, rest); break;
    case 'm': m_chunks.addMatchingItems(rest); break;
    case 'r': m_chunks.addActionRequests(rest); break;
    case 'f': addFile(id, rest); break;
    case 'x': m_chunks.removeFile(id, rest); break;
    default: break;
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static const QCoreApplication application(*argc, *argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const bool logsDebug = size % 2 == 1 && size < 1024;
    QLoggingCategory::setFilterRules(QLatin1String(logsDebug ? "*=true" : "*=false"));
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<int>(size));
    static WatchedStore store;
    store.reset();
    Clients clients(store, logsDebug);
    for (const QByteArray &line : input.split('\n').mid(0, mostSteps)) {
        if (!clients.isExhausted())
            clients.step(line);
    }
    clients.wakeAll();
    return 0;
}
