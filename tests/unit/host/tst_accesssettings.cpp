#include <accesssettings.h>

#include <QtTest>

class AccessSettingsTest : public QObject
{
    Q_OBJECT

    static std::variant<AccessSettings, StartFailure> readOne(const char *key, const QVariant &value)
    {
        const QString full = QStringLiteral("ch.tessel.vexo-service/") + QLatin1String(key);
        return AccessSettings::read([&](const QString &asked) { return asked == full ? value : QVariant(); });
    }
    static AccessSettings sound(const char *key, const QVariant &value)
    {
        auto result = readOne(key, value);
        if (const auto *failure = std::get_if<StartFailure>(&result))
            qFatal("%s", qPrintable(failure->text));
        return std::get<AccessSettings>(std::move(result));
    }
    static QStringList list(const char *entries)
    {
        return QString::fromUtf8(entries).split(QLatin1Char(','));
    }

private Q_SLOTS:
    void nothingSetLeavesTheDoorShut()
    {
        const AccessSettings settings = sound("", {});
        QVERIFY(settings.allowedHosts.isEmpty());
        QVERIFY(settings.allowedOrigins.isEmpty());
        QVERIFY(!settings.allowsNullOrigin);
        QCOMPARE(settings.allowedUsers, QStringList());
        QVERIFY(settings.sameUser);
        QCOMPARE(settings.tokenFile, QString());
        QCOMPARE(settings.socket, QString());
    }

    void listsAreRead()
    {
        const auto hosts = sound("http.allowedHosts", list("Desk.example, other:9,[::2]")).allowedHosts;
        QCOMPARE(hosts, (QVector<HostPort>{{"desk.example", 0}, {"other", 9}, {"[::2]", 0}}));
        QCOMPARE(sound("http.allowedHosts", QStringLiteral(" desk ")).allowedHosts,
                 (QVector<HostPort>{{"desk", 0}}));

        const AccessSettings origins = sound("http.allowedOrigins", list("HTTPS://a, null ,http://b:3000"));
        QCOMPARE(origins.allowedOrigins, (QVector<Origin>{{"https", {"a", 443}}, {"http", {"b", 3000}}}));
        QVERIFY(origins.allowsNullOrigin);
        QVERIFY(!sound("http.allowedOrigins", QStringLiteral("http://b")).allowsNullOrigin);

        QCOMPARE(sound("http.allowedUsers", list("anna, 1000")).allowedUsers,
                 (QStringList{QStringLiteral("anna"), QStringLiteral("1000")}));
    }

