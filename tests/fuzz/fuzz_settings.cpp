#include "contextcollector.h"
#include "contextpluginprobe.h"
#include "contextservice.h"
#include "knownsettings.h"
#include "pluginsettings.h"
#include "recordingchunkservice.h"
#include "settingslayers.h"
#include "socketpath.h"
#include "system/applicationpaths.h"

#include <k7-plugin-api/chunkupdatelistener.h>

#include <QJsonObject>
#include <QTimer>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>

// An input is the text of settings files, see SettingsLayers. All that the host and the plug-ins read from
// them must be what the files say, one over the other, and within its bounds; or the host tells on one line
// why it does not start.

// A "@Variant()" may claim to hold so much, for which Qt asks at once.
extern "C" const char *__asan_default_options() // NOLINT(bugprone-reserved-identifier)
{
    return "allocator_may_return_null=1:max_allocation_size_mb=256";
}

namespace {

using tessel::system::ApplicationPaths;

PlainSettings taken(const HostSettings &settings)
{
    PlainSettings values;
    for (const Known &known : knownSettings)
        values.insert(hostKey(known.key), known.taken(settings));
    return values;
}

QString shown(const QVariant &value)
{
    QString text;
    QDebug(&text) << value;
    return text;
}

std::variant<HostSettings, StartFailure> readHost(const PlainSettings &values)
{
    return HostSettings::read([&](const QString &key) { return values.value(key); });
}

void requireSensible(const HostSettings &settings, const PlainSettings &values)
{
    const HostSettings initial;
    for (const Known &known : knownSettings) {
        const QVariant taken = known.taken(settings);
        const QVariant said = values.value(hostKey(known.key));
        require(said.isValid() ? known.fits(taken, said) : taken == known.taken(initial),
                "A setting is taken for what it is not.");
    }
}

bool isSound(const Known &known, const QVariant &said)
{
    const bool isList = known.taken(HostSettings()).type() == QVariant::StringList;
    const QStringList texts = listOf(said);
    return (isList ? !texts.isEmpty() : texts.size() == 1) && allMatch(known.sound, texts);
}

bool breaksLine(QChar c)
{
    return c.category() == QChar::Other_Control || c == QChar(QChar::LineSeparator)
           || c == QChar(QChar::ParagraphSeparator);
}

// On one line, and of the key that it names and of no other.
void requireReasoned(const StartFailure &failure, const PlainSettings &values)
{
    const QString line = failure.line();
    require(failure.exitStatus == 1 && std::none_of(line.begin(), line.end(), breaksLine),
            "A failure is no line.");
    const QString key = line.section(QLatin1Char(' '), 1, 1);
    const QVariant value = values.value(key);
    require(value.isValid(), "A failure is told of a key that is not set.");
    const StartFailure named{QStringLiteral("setting %1 is \"%2\": ").arg(key, textOf(value))};
    require(line.startsWith(named.line()) && line.size() > named.line().size(),
            "A failure does not tell the value or the reason.");
    const auto alone = readHost({{key, value}});
    const auto *same = std::get_if<StartFailure>(&alone);
    require(same != nullptr && same->text == failure.text, "A failure is told of another key.");
    require(
        std::none_of(std::begin(knownSettings), std::end(knownSettings),
                     [&](const Known &known) { return hostKey(known.key) == key && isSound(known, value); }),
        "A sound setting is refused.");
}

class SettingsReaders final
{
public:
    /// Makes the directory the current one, in which the host is started.
    void enter() { require(QDir::setCurrent(m_layers.filePath("cwd")), "A directory cannot be entered."); }
    void read(const QByteArray &input);

private:
    void readLayers();
    void readHostSettings();
    void readPaths();
    void startPlugin();
    void requireSameAfterwards(const PlainSettings &written, const PlainSettings &expected);
    void requireExported(const RecordingChunkService &bus);

