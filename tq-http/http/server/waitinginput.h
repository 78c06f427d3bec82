#pragma once

#include <QByteArray>

#include <string_view>

namespace http::server {

/// Bytes that wait to be consumed from their front.
class WaitingInput final
{
public:
    [[nodiscard]] int size() const { return m_bytes.size() - m_begin; }

    [[nodiscard]] std::string_view bytes() const
    {
        return std::string_view(m_bytes.constData(), static_cast<std::size_t>(m_bytes.size()))
            .substr(static_cast<std::size_t>(m_begin));
    }

    void append(std::string_view bytes) { m_bytes.append(bytes.data(), static_cast<int>(bytes.size())); }

    /// Forgets the first `count` bytes. What stays is moved now and then only, so that many small requests
    /// that wait cost no more than their size.
    void drop(std::size_t count)
    {
        m_begin += static_cast<int>(count);
        if (m_begin == m_bytes.size()) {
            clear();
        } else if (m_begin > movedFrom) {
            m_bytes.remove(0, m_begin);
            m_begin = 0;
        }
    }

    void clear()
    {
        m_bytes.clear();
        m_begin = 0;
    }

private:
    static constexpr int movedFrom = 32768;

    QByteArray m_bytes;
    int m_begin = 0;
};

} // namespace http::server
