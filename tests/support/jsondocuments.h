#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QMap>
#include <QUrl>
#include <QVector>

/// A document of tests/data/json and its line in verdicts.txt, as the README there tells them.
struct JsonDocument
{
    QByteArray name;
    QByteArray bytes;
    QByteArray verdict;
    QByteArray standing;
    QByteArray readBack;
    QByteArray stored;

    [[nodiscard]] bool isTaken() const { return verdict == "object" || verdict == "array"; }
};

/// The columns of each line of a table that is no comment; the last of `count` columns takes the rest.
inline QVector<QVector<QByteArray>> tableLines(const QString &fileName, int count)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s cannot be read.", qPrintable(fileName));
    QVector<QVector<QByteArray>> lines;
    for (QByteArray rest : file.readAll().split('\n')) {
        if (rest.isEmpty() || rest.startsWith('#'))
            continue;
        QVector<QByteArray> columns;
        for (int end = 0; columns.size() + 1 < count && (end = rest.indexOf(" | ")) >= 0;) {
            columns.append(rest.left(end));
            rest.remove(0, end + 3);
        }
        lines.append(columns << rest);
    }
    return lines;
}

/// The text that `pieces` spell, each of them "COUNTxTEXT".
inline QByteArray textOfPieces(const QByteArray &pieces)
{
    QByteArray text;
    for (const QByteArray &piece : pieces.split(' ')) {
        const int cross = piece.indexOf('x');
        text += QByteArray::fromPercentEncoding(piece.mid(cross + 1)).repeated(piece.left(cross).toInt());
    }
    return text;
}

/// The bytes of every document of `directory`, kept or generated, by name.
inline QMap<QByteArray, QByteArray> jsonBodies(const QDir &directory)
{
    QMap<QByteArray, QByteArray> bodies;
    for (const QString &name : directory.entryList({QStringLiteral("*.json")}, QDir::Files)) {
        QFile file(directory.filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            qFatal("%s cannot be read.", qPrintable(name));
        bodies.insert(name.chopped(5).toLatin1(), file.readAll());
    }
    for (const QVector<QByteArray> &line : tableLines(directory.filePath(QStringLiteral("generated.txt")), 2))
        bodies.insert(line.value(0), textOfPieces(line.value(1)));
    return bodies;
}

/// What verdicts.txt of `directory` judges, in its order.
inline QVector<JsonDocument> jsonDocuments(const QDir &directory)
{
    const QMap<QByteArray, QByteArray> bodies = jsonBodies(directory);
    QVector<JsonDocument> documents;
    for (const QVector<QByteArray> &line :
         tableLines(directory.filePath(QStringLiteral("verdicts.txt")), 5)) {
        JsonDocument document{line.value(0), bodies.value(line.value(0)),
                              line.value(1), line.value(2),
                              line.value(3), line.value(4)};
        if (document.stored == "=")
            document.stored = document.bytes;
        else if (document.stored.startsWith("= "))
            document.stored = textOfPieces(document.stored.mid(2));
        documents.append(document);
    }
    return documents;
}
