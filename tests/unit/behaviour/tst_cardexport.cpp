#include "carddirectory.h"
#include "cardexport.h"
#include "jsontext.h"

#include <QRegularExpression>
#include <QTextCodec>
#include <QtTest>

#include <memory>

namespace {

const QRegularExpression &idPattern()
{
    static const QRegularExpression pattern(QStringLiteral("<id>([0-9]+)</id>"));
    return pattern;
}

// All that is logged while it lives.
class AllLines final
{
public:
    AllLines()
        : m_previous(qInstallMessageHandler(&AllLines::handle))
    {
        lines().clear();
        QLoggingCategory::setFilterRules(QStringLiteral("*=true"));
    }
    ~AllLines()
    {
        qInstallMessageHandler(m_previous);
        QLoggingCategory::setFilterRules(QString());
    }
    Q_DISABLE_COPY_MOVE(AllLines)

    [[nodiscard]] static QStringList &lines()
    {
        static QStringList texts;
        return texts;
    }

private:
    static void handle(QtMsgType /*type*/, const QMessageLogContext & /*context*/, const QString &text)
    {
        lines().append(text);
    }

    QtMessageHandler m_previous;
};

QString tagged(const QString &text)
{
    return QStringLiteral("<id>%1</id>").arg(text);
}

} // namespace

/// What the two behaviours that write the XML of cards have in common.
class CardExportTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_directory.reset(); }

    void textGoesToTheFileOfItsNumber();
    void textIsWrittenUnchanged_data();
    void textIsWrittenUnchanged();
    void textIsWrittenAsTheLocaleSays();
    void firstMatchGivesTheName_data();
    void firstMatchGivesTheName();
    void fileIsReplaced_data();
    void fileIsReplaced();
    void otherFilesStay();
    void otherKeysAreNotRead();
    void otherChunksAreIgnored_data();
    void otherChunksAreIgnored();
    void textsWithoutAnIdentifierAreIgnored_data();
    void textsWithoutAnIdentifierAreIgnored();
    void fileThatCannotBeWrittenGoesUnnoticed_data();
    void fileThatCannotBeWrittenGoesUnnoticed();
    void fullDiskGoesUnnoticed();
    void directoryIsReadLikeAPath_data();
    void directoryIsReadLikeAPath();
    void settingIsReadForEachChunk();
    void settingIsThatOfTheSystem_data();
    void settingIsThatOfTheSystem();

private:
    // Exports with the number "n" and the identifier.
    void push(const QJsonValue &chunk)
    {
        const CardExport kind{QLatin1String("some"), idPattern(), QStringLiteral("x_%1.xml")};
        exportCard(chunk, kind, [this](const QString &id) {
            m_asked.append(id);
            return QLatin1Char('n') + id;
        });
    }
    void push(const QString &text) { push(cardChunk(QStringLiteral("some"), text)); }
    [[nodiscard]] QStringList files() const { return m_directory->files(); }

    std::unique_ptr<CardDirectory> m_directory;
    QStringList m_asked;
};

void CardExportTest::init()
{
    m_asked.clear();
    m_directory = std::make_unique<CardDirectory>();
    QVERIFY(m_directory->isReady());
}

void CardExportTest::textGoesToTheFileOfItsNumber()
{
    const AllLines log;
    push(QStringLiteral("<a><id>0123</id></a>"));
    QCOMPARE(m_asked, QStringList(QStringLiteral("0123")));
    QCOMPARE(files(), QStringList(QStringLiteral("x_n0123.xml")));
    QCOMPARE(m_directory->read(QStringLiteral("x_n0123.xml")), QByteArray("<a><id>0123</id></a>"));
    QCOMPARE(AllLines::lines(), QStringList());
}

