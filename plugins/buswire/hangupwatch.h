#pragma once

#include <QObject>

namespace buswire {

/// Tells when the other end of a socket has closed altogether, although nothing is read or written.
/// Event-loop thread.
class HangUpWatch final : public QObject
{
    Q_OBJECT

public:
    /// `socket` must stay open while the watch lives.
    HangUpWatch(int socket, QObject *parent);
    ~HangUpWatch() override;
    Q_DISABLE_COPY_MOVE(HangUpWatch)

Q_SIGNALS:
    /// Emitted again and again until the watch is destroyed or its signals are blocked.
    void hungUp();

private:
    int m_epoll;
};

} // namespace buswire
