#include "response.h"

#include "token.h"

#include <QLoggingCategory>

#include <algorithm>
#include <utility>

namespace http::server {

static const QLoggingCategory &responseLogging()
{
    static const QLoggingCategory category("ch.tessel.http.server.response");
    return category;
}

static bool isFieldValue(const QByteArray &value)
{
    return std::none_of(value.cbegin(), value.cend(), isControl);
}

static bool isSetByServer(const QByteArray &name)
{
    return qstricmp(name.constData(), "Content-Length") == 0 || qstricmp(name.constData(), "Date") == 0
           || qstricmp(name.constData(), "Connection") == 0
           || qstricmp(name.constData(), "Transfer-Encoding") == 0;
}

Response::Response(AnswerSink *sink)
    : m_sink(sink)
{
}

Response::~Response() = default;

void Response::setHeader(const QString &name, const QString &value)
{
    if (!m_open)
        return;
    const QByteArray nameBytes = name.toUtf8();
    const QByteArray valueBytes = value.toUtf8();
    if (!isToken(nameBytes) || !isFieldValue(valueBytes)) {
        qCWarning(responseLogging) << "Refused the header" << name << "since it would split the answer.";
        m_refused = true;
    } else if (isSetByServer(nameBytes)) {
        qCWarning(responseLogging) << "Left out the header" << name << "since the server sets it.";
    } else {
        m_answer.headers.replace(nameBytes, valueBytes);
    }
}

void Response::writeHead(int status)
{
    if (!m_open)
        return;
    if (status < 200 || status > 599) {
        qCWarning(responseLogging) << "Refused the status" << status << ".";
        m_refused = true;
    } else {
        m_answer.status = status;
    }
}

void Response::end(const QByteArray &body)
{
    if (!m_open)
        return;
    m_open = false;
    if (m_refused) {
        m_answer = problem(500);
    } else {
        m_answer.body = body;
    }
    if (m_sink)
        m_sink->answer(std::move(m_answer));
    finish();
}

void Response::onFinished(std::function<void()> function)
{
    m_finished = std::move(function);
}

void Response::abandon()
{
    if (!m_open)
        return;
    m_open = false;
    if (m_sink)
        m_sink->abandoned();
    finish();
}

void Response::finish()
{
    m_sink = nullptr;
    m_answer = {};
    if (const auto finished = std::exchange(m_finished, nullptr))
        finished();
}

} // namespace http::server
