#include "portfile.h"

#include <QSaveFile>

std::optional<StartFailure> writePortFile(const QString &file, quint16 port)
{
    QSaveFile saved(file);
    if (saved.open(QIODevice::WriteOnly)) {
        saved.write(QByteArray::number(port) + '\n');
        if (saved.commit())
            return {};
    }
    return StartFailure{QStringLiteral("port file %1: %2").arg(file, saved.errorString())};
}
