#include "installedprobe.h"
#include "logcapture.h"
#include "settingsdirectory.h"
#include "system/applicationpaths.h"

#include <memory>
#include <stdexcept>

using tessel::system::ApplicationPaths;

Q_DECLARE_METATYPE(ApplicationPaths::StandardLocation)

static constexpr const char *category = "ch.tessel.system.applicationpaths";
static const auto invalidLocation = "Invalid location has been given while requesting an application's path.";
static const auto invalidScope = "Invalid scope has been given while requesting an application's path.";

static QString logged(const char *text)
{
    return QLatin1String(category) + QLatin1Char(' ') + QLatin1String(text);
}

// The compiler must not see which value it is: neither enumeration has one of that number.
static QSettings::Scope scopeOf(int value)
{
    return static_cast<QSettings::Scope>(value);
}

static QStringList texts(std::initializer_list<const char *> words)
{
    QStringList list;
    for (const char *word : words)
        list << QLatin1String(word);
    return list;
}

template <typename Call>
static QByteArray messageThrownBy(Call call)
{
    try {
        call();
    } catch (const std::runtime_error &error) {
        return error.what();
    }
    return "nothing was thrown";
}

class TestApplicationPaths final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void readsTheKeyOfEachLocation_data();
    void readsTheKeyOfEachLocation();
    void readsTheFileInTheWorkingDirectoryOfTheCall();
    void aConfiguredFileIsNoDirectory();
    void warnsOfAMissingDirectoryAndKeepsIt();
    void emptyTextFallsBackToThePlatformRule_data();
    void emptyTextFallsBackToThePlatformRule();
    void platformRule_data();
    void platformRule();
    void anUnknownLocationThrows();
    void anUnknownScopeThrowsInThePlatformRuleAlone();
    void theScopeIsCheckedBeforeTheLocation();

    void applicationRoot_data();
    void applicationRoot();
    void externalRoot_data();
    void externalRoot();
    void executable_data();
    void executable();

private:
    void configure(const QString &line);
    [[nodiscard]] QString path(const char *relative) const
    {
        return m_directory->filePath(QLatin1String(relative));
    }

    std::unique_ptr<SettingsDirectory> m_directory;
    QByteArray m_oldHome;
};

void TestApplicationPaths::init()
{
    m_directory = std::make_unique<SettingsDirectory>();
    QVERIFY(m_directory->isReady());
    m_oldHome = qgetenv("HOME");
    QVERIFY(qputenv("HOME", QFile::encodeName(path("home"))));
}

void TestApplicationPaths::cleanup()
{
    QVERIFY(qputenv("HOME", m_oldHome));
    m_directory.reset();
}

void TestApplicationPaths::configure(const QString &line)
{
    const QString file = QStringLiteral("cwd/program.ini");
    QVERIFY(!m_directory->write(file, QStringLiteral("ch.tessel.system"), line).isEmpty());
}

void TestApplicationPaths::readsTheKeyOfEachLocation_data()
{
    QTest::addColumn<ApplicationPaths::StandardLocation>("location");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("key");

    QTest::newRow("configuration") << ApplicationPaths::Configuration << 0 << "path.configuration";
    QTest::newRow("logging") << ApplicationPaths::Logging << 1 << "path.logging";
    QTest::newRow("runtime") << ApplicationPaths::Runtime << 2 << "path.runtime";
    QTest::newRow("update") << ApplicationPaths::Update << 3 << "path.update";
}

void TestApplicationPaths::readsTheKeyOfEachLocation()
{
    QFETCH(ApplicationPaths::StandardLocation, location);
    QFETCH(int, number);
    QFETCH(QString, key);
    const LogCapture log(category);

    QCOMPARE(int(location), number);
    configure(key + QLatin1Char('=') + m_directory->path());
    for (const QSettings::Scope scope : {QSettings::UserScope, QSettings::SystemScope})
        QCOMPARE(ApplicationPaths::getApplicationPaths(scope, location), QDir(m_directory->path()));
    QVERIFY(log.lines().isEmpty());

    // No other location reads this key.
    for (int other = 0; other < 4; ++other) {
        if (other == number)
            continue;
        const auto otherLocation = static_cast<ApplicationPaths::StandardLocation>(other);
        QCOMPARE(ApplicationPaths::getApplicationPaths(QSettings::SystemScope, otherLocation),
                 ApplicationPaths::getPlatformApplicationPaths(QSettings::SystemScope, otherLocation));
    }
}

