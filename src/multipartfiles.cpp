#include "multipartfiles.h"

#include "delimiter.h"
#include "dispositionfilename.h"

#include <QLoggingCategory>

#include <algorithm>

static const QLoggingCategory &multipartFilesLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.multipartfiles");
    return category;
}

static std::string_view viewOf(const QByteArray &bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

// Without the delimiter and the CR LF in front of it, as far as these are there.
static QByteArray contentOf(std::string_view body, std::size_t begin, const Delimiter &delimiter,
                            std::size_t lineSize)
{
    std::size_t end = delimiter.end;
    if (delimiter.kind != Delimiter::Kind::None) {
        // What is left tells a closing delimiter from another, deliberately: its kind does not.
        const std::size_t cut = lineSize + (body.size() - delimiter.end == 2 ? 1 : 2);
        // The second dash of a closing delimiter is not counted as read.
        const std::size_t read = delimiter.end - (delimiter.kind == Delimiter::Kind::Closing ? 1 : 0);
        end = std::max(read, begin + cut) - cut;
    }
    return {body.data() + begin, static_cast<int>(end - begin)};
}

MultipartFiles::MultipartFiles(const QString &boundary, const QByteArray &body)
    : m_boundary(boundary.toLocal8Bit() + "\r\n")
    , m_body(body)
{
}

QMap<QString, QByteArray> MultipartFiles::getFiles() const
{
    const std::string_view body = viewOf(m_body);
    const std::string_view line = viewOf(m_boundary);
    QMap<QString, QByteArray> files;
    QString name;
    QByteArray *namesake = nullptr;
    std::size_t unread = 0;
    std::size_t cursor = line.size();
    while (cursor < body.size()) {
        qCDebug(multipartFilesLogging) << "Start header at" << cursor;
        const std::size_t begin = findHeaderEnd(body, cursor);
        if (begin == body.size())
            break;
        // A header ends with the end of a line, so no line is torn and a name once read stays what it is.
        if (std::optional<QString> own = dispositionFileName(body.substr(unread, begin - unread))) {
            name = *std::move(own);
            namesake = nullptr;
        }
        unread = begin;
        const Delimiter delimiter = findDelimiter(body, begin, line);
        const QByteArray content = contentOf(body, begin, delimiter, line.size());
        const QString key = name.isEmpty() ? QString::number(files.size()) : name;
        qCDebug(multipartFilesLogging) << key << "of size" << content.size();
        // A name that many parts keep may be long: it is looked up for the first of them alone.
        if (namesake != nullptr && !name.isEmpty()) {
            *namesake = content;
        } else {
            namesake = &files.insert(key, content).value();
        }
        cursor = delimiter.end;
    }
    return files;
}
