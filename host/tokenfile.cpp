#include "tokenfile.h"

#include "accesstoken.h"
#include "system/descriptor.h"

#include <QFile>

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

using tessel::system::Descriptor;

static constexpr int leastCharacters = 32;
static constexpr int mostBytes = 1024;
static constexpr std::size_t randomBytes = 32;

static QString systemError()
{
    return qt_error_string(errno);
}

/// Empty if no random bytes are to be had.
static QByteArray randomLine()
{
    std::array<char, randomBytes> bytes{};
    ssize_t got = 0;
    do {
        got = getrandom(bytes.data(), bytes.size(), 0);
    } while (got < 0 && errno == EINTR);
    if (got != static_cast<ssize_t>(bytes.size()))
        return {};
    return QByteArray::fromRawData(bytes.data(), static_cast<int>(bytes.size()))
               .toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals)
           + '\n';
}

// Puts a new token under a name of its own first. Empty, or why there is none. One that another host has made
// meanwhile is as good.
static QString make(const QByteArray &name)
{
    QByteArray temporary = name + ".XXXXXX";
    const Descriptor file(mkostemp(temporary.data(), O_CLOEXEC));
    if (!file.isOpen())
        return errno == ENOENT ? QStringLiteral("its directory does not exist") : systemError();
    const QByteArray line = randomLine();
    QString why;
    if (line.isEmpty() || fchmod(file.get(), S_IRUSR | S_IWUSR) != 0
        || write(file.get(), line.constData(), static_cast<std::size_t>(line.size())) != line.size()
        || fsync(file.get()) != 0 || (link(temporary.constData(), name.constData()) != 0 && errno != EEXIST))
        why = systemError();
    unlink(temporary.constData());
    return why;
}

static QString whyNotTrusted(int file)
{
    struct stat status
    {
    };
    if (fstat(file, &status) != 0)
        return systemError();
    if (!S_ISREG(status.st_mode))
        return QStringLiteral("is no regular file");
    if (status.st_uid != geteuid() && status.st_uid != 0)
        return QStringLiteral("belongs to another user");
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        return QStringLiteral("group or others have rights to it; mode 0600 is right");
    return {};
}

static QString whyNoToken(const QByteArray &token)
{
    if (token.isEmpty())
        return QStringLiteral("is empty");
    if (!AccessToken::isWellFormed(token)) {
        return QStringLiteral("holds what no token has: only letters, digits and -._~+/ may stand in it, "
                              "and = at its end");
    }
    if (token.size() < leastCharacters)
        return QStringLiteral("its token is shorter than %1 characters").arg(leastCharacters);
    return {};
}

static std::variant<QByteArray, QString> read(int file)
{
    QString why = whyNotTrusted(file);
    if (!why.isEmpty())
        return why;
    std::array<char, mostBytes + 1> bytes{};
    const ssize_t size = ::read(file, bytes.data(), bytes.size());
    if (size < 0)
        return systemError();
    if (size > mostBytes)
        return QStringLiteral("is longer than %1 bytes").arg(mostBytes);
    QByteArray token = QByteArray(bytes.data(), static_cast<int>(size)).trimmed();
    why = whyNoToken(token);
    if (!why.isEmpty())
        return why;
    return token;
}

static int openFile(const QByteArray &name)
{
    // A pipe must not be waited for.
    return open(name.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
}

std::variant<QByteArray, StartFailure> readTokenFile(const QString &path)
{
    const auto failure = [&](const QString &why) {
        return StartFailure{QStringLiteral("token file %1: %2").arg(path, why)};
    };
    const QByteArray name = QFile::encodeName(path);
    int opened = openFile(name);
    if (opened < 0 && errno == ENOENT) {
        const QString why = make(name);
        if (!why.isEmpty())
            return failure(why);
        opened = openFile(name);
    }
    if (opened < 0)
        return failure(errno == ELOOP ? QStringLiteral("is a symbolic link") : systemError());
    auto token = read(Descriptor(opened).get());
    if (const auto *why = std::get_if<QString>(&token))
        return failure(*why);
    return std::get<QByteArray>(std::move(token));
}
