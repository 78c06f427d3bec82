#pragma once

#include <QByteArray>
#include <QDebug>
#include <QMap>
#include <QString>
#include <QStringList>

/// The rules of MultipartFiles one by one, byte by byte, everything reread before each header: what it is
/// compared with.
class PlainMultipartFiles final
{
public:
    /// What the bytes led through, so that a test can tell whether its bodies reach everything.
    struct Paths
    {
        int unended = 0; ///< contents up to the end of the body
        int inner = 0;
        int closing = 0;
        int oneCut = 0; ///< delimiters with exactly two bytes behind them
        int tooShort = 0; ///< buffers shorter than what is cut off
        int numbered = 0;
        int inherited = 0; ///< names that the own header does not give

        Paths &operator+=(const Paths &other)
        {
            unended += other.unended;
            inner += other.inner;
            closing += other.closing;
            oneCut += other.oneCut;
            tooShort += other.tooShort;
            numbered += other.numbered;
            inherited += other.inherited;
            return *this;
        }
    };

    PlainMultipartFiles(const QString &boundary, const QByteArray &body)
        : m_line(boundary.toLocal8Bit() + "\r\n")
        , m_body(body)
    {
        run();
    }

    [[nodiscard]] const QMap<QString, QByteArray> &files() const { return m_files; }
    [[nodiscard]] const QStringList &log() const { return m_log; }
    [[nodiscard]] const Paths &paths() const { return m_paths; }

private:
    void run()
    {
        m_cursor = m_line.size();
        if (m_cursor >= m_body.size())
            return;
        do {
            m_log.append(QString(QStringLiteral("Start header at %1")).arg(m_cursor));
            const int begin = m_cursor;
            if (!skipHeader() || m_cursor == m_body.size())
                return;
            QString name = nameIn(m_body.left(m_cursor - 4));
            if (!name.isEmpty() && nameIn(m_body.mid(begin, m_cursor - 4 - begin)).isEmpty())
                ++m_paths.inherited;
            const QByteArray content = readContent();
            if (name.isEmpty()) {
                name = QString::number(m_files.size());
                ++m_paths.numbered;
            }
            QString line;
            QDebug(&line) << name << "of size" << content.size();
            m_log.append(line.trimmed());
            m_files.insert(name, content);
        } while (m_cursor < m_body.size());
    }

    bool skipHeader()
    {
        const QByteArray end("\r\n\r\n");
        int matched = 0;
        while (m_cursor < m_body.size()) {
            matched = m_body.at(m_cursor) == end.at(matched) ? matched + 1 : 0;
            ++m_cursor;
            if (matched == end.size())
                return true;
        }
        return false;
    }

    static QString nameIn(const QByteArray &text)
    {
        QString name;
        const QList<QByteArray> lines = text.split('\n');
        for (const QByteArray &line : lines) {
            const QList<QByteArray> pieces = line.trimmed().split(':');
            if (!pieces.first().contains("Content-Disposition"))
                continue;
            const QByteArray value = pieces.value(1);
            const QString decoded = QString::fromUtf8(value.constData(), value.size());
            name = decoded.split(QStringLiteral("filename=")).value(1);
            if (name.startsWith(QLatin1Char('"')))
                name = name.mid(1);
            if (name.endsWith(QLatin1Char('"')))
                name = name.left(name.size() - 1);
        }
        return name;
    }

    QByteArray readContent()
    {
        QByteArray buffer;
        int matched = 0;
        bool isClosing = false;
        while (m_cursor < m_body.size() && matched < m_line.size()) {
            const char byte = m_body.at(m_cursor);
            ++m_cursor;
            buffer.append(byte);
            if (byte == m_line.at(matched)) {
                ++matched;
            } else if (matched == 0) {
                continue;
            } else if (m_line.size() - matched == 2 && byte == '-' && m_cursor < m_body.size()
                       && m_body.at(m_cursor) == '-') {
                ++m_cursor;
                matched = m_line.size();
                isClosing = true;
            } else {
                matched = 0;
            }
        }
        if (matched < m_line.size()) {
            ++m_paths.unended;
            return buffer;
        }
        ++(isClosing ? m_paths.closing : m_paths.inner);
        return withoutDelimiter(buffer);
    }

    QByteArray withoutDelimiter(const QByteArray &buffer)
    {
        const bool oneCut = m_body.size() - m_cursor == 2;
        m_paths.oneCut += oneCut ? 1 : 0;
        const int cut = m_line.size() + (oneCut ? 1 : 2);
        if (cut > buffer.size()) {
            ++m_paths.tooShort;
            return QByteArray("");
        }
        return buffer.left(buffer.size() - cut);
    }

    const QByteArray m_line;
    const QByteArray m_body;
    int m_cursor = 0;
    QMap<QString, QByteArray> m_files;
    QStringList m_log;
    Paths m_paths;
};
