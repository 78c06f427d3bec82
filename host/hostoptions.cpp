#include "hostoptions.h"

#include "hostsettings.h"

#include <QCommandLineParser>

namespace {

// The parser's own help and version options would end the process by themselves.
class Parser final
{
public:
    Parser();
    std::variant<HostOptions, StartFailure> parse(const QStringList &arguments);
    [[nodiscard]] QString helpText() const { return m_parser.helpText(); }

private:
    [[nodiscard]] QString wrong() const;

    QCommandLineParser m_parser;
    const QCommandLineOption m_listen{
        QStringLiteral("listen"),
        QStringLiteral("Address to serve; port 0 takes any free port. An IPv6 address stands "
                       "in brackets. Setting http.listen; default 127.0.0.1:8750."),
        QStringLiteral("ADDRESS:PORT")};
    const QCommandLineOption m_plugin{
        QStringLiteral("plugin"),
        QStringLiteral("Plug-in to load; may be repeated. Default: all plug-ins of the "
                       "plug-in directories, in the order of their names."),
        QStringLiteral("FILE")};
    const QCommandLineOption m_pluginDirectory{
        QStringLiteral("plugin-dir"),
        QStringLiteral(
            "Directory whose plug-ins are loaded, after those of --plugin; may be repeated. Setting "
            "plugins.directory; default ../plugins from the executable, else the installed one."),
        QStringLiteral("DIR")};
    const QCommandLineOption m_portFile{
        QStringLiteral("port-file"),
        QStringLiteral("File that gets the bound port, in decimal and a line feed, once "
                       "requests are accepted. Default: none."),
        QStringLiteral("FILE")};
    const QCommandLineOption m_version{QStringLiteral("version"),
                                       QStringLiteral("Print the version and exit.")};
    const QCommandLineOption m_help{{QStringLiteral("h"), QStringLiteral("help")},
                                    QStringLiteral("Print this and exit.")};
};

Parser::Parser()
{
    m_parser.setApplicationDescription(
        QStringLiteral("Serves the HTTP interface of its plug-ins and carries their messages."));
    m_parser.addOptions({m_listen, m_plugin, m_pluginDirectory, m_portFile, m_version, m_help});
}

QString Parser::wrong() const
{
    if (!m_parser.positionalArguments().isEmpty())
        return QStringLiteral("Unexpected argument '%1'.").arg(m_parser.positionalArguments().constFirst());
    for (const QCommandLineOption *option : {&m_listen, &m_plugin, &m_pluginDirectory, &m_portFile}) {
        if (m_parser.values(*option).contains(QString()))
            return QStringLiteral("Missing value after '--%1'.").arg(option->names().constFirst());
    }
    if (m_parser.isSet(m_listen) && !ListenAddress::parse(m_parser.value(m_listen))) {
        return QStringLiteral("--listen '%1' is no ADDRESS:PORT, such as 127.0.0.1:8750 or [::1]:8750.")
            .arg(m_parser.value(m_listen));
    }
    return {};
}

std::variant<HostOptions, StartFailure> Parser::parse(const QStringList &arguments)
{
    const QString why = m_parser.parse(arguments) ? wrong() : m_parser.errorText();
    if (!why.isEmpty())
        return StartFailure{why + QStringLiteral(" See --help."), 2};

    HostOptions options;
    if (m_parser.isSet(m_version))
        options.task = HostOptions::Task::ShowVersion;
    if (m_parser.isSet(m_help))
        options.task = HostOptions::Task::ShowHelp;
    options.listen = ListenAddress::parse(m_parser.value(m_listen));
    options.plugins = m_parser.values(m_plugin);
    options.pluginDirectories = m_parser.values(m_pluginDirectory);
    options.portFile = m_parser.value(m_portFile);
    return options;
}

} // namespace

std::variant<HostOptions, StartFailure> HostOptions::parse(const QStringList &arguments)
{
    return Parser().parse(arguments);
}

QString HostOptions::helpText()
{
    return Parser().helpText()
           + QStringLiteral(
                 "\n"
                 "Settings, in the group [ch.tessel.vexo-service], with their defaults:\n"
                 "%1\n"
                 "They are read from vexo-service.ini beside the program, in the system's directory of the\n"
                 "organization tessel, in the configuration directory of the application, in the user's\n"
                 "directory of the organization, and from the .ini file that TS_SETTINGS_INI_FILE names; "
                 "the\n"
                 "later wins, and an option wins over its setting. Seconds may have a fraction.\n"
                 "\n"
                 "QT_LOGGING_RULES and QT_MESSAGE_PATTERN set what is logged and how, for instance\n"
                 "QT_LOGGING_RULES='ch.tessel.vexo-service.bus.debug=true' for every message between "
                 "plug-ins.\n")
                 .arg(HostSettings::describe());
}