    SettingsLayers m_layers;
    PlainSettings m_values;
};

void SettingsReaders::read(const QByteArray &input)
{
    m_layers.write(input);
    m_values = m_layers.read("oscue");
    readLayers();
    readPaths();
    startPlugin();
    readHostSettings();
}

void SettingsReaders::readLayers()
{
    tessel::system::Settings settings = readPluginSettings();
    for (auto it = m_values.constBegin(); it != m_values.constEnd(); ++it)
        require(shown(settings.value(it.key())) == shown(it.value()),
                "A setting is not that of the strongest layer.");
    for (const QString &key : m_layers.read("n").keys())
        require(m_values.contains(key) || !settings.value(key).isValid(), "A file is read that is no layer.");
}

void SettingsReaders::readHostSettings()
{
    const auto read = readHost(m_values);
    if (const auto *failure = std::get_if<StartFailure>(&read)) {
        requireReasoned(*failure, m_values);
        return;
    }
    const auto settings = std::get<HostSettings>(read);
    requireSensible(settings, m_values);
    const PlainSettings expected = taken(settings);
    PlainSettings said;
    for (const Known &known : knownSettings) {
        if (m_values.contains(hostKey(known.key)))
            said.insert(hostKey(known.key), m_values.value(hostKey(known.key)));
    }
    requireSameAfterwards(said, expected);
    PlainSettings plain;
    for (auto it = expected.begin(); it != expected.end(); ++it) {
        // Nothing is written as nothing; a number without an exponent.
        const bool isNumber = it->type() == QVariant::Double;
        if (isNumber || !it->toStringList().join(QString()).isEmpty() || it->type() == QVariant::Bool)
            plain.insert(it.key(), isNumber ? QString::number(it->toDouble(), 'g', 12) : it.value());
    }
    requireSameAfterwards(plain, expected);
}

void SettingsReaders::requireSameAfterwards(const PlainSettings &written, const PlainSettings &expected)
{
    m_layers.writeBack(written);
    tessel::system::Settings settings({}, {}, {});
    const auto read = HostSettings::read([&](const QString &key) { return settings.value(key); });
    const auto *again = std::get_if<HostSettings>(&read);
    require(again != nullptr && taken(*again) == expected, "A setting reads otherwise when it was written.");
}

void SettingsReaders::readPaths()
{
    const PlainSettings values = m_layers.read("p");
    const char *const words[] = {"configuration", "logging", "runtime", "update"};
    for (unsigned location = 0; location < 4; ++location) {
        const QString word = QLatin1String(words[location]);
        const QString set = values.value(QStringLiteral("ch.tessel.system/path.") + word).toString();
        const QString path =
            set.isEmpty() ? QStringLiteral("/Library/Application Support/maker/program/") + word : set;
        const QDir found = ApplicationPaths::getApplicationPaths(
            QSettings::SystemScope, static_cast<ApplicationPaths::StandardLocation>(location));
        require(found.path() == QDir(path).path(), "A directory is another.");
    }
    const QString socket = m_values.value(QStringLiteral("ch.tessel.vexo-service.buswire/socket")).toString();
    require(buswire::socketPath() == (socket.isEmpty() ? m_layers.filePath("home/buswire.sock") : socket),
            "The socket is another.");
}

void SettingsReaders::startPlugin()
{
    RecordingChunkService bus;
    ContextPlugin plugin;
    plugin.initialize();
    plugin.attachChunkService(bus);

    const QString group = QStringLiteral("ch.tessel.vexo-service.context/");
    const bool hasDefault = m_values.value(group + QStringLiteral("defaultValues")).toBool();
    const auto timers = plugin.findChildren<QTimer *>(QString(), Qt::FindDirectChildrenOnly);
    require(timers.size() == (hasDefault ? 1 : 0), "The default value comes unasked for.");

    const QVariant minutes = m_values.value(group + QStringLiteral("ttl"));
    const auto period = contextcollector::periodOf(minutes);
    const auto *timer = ContextPluginProbe::contexts(plugin).findChild<QTimer *>();
    require((timer != nullptr) == period.has_value(), "The collector is not the one that is set.");
    if (timer != nullptr)
        require(timer->interval() == *period && *period >= 60000, "The collector has another period.");
    if (matches("[1-9][0-9]{0,3}", minutes.toString()))
        require(period == minutes.toInt() * 60000, "A collector that is set is another.");
    requireExported(bus);
}

// Cards are sent only if that touches nothing outside of the layers.
void SettingsReaders::requireExported(const RecordingChunkService &bus)
{
    const QString xml = QStringLiteral("<vk-adm:insuredPersonNumber>756</vk-adm:insuredPersonNumber>");
    const QVariant set =
        m_layers.read("os").value(QStringLiteral("ch.tessel.vexo-service.context/xml.directory"));
    const QDir directory(set.isValid() ? set.toString() : m_layers.filePath("cwd"));
    const QString canonical = directory.canonicalPath();
    const QString own = QDir(m_layers.path()).canonicalPath();
    const bool isOwn = canonical == own || canonical.startsWith(own + QLatin1Char('/'));
    if (!canonical.isEmpty() && !isOwn)
        return;
    for (ChunkUpdateListener *listener : bus.listeners)
        listener->onChunkUpdated(
            QJsonObject{{QStringLiteral("source"), QStringLiteral("Vexo")}, {QStringLiteral("data"), xml}});
    QFile file(directory.filePath(QStringLiteral("adm_756.xml")));
    const bool isThere = file.open(QIODevice::ReadOnly);
    require(isThere == (set.isValid() && isOwn), "A card is not where it is to be.");
    if (isThere)
        require(file.readAll() == xml.toUtf8() && file.remove(), "Another card was written.");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static const QCoreApplication application(*argc, *argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString oldDirectory = QDir::currentPath();
    static SettingsReaders readers;
    readers.enter();
    try {
        readers.read(QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size)));
    } catch (const std::bad_alloc &) {
        // The host does not start then.
    }
    QDir::setCurrent(oldDirectory);
    return 0;
}
