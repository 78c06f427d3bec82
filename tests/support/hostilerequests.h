#pragma once

#include <QByteArray>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QString>
#include <QVector>

/// What a client sends and what comes of it; tests/data/hostile-requests tells the format.
struct HostileRequest
{
    QByteArray name;
    QByteArray bytes;
    QVector<QByteArray>
        outcomes; ///< a status, what the application gets, "closes" or "waits"; escapes undone

    [[nodiscard]] static bool isStatus(const QByteArray &outcome) { return outcome.toInt() != 0; }
    [[nodiscard]] static bool isForApplication(const QByteArray &outcome) { return outcome.contains(' '); }
    [[nodiscard]] bool isRefused() const { return outcomes.constLast().toInt() >= 400; }
    [[nodiscard]] bool ends() const { return isRefused() || outcomes.constLast() == "closes"; }
    [[nodiscard]] bool waits() const { return outcomes.constLast() == "waits"; }
};

namespace hostilerequests {

/// Undoes the escapes of a line.
[[nodiscard]] inline QByteArray unescaped(const QByteArray &text)
{
    static const QRegularExpression escape(
        QStringLiteral(R"(\\(?:([rnt0\\])|x([0-9a-f]{2})|\{(\d+) ((?:\\.|[^}])*)\}))"));
    static const QByteArray letters("rnt0\\");
    static const QByteArray bytes("\r\n\t\0\\", 5);
    const QString source = QString::fromLatin1(text);
    QByteArray result;
    int at = 0;
    for (auto matches = escape.globalMatch(source); matches.hasNext();) {
        const auto match = matches.next();
        result += text.mid(at, match.capturedStart() - at);
        at = match.capturedEnd();
        if (match.capturedLength(1) > 0)
            result += bytes.at(letters.indexOf(match.captured(1).toLatin1()));
        else if (match.capturedLength(2) > 0)
            result += static_cast<char>(match.captured(2).toInt(nullptr, 16));
        else
            result += unescaped(match.captured(4).toLatin1()).repeated(match.captured(3).toInt());
    }
    return result + text.mid(at);
}

[[nodiscard]] inline bool isOutcome(const QByteArray &text)
{
    static const QRegularExpression form(
        QStringLiteral(R"(^(?:[1-5]\d\d|closes|waits|[A-Z]+ (?:-|\*|/\S*)(?: .+)?)$)"),
        QRegularExpression::DotMatchesEverythingOption);
    return form.match(QString::fromLatin1(text.constData(), text.size())).hasMatch()
           && (!text.contains(' ') || text.split(' ').at(1) != "/first/smuggled");
}

/// All entries of the table. Ends the program if one is malformed, or tells of an outcome that none may have.
[[nodiscard]] inline QVector<HostileRequest> all(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("There is no table of hostile requests.");
    QVector<HostileRequest> requests;
    QSet<QByteArray> names;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        if (line.startsWith("== ")) {
            requests.append({line.mid(3), {}, {}});
        } else if (requests.isEmpty()) {
            qFatal("What is sent belongs to no entry.");
        } else if (line.startsWith("-- ")) {
            requests.last().outcomes.append(unescaped(line.mid(3)));
        } else {
            requests.last().bytes += unescaped(line);
        }
    }
    for (const HostileRequest &request : qAsConst(requests)) {
        bool sound = !request.bytes.isEmpty() && !request.outcomes.isEmpty() && !names.contains(request.name);
        for (const QByteArray &outcome : request.outcomes)
            sound = sound && isOutcome(outcome);
        if (!sound)
            qFatal("The entry \"%s\" is malformed.", request.name.constData());
        names.insert(request.name);
    }
    return requests;
}

} // namespace hostilerequests
