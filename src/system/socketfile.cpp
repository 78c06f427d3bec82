#include "socketfile.h"

#include "descriptor.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace tessel::system {

static QString failure()
{
    return qt_error_string(errno);
}

static int newSocket()
{
    return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

// Lets one process at a time replace files there, until the descriptor is closed. Nobody needs a second for
// that: who keeps the directory locked for longer may be another user, and is to keep nothing from starting.
// A directory that cannot be locked is used as well: two that start at the very same time are rare.
static void lock(int directory)
{
    for (int i = 0; i < 1000; ++i) {
        if (flock(directory, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK)
            return;
        poll(nullptr, 0, 1);
    }
}

static const sockaddr *generic(const sockaddr_un &address)
{
    return reinterpret_cast<const sockaddr *>(&address);
}

// Makes room for the file. Empty, or why there is none.
static QString clear(const sockaddr_un &address)
{
    struct stat file
    {
    };
    if (lstat(address.sun_path, &file) != 0)
        return errno == ENOENT ? QString() : failure();
    if (!S_ISSOCK(file.st_mode))
        return QStringLiteral("it exists and is no socket");
    const Descriptor probe(newSocket());
    if (!probe.isOpen())
        return failure();
    // A queue that is full gives EAGAIN: somebody lives there, if only slowly.
    if (connect(probe.get(), generic(address), sizeof address) == 0 || errno == EAGAIN)
        return QStringLiteral("another process serves it");
    if (errno != ECONNREFUSED)
        return failure();
    return unlink(address.sun_path) == 0 ? QString() : failure();
}

// Empty, or why it failed, without a file then.
static QString listenAt(const sockaddr_un &address, int socket)
{
    // The file takes over the mode that the socket has when it is bound (unix(7)), so that it is never wider.
    if (socket < 0 || fchmod(socket, S_IRUSR | S_IWUSR) != 0
        || bind(socket, generic(address), sizeof address) != 0)
        return failure();
    if (listen(socket, SOMAXCONN) == 0)
        return {};
    QString why = failure();
    unlink(address.sun_path);
    return why;
}

QString SocketFile::open(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (name.size() >= static_cast<int>(sizeof address.sun_path))
        return QStringLiteral("the path is longer than %1 bytes").arg(sizeof address.sun_path - 1);
    // It would end the path, or, in front, name a socket that has no file and is open to everybody.
    if (name.contains('\0'))
        return QStringLiteral("the path has a NUL in it");
    std::memcpy(address.sun_path, name.constData(), static_cast<std::size_t>(name.size()));

    const QByteArray directory = QFile::encodeName(QFileInfo(path).path());
    const Descriptor locked(::open(directory.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    lock(locked.get());
    QString occupied = clear(address);
    if (!occupied.isEmpty())
        return occupied;
    Descriptor socket(newSocket());
    QString refused = listenAt(address, socket.get());
    struct stat file
    {
    };
    if (!refused.isEmpty() || lstat(address.sun_path, &file) != 0)
        return refused.isEmpty() ? failure() : refused;
    m_path = name;
    m_device = file.st_dev;
    m_inode = file.st_ino;
    m_descriptor = socket.release();
    return {};
}

bool SocketFile::isOurs() const
{
    struct stat file
    {
    };
    return lstat(m_path.constData(), &file) == 0 && file.st_dev == m_device && file.st_ino == m_inode;
}

SocketFile::~SocketFile()
{
    if (m_descriptor < 0)
        return;
    if (isOurs())
        unlink(m_path.constData());
    close(m_descriptor);
}

} // namespace tessel::system