    // With these a later layer of settings takes back the list of an earlier one.
    void anEmptyListIsNone_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::newRow("empty text") << QVariant(QString(QLatin1String("")));
        QTest::newRow("blanks") << QVariant(QStringLiteral("  "));
        QTest::newRow("empty list") << QVariant(QStringList());
    }
    void anEmptyListIsNone()
    {
        QFETCH(QVariant, value);
        QVERIFY(sound("http.allowedHosts", value).allowedHosts.isEmpty());
        const AccessSettings origins = sound("http.allowedOrigins", value);
        QVERIFY(origins.allowedOrigins.isEmpty() && !origins.allowsNullOrigin);
        QVERIFY(sound("http.allowedUsers", value).allowedUsers.isEmpty());
    }

    void theSwitchIsRead_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("on");
        for (const char *text : {"on", "true", "On", "TRUE"})
            QTest::newRow(text) << QString::fromLatin1(text) << true;
        for (const char *text : {"off", "false", "OFF", "False"})
            QTest::newRow(text) << QString::fromLatin1(text) << false;
    }
    void theSwitchIsRead()
    {
        QFETCH(QString, text);
        QTEST(sound("http.sameUser", text).sameUser, "on");
    }

    void pathsAreRead()
    {
        const AccessSettings token = sound("http.tokenFile", QStringLiteral("/run/user/1000/a token"));
        QCOMPARE(token.tokenFile, QStringLiteral("/run/user/1000/a token"));
        QCOMPARE(token.socket, QString());
        const AccessSettings socket = sound("http.socket", QStringLiteral("/run/user/1000/vexo.sock"));
        QCOMPARE(socket.socket, QStringLiteral("/run/user/1000/vexo.sock"));
        QCOMPARE(socket.tokenFile, QString());
    }

    void senselessEntriesAreNamedWithTheReason_data()
    {
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("entry");
        const auto row = [](const char *key, const char *value, const char *entry) {
            QTest::addRow("%s=%s", key, value)
                << QByteArray(key) << QString::fromUtf8(value) << QString::fromUtf8(entry);
        };
        for (const char *host : {"*", "*.example", "http://desk", "desk/", "desk:", "desk:0", "desk:65536",
                                 "desk:x", ":8750", "::1", "u@desk", "a b", "b\xc3\xbcro"})
            row("http.allowedHosts", host, host);
        row("http.allowedHosts", "desk,*,other", "*");
        row("http.allowedHosts", "desk,,other", "");
        row("http.allowedHosts", "desk,", "");
        for (const char *origin :
             {"*", "https://*.example", "desk.example", "https://desk/", "https://desk/path",
              "https://desk:443/", "https://u@desk", "https://", "//desk", "NULL", "file://",
              "https://desk:x", "https://b\xc3\xbcro", "https://a https://b"})
            row("http.allowedOrigins", origin, origin);
        row("http.allowedOrigins", "https://desk,*", "*");
        row("http.allowedOrigins", "null,", "");
        for (const char *user : {"*", "a b", "a:b", "a/b"})
            row("http.allowedUsers", user, user);
        row("http.allowedUsers", "anna,,berta", "");
        // The system would know this one as "anna".
        const QString nul = QStringLiteral("anna%1b").arg(QChar(QChar::Null));
        QTest::newRow("user with a NUL") << QByteArray("http.allowedUsers") << nul << nul;
    }
    void senselessEntriesAreNamedWithTheReason()
    {
        QFETCH(QByteArray, key);
        QFETCH(QString, value);
        QFETCH(QString, entry);
        const QStringList entries = value.split(QLatin1Char(','));
        const auto result = readOne(key.constData(), entries);
        const auto *failure = std::get_if<StartFailure>(&result);
        QVERIFY(failure != nullptr);
        QCOMPARE(failure->exitStatus, 1);
        const QString start = QStringLiteral("setting ch.tessel.vexo-service/%1 is \"%2\": \"%3\" is no ")
                                  .arg(QString::fromLatin1(key), entries.join(QStringLiteral(", ")), entry);
        QVERIFY2(failure->text.startsWith(start), qPrintable(failure->text));
    }

    void senselessValuesAreNamedWithTheReason_data()
    {
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("told");
        const QString absolute = QStringLiteral("must be an absolute path");
        const QString tilde = absolute + QStringLiteral("; ~ is not expanded");
        const auto row = [](const char *key, const char *value, const QString &why) {
            const QString text = QString::fromLatin1(value);
            QTest::addRow("%s=%s", key, value)
                << QByteArray(key) << QVariant(text) << QStringLiteral("\"%1\": %2").arg(text, why);
        };
        for (const char *text : {"", "yes", "1", "onn", " on x", "nobody"})
            row("http.sameUser", text, QStringLiteral("must be on or off"));
        for (const char *key : {"http.tokenFile", "http.socket"}) {
            for (const char *path : {"", "token", "./token", "../token", "file:///token", "$HOME/token"})
                row(key, path, absolute);
            for (const char *path : {"~", "~/token", "~anna/token"})
                row(key, path, tilde);
            QTest::addRow("%s, two", key)
                << QByteArray(key) << QVariant(list("/a,/b"))
                << QStringLiteral("\"/a, /b\": must be one path; in quotes, it may have a comma");
            const QString nul = QStringLiteral("/a%1b").arg(QChar(QChar::Null));
            QTest::addRow("%s, NUL", key) << QByteArray(key) << QVariant(nul)
                                          << QStringLiteral("\"%1\": must not have a NUL in it").arg(nul);
        }
    }
    void senselessValuesAreNamedWithTheReason()
    {
        QFETCH(QByteArray, key);
        QFETCH(QVariant, value);
        QFETCH(QString, told);
        const auto result = readOne(key.constData(), value);
        const auto *failure = std::get_if<StartFailure>(&result);
        QVERIFY(failure != nullptr);
        QCOMPARE(
            failure->text,
            QStringLiteral("setting ch.tessel.vexo-service/%1 is %2").arg(QString::fromLatin1(key), told));
    }

    void anIniFileIsReadAsMeant()
    {
        const QTemporaryDir directory;
        QFile file(directory.filePath(QStringLiteral("settings.ini")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.write("[ch.tessel.vexo-service]\n"
                           "http.allowedHosts=desk.example, other.example:9, [fe80::1]:8750\n"
                           "http.allowedOrigins=https://desk.example,null , http://localhost:3000\n"
                           "http.allowedUsers=anna\n"
                           "http.sameUser=off\n"
                           "http.tokenFile=/etc/vexo token\n"
                           "http.socket=\"/run/a,b.sock\"\n")
                > 0);
        file.close();
        const QSettings ini(file.fileName(), QSettings::IniFormat);
        const auto result = AccessSettings::read([&](const QString &key) { return ini.value(key); });
        const auto *failure = std::get_if<StartFailure>(&result);
        QVERIFY2(failure == nullptr, failure != nullptr ? qPrintable(failure->text) : "");
        const auto &settings = std::get<AccessSettings>(result);
        QCOMPARE(settings.allowedHosts,
                 (QVector<HostPort>{{"desk.example", 0}, {"other.example", 9}, {"[fe80::1]", 8750}}));
        QCOMPARE(settings.allowedOrigins,
                 (QVector<Origin>{{"https", {"desk.example", 443}}, {"http", {"localhost", 3000}}}));
        QVERIFY(settings.allowsNullOrigin);
        QCOMPARE(settings.allowedUsers, QStringList{QStringLiteral("anna")});
        QVERIFY(!settings.sameUser);
        QCOMPARE(settings.tokenFile, QStringLiteral("/etc/vexo token"));
        QCOMPARE(settings.socket, QStringLiteral("/run/a,b.sock"));
    }

    void eachKeyIsDescribed()
    {
        const QStringList lines = AccessSettings::describe().split(QLatin1Char('\n'));
        QCOMPARE(lines.size(), 7);
        int at = 0;
        for (const char *start :
             {"  http.allowedHosts                    names",
              "  http.allowedOrigins                  origins",
              "  http.allowedUsers                    users", "  http.sameUser        on              off",
              "  http.tokenFile                       file", "  http.socket                          unix"}) {
            QVERIFY2(lines.at(at).startsWith(QLatin1String(start)), qPrintable(lines.at(at)));
            ++at;
        }
    }
};

QTEST_GUILESS_MAIN(AccessSettingsTest)
#include "tst_accesssettings.moc"