void CardExportTest::textIsWrittenUnchanged_data()
{
    const QString id = tagged(QStringLiteral("1"));
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    const auto row = [](const char *name, const QString &text) {
        QTest::newRow(name) << text << text.toUtf8();
    };
    row("header and line ends of two characters",
        QStringLiteral("<?xml version='1.0'?>\r\n") + id + QStringLiteral("\r\n\r\n"));
    row("line ends of one character", QStringLiteral("\n\n") + id + QStringLiteral("\n<b/>\n"));
    row("carriage returns", QLatin1Char('\r') + id + QLatin1Char('\r'));
    row("blanks around it", QStringLiteral(" \t ") + id + QStringLiteral(" \t "));
    row("no line end", id);
    row("place holders", QStringLiteral("%1%2%n") + id + QStringLiteral("%3%"));
    row("NUL", QString(2, QChar()) + id + QString(2, QChar()));
    QTest::newRow("all planes, and a byte order mark first")
        << QChar(0xfeff) + QString::fromUtf8("\xc3\xa4\xe2\x82\xac") + id
               + QString::fromUtf8("\xf0\x9f\x98\x80\xef\xbf\xbe")
        << "\xef\xbb\xbf\xc3\xa4\xe2\x82\xac" + id.toLatin1() + "\xf0\x9f\x98\x80\xef\xbf\xbe";
    // However the text is cut for writing, a pair of surrogates may be at the cut.
    const QString pairs = QString::fromUtf8("\xf0\x9f\x98\x80").repeated(100000);
    row("long", id + pairs);
    row("long, shifted by one", QLatin1Char('a') + id + pairs);
}

void CardExportTest::textIsWrittenUnchanged()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    push(text);
    QCOMPARE(files(), QStringList(QStringLiteral("x_n1.xml")));
    QCOMPARE(m_directory->read(QStringLiteral("x_n1.xml")), bytes);
}

void CardExportTest::textIsWrittenAsTheLocaleSays()
{
    QTextCodec *ofTheTests = QTextCodec::codecForLocale();
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
    push(QChar(0xe4) + tagged(QStringLiteral("1")));
    QTextCodec::setCodecForLocale(ofTheTests);
    QCOMPARE(m_directory->read(QStringLiteral("x_n1.xml")), QByteArray("\xe4<id>1</id>"));
}

void CardExportTest::firstMatchGivesTheName_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("tag twice") << QStringLiteral("<id>1</id> <id>2</id>");
    QTest::newRow("tag with a letter first") << QStringLiteral("<id>2a</id><id>1</id><id>2</id>");
    QTest::newRow("empty tag first") << QStringLiteral("<id></id><id>1</id>");
    QTest::newRow("tag within a tag") << QStringLiteral("<id><id>1</id></id>");
    QTest::newRow("on a later line") << QStringLiteral("<a>\n</a>\n<id>1</id>");
}

void CardExportTest::firstMatchGivesTheName()
{
    QFETCH(QString, text);
    push(text);
    QCOMPARE(m_asked, QStringList(QStringLiteral("1")));
    QCOMPARE(files(), QStringList(QStringLiteral("x_n1.xml")));
    QCOMPARE(m_directory->read(QStringLiteral("x_n1.xml")), text.toUtf8());
}

void CardExportTest::fileIsReplaced_data()
{
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    const QString shorter = tagged(QStringLiteral("1"));
    const QString longer = shorter + QString(100000, QLatin1Char('y'));
    QTest::newRow("by a shorter one") << longer << shorter;
    QTest::newRow("by a longer one") << shorter << longer;
    QTest::newRow("by the same one") << shorter << shorter;
}

void CardExportTest::fileIsReplaced()
{
    QFETCH(QString, first);
    QFETCH(QString, second);
    push(first);
    QCOMPARE(m_directory->read(QStringLiteral("x_n1.xml")), first.toUtf8());
    push(second);
    QCOMPARE(m_directory->read(QStringLiteral("x_n1.xml")), second.toUtf8());
    QCOMPARE(files(), QStringList(QStringLiteral("x_n1.xml")));
}

void CardExportTest::otherFilesStay()
{
    push(tagged(QStringLiteral("1")));
    push(tagged(QStringLiteral("2")));
    QCOMPARE(files(), QStringList({QStringLiteral("x_n1.xml"), QStringLiteral("x_n2.xml")}));
    QCOMPARE(m_directory->read(QStringLiteral("x_n1.xml")), QByteArray("<id>1</id>"));
}

void CardExportTest::otherKeysAreNotRead()
{
    push(json(
        QStringLiteral(R"({"source":"some","data":"<id>1</id>","exchange":"any","body":{"data":"x"}})")));
    QCOMPARE(m_directory->read(QStringLiteral("x_n1.xml")), QByteArray("<id>1</id>"));
}

