#include "installedprobe.h"
#include "settingsdirectory.h"
#include "system/settings.h"

#include <QLoggingCategory>

#include <memory>
#include <type_traits>

using tessel::system::Scope;
using tessel::system::Settings;

// The layers from the weakest to the strongest, with the bit that asks for each.
struct Layer
{
    const char *name;
    int bit;
};
static constexpr Layer layers[] = {
    {"beside", Scope::ApplicationDirectory},
    {"system", Scope::SystemSettings},
    {"configuration", Scope::SystemConfiguration},
    {"user", Scope::UserSettings},
    {"environment", 0},
};

template <typename T, typename = void>
struct IsReadable : std::false_type
{
};
template <typename T>
struct IsReadable<T, std::void_t<decltype(std::declval<T &>().value(QString()))>> : std::true_type
{
};
static_assert(IsReadable<Settings>::value && !IsReadable<const Settings>::value,
              "a lookup leaves an entry, so that it needs an object that may change");

static_assert(Scope::ApplicationDirectory == 1 && Scope::SystemConfiguration == 2
              && Scope::SystemSettings == 4 && Scope::UserSettings == 8);
static_assert(std::is_same_v<decltype(Scope::SystemSettings | Scope::UserSettings), QFlags<Scope::Value>>);

class TestSettings final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void mergesTheLayersOfItsFlags_data();
    void mergesTheLayersOfItsFlags();
    void theConfigurationDirectoryIsTheConfiguredOne();
    void keepsKeysThatAStrongerLayerDoesNotHave();
    void theUserScopeHasNoFallbacks();
    void readsNothingWithoutFlags();
    void environmentFile_data();
    void environmentFile();
    void environmentFileMayBeMissing_data();
    void environmentFileMayBeMissing();
    void givesValuesAsTheFileHasThem();
    void isASnapshot();
    void asksTwiceForAnAbsentKey();
    void categoryIsNamed();

private:
    [[nodiscard]] QString write(const QString &relativePath, const QString &lines) const;
    [[nodiscard]] Settings read(Scope::Values scopes) const;

    std::unique_ptr<SettingsDirectory> m_directory;
};

void TestSettings::init()
{
    m_directory = std::make_unique<SettingsDirectory>();
    QVERIFY(m_directory->isReady());
}

void TestSettings::cleanup()
{
    m_directory.reset();
}

// Writes an .ini file with one group and gives its path, empty if that failed.
QString TestSettings::write(const QString &relativePath, const QString &lines) const
{
    return m_directory->write(relativePath, QStringLiteral("group"), lines);
}

Settings TestSettings::read(Scope::Values scopes) const
{
    return {QStringLiteral("maker"), QStringLiteral("program"), scopes};
}

void TestSettings::mergesTheLayersOfItsFlags_data()
{
    QTest::addColumn<int>("flags");
    QTest::addColumn<bool>("environment");

    for (int flags = 0; flags <= 0xf; ++flags) {
        QTest::addRow("flags %d", flags) << flags << false;
        QTest::addRow("flags %d and environment", flags) << flags << true;
    }
}

