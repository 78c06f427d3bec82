#include "carddirectory.h"
#include "hostlog.h"
#include "hostprocess.h"
#include "jsontext.h"
#include "processfigures.h"
#include "unixclient.h"
#include "wellbehavedclient.h"

#include <QtTest>

#include <optional>

namespace {

constexpr int batches = 60;
/// Batches until all that is made once is made.
constexpr int warmUp = 20;
constexpr int cardsABatch = 50;

} // namespace

/// A directory for the XML of cards that takes none. Deliberately nobody is told: neither the log nor the
/// bus.
class XmlDirectoryFaultsTest final : public QObject
{
    Q_OBJECT

    struct Fault
    {
        const char *name;
        bool (XmlDirectoryFaultsTest::*begin)() const;
        bool (XmlDirectoryFaultsTest::*end)() const;
    };
    static const std::array<Fault, 6> &faults();

    // What the real host reads as its system's settings, and what it writes, is in here.
    std::optional<QTemporaryDir> dir;
    std::optional<HostProcess> host;
    std::optional<UnixClient> wire;
    std::optional<WellBehavedClient> other;

    [[nodiscard]] QString path(const char *name) const { return dir->filePath(QLatin1String(name)); }
    [[nodiscard]] ProcessFigures figures() const { return ProcessFigures(host->process.processId()); }
    [[nodiscard]] QString read(const char *name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll())
                                              : QStringLiteral("no such file");
    }
    [[nodiscard]] bool setDirectory(const QString &directory) const
    {
        QFile file(path("xdg/tessel/vexo-service.ini"));
        const QByteArray text =
            "[ch.tessel.vexo-service.context]\nxml.directory=" + QFile::encodeName(directory) + '\n';
        return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
    }

    [[nodiscard]] bool fillDisk() const
    {
        return QFile::remove(path("xml/adm_7.xml")) && QFile::remove(path("xml/vkc_7.xml"))
               && QFile::link(QStringLiteral("/dev/full"), path("xml/adm_7.xml"))
               && QFile::link(QStringLiteral("/dev/full"), path("xml/vkc_7.xml"));
    }
    [[nodiscard]] bool freeDisk() const
    {
        return QFile::remove(path("xml/adm_7.xml")) && QFile::remove(path("xml/vkc_7.xml"));
    }
    [[nodiscard]] bool endGrowth() const { return figures().limit(RLIMIT_FSIZE, 0); }
    [[nodiscard]] bool allowGrowth() const { return figures().limit(RLIMIT_FSIZE, RLIM_INFINITY); }
    // Nobody may make a file there, not even root, whom no mode of a directory stops.
    [[nodiscard]] bool forbid() const { return setDirectory(QStringLiteral("/sys/kernel")); }
    [[nodiscard]] bool permit() const { return setDirectory(path("xml")); }
    [[nodiscard]] bool moveAway() const { return QDir().rename(path("xml"), path("away")); }
    [[nodiscard]] bool bringBack() const { return QDir().rename(path("away"), path("xml")); }
    [[nodiscard]] bool replaceByAFile() const
    {
        return moveAway() && QFile::copy(path("away/adm_7.xml"), path("xml"));
    }
    [[nodiscard]] bool removeTheFile() const { return QFile::remove(path("xml")) && bringBack(); }
    [[nodiscard]] bool takeTheNames() const
    {
        return freeDisk() && QDir().mkdir(path("xml/adm_7.xml")) && QDir().mkdir(path("xml/vkc_7.xml"));
    }
    [[nodiscard]] bool releaseTheNames() const
    {
        return QDir().rmdir(path("xml/adm_7.xml")) && QDir().rmdir(path("xml/vkc_7.xml"));
    }

    [[nodiscard]] bool publish(const QJsonValue &chunk)
    {
        return wire->send(jsonText(chunk).toUtf8() + '\n');
    }
    /// A card and what belongs to it, whose text ends with `mark`.
    [[nodiscard]] bool publishCard(const QString &cardholder, const QString &number, const QString &mark)
    {
        return publish(cardChunk(QStringLiteral("Vexo"), cardXml(cardholder, number) + mark))
               && publish(cardChunk(QStringLiteral("veka"), vekaXml(cardholder) + mark));
    }
    [[nodiscard]] static QString vekaXml(const QString &cardholder)
    {
        return QStringLiteral("<unique_id>%1</unique_id>").arg(cardholder);
    }
    // The bus keeps the order: once this is answered, all that was sent before has been seen by all.
    [[nodiscard]] bool awaitDelivery()
    {
        if (!publish(json(QStringLiteral(
                R"({"exchange":"vexo-context-rpc-delete","properties":{"reply-to":"exchange:done"}})"))))
            return false;
        QByteArray line;
        do {
            line = wire->readLine();
        } while (!line.isEmpty() && !line.contains(R"("exchange":"done")"));
        return !line.isEmpty();
    }
    void verifyWritten(const QString &mark) const
    {
        QCOMPARE(read("xml/adm_7.xml"), cardXml(QStringLiteral("1"), QStringLiteral("7")) + mark);
        QCOMPARE(read("xml/vkc_7.xml"), vekaXml(QStringLiteral("1")) + mark);
    }

    /// Publishes cards that cannot be written, and returns by how many bytes the host grew with them.
    void publishInVain(qint64 *growth)
    {
        qint64 before = 0;
        for (int batch = 1; batch <= batches; ++batch) {
            for (int i = 0; i < cardsABatch; ++i)
                QVERIFY(publishCard(QStringLiteral("1"), QStringLiteral("7"), QStringLiteral("lost")));
            QCOMPARE(other->round(), QByteArray());
            QVERIFY(awaitDelivery());
            if (batch == warmUp)
                before = figures().residentBytes();
        }
        *growth = figures().residentBytes() - before;
    }

