#pragma once

#include "bytesof.h"

#include <QByteArray>
#include <QString>
#include <QVector>

#include <random>

/// Grows multipart bodies, whole and broken ones, out of what their scanner knows. The same seed always gives
/// the same bodies.
class MultipartBodies final
{
public:
    struct Body
    {
        QString boundary;
        QByteArray bytes;
    };

    explicit MultipartBodies(unsigned seed)
        : m_random(seed)
    {
    }

    Body next()
    {
        const QString boundary = oneOf(boundaries());
        m_delimiter = boundary.toLocal8Bit();
        // Now and then the body has another boundary than its request tells, such as one without quotes.
        if (below(16) == 0)
            m_delimiter = oneOf(boundaries()).toLocal8Bit();
        QByteArray bytes = below(32) == 0 ? fragment() : m_delimiter + "\r\n";
        for (int left = below(5); left > 0; --left)
            bytes += header() + content() + "\r\n" + m_delimiter + (left > 1 ? "\r\n" : "--\r\n");
        if (below(4) == 0)
            bytes.chop(below(8));
        if (below(8) == 0)
            bytes += fragment();
        if (below(2) == 0) {
            for (int left = 1 + below(4); left > 0; --left)
                mutate(bytes);
        }
        return {boundary, bytes};
    }

private:
    int below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }

    template <typename T>
    T oneOf(const QVector<T> &choice)
    {
        return choice.at(below(choice.size()));
    }

    static const QVector<QString> &boundaries()
    {
        static const QVector<QString> texts{
            QStringLiteral("--X"),       QStringLiteral("--X"),         QStringLiteral("--AaB03x"),
            QStringLiteral("--\"X\""),   QStringLiteral("--"),          QStringLiteral("------"),
            QStringLiteral("--X; a=b"),  QStringLiteral("--X--"),       QStringLiteral("--X\r\n--X"),
            QStringLiteral("--a--a"),    QString::fromUtf8("--\u00fc"), QStringLiteral("\r\n--X"),
            QStringLiteral("filename="), QStringLiteral("X"),           QString()};
        return texts;
    }

    QByteArray header()
    {
        static const QVector<QByteArray> names{"a",
                                               "a.pdf",
                                               "\"a.pdf\"",
                                               "\"b\"; size=1",
                                               "\"a:b\"",
                                               "\"\"",
                                               "",
                                               "\"",
                                               "\"\"c\"\"",
                                               "\"\xc3\xa4\"",
                                               "\"\xff\"",
                                               "1",
                                               " d ",
                                               "\"e\" ;",
                                               "0",
                                               "\"f\" \t",
                                               "filename=",
                                               "\"g\"; filename=\"h\"",
                                               "\xef\xbb\xbf\"i\""};
        static const QVector<QByteArray> others{"Content-Type: a/b",
                                                "Content-Disposition",
                                                "content-disposition: a; filename=low",
                                                "Content-Disposition:",
                                                "X: Content-Disposition: a; filename=x",
                                                "X-Content-Disposition-Y: filename=y",
                                                "  Content-Disposition : x",
                                                ":",
                                                ""};
        QByteArray lines;
        for (int left = below(3); left > 0; --left)
            lines += oneOf(others) + oneOf(lineEnds());
        if (below(4) != 0)
            lines +=
                "Content-Disposition: form-data; name=\"n\"; filename=" + oneOf(names) + oneOf(lineEnds());
        for (int left = below(4) - 2; left > 0; --left)
            lines += oneOf(others) + oneOf(lineEnds());
        return lines + (below(16) == 0 ? oneOf(lineEnds()) : "\r\n");
    }

    static const QVector<QByteArray> &lineEnds()
    {
        static const QVector<QByteArray> ends{"\r\n", "\r\n", "\r\n",   "\r\n",  "\r\n", "\r\n",
                                              "\r\n", "\n",   "\r\r\n", " \r\n", "\r",   ""};
        return ends;
    }

    QByteArray content()
    {
        QByteArray bytes;
        for (int left = below(6); left > 0; --left)
            bytes += fragment();
        return bytes;
    }

    QByteArray fragment()
    {
        static const QVector<QByteArray> texts{"data",
                                               "\r",
                                               "\n",
                                               "\r\n",
                                               "\r\n\r\n",
                                               "\r\r\n\r\n",
                                               "-",
                                               "--",
                                               ":",
                                               "a:b",
                                               " ",
                                               "X",
                                               bytesOf("\0\xff"),
                                               "filename=",
                                               "Content-Disposition: c; filename=\"inside\"",
                                               "\nContent-Disposition"};
        switch (below(8)) {
        case 0: return m_delimiter.left(below(m_delimiter.size() + 1));
        case 1: return m_delimiter + oneOf(lineEnds());
        case 2: return m_delimiter + oneOf(QVector<QByteArray>{"--", "-", "\r", "\r-", "-\r\n", "\n"});
        case 3: {
            QByteArray bytes;
            for (int left = below(20); left > 0; --left)
                bytes += static_cast<char>(below(256));
            return bytes;
        }
        default: return oneOf(texts);
        }
    }

    void mutate(QByteArray &bytes)
    {
        const int at = below(bytes.size() + 1);
        const int size = below(below(8) == 0 ? bytes.size() + 1 : 8);
        switch (below(7)) {
        case 0: bytes.remove(at, size); break;
        case 1: bytes.truncate(at); break;
        case 2: bytes.insert(at, fragment()); break;
        case 3: bytes.insert(below(bytes.size() + 1), bytes.mid(at, size)); break;
        case 4: bytes.replace(at, size, fragment()); break;
        case 5: move(bytes, oneOf(QVector<QByteArray>{"\r", "\n", "\r\n", "--", m_delimiter})); break;
        default: bytes += header() + content();
        }
    }

    // Takes one occurrence out and puts it somewhere else.
    void move(QByteArray &bytes, const QByteArray &text)
    {
        const int found = bytes.indexOf(text, below(bytes.size() + 1));
        if (found < 0)
            return;
        bytes.remove(found, text.size());
        bytes.insert(below(bytes.size() + 1), text);
    }

    std::mt19937 m_random;
    QByteArray m_delimiter;
};
