#include <limitsettings.h>

#include <QtTest>

using http::server::Limits;

class LimitSettingsTest : public QObject
{
    Q_OBJECT

    static std::variant<Limits, StartFailure> readOne(const QString &key, const QVariant &value)
    {
        const QString full = QStringLiteral("ch.tessel.vexo-service/") + key;
        return readLimits([&](const QString &asked) { return asked == full ? value : QVariant(); });
    }

    // The one limit that `key` names, times in milliseconds.
    static qint64 limit(const Limits &limits, const QString &key)
    {
        const QMap<QString, qint64> all{
            {QStringLiteral("http.maxTargetBytes"), limits.maxTargetBytes},
            {QStringLiteral("http.maxHeaderBytes"), limits.maxHeaderBytes},
            {QStringLiteral("http.maxBodyBytes"), limits.maxBodyBytes},
            {QStringLiteral("http.headerTimeout"), limits.headerTimeout.count()},
            {QStringLiteral("http.bodyTimeout"), limits.bodyTimeout.count()},
            {QStringLiteral("http.idleTimeout"), limits.idleTimeout.count()},
            {QStringLiteral("http.maxConnections"), limits.maxConnections},
        };
        return all.value(key, -1);
    }

private Q_SLOTS:
    void defaultsAreTheDocumentedOnes_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<qint64>("value");
        QTest::newRow("target") << "http.maxTargetBytes" << qint64(16384);
        QTest::newRow("header") << "http.maxHeaderBytes" << qint64(65536);
        QTest::newRow("body") << "http.maxBodyBytes" << qint64(67108864);
        QTest::newRow("header timeout") << "http.headerTimeout" << qint64(10000);
        QTest::newRow("body timeout") << "http.bodyTimeout" << qint64(60000);
        QTest::newRow("idle timeout") << "http.idleTimeout" << qint64(60000);
        QTest::newRow("connections") << "http.maxConnections" << qint64(16384);
    }
    void defaultsAreTheDocumentedOnes()
    {
        QFETCH(QString, key);
        QTEST(limit(std::get<Limits>(readOne({}, {})), key), "value");
    }

    void limitsAreRead_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("text");
        QTest::addColumn<qint64>("value");
        QTest::newRow("target") << "http.maxTargetBytes"
                                << "100" << qint64(100);
        QTest::newRow("header") << "http.maxHeaderBytes"
                                << "200" << qint64(200);
        QTest::newRow("body") << "http.maxBodyBytes"
                              << "300" << qint64(300);
        QTest::newRow("no bodies") << "http.maxBodyBytes"
                                   << "0" << qint64(0);
        QTest::newRow("largest body") << "http.maxBodyBytes"
                                      << "2000000000" << qint64(2000000000);
        QTest::newRow("header timeout") << "http.headerTimeout"
                                        << "5" << qint64(5000);
        QTest::newRow("half a second") << "http.headerTimeout"
                                       << "0.5" << qint64(500);
        QTest::newRow("no digit before the point") << "http.headerTimeout"
                                                   << ".25" << qint64(250);
        QTest::newRow("shortest time") << "http.headerTimeout"
                                       << "0.001" << qint64(1);
        QTest::newRow("longest time") << "http.headerTimeout"
                                      << "2147483" << qint64(2147483000);
        QTest::newRow("body timeout") << "http.bodyTimeout"
                                      << "7.25" << qint64(7250);
        QTest::newRow("idle timeout") << "http.idleTimeout"
                                      << "3600" << qint64(3600000);
        QTest::newRow("connections") << "http.maxConnections"
                                     << "1" << qint64(1);
    }
    void limitsAreRead()
    {
        QFETCH(QString, key);
        QFETCH(QString, text);
        QFETCH(qint64, value);
        const auto limits = std::get<Limits>(readOne(key, text));
        QCOMPARE(limit(limits, key), value);
        const Limits initial;
        for (const char *other :
             {"http.maxTargetBytes", "http.maxHeaderBytes", "http.maxBodyBytes", "http.headerTimeout",
              "http.bodyTimeout", "http.idleTimeout", "http.maxConnections"}) {
            if (key != QLatin1String(other))
                QCOMPARE(limit(limits, QString::fromLatin1(other)),
                         limit(initial, QString::fromLatin1(other)));
        }
    }

    void senselessValuesAreNamedWithTheReason_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QString>("why");
        const auto row = [](const char *key, const char *text, const char *why) {
            QTest::addRow("%s=%s", key, text)
                << QString::fromLatin1(key) << QVariant(QString::fromLatin1(text))
                << QString::fromLatin1(text) << QString::fromLatin1(why);
        };
        for (const char *key : {"http.maxTargetBytes", "http.maxHeaderBytes", "http.maxConnections"}) {
            row(key, "0", "must be at least 1");
            row(key, "-1", "must be at least 1");
            row(key, "99999999999", "must be at most ");
            row(key, "many", "must be a whole number");
        }
        row("http.maxBodyBytes", "-1", "must be at least 0");
        row("http.maxBodyBytes", "2000000001", "must be at most 2000000000");
        row("http.maxBodyBytes", "99999999999999999999", "must be at most 2000000000");
        row("http.maxBodyBytes", "-99999999999999999999", "must be at least 0");
        row("http.maxConnections", "2147483648", "must be at most 2147483647");
        for (const char *text : {"", "1.5", "1e3", "0x10", "10 MB", "+5"})
            row("http.maxBodyBytes", text, "must be a whole number");
        for (const char *key : {"http.headerTimeout", "http.bodyTimeout", "http.idleTimeout"}) {
            row(key, "0", "must be at least 0.001");
            row(key, "0.0009", "must be at least 0.001");
            row(key, "-3", "must be at least 0.001");
            row(key, "2147484", "must be at most 2147483");
            for (const char *text : {"", ".", "soon", "nan", "inf", "1e3", "10s", "1.2.3"})
                row(key, text, "must be a number of seconds");
        }
        QTest::newRow("longer than a double counts")
            << "http.idleTimeout" << QVariant(QString(400, QLatin1Char('9')))
            << QString(400, QLatin1Char('9')) << "must be at most 2147483";
        QTest::newRow("decimal comma")
            << "http.idleTimeout" << QVariant(QStringList{QStringLiteral("0"), QStringLiteral("5")}) << "0, 5"
            << "must be a number of seconds";
    }
    void senselessValuesAreNamedWithTheReason()
    {
        QFETCH(QString, key);
        QFETCH(QVariant, value);
        QFETCH(QString, shown);
        QFETCH(QString, why);
        const auto failure = std::get<StartFailure>(readOne(key, value));
        QCOMPARE(failure.exitStatus, 1);
        const QString start =
            QStringLiteral("setting ch.tessel.vexo-service/%1 is \"%2\": %3").arg(key, shown, why);
        QVERIFY2(failure.text.startsWith(start), qPrintable(failure.text));
    }

    void eachKeyIsDescribedWithItsDefault()
    {
        const QString text = describeLimits();
        for (const char *line :
             {"  http.maxTargetBytes  16384           ", "  http.maxHeaderBytes  65536           ",
              "  http.maxBodyBytes    67108864        ", "  http.headerTimeout   10              ",
              "  http.bodyTimeout     60              ", "  http.idleTimeout     60              ",
              "  http.maxConnections  16384           "})
            QVERIFY2(text.contains(QLatin1String(line)), line);
        QCOMPARE(text.count(QLatin1Char('\n')), 7);
    }
};

QTEST_GUILESS_MAIN(LimitSettingsTest)
#include "tst_limitsettings.moc"