private Q_SLOTS:
    void init()
    {
        dir.emplace();
        QVERIFY(QDir(dir->path()).mkpath(QStringLiteral("xdg/tessel")) && QDir().mkdir(path("xml")));
        QVERIFY(setDirectory(path("xml")));
        host.emplace(QStringList{QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN),
                                 QStringLiteral("--plugin"), QStringLiteral(BUSWIRE_PLUGIN)},
                     "[ch.tessel.vexo-service.buswire]\nsocket=" + QFile::encodeName(path("wire.sock"))
                         + '\n');
        QProcessEnvironment environment = host->process.processEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_DIRS"), path("xdg"));
        host->process.setProcessEnvironment(environment);
        QVERIFY2(host->start(), host->readLog().constData());
        wire.emplace(path("wire.sock"));
        QVERIFY(wire->isConnected());
        other.emplace(host->port());
    }
    void cleanup()
    {
        wire.reset();
        other.reset();
        QVERIFY2(stopHost(*host), host->readLog().constData());
        host.reset();
    }

    void nothingElseIsTouched_data()
    {
        QTest::addColumn<int>("index");
        for (std::size_t i = 0; i < faults().size(); ++i)
            QTest::newRow(faults()[i].name) << static_cast<int>(i);
    }
    void nothingElseIsTouched()
    {
        QFETCH(int, index);
        const Fault &fault = faults()[static_cast<std::size_t>(index)];
        QVERIFY(publishCard(QStringLiteral("1"), QStringLiteral("7"), QStringLiteral("before")));
        QVERIFY(awaitDelivery());
        verifyWritten(QStringLiteral("before"));
        const int descriptors = figures().openDescriptors();
        drainLog(*host);
        const QByteArray log = host->readLog();

        QVERIFY((this->*fault.begin)());
        qint64 growth = 0;
        publishInVain(&growth);
        for (const char *name : {"xml/adm_7.xml", "xml/vkc_7.xml", "away/adm_7.xml", "away/vkc_7.xml"}) {
            if (QFileInfo(path(name)).isFile())
                QVERIFY2(!read(name).contains(QLatin1String("lost")), name);
        }
        // A card that is seen for the first time now is remembered all the same.
        QVERIFY(publishCard(QStringLiteral("2"), QStringLiteral("8"), {}));
        QVERIFY(awaitDelivery());
        QCOMPARE(figures().openDescriptors(), descriptors);
        QVERIFY((this->*fault.end)());

        QVERIFY(publishCard(QStringLiteral("1"), QStringLiteral("7"), QStringLiteral("after")));
        QVERIFY(publish(
            cardChunk(QStringLiteral("veka"), vekaXml(QStringLiteral("2")) + QStringLiteral("after"))));
        QVERIFY(awaitDelivery());
        verifyWritten(QStringLiteral("after"));
        QCOMPARE(read("xml/vkc_8.xml"), vekaXml(QStringLiteral("2")) + QStringLiteral("after"));
        QCOMPARE(other->round(), QByteArray());
        drainLog(*host);
        QCOMPARE(host->readLog(), log);
        // Too little for anything that each attempt leaves behind.
        verifyMemoryGrowth(growth, 64 * 2 * cardsABatch * (batches - warmUp));
    }
};

const std::array<XmlDirectoryFaultsTest::Fault, 6> &XmlDirectoryFaultsTest::faults()
{
    using Test = XmlDirectoryFaultsTest;
    static const std::array<Fault, 6> all{{
        {"full disk", &Test::fillDisk, &Test::freeDisk},
        {"file that may not grow", &Test::endGrowth, &Test::allowGrowth},
        {"directory that takes no file", &Test::forbid, &Test::permit},
        {"no directory", &Test::moveAway, &Test::bringBack},
        {"file in place of the directory", &Test::replaceByAFile, &Test::removeTheFile},
        {"directories in place of the files", &Test::takeTheNames, &Test::releaseTheNames},
    }};
    return all;
}

QTEST_GUILESS_MAIN(XmlDirectoryFaultsTest)
#include "tst_xmldirectoryfaults.moc"
