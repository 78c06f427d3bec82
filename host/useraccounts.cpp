#include "useraccounts.h"

#include <QByteArray>
#include <QFile>

#include <cerrno>
#include <pwd.h>
#include <vector>

// Calls `ask` with ever more room for the strings of the entry. What it returns in the end: 0 or an error.
template <typename Ask>
static int askForEntry(std::vector<char> &strings, const Ask &ask)
{
    static constexpr std::size_t most = 1 << 24;
    for (std::size_t size = 1024; size <= most; size *= 4) {
        strings.resize(size);
        const int error = ask(strings.data(), size);
        if (error != ERANGE)
            return error;
    }
    return ERANGE;
}

std::optional<uid_t> userOfName(const QString &name, QString &why)
{
    const QByteArray wanted = QFile::encodeName(name);
    std::vector<char> strings;
    passwd entry{};
    passwd *found = nullptr;
    const int error = askForEntry(strings, [&](char *buffer, std::size_t size) {
        return getpwnam_r(wanted.constData(), &entry, buffer, size, &found);
    });
    if (found != nullptr)
        return found->pw_uid;
    // What some systems say instead of 0 if there is no entry (getpwnam(3)).
    const bool isAbsent = error == 0 || error == ENOENT || error == ESRCH || error == EBADF || error == EPERM;
    why = isAbsent
              ? QStringLiteral("there is no user \"%1\"").arg(name)
              : QStringLiteral("the user \"%1\" cannot be looked up: %2").arg(name, qt_error_string(error));
    return {};
}

QString nameOfUser(uid_t user)
{
    std::vector<char> strings;
    passwd entry{};
    passwd *found = nullptr;
    askForEntry(strings, [&](char *buffer, std::size_t size) {
        return getpwuid_r(user, &entry, buffer, size, &found);
    });
    return found != nullptr ? QFile::decodeName(found->pw_name) : QString();
}
