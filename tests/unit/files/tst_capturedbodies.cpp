#include "multipartfiles.h"

#include <QtTest>

#include <numeric>

/// Files by name.
using Files = QMap<QString, QByteArray>;

/// What real clients have written, see tests/data/multipart/README.md, cut into files.
class CapturedBodiesTest : public QObject
{
    Q_OBJECT

    [[nodiscard]] static QByteArray read(const QString &name)
    {
        QFile file(QStringLiteral(CAPTURED_BODIES "/") + name);
        if (!file.open(QIODevice::ReadOnly))
            qFatal("%s cannot be read.", qPrintable(file.fileName()));
        return file.readAll();
    }
    /// What stands behind the headers of the first part.
    [[nodiscard]] static QByteArray restOf(const QString &name)
    {
        const QByteArray body = read(name + QStringLiteral(".body"));
        return body.mid(body.indexOf("\r\n\r\n") + 4);
    }
    /// What stands between the headers of the outer part and its delimiter.
    [[nodiscard]] static QByteArray nested()
    {
        const QByteArray rest = restOf(QStringLiteral("curl-nested"));
        return rest.left(rest.lastIndexOf("\r\n\r\n--") + 2);
    }

    [[nodiscard]] static QMap<QString, Files> expected()
    {
        const QString report = QStringLiteral("report.txt");
        const QString blank = QStringLiteral("lab report.txt");
        const QString quotes = QStringLiteral("say \"hi\".txt");
        const QString nameless = QStringLiteral("0");
        const QByteArray lines = "first line\nsecond line\n";
        QByteArray binary(256, '\0');
        std::iota(binary.begin(), binary.end(), '\0');
        binary += "\r\n\r\n--\r\n\r\r\n\r\n----\r\n--";

        QMap<QString, Files> all;
        for (const char *client : {"curl", "chromium", "firefox", "python"}) {
            const QString prefix = QLatin1String(client) + QLatin1Char('-');
            // Who percent-encodes quotes gets a name with percent signs.
            const QString names =
                prefix == QLatin1String("python-") ? quotes : QStringLiteral("say %22hi%22.txt");
            all.insert(prefix + QStringLiteral("one"), {{report, lines}});
            all.insert(prefix + QStringLiteral("three"), {{QStringLiteral("a.txt"), "first\r\n"},
                                                          {QStringLiteral("b.txt"), "\nsecond"},
                                                          {QStringLiteral("c.txt"), "third"}});
            all.insert(prefix + QStringLiteral("names"),
                       {{blank, "blank"},
                        {names, "quotes"},
                        {QStringLiteral("\u00dcberweisung f\u00fcr Zo\u00eb.txt"), "UTF-8"}});
            all.insert(prefix + QStringLiteral("empty"), {{QStringLiteral("empty.txt"), ""}});
            all.insert(prefix + QStringLiteral("binary"), {{QStringLiteral("binary.bin"), binary}});
        }
        for (const char *client : {"curl", "chromium", "firefox"})
            all.insert(QLatin1String(client) + QStringLiteral("-field"),
                       {{nameless, "as discussed"}, {report, lines}});
        // A form in which nothing was chosen has a part with an empty name.
        for (const char *client : {"chromium", "firefox"})
            all.insert(QLatin1String(client) + QStringLiteral("-none"), {{nameless, ""}});

        // Deliberate, all of these: no part within a part is looked for, a closing delimiter without a line
        // end behind it costs the last byte, quotes around the boundary count as part of it, "filename*" is
        // no name, and no encoding of a part is undone.
        all.insert(QStringLiteral("curl-nested"), {{nameless, nested()}});
        all.insert(QStringLiteral("python-unended"), {{report, "first line\nsecond line"}});
        all.insert(QStringLiteral("python-mail-one"), {{report, restOf(QStringLiteral("python-mail-one"))}});
        all.insert(QStringLiteral("python-mail-names"),
                   {{QStringLiteral("1"), "VVRGLTg=\r\n"},
                    {blank, "Ymxhbms=\r\n"},
                    {QStringLiteral("say \\\"hi\\\".txt"), "cXVvdGVz\r\n"}});
        return all;
    }

private Q_SLOTS:
    void everyCaptureIsExpected()
    {
        QStringList captured;
        for (const QString &file :
             QDir(QStringLiteral(CAPTURED_BODIES)).entryList({QStringLiteral("*.body")}, QDir::Files))
            captured += file.chopped(5);
        captured.sort();
        QCOMPARE(captured, expected().keys());
    }

    void givesExactlyTheFiles_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<Files>("files");
        const QMap<QString, Files> all = expected();
        for (auto one = all.cbegin(); one != all.cend(); ++one)
            QTest::newRow(qPrintable(one.key())) << one.key() << one.value();
    }
    void givesExactlyTheFiles()
    {
        QFETCH(QString, name);
        QFETCH(Files, files);
        const QByteArray body = read(name + QStringLiteral(".body"));
        const QByteArray type = read(name + QStringLiteral(".type")).trimmed();
        QVERIFY(type.startsWith("multipart/form-data; boundary="));
        const QString boundary = QString::fromUtf8(type.mid(30));

        const Files found = MultipartFiles(QStringLiteral("--") + boundary, body).getFiles();
        QCOMPARE(found.keys(), files.keys());
        for (auto file = files.cbegin(); file != files.cend(); ++file) {
            const QByteArray content = found.value(file.key());
            QCOMPARE(content, file.value());
            // Null would be no file.
            QVERIFY(!content.isNull());
        }
    }
};

QTEST_GUILESS_MAIN(CapturedBodiesTest)
#include "tst_capturedbodies.moc"
