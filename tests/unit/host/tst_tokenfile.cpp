#include <tokenfile.h>

#include <QtTest>

#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

class TokenFileTest : public QObject
{
    Q_OBJECT

    const QTemporaryDir m_directory;
    QString m_file; ///< of one test function, and absent when it begins

    static QByteArray bytesOf(const QString &name)
    {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    [[nodiscard]] bool put(const QByteArray &bytes, mode_t mode = 0600) const
    {
        QFile file(m_file);
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush()
               && fchmod(file.handle(), mode) == 0;
    }
    static QString whyOf(const std::variant<QByteArray, StartFailure> &result)
    {
        const auto *failure = std::get_if<StartFailure>(&result);
        return failure != nullptr ? failure->text : QStringLiteral("a token");
    }

private Q_SLOTS:
    void init()
    {
        QVERIFY(m_directory.isValid());
        const QString own =
            QString::fromLatin1(QTest::currentTestFunction())
            + QString::fromLatin1(QTest::currentDataTag()).replace(QLatin1Char('/'), QLatin1Char('-'));
        QVERIFY(QDir(m_directory.path()).mkpath(own));
        m_file = m_directory.filePath(own + QStringLiteral("/token"));
    }

    void anAbsentFileIsMadeForTheOwnUserAlone_data()
    {
        QTest::addColumn<int>("mask");
        QTest::newRow("usual mask") << 0022;
        QTest::newRow("no mask") << 0;
        QTest::newRow("mask that leaves nothing") << 0777;
    }
    void anAbsentFileIsMadeForTheOwnUserAlone()
    {
        QFETCH(int, mask);
        const mode_t before = umask(static_cast<mode_t>(mask));
        const auto result = readTokenFile(m_file);
        umask(before);
        const auto *token = std::get_if<QByteArray>(&result);
        QVERIFY2(token != nullptr, qPrintable(whyOf(result)));
        QCOMPARE(bytesOf(m_file), *token + '\n');

        static const QRegularExpression form(QStringLiteral(R"(\A[A-Za-z0-9_-]{43}\z)"));
        QVERIFY2(form.match(QString::fromLatin1(*token)).hasMatch(), token->constData());
        QCOMPARE(QByteArray::fromBase64(*token, QByteArray::Base64UrlEncoding).size(), 32);
        struct stat status
        {
        };
        QCOMPARE(lstat(QFile::encodeName(m_file).constData(), &status), 0);
        QCOMPARE(status.st_mode, mode_t(S_IFREG | 0600));
        QCOMPARE(QFileInfo(m_file).dir().entryList(QDir::Files | QDir::Hidden),
                 QStringList{QStringLiteral("token")});
    }

    void itIsReadTheNextTime()
    {
        const auto first = readTokenFile(m_file);
        const auto second = readTokenFile(m_file);
        QVERIFY2(std::holds_alternative<QByteArray>(second), qPrintable(whyOf(second)));
        QCOMPARE(std::get<QByteArray>(second), std::get<QByteArray>(first));
    }

    void noTwoAreTheSame()
    {
        const auto one = readTokenFile(m_file);
        const auto other = readTokenFile(m_file + QStringLiteral("2"));
        QVERIFY(std::get<QByteArray>(one) != std::get<QByteArray>(other));
    }

    void hostsThatStartAtOnceAgree()
    {
        for (int round = 0; round < 50; ++round) {
            const QString file = m_file + QString::number(round);
            std::vector<std::variant<QByteArray, StartFailure>> results(4);
            std::vector<std::unique_ptr<QThread>> hosts;
            hosts.reserve(results.size());
            for (auto &result : results)
                hosts.emplace_back(QThread::create([&result, &file] { result = readTokenFile(file); }));
            for (const auto &host : hosts)
                host->start();
            for (const auto &host : hosts)
                QVERIFY(host->wait(30000));
            for (const auto &result : results) {
                QVERIFY2(std::holds_alternative<QByteArray>(result), qPrintable(whyOf(result)));
                QCOMPARE(std::get<QByteArray>(result) + '\n', bytesOf(file));
            }
        }
        QCOMPARE(QFileInfo(m_file).dir().entryList(QDir::Files | QDir::Hidden).size(), 50);
    }

    void takesWhatAnAdministratorWrites_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("mode");
        const QByteArray shortest(32, 'a');
        QTest::newRow("without a line end") << shortest << 0600;
        QTest::newRow("white space around") << " \t\r\n" + shortest + " \r\n\n" << 0600;
        QTest::newRow("longest") << QByteArray(1024, 'a') << 0600;
        QTest::newRow("hex") << QByteArray("0123456789abcdef").repeated(4) + '\n' << 0600;
        QTest::newRow("all that a token may hold") << QByteArray("aZ09-._~+/").repeated(4) + "==" << 0600;
        QTest::newRow("read only") << shortest << 0400;
        QTest::newRow("all rights of the user") << shortest << 0700;
    }
    void takesWhatAnAdministratorWrites()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, mode);
        QVERIFY(put(text, static_cast<mode_t>(mode)));
        const auto result = readTokenFile(m_file);
        QVERIFY2(std::holds_alternative<QByteArray>(result), qPrintable(whyOf(result)));
        QCOMPARE(std::get<QByteArray>(result), text.trimmed());
        QCOMPARE(bytesOf(m_file), text);
    }

    void refusesWhatIsNoToken_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("why");
        const QByteArray sound(32, 'a');
        const QString form = QStringLiteral("holds what no token has: only letters, digits and -._~+/ may "
                                            "stand in it, and = at its end");
        QTest::newRow("empty") << QByteArray("") << "is empty";
        QTest::newRow("white space alone") << QByteArray(" \n\n") << "is empty";
        QTest::newRow("short") << QByteArray(31, 'a') << "its token is shorter than 32 characters";
        QTest::newRow("short with white space") << QByteArray(31, 'a') + "   \n"
                                                << "its token is shorter than 32 characters";
        QTest::newRow("long") << QByteArray(1025, 'a') << "is longer than 1024 bytes";
        QTest::newRow("very long") << QByteArray(1000000, 'a') << "is longer than 1024 bytes";
        QTest::newRow("two lines") << sound + '\n' + sound << form;
        QTest::newRow("blank inside") << sound + ' ' + sound << form;
        QTest::newRow("with its scheme") << "Bearer " + sound << form;
        QTest::newRow("padding inside") << sound + '=' + sound << form;
        QTest::newRow("comma") << sound + ',' << form;
        QTest::newRow("NUL") << sound + '\0' << form;
        QTest::newRow("UTF-8") << sound + "\xc3\xa9" << form;
    }
    void refusesWhatIsNoToken()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, why);
        QVERIFY(put(text));
        const auto result = readTokenFile(m_file);
        QCOMPARE(whyOf(result), QStringLiteral("token file %1: %2").arg(m_file, why));
        QCOMPARE(std::get<StartFailure>(result).exitStatus, 1);
        QCOMPARE(bytesOf(m_file), text);
    }

    void refusesRightsOfOthers_data()
    {
        QTest::addColumn<int>("mode");
        for (const int mode : {0640, 0620, 0610, 0604, 0602, 0601, 0644, 0666, 0777})
            QTest::addRow("%o", uint(mode)) << mode;
    }
    void refusesRightsOfOthers()
    {
        QFETCH(int, mode);
        QVERIFY(put(QByteArray(43, 'a'), static_cast<mode_t>(mode)));
        QCOMPARE(whyOf(readTokenFile(m_file)),
                 QStringLiteral("token file %1: group or others have rights to it; mode 0600 is right")
                     .arg(m_file));
    }

    void refusesTheFileOfAnotherUser()
    {
        if (geteuid() != 0)
            QSKIP("Only root can give a file away.");
        QVERIFY(put(QByteArray(43, 'a')));
        QCOMPARE(chown(QFile::encodeName(m_file).constData(), 65534, 65534), 0);
        QCOMPARE(whyOf(readTokenFile(m_file)),
                 QStringLiteral("token file %1: belongs to another user").arg(m_file));
    }

    void refusesWhatIsNoFile_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("why");
        QTest::newRow("directory") << "directory"
                                   << "is no regular file";
        QTest::newRow("pipe") << "pipe"
                              << "is no regular file";
        QTest::newRow("link to a sound file") << "link"
                                              << "is a symbolic link";
        QTest::newRow("link to nothing") << "dangling"
                                         << "is a symbolic link";
    }
    void refusesWhatIsNoFile()
    {
        QFETCH(QString, kind);
        QFETCH(QString, why);
        const QString other = m_file + QStringLiteral(".other");
        const QByteArray name = QFile::encodeName(m_file);
        if (kind == QLatin1String("directory")) {
            QVERIFY(QDir().mkdir(m_file));
        } else if (kind == QLatin1String("pipe")) {
            QCOMPARE(mkfifo(name.constData(), 0600), 0);
        } else {
            QVERIFY(kind == QLatin1String("dangling")
                    || std::holds_alternative<QByteArray>(readTokenFile(other)));
            QCOMPARE(symlink(QFile::encodeName(other).constData(), name.constData()), 0);
        }
        QCOMPARE(whyOf(readTokenFile(m_file)), QStringLiteral("token file %1: %2").arg(m_file, why));
        QCOMPARE(QFile::exists(other), kind == QLatin1String("link"));
    }

    void directoriesAreNotMade()
    {
        const QString file = m_file + QStringLiteral("/below");
        QCOMPARE(whyOf(readTokenFile(file)),
                 QStringLiteral("token file %1: its directory does not exist").arg(file));
        QVERIFY(!QFile::exists(m_file));
    }

    void errorsOfTheSystemAreTold()
    {
        QVERIFY(put("a file, no directory"));
        const QString file = m_file + QStringLiteral("/below");
        QCOMPARE(whyOf(readTokenFile(file)),
                 QStringLiteral("token file %1: %2").arg(file, qt_error_string(ENOTDIR)));
    }
};

QTEST_GUILESS_MAIN(TokenFileTest)
#include "tst_tokenfile.moc"
