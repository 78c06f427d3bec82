#pragma once

#include <QJsonArray>
#include <QJsonObject>

#include <cstddef>
#include <cstdint>

/// Grows chunks out of any bytes, with the words that the behaviours know, so that what a fuzzer changes in
/// its input changes a chunk and seldom makes it none. When the bytes are used up, values are null.
class ChunkFromBytes final
{
public:
    ChunkFromBytes(const std::uint8_t *data, std::size_t size)
        : m_next(data)
        , m_end(data + size)
    {
    }

    [[nodiscard]] bool atEnd() const { return m_next == m_end; }

    QJsonValue chunk()
    {
        if (byte() < 8)
            return value(0);
        QJsonObject object{{word(), value(0)}};
        object.insert(QStringLiteral("exchange"), exchange());
        object.insert(QStringLiteral("properties"), value(0));
        object.insert(QStringLiteral("body"), byte() < 8 ? value(0) : body());
        object.insert(QStringLiteral("messages"), byte() < 8 ? value(0) : messages());
        if (byte() >= 128) {
            object.insert(QStringLiteral("source"), QLatin1String(byte() % 2 == 0 ? "Vexo" : "veka"));
            object.insert(QStringLiteral("data"), byte() < 8 ? value(0) : xml());
            // Not two contexts of one chunk: the second would wait for its id, up to a second.
        } else if (byte() % 2 == 0
                   && !object.value(QStringLiteral("exchange"))
                           .toString()
                           .endsWith(QLatin1String("create"))) {
            object.insert(QStringLiteral("data"), event());
        }
        return object;
    }

private:
    unsigned byte() { return atEnd() ? 0U : *m_next++; }

    QString exchange()
    {
        static const char *const texts[] = {"vexo-context-rpc-create",
                                            "vexo-context-rpc-delete",
                                            "vexo-context-rpc-set",
                                            "vexo-context-rpc-update",
                                            "vexo-context-add-matching-items",
                                            "vexo-context-add-action-requests",
                                            "vexo-context-add-file",
                                            "vexo-context-attachments-remove",
                                            "vexo-context-add-messages",
                                            "vexo-context-rpc-get-files"};
        return QLatin1String(texts[byte() % (sizeof texts / sizeof *texts)]);
    }

    QString word()
    {
        static const char *const words[] = {"_id",
                                            "context",
                                            "filter",
                                            "matchingItems",
                                            "id",
                                            "actionRequests",
                                            "entry",
                                            "resource",
                                            "x",
                                            "source",
                                            "correlation-id",
                                            "reply-to",
                                            "body",
                                            "patient",
                                            "name",
                                            "exchange",
                                            "a",
                                            "b",
                                            "c",
                                            "read only",
                                            "*",
                                            "p",
                                            "r",
                                            "",
                                            "filename",
                                            "content",
                                            "attachments",
                                            "type",
                                            "code",
                                            "attachment",
                                            "url",
                                            "/context/a/file/b",
                                            "YQ==",
                                            "reference",
                                            "status",
                                            "superseded",
                                            "data"};
        return QLatin1String(words[byte() % (sizeof words / sizeof *words)]);
    }

    // Out of the pieces that a card is made of.
    QString xml()
    {
        static const char *const pieces[] = {"<vk-adm:cardholderIdentifier>",
                                             "</vk-adm:cardholderIdentifier>",
                                             "<vk-adm:insuredPersonNumber>",
                                             "</vk-adm:insuredPersonNumber>",
                                             "<unique_id>",
                                             "</unique_id>",
                                             "1",
                                             "756",
                                             "x",
                                             "\r\n"};
        QString text;
        for (unsigned left = byte() % 16; left > 0; --left)
            text += QLatin1String(pieces[byte() % (sizeof pieces / sizeof *pieces)]);
        return text;
    }

    QJsonObject body()
    {
        QJsonObject object{{QStringLiteral("_id"), word()}, {word(), value(0)}, {word(), value(0)}};
        object.insert(QStringLiteral("context"), word());
        object.insert(QStringLiteral("filename"), word());
        object.insert(QStringLiteral("content"), word());
        object.insert(QStringLiteral("attachments"), QJsonArray{word(), value(0)});
        object.insert(QStringLiteral("filter"), value(0));
        object.insert(QStringLiteral("reference"), byte() < 8 ? value(0) : reference());
        QJsonArray entries;
        for (unsigned left = byte() % 6; left > 0; --left)
            entries.append(QJsonObject{{QStringLiteral("resource"), resource()}});
        const QJsonObject bundle{{QStringLiteral("entry"), entries}};
        object.insert(byte() % 2 == 0 ? QStringLiteral("matchingItems") : QStringLiteral("actionRequests"),
                      bundle);
        return object;
    }

    QJsonObject reference()
    {
        QJsonArray contents;
        for (unsigned left = byte() % 3; left > 0; --left) {
            const QJsonObject attachment{{QStringLiteral("url"), word()}, {word(), value(0)}};
            contents.append(QJsonObject{{QStringLiteral("attachment"), attachment}, {word(), value(0)}});
        }
        return {{QStringLiteral("status"), word()},
                {QStringLiteral("content"), contents},
                {QStringLiteral("type"), QJsonObject{{QStringLiteral("coding"), value(0)}}},
                {word(), value(0)}};
    }

    QJsonArray messages()
    {
        static const char *const types[] = {"momentary", "customlifetime", "persistent", "x"};
        QJsonArray messages;
        for (unsigned left = byte() % 4; left > 0; --left) {
            QJsonObject message{{QStringLiteral("id"), word()}, {QStringLiteral("title"), word()}};
            message.insert(QStringLiteral("text"), value(0));
            message.insert(QStringLiteral("type"), QLatin1String(types[byte() % 4]));
            message.insert(QStringLiteral("lifetime"), word());
            message.insert(QStringLiteral("timestamp"), value(0));
            messages.append(message);
        }
        return messages;
    }

    QJsonObject event()
    {
        return {{QStringLiteral("event"), byte() < 8 ? value(0) : QJsonValue(QStringLiteral("new-context"))},
                {QStringLiteral("data"), byte() < 8 ? value(0) : QJsonValue(object(byte() % 4, 1))}};
    }

    QJsonValue resource()
    {
        const unsigned kind = byte();
        if (kind < 32)
            return value(0);
        return QJsonObject{{QStringLiteral("id"), kind < 64 ? value(0) : QJsonValue(word())},
                           {word(), value(0)}};
    }

    QJsonValue value(int depth)
    {
        const unsigned size = byte();
        switch (depth < 64 ? size % 8 : size % 5) {
        case 1: return size >= 128;
        case 2: return static_cast<int>(byte());
        case 3: return static_cast<double>(byte()) * 1e300;
        case 4: return word();
        case 5:
        case 6: return object(size / 64, depth + 1);
        case 7: return array(size / 64, depth + 1);
        default: return {};
        }
    }

    QJsonObject object(unsigned size, int depth)
    {
        QJsonObject object;
        for (; size > 0; --size) {
            const QString key = word();
            object.insert(key, value(depth));
        }
        return object;
    }

    QJsonArray array(unsigned size, int depth)
    {
        QJsonArray array;
        for (; size > 0; --size)
            array.append(value(depth));
        return array;
    }

    const std::uint8_t *m_next;
    const std::uint8_t *m_end;
};