void TestApplicationPaths::readsTheFileInTheWorkingDirectoryOfTheCall()
{
    configure(QStringLiteral("path.update=/"));
    QCOMPARE(ApplicationPaths::getApplicationPaths(QSettings::UserScope, ApplicationPaths::Update).path(),
             QStringLiteral("/"));
    QVERIFY(QDir::setCurrent(m_directory->path()));
    QCOMPARE(ApplicationPaths::getApplicationPaths(QSettings::UserScope, ApplicationPaths::Update).path(),
             path("home/Library/Application Support/maker/program/update"));
}

void TestApplicationPaths::aConfiguredFileIsNoDirectory()
{
    configure(QStringLiteral("path.runtime=program.ini"));
    const LogCapture log(category);
    QCOMPARE(ApplicationPaths::getApplicationPaths(QSettings::UserScope, ApplicationPaths::Runtime).path(),
             QStringLiteral("program.ini"));
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("Configured path for location does not exist.")));
}

void TestApplicationPaths::warnsOfAMissingDirectoryAndKeepsIt()
{
    const QString missing = path("missing");
    configure(QStringLiteral("path.logging=") + missing);
    const LogCapture log(category);
    QCOMPARE(ApplicationPaths::getApplicationPaths(QSettings::SystemScope, ApplicationPaths::Logging).path(),
             missing);
    const QVector<LogCapture::Line> expected{
        {QtWarningMsg, QStringLiteral("Configured path for location does not exist.")}};
    QVERIFY(log.lines() == expected);
    QVERIFY(!QFileInfo::exists(missing));
}

void TestApplicationPaths::emptyTextFallsBackToThePlatformRule_data()
{
    QTest::addColumn<QString>("line");

    QTest::newRow("no key") << "path.other=/";
    QTest::newRow("empty text") << "path.logging=";
    QTest::newRow("empty text in quotes") << "path.logging=\"\"";
    QTest::newRow("null value") << "path.logging=@Invalid()";
    QTest::newRow("list without a text") << "path.logging=/, /";
}

void TestApplicationPaths::emptyTextFallsBackToThePlatformRule()
{
    QFETCH(QString, line);
    configure(line);
    const LogCapture log(category);
    QCOMPARE(ApplicationPaths::getApplicationPaths(QSettings::SystemScope, ApplicationPaths::Logging).path(),
             QStringLiteral("/Library/Application Support/maker/program/logging"));
    QVERIFY(log.lines().isEmpty());
}

void TestApplicationPaths::platformRule_data()
{
    QTest::addColumn<QSettings::Scope>("scope");
    QTest::addColumn<ApplicationPaths::StandardLocation>("location");
    QTest::addColumn<QString>("expected");

    QTest::newRow("system configuration")
        << QSettings::SystemScope << ApplicationPaths::Configuration
        << QStringLiteral("/Library/Application Support/maker/program/configuration");
    QTest::newRow("system logging") << QSettings::SystemScope << ApplicationPaths::Logging
                                    << QStringLiteral("/Library/Application Support/maker/program/logging");
    QTest::newRow("system runtime") << QSettings::SystemScope << ApplicationPaths::Runtime
                                    << QStringLiteral("/Library/Application Support/maker/program/runtime");
    QTest::newRow("system update") << QSettings::SystemScope << ApplicationPaths::Update
                                   << QStringLiteral("/Library/Application Support/maker/program/update");
    QTest::newRow("user configuration")
        << QSettings::UserScope << ApplicationPaths::Configuration
        << QStringLiteral("HOME/Library/Application Support/maker/program/configuration");
    QTest::newRow("user update") << QSettings::UserScope << ApplicationPaths::Update
                                 << QStringLiteral("HOME/Library/Application Support/maker/program/update");
}

