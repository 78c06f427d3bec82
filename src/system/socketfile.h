#pragma once

#include <QByteArray>
#include <QString>

#include <sys/types.h>

namespace tessel::system {

/// A listening unix stream socket and its file, which nobody but its owner may use, not even for a moment.
class SocketFile final
{
public:
    SocketFile() = default;
    /// Closes the socket and removes the file, unless another one has taken its place.
    ~SocketFile();
    Q_DISABLE_COPY_MOVE(SocketFile)

    /// Listens at `path`; called until it has succeeded once. A socket file that a dead process has left is
    /// replaced. Of several processes that start at once, one succeeds: each keeps the directory locked
    /// (flock(2)) meanwhile, and waits for the others up to a second. Returns an empty string, or why it
    /// failed, in which case whatever is there stays as it is.
    [[nodiscard]] QString open(const QString &path);

    /// The listening socket, which does not block; -1 before open().
    [[nodiscard]] int descriptor() const { return m_descriptor; }

private:
    [[nodiscard]] bool isOurs() const;

    int m_descriptor = -1;
    QByteArray m_path;
    dev_t m_device = 0;
    ino_t m_inode = 0;
};

} // namespace tessel::system
