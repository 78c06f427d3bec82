#include "socketpath.h"

#include <system/settings.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>

namespace buswire {

QString socketPath()
{
    using tessel::system::Scope;
    tessel::system::Settings settings(QCoreApplication::organizationName(),
                                      QCoreApplication::applicationName(),
                                      Scope::ApplicationDirectory | Scope::SystemConfiguration
                                          | Scope::SystemSettings | Scope::UserSettings);
    QString set = settings.value(QStringLiteral("ch.tessel.vexo-service.buswire/socket")).toString();
    const QByteArray runtimeDirectory = qgetenv("XDG_RUNTIME_DIR");
    if (!set.isEmpty() || runtimeDirectory.isEmpty())
        return set;
    return QDir(QFile::decodeName(runtimeDirectory)).filePath(QStringLiteral("buswire.sock"));
}

} // namespace buswire
