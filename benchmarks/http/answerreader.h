#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Reads one HTTP/1.1 answer after the other from the bytes of a connection, in whatever pieces they come.
/// There is one request on its way at a time, so that nothing follows the end of an answer.
class AnswerReader final
{
public:
    /// Takes the next bytes; true once the answer is complete. The first byte after that begins the next one.
    /// Throws std::runtime_error on what is no answer or one that tells no length.
    [[nodiscard]] bool feed(std::string_view bytes);

    /// Status of the answer whose header block came last.
    [[nodiscard]] int status() const { return m_status; }

private:
    void readHead(std::string_view head);

    std::string m_head; // what has come of a header block that is not complete yet
    std::size_t m_missingBody = 0;
    bool m_inBody = false;
    int m_status = 0;
};