void CardExportTest::otherChunksAreIgnored_data()
{
    QTest::addColumn<QJsonValue>("chunk");
    for (const char *chunk : {R"([{"source":"some","data":"<id>1</id>"}])",
                              R"("<id>1</id>")",
                              "7",
                              "true",
                              "null",
                              "{}",
                              R"({"data":"<id>1</id>"})",
                              R"({"source":"Some","data":"<id>1</id>"})",
                              R"({"source":"some ","data":"<id>1</id>"})",
                              R"({"source":"","data":"<id>1</id>"})",
                              R"({"source":["some"],"data":"<id>1</id>"})",
                              R"({"source":null,"data":"<id>1</id>"})",
                              R"({"source":5,"data":"<id>1</id>"})",
                              R"({"Source":"some","data":"<id>1</id>"})",
                              R"({"exchange":"some","data":"<id>1</id>"})",
                              R"({"source":"some"})",
                              R"({"source":"some","body":"<id>1</id>"})",
                              R"({"source":"some","data":""})",
                              R"({"source":"some","data":{"data":"<id>1</id>"}})",
                              R"({"source":"some","data":["<id>1</id>"]})",
                              R"({"source":"some","data":null})",
                              R"({"source":"some","data":1})"})
        QTest::newRow(chunk) << json(QString::fromLatin1(chunk));
    QTest::newRow("no value") << QJsonValue(QJsonValue::Undefined);
}

void CardExportTest::otherChunksAreIgnored()
{
    QFETCH(QJsonValue, chunk);
    const AllLines log;
    push(chunk);
    QCOMPARE(m_asked, QStringList());
    QCOMPARE(files(), QStringList());
    QCOMPARE(AllLines::lines(), QStringList());
}

void CardExportTest::textsWithoutAnIdentifierAreIgnored_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("no tag") << QStringLiteral("1");
    QTest::newRow("letter") << tagged(QStringLiteral("1a"));
    QTest::newRow("sign") << tagged(QStringLiteral("-1"));
    QTest::newRow("path") << tagged(QStringLiteral("../1"));
    QTest::newRow("nothing") << tagged(QString());
    QTest::newRow("blank in front") << tagged(QStringLiteral(" 1"));
    QTest::newRow("line feed behind") << tagged(QStringLiteral("1\n"));
    QTest::newRow("NUL behind") << tagged(QLatin1Char('1') + QString(1, QChar()));
    QTest::newRow("digit of another script") << tagged(QString(QChar(0x0661)));
    QTest::newRow("other case") << tagged(QStringLiteral("1")).toUpper();
    QTest::newRow("tag with an attribute") << QStringLiteral("<id x='y'>1</id>");
    QTest::newRow("tag that is not closed") << QStringLiteral("<id>1");
    // Such a text is not matched at all.
    QTest::newRow("lone surrogate") << tagged(QStringLiteral("1")) + QChar(0xd800);
}

void CardExportTest::textsWithoutAnIdentifierAreIgnored()
{
    QFETCH(QString, text);
    const AllLines log;
    push(text);
    QCOMPARE(m_asked, QStringList());
    QCOMPARE(files(), QStringList());
    QCOMPARE(AllLines::lines(), QStringList());
}

void CardExportTest::fileThatCannotBeWrittenGoesUnnoticed_data()
{
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("identifier");
    QTest::newRow("directory that does not exist") << QStringLiteral("missing") << QStringLiteral("1");
    QTest::newRow("directory that is a file") << QStringLiteral("file") << QStringLiteral("1");
    QTest::newRow("file that is a directory") << QStringLiteral(".") << QStringLiteral("2");
    QTest::newRow("name that is too long") << QStringLiteral(".") << QString(300, QLatin1Char('1'));
    QTest::newRow("name of 10 MB") << QStringLiteral(".") << QString(10 << 20, QLatin1Char('1'));
}

void CardExportTest::fileThatCannotBeWrittenGoesUnnoticed()
{
    QFETCH(QString, directory);
    QFETCH(QString, identifier);
    const QDir dir(m_directory->path());
    QVERIFY(dir.mkdir(QStringLiteral("x_n2.xml")));
    QVERIFY(QFile(dir.filePath(QStringLiteral("file"))).open(QIODevice::WriteOnly));
    QVERIFY(m_directory->set(dir.filePath(directory)));
    const QStringList before = files();
    const AllLines log;
    push(tagged(identifier));
    QCOMPARE(m_asked, QStringList(identifier));
    QCOMPARE(files(), before);
    QCOMPARE(AllLines::lines(), QStringList());
}