void TestApplicationPaths::platformRule()
{
    QFETCH(QSettings::Scope, scope);
    QFETCH(ApplicationPaths::StandardLocation, location);
    QFETCH(QString, expected);
    expected.replace(QStringLiteral("HOME"), path("home"));
    QCOMPARE(ApplicationPaths::getPlatformApplicationPaths(scope, location).path(), expected);
    QCOMPARE(ApplicationPaths::getApplicationPaths(scope, location).path(), expected);
}

void TestApplicationPaths::anUnknownLocationThrows()
{
    const auto location = static_cast<ApplicationPaths::StandardLocation>(4);
    const auto configured = [=] {
        (void)ApplicationPaths::getApplicationPaths(QSettings::SystemScope, location);
    };
    const auto platform = [=] {
        (void)ApplicationPaths::getPlatformApplicationPaths(QSettings::SystemScope, location);
    };
    QCOMPARE(messageThrownBy(configured), QByteArray(invalidLocation));
    QCOMPARE(messageThrownBy(platform), QByteArray(invalidLocation));
}

void TestApplicationPaths::anUnknownScopeThrowsInThePlatformRuleAlone()
{
    const auto call = [] {
        (void)ApplicationPaths::getApplicationPaths(scopeOf(2), ApplicationPaths::Configuration);
    };
    QCOMPARE(messageThrownBy(call), QByteArray(invalidScope));
    configure(QStringLiteral("path.configuration="));
    QCOMPARE(messageThrownBy(call), QByteArray(invalidScope));
    configure(QStringLiteral("path.configuration=/"));
    QCOMPARE(messageThrownBy(call), QByteArrayLiteral("nothing was thrown"));
}

void TestApplicationPaths::theScopeIsCheckedBeforeTheLocation()
{
    const auto location = static_cast<ApplicationPaths::StandardLocation>(4);
    const auto platform = [=] { (void)ApplicationPaths::getPlatformApplicationPaths(scopeOf(2), location); };
    QCOMPARE(messageThrownBy(platform), QByteArray(invalidScope));
    const auto configured = [=] { (void)ApplicationPaths::getApplicationPaths(scopeOf(2), location); };
    QCOMPARE(messageThrownBy(configured), QByteArray(invalidLocation));
}

void TestApplicationPaths::applicationRoot_data()
{
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("expected");

    QTest::newRow("in bin") << "app/bin"
                            << "app";
    QTest::newRow("in another directory") << "app/MacOS"
                                          << "app/MacOS";
    QTest::newRow("below bin") << "app/bin/tools"
                               << "app/bin/tools";
    QTest::newRow("in a bin in a bin") << "app/bin/bin"
                                       << "app/bin";
}

void TestApplicationPaths::applicationRoot()
{
    QFETCH(QString, directory);
    QFETCH(QString, expected);
    const InstalledProbe probe(m_directory->filePath(directory));
    QVERIFY(probe.isReady());
    const auto answer = probe.ask({QStringLiteral("root")});
    QCOMPARE(answer.lines, QStringList{m_directory->filePath(expected)});
    QCOMPARE(answer.log, QStringList());
}

void TestApplicationPaths::externalRoot_data()
{
    QTest::addColumn<QStringList>("directories");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("warns");

    QTest::newRow("installed") << texts({"app/3rd-party/tool"}) << "app/3rd-party/tool" << false;
    QTest::newRow("missing program") << texts({"app/3rd-party"}) << "app/3rd-party" << true;
    QTest::newRow("missing both") << QStringList() << "app" << true;
    QTest::newRow("directly below the root") << texts({"app/tool"}) << "app/tool" << true;
    QTest::newRow("not below the root if there is 3rd-party")
        << texts({"app/tool", "app/3rd-party"}) << "app/3rd-party" << true;
}

