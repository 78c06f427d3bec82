#include "socketfile.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace tessel::system {

namespace {

class Descriptor final
{
public:
    Descriptor()
        : m_number(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
    {
    }
    ~Descriptor()
    {
        if (m_number >= 0)
            close(m_number);
    }
    Q_DISABLE_COPY_MOVE(Descriptor)

    [[nodiscard]] int get() const { return m_number; }
    [[nodiscard]] int release() { return std::exchange(m_number, -1); }

private:
    int m_number;
};

} // namespace

static QString failure()
{
    return qt_error_string(errno);
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
    const Descriptor probe;
    if (probe.get() < 0)
        return failure();
    // A queue that is full gives EAGAIN: somebody lives there, if only slowly.
    if (connect(probe.get(), generic(address), sizeof address) == 0 || errno == EAGAIN)
        return QStringLiteral("another process serves it");
    if (errno != ECONNREFUSED)
        return failure();
    return unlink(address.sun_path) == 0 ? QString() : failure();
}

QString SocketFile::open(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (name.size() >= static_cast<int>(sizeof address.sun_path))
        return QStringLiteral("the path is longer than %1 bytes").arg(sizeof address.sun_path - 1);
    std::memcpy(address.sun_path, name.constData(), static_cast<std::size_t>(name.size()));

    QString occupied = clear(address);
    if (!occupied.isEmpty())
        return occupied;
    Descriptor socket;
    struct stat file
    {
    };
    // The file takes over the mode that the socket has when it is bound (unix(7)), so that it is never wider.
    if (socket.get() < 0 || fchmod(socket.get(), S_IRUSR | S_IWUSR) != 0
        || bind(socket.get(), generic(address), sizeof address) != 0)
        return failure();
    if (listen(socket.get(), SOMAXCONN) != 0 || lstat(address.sun_path, &file) != 0) {
        QString why = failure();
        unlink(address.sun_path);
        return why;
    }
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
