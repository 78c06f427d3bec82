#include "cardexport.h"

#include "pluginsettings.h"

#include <QDir>
#include <QFile>
#include <QJsonValue>
#include <QRegularExpression>
#include <QTextStream>

static void write(const QString &path, const QString &text)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        QTextStream(&file) << text;
}

void exportCard(const QJsonValue &chunk, const CardExport &kind,
                const std::function<QString(const QString &)> &numberOf)
{
    if (chunk[QLatin1String("source")] != kind.source)
        return;
    const QString text = chunk[QLatin1String("data")].toString();
    if (text.isEmpty())
        return;
    const QRegularExpressionMatch match = kind.idPattern.match(text);
    if (!match.hasMatch())
        return;
    // Read for each chunk: a site may switch the export off while the host runs.
    const QVariant directory = readXmlDirectory();
    if (!directory.isValid())
        return;
    const QString name = kind.fileName.arg(numberOf(match.captured(1)));
    write(QDir(directory.toString()).filePath(name), text);
}