void CardExportTest::fullDiskGoesUnnoticed()
{
    const QString path = QDir(m_directory->path()).filePath(QStringLiteral("x_n1.xml"));
    QVERIFY(QFile::link(QStringLiteral("/dev/full"), path));
    const AllLines log;
    push(tagged(QStringLiteral("1")) + QString(100000, QLatin1Char('y')));
    QCOMPARE(m_asked, QStringList(QStringLiteral("1")));
    QCOMPARE(QFile::symLinkTarget(path), QStringLiteral("/dev/full"));
    QCOMPARE(files(), QStringList(QStringLiteral("x_n1.xml")));
    QCOMPARE(AllLines::lines(), QStringList());
}

void CardExportTest::directoryIsReadLikeAPath_data()
{
    QTest::addColumn<QString>("setting");
    QTest::addColumn<QString>("directory");
    QTest::newRow("empty: the current one") << QString() << QStringLiteral("cwd");
    QTest::newRow("a dot: the current one") << QStringLiteral(".") << QStringLiteral("cwd");
    QTest::newRow("relative to the current one") << QStringLiteral("sub") << QStringLiteral("cwd/sub");
    QTest::newRow("with a slash behind it") << QStringLiteral("sub/") << QStringLiteral("cwd/sub");
    QTest::newRow("upwards") << QStringLiteral("../xml") << QStringLiteral("xml");
    // A list has no text.
    QTest::newRow("a list: the current one") << QStringLiteral("sub, ../xml") << QStringLiteral("cwd");
}

void CardExportTest::directoryIsReadLikeAPath()
{
    QFETCH(QString, setting);
    QFETCH(QString, directory);
    QVERIFY(QDir::current().mkdir(QStringLiteral("sub")));
    QVERIFY(m_directory->set(setting));
    push(tagged(QStringLiteral("1")));
    const QString path = m_directory->settings().filePath(directory + QStringLiteral("/x_n1.xml"));
    QVERIFY(QFile::exists(path));
}

void CardExportTest::settingIsReadForEachChunk()
{
    push(tagged(QStringLiteral("1")));
    QVERIFY(m_directory->setLine(QStringLiteral("another=key")));
    push(tagged(QStringLiteral("2")));
    QCOMPARE(files(), QStringList(QStringLiteral("x_n1.xml")));
    // Who names the file is not asked without a directory.
    QCOMPARE(m_asked, QStringList(QStringLiteral("1")));

    QVERIFY(m_directory->set(QStringLiteral(".")));
    push(tagged(QStringLiteral("3")));
    QCOMPARE(files(), QStringList(QStringLiteral("x_n1.xml")));
    QCOMPARE(CardDirectory::filesOf(QDir::currentPath()), QStringList(QStringLiteral("x_n3.xml")));
}

void CardExportTest::settingIsThatOfTheSystem_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("counts");
    QTest::newRow("system") << QStringLiteral("system/maker/program.ini") << true;
    QTest::newRow("system, of all programs of the organization")
        << QStringLiteral("system/maker.ini") << true;
    QTest::newRow("system, of another program") << QStringLiteral("system/maker/other.ini") << false;
    QTest::newRow("user") << QStringLiteral("user/maker/program.ini") << false;
    QTest::newRow("named in the environment") << QStringLiteral("named.ini") << false;
    QTest::newRow("configuration directory") << QStringLiteral("configuration/program.ini") << false;
}

void CardExportTest::settingIsThatOfTheSystem()
{
    QFETCH(QString, file);
    QFETCH(bool, counts);
    QVERIFY(m_directory->setLine(QStringLiteral("another=key")));
    QVERIFY(!m_directory->settings()
                 .write(QStringLiteral("cwd/program.ini"), QStringLiteral("ch.tessel.system"),
                        QStringLiteral("path.configuration=")
                            + m_directory->settings().filePath(QStringLiteral("configuration")))
                 .isEmpty());
    const QString written =
        m_directory->settings().write(file, QStringLiteral("ch.tessel.vexo-service.context"),
                                      QStringLiteral("xml.directory=") + m_directory->path());
    QVERIFY(!written.isEmpty());
    if (file == QLatin1String("named.ini"))
        qputenv("TS_SETTINGS_INI_FILE", QFile::encodeName(written));
    push(tagged(QStringLiteral("1")));
    QCOMPARE(files(), counts ? QStringList(QStringLiteral("x_n1.xml")) : QStringList());
}

QTEST_GUILESS_MAIN(CardExportTest)
#include "tst_cardexport.moc"
