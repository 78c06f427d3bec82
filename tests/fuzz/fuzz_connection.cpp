#include "connectiondriver.h"
#include "plainrequests.h"

#include <http/server/answer.h>

#include <QLoggingCategory>
#include <QtGlobal>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// The first line of an input, up to its LF, tells by its bytes how long the pieces are into which the rest is
// cut, round and round; without any it is cut into bytes. What the application gets and what the client is
// answered must be the same for the rest whole, in pieces, and with answers that leave late. And it must be
// what a plain reader finds in it, or the beginning of that. A request with a field "Stranger" is turned away
// by the guard.

namespace {

using namespace http::server;

QByteArray methodName(Request::HttpMethod method)
{
    switch (method) {
    case Request::HttpMethod::Delete: return "DELETE";
    case Request::HttpMethod::Get: return "GET";
    case Request::HttpMethod::Head: return "HEAD";
    case Request::HttpMethod::Post: return "POST";
    case Request::HttpMethod::Put: return "PUT";
    case Request::HttpMethod::Connect: return "CONNECT";
    case Request::HttpMethod::Options: return "OPTIONS";
    case Request::HttpMethod::Trace: return "TRACE";
    case Request::HttpMethod::Patch: return "PATCH";
    case Request::HttpMethod::Unknown: break;
    }
    return {};
}

[[noreturn]] void fail(const char *what)
{
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

void require(bool holds, const char *what)
{
    if (!holds)
        fail(what);
}

/// Small, so that short inputs reach them.
Limits limits()
{
    Limits limits;
    limits.maxTargetBytes = 200;
    limits.maxHeaderBytes = 600;
    limits.maxBodyBytes = 300;
    return limits;
}

/// One client's connection, fed to its end.
class Exchanges final
{
public:
    explicit Exchanges(bool late)
        : m_driver([this](const auto &request, const auto &response) { serve(*request, *response); },
                   limits())
    {
        m_driver.holdsBack = late;
        m_driver.screening = [](Request::HttpMethod /*method*/, const HeaderFields &headers) {
            Screening screening;
            if (headers.contains("Stranger"))
                screening.answer = problem(403);
            return screening;
        };
    }

    void feed(const QByteArray &bytes)
    {
        m_driver.feed(bytes);
        while (!m_driver.held.isEmpty())
            m_driver.flush();
    }
    void end()
    {
        m_ended = m_driver.outputEnded;
        m_driver.endInput();
        require(m_driver.closed, "The end of the input did not close the connection.");
    }

    [[nodiscard]] const QVector<QSharedPointer<Request>> &requests() const { return m_requests; }
    [[nodiscard]] bool hasEnded() const { return m_ended; }

    /// What was written, without the dates.
    [[nodiscard]] QByteArray answers() const
    {
        QByteArray text = m_driver.output;
        for (int at = 0; (at = text.indexOf("\r\nDate: ", at)) >= 0;)
            text.remove(at, text.indexOf("\r\n", at + 2) - at);
        return text;
    }

private:
    void serve(const Request &request, Response &response)
    {
        m_requests.append(QSharedPointer<Request>::create(request));
        response.end(QByteArray::number(m_requests.size()));
    }

    QVector<QSharedPointer<Request>> m_requests;
    bool m_ended = false;
    ConnectionDriver m_driver;
};

void requireSame(const Exchanges &one, const Exchanges &other, const QVector<PlainRequest> &plain)
{
    require(one.requests().size() == other.requests().size(), "The number of requests depends on the cuts.");
    require(one.answers() == other.answers(), "The answers depend on the cuts.");
    require(one.hasEnded() == other.hasEnded(), "The end of the connection depends on the cuts.");
    for (int i = 0; i < one.requests().size(); ++i) {
        const Request &a = *one.requests().at(i);
        const Request &b = *other.requests().at(i);
        require(a.method() == b.method() && a.url() == b.url() && a.body() == b.body(),
                "A request depends on the cuts.");
        for (const auto &field : plain.at(i).fields) {
            const QString name = QString::fromLatin1(field.first);
            require(a.header(name) == b.header(name), "A header depends on the cuts.");
        }
    }
}

QString joined(const QVector<QByteArray> &values)
{
    QByteArray text = values.constFirst();
    for (int i = 1; i < values.size(); ++i)
        text += ", " + values.at(i);
    return QString::fromUtf8(text);
}

void requireFound(const Exchanges &exchanges, const QVector<PlainRequest> &plain)
{
    const auto &requests = exchanges.requests();
    require(requests.size() <= plain.size(), "There are more requests than a plain reader finds.");
    for (int i = 0; i < requests.size(); ++i) {
        const Request &request = *requests.at(i);
        const PlainRequest &found = plain.at(i);
        require(methodName(request.method()) == found.method, "A method is another.");
        require(request.body() == found.body, "A body is another.");
        require(request.header(QStringLiteral("Content-Length")).isNull()
                    || request.header(QStringLiteral("Transfer-Encoding")).isNull(),
                "A request has two lengths.");
        if (found.target.startsWith('/') && !found.target.contains('%'))
            require(request.url().path(QUrl::FullyDecoded)
                        == QString::fromLatin1(found.target.split('?').constFirst()),
                    "A path is another.");
        for (const auto &field : found.fields)
            require(request.header(QString::fromLatin1(field.first))
                        == joined(found.values(field.first.toLower())),
                    "A header is another.");
    }
}

/// Those that the guard lets pass.
QVector<PlainRequest> admitted(const QVector<PlainRequest> &all)
{
    QVector<PlainRequest> passed;
    for (const PlainRequest &request : all) {
        if (request.values("stranger").isEmpty())
            passed.append(request);
    }
    return passed;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const int lineEnd = input.indexOf('\n');
    const QByteArray cuts = lineEnd <= 0 ? QByteArray("\1") : input.left(lineEnd);
    const QByteArray stream = input.mid(lineEnd + 1);
    if (stream.isEmpty())
        return 0;

    const QVector<PlainRequest> plain = admitted(PlainRequests(stream).found());
    Exchanges whole(false);
    whole.feed(stream);
    whole.end();
    requireFound(whole, plain);

    for (const bool late : {false, true}) {
        Exchanges pieces(late);
        for (int at = 0, i = 0; at < stream.size(); ++i) {
            const int length =
                qMax(1, static_cast<int>(static_cast<unsigned char>(cuts.at(i % cuts.size()))));
            pieces.feed(stream.mid(at, length));
            at += length;
        }
        pieces.end();
        requireSame(whole, pieces, plain);
    }
    return 0;
}
