#pragma once

#include <QObject>

/**
 * Brings SIGTERM and SIGINT into the event loop. Has these ignored:
 *
 * - SIGHUP, which a terminal sends that closes: what the process keeps in memory outlives it. An info line in
 * the category "ch.tessel.vexo-service.unixsignals" says so to whoever meant to have settings read again;
 * - SIGPIPE, a client that has gone while it is written to;
 * - SIGXFSZ, a file that may not grow further: the write fails, as on a full disk.
 *
 * One at a time; the earlier handling comes back with its destruction. A signal that came before the event
 * loop runs is told once it does.
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
