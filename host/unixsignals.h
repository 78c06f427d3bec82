#pragma once

#include <QObject>

/**
 * Brings SIGTERM and SIGINT into the event loop, and has SIGPIPE ignored. One at a time; the earlier handling
 * comes back with its destruction. A signal that came before the event loop runs is told once it does.
 */
class UnixSignals final : public QObject
{
    Q_OBJECT

public:
    UnixSignals();
    ~UnixSignals() override;
    Q_DISABLE_COPY_MOVE(UnixSignals)

Q_SIGNALS:
    /// SIGTERM or SIGINT, `number`, has arrived.
    void stopRequested(int number);

private:
    void readPipe();

    int m_readEnd = -1;
};
