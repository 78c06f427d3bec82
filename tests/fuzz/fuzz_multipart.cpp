#include "multipartfiles.h"
#include "plainmultipartfiles.h"

#include <QLoggingCategory>
#include <QtGlobal>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// The first line of an input, up to its LF, is the boundary with its two dashes, the rest is the body. Files
// and log must be those of the plain scanner.

namespace {

QStringList &logged()
{
    static QStringList lines;
    return lines;
}

void requireSame(const QString &boundary, const QByteArray &body)
{
    logged().clear();
    const QMap<QString, QByteArray> files = MultipartFiles(boundary, body).getFiles();
    const QStringList log = logged();
    const PlainMultipartFiles plain(boundary, body);
    if (files == plain.files() && log == plain.log())
        return;
    QString text;
    QDebug(&text) << "Boundary" << boundary << "body" << body << "gave" << files << log << "not"
                  << plain.files() << plain.log();
    std::fprintf(stderr, "%s\n", qPrintable(text));
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    QLoggingCategory::setFilterRules(QStringLiteral("*=false\nch.tessel.vexo-service.multipartfiles=true"));
    qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &text) { logged().append(text); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const int end = input.indexOf('\n');
    requireSame(QString::fromUtf8(input.left(end)), input.mid(end + 1));
    return 0;
}
