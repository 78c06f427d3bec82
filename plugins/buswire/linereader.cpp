#include "linereader.h"

#include <utility>

namespace buswire {

void LineReader::append(const char *bytes, int size)
{
    if (!m_overlong)
        m_bytes.append(bytes, size);
}

std::optional<QByteArray> LineReader::next()
{
    if (m_overlong)
        return {};
    const int end = m_bytes.indexOf('\n', m_searched);
    const int length = (end < 0 ? m_bytes.size() : end) - m_begin;
    if (length > maxLineBytes) {
        m_overlong = true;
        m_bytes.clear();
        return {};
    }
    if (end < 0) {
        discardTaken();
        return {};
    }
    QByteArray line = m_bytes.mid(m_begin, length);
    m_begin = m_searched = end + 1;
    return line;
}

QByteArray LineReader::takeRest()
{
    discardTaken();
    m_searched = 0;
    return std::exchange(m_bytes, {});
}

// Once for all lines of a batch: cutting each off by itself would be quadratic.
void LineReader::discardTaken()
{
    // A fresh array, so that the room of one huge line is not kept.
    if (m_begin > 0)
        m_bytes = m_bytes.mid(m_begin);
    m_begin = 0;
    m_searched = m_bytes.size();
}

} // namespace buswire
