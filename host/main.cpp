#include "host.h"
#include "system/settings.h"
#include "thrownby.h"
#include "unixsignals.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <cstdio>

static int fail(const StartFailure &failure)
{
    std::fprintf(stderr, "vexo-service: %s\n", qUtf8Printable(failure.line()));
    return failure.exitStatus;
}

static int serve(const HostOptions &options)
{
    std::optional<tessel::system::Settings> values;
    const auto thrown = thrownBy([&values] {
        values.emplace(QCoreApplication::organizationName(), QCoreApplication::applicationName(),
                       tessel::system::Scope::Values(0xf));
    });
    if (thrown)
        return fail({QStringLiteral("settings cannot be read: %1").arg(*thrown)});
    auto settings = HostSettings::read([&values](const QString &key) { return values->value(key); });
    if (auto *failure = std::get_if<StartFailure>(&settings))
        return fail(*failure);

    const UnixSignals signalsOfTheSystem;
    QObject::connect(&signalsOfTheSystem, &UnixSignals::stopRequested, qApp, &QCoreApplication::quit);
    Host host(options, *std::get_if<HostSettings>(&settings));
    if (auto failure = host.start())
        return fail(*failure);
    const int status = QCoreApplication::exec();
    host.stop();
    return status;
}

int main(int argc, char *argv[])
{
    // As long as TZ is not set, the C library looks at this file each time that it converts a time.
    if (!qEnvironmentVariableIsSet("TZ"))
        qputenv("TZ", ":/etc/localtime");
    const QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("tessel"));
    QCoreApplication::setApplicationName(QStringLiteral("vexo-service"));
    QCoreApplication::setApplicationVersion(QStringLiteral(K7_VERSION));
    qSetMessagePattern(QStringLiteral("%{time yyyy-MM-dd hh:mm:ss.zzz} %{type} %{category}: %{message}"));
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));

    auto options = HostOptions::parse(QCoreApplication::arguments());
    if (auto *failure = std::get_if<StartFailure>(&options))
        return fail(*failure);
    const auto *given = std::get_if<HostOptions>(&options);
    if (given->task == HostOptions::Task::Serve)
        return serve(*given);
    const QString text =
        given->task == HostOptions::Task::ShowHelp
            ? HostOptions::helpText()
            : QStringLiteral("vexo-service %1\n").arg(QCoreApplication::applicationVersion());
    std::fputs(qUtf8Printable(text), stdout);
    return 0;
}