// Each layer has a key of its own, and one that all have. From every set of layers, exactly those keys come,
// and the shared one has the value of the strongest.
void TestSettings::mergesTheLayersOfItsFlags()
{
    QFETCH(int, flags);
    QFETCH(bool, environment);
    InstalledProbe probe(m_directory->filePath(QStringLiteral("app")));
    QVERIFY(probe.isReady());
    probe.workingDirectory = QDir::currentPath();
    if (environment)
        probe.environment.insert(QStringLiteral("TS_SETTINGS_INI_FILE"),
                                 m_directory->filePath(QStringLiteral("environment/program.ini")));

    const QString lines = QStringLiteral("all=%1\nonly.%1=yes");
    QVERIFY(!write(QStringLiteral("app/program.ini"), lines.arg(QStringLiteral("beside"))).isEmpty());
    for (const char *name : {"system", "user"}) {
        const QString file = QLatin1String(name) + QStringLiteral("/maker/program.ini");
        QVERIFY(!write(file, lines.arg(QLatin1String(name))).isEmpty());
    }
    for (const char *name : {"configuration", "environment"}) {
        const QString file = QLatin1String(name) + QStringLiteral("/program.ini");
        QVERIFY(!write(file, lines.arg(QLatin1String(name))).isEmpty());
    }
    const QString locations = QStringLiteral("[ch.tessel.system]\npath.configuration=%1")
                                  .arg(m_directory->filePath(QStringLiteral("configuration")));
    QVERIFY(!write(QStringLiteral("cwd/program.ini"), locations).isEmpty());

    QStringList arguments{QStringLiteral("settings"), m_directory->filePath(QStringLiteral("system")),
                          m_directory->filePath(QStringLiteral("user")), QString::number(flags),
                          QStringLiteral("group/all")};
    QStringList expected{QStringLiteral("-")};
    for (const Layer &layer : layers) {
        arguments << QStringLiteral("group/only.") + QLatin1String(layer.name);
        const bool isRead = layer.bit != 0 ? (flags & layer.bit) != 0 : environment;
        expected << (isRead ? QStringLiteral("yes") : QStringLiteral("-"));
        if (isRead)
            expected[0] = QLatin1String(layer.name);
    }
    const auto answer = probe.ask(arguments);
    QCOMPARE(answer.lines, expected);
    QCOMPARE(answer.log, QStringList());
}

void TestSettings::theConfigurationDirectoryIsTheConfiguredOne()
{
    const QString lines = QStringLiteral("[ch.tessel.system]\npath.configuration=%1")
                              .arg(m_directory->filePath(QStringLiteral("elsewhere")));
    QVERIFY(!write(QStringLiteral("cwd/program.ini"), lines).isEmpty());
    QVERIFY(!write(QStringLiteral("elsewhere/program.ini"), QStringLiteral("key=there")).isEmpty());
    QVERIFY(!write(QStringLiteral("elsewhere/other.ini"), QStringLiteral("key=other")).isEmpty());

    QCOMPARE(read(Scope::SystemConfiguration).value(QStringLiteral("group/key")).toString(),
             QStringLiteral("there"));
    // The file is that of the application asked for, the directory that of the application that runs.
    Settings other(QStringLiteral("maker"), QStringLiteral("other"), Scope::SystemConfiguration);
    QCOMPARE(other.value(QStringLiteral("group/key")).toString(), QStringLiteral("other"));
}

void TestSettings::keepsKeysThatAStrongerLayerDoesNotHave()
{
    QVERIFY(!write(QStringLiteral("system/maker/program.ini"), QStringLiteral("a=1\nb=1")).isEmpty());
    QVERIFY(!write(QStringLiteral("user/maker/program.ini"), QStringLiteral("b=2\nc=2")).isEmpty());
    Settings settings = read(Scope::SystemSettings | Scope::UserSettings);
    QCOMPARE(settings.value(QStringLiteral("group/a")).toString(), QStringLiteral("1"));
    QCOMPARE(settings.value(QStringLiteral("group/b")).toString(), QStringLiteral("2"));
    QCOMPARE(settings.value(QStringLiteral("group/c")).toString(), QStringLiteral("2"));

    // An empty text is a value as well.
    QVERIFY(!write(QStringLiteral("user/maker/program.ini"), QStringLiteral("a=\nb=2")).isEmpty());
    settings = read(Scope::SystemSettings | Scope::UserSettings);
    QCOMPARE(settings.value(QStringLiteral("group/a")), QVariant(QString()));
}

void TestSettings::theUserScopeHasNoFallbacks()
{
    for (const char *file : {"system/maker/program.ini", "system/maker.ini", "user/maker.ini"})
        QVERIFY(!write(QLatin1String(file), QStringLiteral("key=1")).isEmpty());
    QVERIFY(!read(Scope::UserSettings).value(QStringLiteral("group/key")).isValid());
    QVERIFY(read(Scope::SystemSettings).value(QStringLiteral("group/key")).isValid());
}

void TestSettings::readsNothingWithoutFlags()
{
    QVERIFY(!write(QStringLiteral("system/maker/program.ini"), QStringLiteral("key=1")).isEmpty());
    QVERIFY(!write(QStringLiteral("user/maker/program.ini"), QStringLiteral("key=2")).isEmpty());
    QVERIFY(!read({}).value(QStringLiteral("group/key")).isValid());
}

