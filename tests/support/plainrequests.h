#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QVector>

#include <utility>

/// One request as it stands on the wire, apart from its chunks and trailers.
struct PlainRequest
{
    QByteArray method;
    QByteArray target;
    QVector<QPair<QByteArray, QByteArray>> fields;
    QByteArray body;

    /// The values of the fields of a name, which is given in lower case.
    [[nodiscard]] QVector<QByteArray> values(const QByteArray &name) const
    {
        QVector<QByteArray> values;
        for (const auto &field : fields) {
            if (field.first.toLower() == name)
                values.append(field.second);
        }
        return values;
    }
};

/**
 * Where the requests in a stream of bytes begin and end, by the framing rules of RFC 9112 alone and with no
 * parser but this one. It ends at the first request that is incomplete or whose length can be read in two
 * ways; everything else that may be wrong with a request is none of its business. What a server takes for
 * requests is therefore what this finds, or the beginning of it.
 */
class PlainRequests final
{
public:
    explicit PlainRequests(const QByteArray &stream)
        : m_stream(stream)
    {
        PlainRequest request;
        while (readRequest(request))
            m_found.append(std::exchange(request, {}));
    }

    [[nodiscard]] const QVector<PlainRequest> &found() const { return m_found; }

private:
    [[nodiscard]] bool readLine(QByteArray &line)
    {
        const int end = m_stream.indexOf("\r\n", m_at);
        if (end < 0)
            return false;
        line = m_stream.mid(m_at, end - m_at);
        m_at = end + 2;
        return true;
    }

    [[nodiscard]] bool readBytes(qint64 size, QByteArray &bytes)
    {
        if (size > m_stream.size() - m_at)
            return false;
        bytes += m_stream.mid(m_at, static_cast<int>(size));
        m_at += static_cast<int>(size);
        return true;
    }

    [[nodiscard]] bool readRequest(PlainRequest &request)
    {
        QByteArray line;
        if (!readLine(line) || (line.isEmpty() && !readLine(line)))
            return false;
        const QList<QByteArray> words = line.split(' ');
        if (words.size() != 3)
            return false;
        request.method = words.at(0);
        request.target = words.at(1);
        for (;;) {
            if (!readLine(line))
                return false;
            if (line.isEmpty())
                return readBody(request);
            const int colon = line.indexOf(':');
            if (colon < 0)
                return false;
            request.fields.append({line.left(colon), trimmed(line.mid(colon + 1))});
        }
    }

    [[nodiscard]] bool readBody(PlainRequest &request)
    {
        const QVector<QByteArray> lengths = request.values("content-length");
        const QVector<QByteArray> codings = request.values("transfer-encoding");
        if (lengths.size() + codings.size() > 1)
            return false;
        if (!codings.isEmpty())
            return codings.constFirst() == "chunked" && readChunks(request.body);
        qint64 size = 0;
        if (!lengths.isEmpty() && !readNumber(lengths.constFirst(), 10, size))
            return false;
        return readBytes(size, request.body);
    }

    [[nodiscard]] bool readChunks(QByteArray &body)
    {
        QByteArray line;
        QByteArray lineEnd;
        qint64 size = 0;
        while (readLine(line) && readNumber(line.split(';').constFirst(), 16, size)) {
            if (size == 0) {
                while (readLine(line)) {
                    if (line.isEmpty())
                        return true;
                }
                return false;
            }
            lineEnd.clear();
            if (!readBytes(size, body) || !readBytes(2, lineEnd) || lineEnd != "\r\n")
                return false;
        }
        return false;
    }

    [[nodiscard]] static bool readNumber(const QByteArray &text, int base, qint64 &number)
    {
        number = 0;
        for (const char c : text) {
            const int digit = static_cast<int>(QByteArray("0123456789abcdef").indexOf(c | 0x20));
            if (c < '0' || digit < 0 || digit >= base || number > (qint64(1) << 40))
                return false;
            number = number * base + digit;
        }
        return !text.isEmpty();
    }

    [[nodiscard]] static QByteArray trimmed(const QByteArray &text)
    {
        int begin = 0;
        int end = text.size();
        while (begin < end && (text.at(begin) == ' ' || text.at(begin) == '\t'))
            ++begin;
        while (end > begin && (text.at(end - 1) == ' ' || text.at(end - 1) == '\t'))
            --end;
        return text.mid(begin, end - begin);
    }

    const QByteArray m_stream;
    int m_at = 0;
    QVector<PlainRequest> m_found;
};
