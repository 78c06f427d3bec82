// Prints what an application installed at this place gets:
//   root | external NAME | executable NAME | settings SYSTEM-DIRECTORY USER-DIRECTORY FLAGS KEY...
// Values of settings come one a line, "-" for an invalid one.
#include "system/applicationpaths.h"
#include "system/settings.h"

#include <QCoreApplication>

#include <cstdio>

using tessel::system::ApplicationPaths;
using tessel::system::Scope;
using tessel::system::Settings;

static QStringList readSettings(const QStringList &arguments)
{
    QSettings::setPath(QSettings::IniFormat, QSettings::SystemScope, arguments.value(2));
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, arguments.value(3));
    Settings settings(QCoreApplication::organizationName(), QCoreApplication::applicationName(),
                      Scope::Values(QFlag(arguments.value(4).toInt())));
    QStringList values;
    for (const QString &key : arguments.mid(5)) {
        const QVariant value = settings.value(key);
        values << (value.isValid() ? value.toString() : QStringLiteral("-"));
    }
    return values;
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("maker"));
    QCoreApplication::setApplicationName(QStringLiteral("program"));
    qSetMessagePattern(QStringLiteral("%{category} %{type}: %{message}"));

    const QStringList arguments = QCoreApplication::arguments();
    const QString command = arguments.value(1);
    QStringList result;
    if (command == QLatin1String("root"))
        result << ApplicationPaths::getApplicationRoot().path();
    else if (command == QLatin1String("external"))
        result << ApplicationPaths::getExternalRoot(arguments.value(2)).path();
    else if (command == QLatin1String("executable"))
        result << ApplicationPaths::getExternalExecutable(arguments.value(2));
    else if (command == QLatin1String("settings"))
        result = readSettings(arguments);
    else
        return 2;
    std::fputs(qUtf8Printable(result.join(QLatin1Char('\n'))), stdout);
    return 0;
}
