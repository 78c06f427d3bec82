#pragma once

#include "hostprocess.h"
#include "rawclient.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QUrl>

/// Files by name, which is the order in which a context lists what one request brought.
using Files = QMap<QString, QByteArray>;

/// The real host with the context plug-in, as programs see it that give files to a context.
class UploadHost final
{
public:
    /// `settings` are lines of the group [ch.tessel.vexo-service].
    explicit UploadHost(const QByteArray &settings = {})
        : m_process({QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)}, settings)
    {
    }

    [[nodiscard]] bool start() { return m_process.start(); }
    [[nodiscard]] quint16 port() const { return m_process.port(); }
    [[nodiscard]] QByteArray readLog() { return m_process.readLog(); }

    [[nodiscard]] QString fileUrl(const QString &id) const
    {
        return QStringLiteral("http://127.0.0.1:%1/context/%2/file").arg(QString::number(port()), id);
    }

    /// The answer to one request on a connection of its own; `headers` are lines with their ends.
    [[nodiscard]] QByteArray ask(const QByteArray &line, const QByteArray &headers = {},
                                 const QByteArray &body = {}) const
    {
        RawClient client(port());
        client.send(request(line, headers, body));
        return client.readAnswer();
    }
    [[nodiscard]] static QByteArray request(const QByteArray &line, const QByteArray &headers = {},
                                            const QByteArray &body = {})
    {
        return line + " HTTP/1.1\r\nHost: localhost\r\n" + headers
               + "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
    }
    [[nodiscard]] static QByteArray bodyOf(const QByteArray &answer)
    {
        return answer.mid(answer.indexOf("\r\n\r\n") + 4);
    }

    [[nodiscard]] bool makeContext(const QString &id) const
    {
        return ask("PUT /context/" + id.toLatin1(), {}, "{}").startsWith("HTTP/1.1 201 ");
    }
    [[nodiscard]] QJsonObject context(const QString &id) const
    {
        return QJsonDocument::fromJson(bodyOf(ask("GET /context/" + id.toLatin1()))).object();
    }

    /// The path that reaches a file of any name: it is decoded twice, and what the first time leaves must be
    /// letters, digits, '_', '-', '.' and '%'.
    [[nodiscard]] static QByteArray pathOf(const QString &id, const QString &name)
    {
        const QByteArray once = QUrl::toPercentEncoding(name, {}, "~");
        return "/context/" + id.toLatin1() + "/file/" + once.toPercentEncoding();
    }
    /// The bytes of a file, or the whole answer if that is no 200.
    [[nodiscard]] QByteArray content(const QString &id, const QString &name) const
    {
        const QByteArray answer = ask("GET " + pathOf(id, name));
        return answer.startsWith("HTTP/1.1 200 ") ? bodyOf(answer) : answer;
    }

    /// What a context lists for uploaded files.
    [[nodiscard]] static QJsonArray attachments(const QString &id, const QStringList &names)
    {
        QJsonArray all;
        for (const QString &name : names)
            all.append(attachment(QStringLiteral("/context/") + id + QStringLiteral("/file/") + name));
        return all;
    }
    /// Tells in words where a context has other files than `files`, in its list or as it serves them.
    [[nodiscard]] QByteArray difference(const QString &id, const Files &files) const
    {
        const QJsonArray listed = context(id).value(QStringLiteral("attachments")).toArray();
        if (listed != attachments(id, files.keys()))
            return "listed: " + QJsonDocument(listed).toJson();
        for (auto file = files.cbegin(); file != files.cend(); ++file) {
            const QByteArray served = content(id, file.key());
            if (served != file.value())
                return file.key().toUtf8() + ": " + served;
        }
        return {};
    }

private:
    [[nodiscard]] static QJsonObject attachment(const QString &url)
    {
        const QJsonObject coding{
            {QStringLiteral("code"), QStringLiteral("55107-7")},
            {QStringLiteral("display"), QStringLiteral("Addendum Document")},
            {QStringLiteral("system"), QStringLiteral("http://hl7.org/fhir/ValueSet/c80-doc-typecodes")}};
        return {{QStringLiteral("resourceType"), QStringLiteral("DocumentReference")},
                {QStringLiteral("status"), QStringLiteral("superseded")},
                {QStringLiteral("type"), QJsonObject{{QStringLiteral("coding"), QJsonArray{coding}}}},
                {QStringLiteral("content"),
                 QJsonObject{{QStringLiteral("attachment"), QJsonObject{{QStringLiteral("url"), url}}}}}};
    }

    HostProcess m_process;
};
