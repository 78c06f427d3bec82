#pragma once

#include <QLatin1String>
#include <QString>

#include <functional>

class QJsonValue;
class QRegularExpression;

/// One kind of chunk whose "data" is exported as an XML file.
struct CardExport final
{
    /// What "source" of such a chunk is.
    QLatin1String source;
    /// Finds an identifier, its capture 1, in the text; the first match counts.
    const QRegularExpression &idPattern;
    /// The name of the file, with "%1" for the number of the insured person.
    QString fileName;
};

/**
 * Writes the text under "data" of `chunk`, as it is and in the locale's encoding, to a file of the directory
 * that readXmlDirectory() gives, in place of what was there. `numberOf` gives the number for the name of the
 * file from the identifier in the text; it is called only if there is a directory to write to.
 *
 * Silent: a chunk of another kind, a text without an identifier and a file that cannot be written are passed
 * over. The directory is not created.
 */
void exportCard(const QJsonValue &chunk, const CardExport &kind,
                const std::function<QString(const QString &)> &numberOf);
