#pragma once

#include "answerreader.h"

#include <cstdint>
#include <string_view>

/// One keep-alive connection to 127.0.0.1 with at most one request on its way. Its operations throw
/// std::runtime_error or std::system_error when the server refuses, hangs up or talks nonsense.
class Connection final
{
public:
    /// Returns once the connection stands.
    explicit Connection(std::uint16_t port);
    /// Resets the connection, so that thousands of them leave no port in TIME_WAIT.
    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    [[nodiscard]] int descriptor() const { return m_socket; }

    /// Hands a whole request to the kernel, and waits while there is no room for it.
    void send(std::string_view request);

    /// Waits until the server's kernel has all that was sent. A busy machine loses packets on the loopback
    /// too and sends them again later, behind what other connections have sent meanwhile.
    void awaitReceipt() const;

    /// Reads what is there without waiting; true once the answer is complete. Its status is 2xx then.
    [[nodiscard]] bool receive();

    /// Waits for the answer to what was sent.
    void awaitAnswer();

    /// send() and awaitAnswer().
    void exchange(std::string_view request);

private:
    int m_socket;
    AnswerReader m_reader;
};