void TestApplicationPaths::externalRoot()
{
    QFETCH(QStringList, directories);
    QFETCH(QString, expected);
    QFETCH(bool, warns);
    const InstalledProbe probe(path("app/bin"));
    QVERIFY(probe.isReady());
    for (const QString &directory : qAsConst(directories))
        QVERIFY(QDir(m_directory->path()).mkpath(directory));

    const auto answer = probe.ask({QStringLiteral("external"), QStringLiteral("tool")});
    QCOMPARE(answer.lines, QStringList{m_directory->filePath(expected)});
    QCOMPARE(answer.log,
             warns ? QStringList{logged("warning: Cannot find external program root dir.")} : QStringList());
}

void TestApplicationPaths::executable_data()
{
    QTest::addColumn<QStringList>("executables");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QStringList>("log");

    const QString noRoot = logged("warning: Cannot find external program root dir.");
    const QString notEmbedded =
        logged("debug: Could not find embedded \"tool\"  in  (\"DIR/app/3rd-party/tool\", "
               "\"DIR/app/3rd-party/tool/bin\")");
    const QString notEmbeddedWithoutBin =
        logged("debug: Could not find embedded \"tool\"  in  (\"DIR/app/3rd-party/tool\", "
               "\"DIR/app/3rd-party/tool\")");
    // Without the directories "bin" is that of the application, in which its own executable lies.
    const QString notEmbeddedWithoutRoot =
        logged("debug: Could not find embedded \"tool\"  in  (\"DIR/app\", \"DIR/app/bin\")");
    const QString fallback = logged("debug: Fallback to system binary:  \"DIR/path/tool\"");
    const QString nothing = logged("debug: No openSSL implementation found.");

    QTest::newRow("in its root") << texts({"app/3rd-party/tool/tool", "path/tool"})
                                 << "DIR/app/3rd-party/tool/tool" << QStringList();
    QTest::newRow("in its bin") << texts({"app/3rd-party/tool/bin/tool", "path/tool"})
                                << "DIR/app/3rd-party/tool/bin/tool" << QStringList();
    QTest::newRow("its root before its bin")
        << texts({"app/3rd-party/tool/bin/tool", "app/3rd-party/tool/tool"}) << "DIR/app/3rd-party/tool/tool"
        << QStringList();
    QTest::newRow("not embedded, on the search path")
        << texts({"app/3rd-party/tool/bin/other", "path/tool"}) << "DIR/path/tool"
        << QStringList{notEmbedded, fallback};
    QTest::newRow("not embedded without bin")
        << texts({"app/3rd-party/tool/other", "path/tool"}) << "DIR/path/tool"
        << QStringList{notEmbeddedWithoutBin, fallback};
    QTest::newRow("no root, on the search path")
        << texts({"path/tool"}) << "DIR/path/tool" << QStringList{noRoot, notEmbeddedWithoutRoot, fallback};
    QTest::newRow("nowhere") << texts({"path/other"}) << ""
                             << QStringList{noRoot, notEmbeddedWithoutRoot, nothing};
}

void TestApplicationPaths::executable()
{
    QFETCH(QStringList, executables);
    QFETCH(QString, expected);
    QFETCH(QStringList, log);
    InstalledProbe probe(path("app/bin"));
    QVERIFY(probe.isReady());
    probe.environment.insert(QStringLiteral("PATH"), path("path"));
    for (const QString &executable : qAsConst(executables)) {
        const QFileInfo info(m_directory->filePath(executable));
        QVERIFY(QDir().mkpath(info.path()));
        QVERIFY(QFile::copy(QStringLiteral("/bin/true"), info.filePath()));
    }

    const auto answer = probe.ask({QStringLiteral("executable"), QStringLiteral("tool")});
    QCOMPARE(answer.lines, QStringList{expected.replace(QStringLiteral("DIR"), m_directory->path())});
    QCOMPARE(answer.log, log.replaceInStrings(QStringLiteral("DIR"), m_directory->path()));
}

QTEST_GUILESS_MAIN(TestApplicationPaths)
#include "tst_applicationpaths.moc"
