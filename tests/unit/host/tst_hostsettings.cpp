#include <hostsettings.h>

#include <QtTest>

class HostSettingsTest : public QObject
{
    Q_OBJECT

    static std::variant<HostSettings, StartFailure> read(const QMap<QString, QVariant> &values)
    {
        return HostSettings::read([&](const QString &key) { return values.value(key); });
    }
    static std::variant<HostSettings, StartFailure> readOne(const QString &key, const QVariant &value)
    {
        return read({{QStringLiteral("ch.tessel.vexo-service/") + key, value}});
    }

private Q_SLOTS:
    void nothingSetLeavesTheDefaults()
    {
        const auto settings = std::get<HostSettings>(read({}));
        QVERIFY(!settings.listen.has_value());
        QCOMPARE(settings.pluginDirectories, QStringList());
        QCOMPARE(settings.limits.maxBodyBytes, http::server::Limits().maxBodyBytes);
    }

    void limitsAreRead()
    {
        const auto settings =
            std::get<HostSettings>(readOne(QStringLiteral("http.maxBodyBytes"), QStringLiteral("300")));
        QCOMPARE(settings.limits.maxBodyBytes, std::int64_t(300));
    }

    void whoIsServedIsRead()
    {
        const auto settings =
            std::get<HostSettings>(readOne(QStringLiteral("http.sameUser"), QStringLiteral("off")));
        QVERIFY(!settings.access.sameUser);
    }

    void listenIsRead()
    {
        const auto settings =
            std::get<HostSettings>(readOne(QStringLiteral("http.listen"), QStringLiteral("[::1]:99")));
        QCOMPARE(settings.listen->toString(), QStringLiteral("[::1]:99"));
    }

    void directoryIsOneOrAList()
    {
        const QString key = QStringLiteral("plugins.directory");
        QCOMPARE(std::get<HostSettings>(readOne(key, QStringLiteral("/a"))).pluginDirectories,
                 QStringList{QStringLiteral("/a")});
        const QStringList list{QStringLiteral("/b"), QStringLiteral("/a")};
        QCOMPARE(std::get<HostSettings>(readOne(key, list)).pluginDirectories, list);
    }

    void keysOfPluginsAreSetWithAnyValue()
    {
        const QString key = QStringLiteral("ch.tessel.vexo-service.some/key");
        QVERIFY(!HostSettings().isSet(key));
        for (const QVariant &value : {QVariant(), QVariant(QString()), QVariant(QStringLiteral("x"))}) {
            const auto settings =
                HostSettings::read([&](const QString &asked) { return asked == key ? value : QVariant(); });
            QCOMPARE(std::get<HostSettings>(settings).isSet(key), value.isValid());
            QVERIFY(!std::get<HostSettings>(settings).isSet(key + QLatin1Char('s')));
        }
    }

    void senselessValuesAreNamedWithTheReason_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("why");
        const auto row = [](const char *key, const char *text, const char *why) {
            QTest::addRow("%s=%s", key, text)
                << QString::fromLatin1(key) << QString::fromLatin1(text) << QString::fromLatin1(why);
        };
        row("http.maxBodyBytes", "many", "must be a whole number");
        row("http.allowedOrigins", "*", "\"*\" is no origin");
        row("http.listen", "everywhere", "must be ADDRESS:PORT");
        row("http.listen", "", "must be ADDRESS:PORT");
        row("plugins.directory", "", "must name a directory");
        QTest::newRow("plugins.directory with a NUL")
            << "plugins.directory" << QStringLiteral("/a%1b").arg(QChar(QChar::Null))
            << "must not have a NUL in it";
    }
    void senselessValuesAreNamedWithTheReason()
    {
        QFETCH(QString, key);
        QFETCH(QString, value);
        QFETCH(QString, why);
        const auto failure = std::get<StartFailure>(readOne(key, value));
        QCOMPARE(failure.exitStatus, 1);
        const QString start =
            QStringLiteral("setting ch.tessel.vexo-service/%1 is \"%2\": %3").arg(key, value, why);
        QVERIFY2(failure.text.startsWith(start), qPrintable(failure.text));
    }
};

QTEST_GUILESS_MAIN(HostSettingsTest)
#include "tst_hostsettings.moc"