void TestSettings::environmentFile_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isRead");

    QTest::newRow("ending .ini") << "x.ini" << true;
    QTest::newRow("nothing before the ending") << ".ini" << true;
    QTest::newRow("a name beyond ASCII") << QString::fromUtf8("gr\xc3\xbcn.ini") << true;
    QTest::newRow("another ending") << "x.conf" << false;
    QTest::newRow("capital ending") << "x.INI" << false;
    QTest::newRow("more after the ending") << "x.ini.bak" << false;
    QTest::newRow("ending without its point") << "xini" << false;
}

void TestSettings::environmentFile()
{
    QFETCH(QString, name);
    QFETCH(bool, isRead);
    QVERIFY(!write(QStringLiteral("user/maker/program.ini"), QStringLiteral("key=user")).isEmpty());
    const QString file = write(QStringLiteral("run/") + name, QStringLiteral("key=run"));
    QVERIFY(!file.isEmpty());
    QVERIFY(qputenv("TS_SETTINGS_INI_FILE", file.toLocal8Bit()));

    const QString key = QStringLiteral("group/key");
    QCOMPARE(read(Scope::Values(0xf)).value(key).toString(),
             isRead ? QStringLiteral("run") : QStringLiteral("user"));
    QCOMPARE(read({}).value(key), isRead ? QVariant(QStringLiteral("run")) : QVariant());
}

void TestSettings::environmentFileMayBeMissing_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("empty variable") << QString();
    QTest::newRow("no such file") << "missing.ini";
    QTest::newRow("a directory") << "directory.ini";
}

void TestSettings::environmentFileMayBeMissing()
{
    QFETCH(QString, name);
    QVERIFY(!write(QStringLiteral("user/maker/program.ini"), QStringLiteral("key=user")).isEmpty());
    QVERIFY(QDir(m_directory->path()).mkdir(QStringLiteral("directory.ini")));
    QVERIFY(qputenv("TS_SETTINGS_INI_FILE",
                    name.isEmpty() ? QByteArray("") : m_directory->filePath(name).toLocal8Bit()));
    QCOMPARE(read(Scope::Values(0xf)).value(QStringLiteral("group/key")).toString(), QStringLiteral("user"));
}

void TestSettings::givesValuesAsTheFileHasThem()
{
    QVERIFY(!write(QStringLiteral("user/maker/program.ini"),
                   QStringLiteral("number=60\nlist=a, b\nquoted=\"a, b\"\ninvalid=@Invalid()"))
                 .isEmpty());
    Settings settings = read(Scope::UserSettings);
    QCOMPARE(settings.value(QStringLiteral("group/number")), QVariant(QStringLiteral("60")));
    QCOMPARE(settings.value(QStringLiteral("group/list")),
             QVariant(QStringList{QStringLiteral("a"), QStringLiteral("b")}));
    QCOMPARE(settings.value(QStringLiteral("group/quoted")), QVariant(QStringLiteral("a, b")));
    QVERIFY(!settings.value(QStringLiteral("group/invalid")).isValid());
    QVERIFY(!settings.value(QStringLiteral("number")).isValid());
}

void TestSettings::isASnapshot()
{
    QVERIFY(!write(QStringLiteral("user/maker/program.ini"), QStringLiteral("key=old")).isEmpty());
    Settings before = read(Scope::UserSettings);
    QVERIFY(!write(QStringLiteral("user/maker/program.ini"), QStringLiteral("key=changed")).isEmpty());
    Settings after = read(Scope::UserSettings);
    QCOMPARE(before.value(QStringLiteral("group/key")).toString(), QStringLiteral("old"));
    QCOMPARE(after.value(QStringLiteral("group/key")).toString(), QStringLiteral("changed"));
}

void TestSettings::asksTwiceForAnAbsentKey()
{
    Settings settings = read(Scope::Values(0xf));
    QVERIFY(!settings.value(QStringLiteral("group/absent")).isValid());
    QVERIFY(!settings.value(QStringLiteral("group/absent")).isValid());
}

void TestSettings::categoryIsNamed()
{
    QCOMPARE(tessel::system::tsystemSettingsLogging().categoryName(), "ch.tessel.system.settings");
}

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
