#pragma once

#include <QByteArray>

#include <optional>

namespace buswire {

/// Cuts a stream of bytes into lines.
class LineReader final
{
public:
    /// The longest line that is taken, in bytes without its line feed.
    static constexpr int maxLineBytes = 16 << 20;

    void append(const char *bytes, int size);

    /// The next complete line without its line feed; nothing if more bytes are needed, or from the first line
    /// on that is too long.
    [[nodiscard]] std::optional<QByteArray> next();

    /// Takes what stands behind the last line feed.
    [[nodiscard]] QByteArray takeRest();

    /// True if next() has come upon a line, complete or not, of more than maxLineBytes.
    [[nodiscard]] bool isOverlong() const { return m_overlong; }

private:
    void discardTaken();

    QByteArray m_bytes;
    int m_begin = 0; // of the next line
    int m_searched = 0; // no line feed between m_begin and here
    bool m_overlong = false;
};

} // namespace buswire
