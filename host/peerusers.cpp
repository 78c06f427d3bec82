#include "peerusers.h"

#include "refusallog.h"
#include "useraccounts.h"

#include <QRegularExpression>

static constexpr uid_t root = 0;

static std::optional<uid_t> userFrom(const QString &text, QString &why)
{
    static const QRegularExpression number(QStringLiteral(R"(\A[0-9]+\z)"));
    if (text.isEmpty()) {
        why = QStringLiteral("must name users");
        return {};
    }
    if (!number.match(text).hasMatch())
        return userOfName(text, why);
    bool fits = false;
    const uid_t user = text.toUInt(&fits);
    // The last number stands for no user.
    if (fits && user != static_cast<uid_t>(-1))
        return user;
    why = QStringLiteral("%1 is too large for the number of a user").arg(text);
    return {};
}

std::variant<QSet<uid_t>, StartFailure> PeerUsers::resolve(const QStringList &allowedUsers)
{
    QSet<uid_t> users;
    for (const QString &text : allowedUsers) {
        QString why;
        const auto user = userFrom(text, why);
        if (!user) {
            return StartFailure{
                QStringLiteral("setting ch.tessel.vexo-service/http.allowedUsers is \"%1\": %2")
                    .arg(allowedUsers.join(QStringLiteral(", ")), why)};
        }
        users.insert(*user);
    }
    return users;
}

PeerUsers::PeerUsers(uid_t ownUser, QSet<uid_t> allowedUsers, RefusalLog &log)
    : m_ownUser(ownUser)
    , m_allowedUsers(std::move(allowedUsers))
    , m_log(log)
{
}

bool PeerUsers::admits(uid_t user) const
{
    return user == m_ownUser || user == root || m_allowedUsers.contains(user);
}

QString PeerUsers::reason(uid_t user)
{
    auto name = m_names.find(user);
    if (name == m_names.end())
        name = m_names.insert(user, nameOfUser(user));
    const QString shown =
        name->isEmpty() ? QString::number(user) : QStringLiteral("%1 (%2)").arg(QString::number(user), *name);
    return QStringLiteral("it is of user %1, whom http.allowedUsers does not name").arg(shown);
}

static QString reason(NoPeer noPeer)
{
    if (noPeer == NoPeer::HasClosed)
        return QStringLiteral("its client has closed it, so that nobody can tell whose it was");
    return QStringLiteral("the system does not tell whose it is; http.sameUser=off serves all users of this "
                          "machine");
}

QString PeerUsers::refusal(int socket)
{
    const Peer peer = m_lookup.of(socket);
    const auto *user = std::get_if<uid_t>(&peer);
    const auto *noPeer = std::get_if<NoPeer>(&peer);
    if (user != nullptr ? admits(*user) : *noPeer == NoPeer::OffLoopback)
        return {};
    m_log.add([&] {
        return QStringLiteral("Connection refused: ") + (user != nullptr ? reason(*user) : ::reason(*noPeer));
    });
    return QStringLiteral("This host serves its own user only.");
}
