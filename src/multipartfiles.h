#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

/**
 * Cuts the body of a multipart/form-data request into its files. It is no general MIME reader; all of this is
 * deliberate, and clients see it:
 *
 * - The body begins with a delimiter line, which is skipped without being compared.
 * - The header of a part ends at CR LF CR LF. A part with nothing behind that is no file.
 * - The name is that of the last Content-Disposition line, see dispositionfilename.h, of the whole body up to
 *   the end of the header. So a part with no such line has the name of the last one before, the content of
 *   earlier parts included, and replaces what has that name.
 * - A part whose name is empty is called by the number of files before it.
 * - The content goes on to the next delimiter, see delimiter.h, or to the end of the body.
 * - The delimiter is cut off with the CR LF in front of it, which is not compared either. This takes for
 *   granted that exactly two bytes follow a closing delimiter and no other: a closing delimiter with anything
 *   else behind it costs the file its last byte, another with two bytes behind it leaves it a CR too many.
 *
 * Takes time in proportion to the size of the body.
 */
class MultipartFiles final
{
public:
    /// The boundary has its two dashes in front, and is compared in the local 8-bit encoding. The body is not
    /// copied: it must be there for as long as getFiles() is called.
    MultipartFiles(const QString &boundary, const QByteArray &body);

    /// The contents by name, as copies: they may outlive the body. Never null, if empty. Of several parts of
    /// one name the last is kept.
    [[nodiscard]] QMap<QString, QByteArray> getFiles() const;

private:
    QByteArray m_boundary;
    const QByteArray &m_body;
};
