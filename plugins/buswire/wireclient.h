#pragma once

#include "linereader.h"

#include <QObject>
#include <QSocketNotifier>

#include <deque>

namespace buswire {

/**
 * One client of the socket: gives the lines that it sends and takes lines for it. Event-loop thread.
 *
 * A client that has closed its sending side goes on receiving, and what one has sent before it closed counts
 * although it is gone. One that does not read is not read from either while more than 64 KiB wait for it, and
 * is disconnected when a line comes while 1 MiB waits behind the one that is on its way. So a change of a
 * large context and the reply to who asked for it, each a line of any length, reach a client that does read.
 */
class WireClient final : public QObject
{
    Q_OBJECT

public:
    static constexpr qint64 maxWaitingBytes = 1 << 20;
    static constexpr qint64 pauseBytes = 64 << 10;
    static constexpr int linesPerTurn = 50;

    /// Takes over `socket`, which must not block.
    WireClient(int socket, QObject *parent);
    ~WireClient() override;
    Q_DISABLE_COPY_MOVE(WireClient)

    /// Sends a line, its line feed included, now or as soon as the client reads.
    void send(const QByteArray &line);

Q_SIGNALS:
    /// Without the line feed. What follows the last line feed before the end of input is a line too.
    void lineReceived(const QByteArray &line);

    /// Nothing comes from here on and what is sent is dropped. Emitted once, also from inside send().
    void left();

private:
    // Finishing: what waits is still sent, then the connection is closed.
    enum class State { Open, Finishing, Left };

    void readSome();
    void takeLines();
    void scheduleLines();
    void endOfInput();
    void writeSome();
    [[nodiscard]] bool writeQueue();
    void stopSending();
    void refuseOverlong();
    void leave();
    [[nodiscard]] qint64 bytesBehindFirst() const;
    [[nodiscard]] bool isPaused() const { return m_waiting > pauseBytes; }

    int m_socket;
    State m_state = State::Open;
    bool m_inputEnded = false;
    bool m_outputEnded = false;
    bool m_scheduled = false;
    QSocketNotifier m_readable;
    QSocketNotifier m_writable;
    LineReader m_lines;
    std::deque<QByteArray> m_queue;
    int m_sentOfFirst = 0;
    qint64 m_waiting = 0;
};

} // namespace buswire
