#pragma once

#include "peerlookup.h"
#include "startfailure.h"

#include <QHash>
#include <QSet>
#include <QStringList>

#include <variant>

class RefusalLog;

/// Who may connect, by the user at the other end: the host's own, root, and those of the setting
/// `http.allowedUsers`.
class PeerUsers final
{
public:
    /// The numbers of users given by name or number, as `http.allowedUsers` has them. One that does not exist
    /// is a failure that names the key, the value and why; a number need not be known to the system.
    [[nodiscard]] static std::variant<QSet<uid_t>, StartFailure> resolve(const QStringList &allowedUsers);

    /// `log` must outlive it.
    PeerUsers(uid_t ownUser, QSet<uid_t> allowedUsers, RefusalLog &log);

    /// Empty for a connection of one of them, and for one that is not asked about, see PeerLookup. Otherwise
    /// one sentence for the client, with the reason in the log. Called with a socket just accepted; at once,
    /// but for a name that the log tells for the first time, for which the system is asked.
    [[nodiscard]] QString refusal(int socket);

private:
    [[nodiscard]] bool admits(uid_t user) const;
    [[nodiscard]] QString reason(uid_t user);

    const uid_t m_ownUser;
    const QSet<uid_t> m_allowedUsers;
    RefusalLog &m_log;
    PeerLookup m_lookup;
    QHash<uid_t, QString> m_names; // of users whom the log has told of
};
