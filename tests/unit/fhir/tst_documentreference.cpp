#include "fhir/stu3/documentreference.h"
#include "logcapture.h"

#include <QtTest>

#include <memory>
#include <type_traits>
#include <utility>

using domain::Attachment;
using domain::CodableConcept;
using domain::Coding;
using domain::DocumentReference;
using domain::Identifier;
using domain::Meta;
using domain::Resource;
using Content = DocumentReference::Content;
using Status = DocumentReference::Status;

static_assert(std::is_base_of_v<Resource, DocumentReference>);
static_assert(std::is_convertible_v<DocumentReference *, Resource *>, "derived publicly");

template <typename Field>
using Getter = const Field &(DocumentReference::*)() const;
template <typename Field>
using Setter = void (DocumentReference::*)(Field);

static_assert(std::is_same_v<decltype(&DocumentReference::identifier), Getter<QVector<Identifier>>>);
static_assert(std::is_same_v<decltype(&DocumentReference::status), Getter<QString>>);
static_assert(std::is_same_v<decltype(&DocumentReference::type), Getter<CodableConcept>>);
static_assert(std::is_same_v<decltype(&DocumentReference::content), Getter<QVector<Content>>>);
static_assert(
    std::is_same_v<decltype(&DocumentReference::statusResolved), Status (DocumentReference::*)() const>);
static_assert(std::is_same_v<decltype(&DocumentReference::clone), Resource *(DocumentReference::*)() const>);

static_assert(std::is_same_v<decltype(&DocumentReference::setIdentifier), Setter<QVector<Identifier>>>);
static_assert(std::is_same_v<decltype(&DocumentReference::setType), Setter<CodableConcept>>);
static_assert(std::is_same_v<decltype(&DocumentReference::setContent), Setter<QVector<Content>>>);
// Which of the two is meant is told by the type of the pointer alone.
[[maybe_unused]] static constexpr Setter<QString> setStatusText = &DocumentReference::setStatus;
[[maybe_unused]] static constexpr Setter<Status> setStatusNumber = &DocumentReference::setStatus;

static_assert(std::is_same_v<decltype(&Content::attachment), const Attachment &(Content::*)() const>);
static_assert(std::is_same_v<decltype(&Content::coding), const Coding &(Content::*)() const>);
static_assert(std::is_same_v<decltype(&Content::setAttachment), void (Content::*)(Attachment)>);
static_assert(std::is_same_v<decltype(&Content::setCoding), void (Content::*)(Coding)>);

static_assert(static_cast<int>(Status::Invalid) == 0);
static_assert(static_cast<int>(Status::Current) == 1);
static_assert(static_cast<int>(Status::Superseded) == 2);
static_assert(static_cast<int>(Status::EnteredInError) == 3);

class DocumentReferenceTest : public QObject
{
    Q_OBJECT

    static constexpr auto category = "ch.tessel.fhir.documentreference";

    [[nodiscard]] static Content content()
    {
        Attachment attachment;
        attachment.setUrl(QStringLiteral("u"));
        Coding coding;
        coding.setCode(QStringLiteral("f"));
        Content content;
        content.setAttachment(attachment);
        content.setCoding(coding);
        return content;
    }
    static void isFull(const Content &content)
    {
        QCOMPARE(content.attachment().url(), QStringLiteral("u"));
        QCOMPARE(content.coding().code(), QStringLiteral("f"));
    }

    static void fill(DocumentReference &reference)
    {
        Meta meta;
        meta.setVersionId(QStringLiteral("1"));
        CodableConcept type;
        type.setText(QStringLiteral("t"));
        reference.setResourceType(Resource::Type::Resource);
        reference.setId(QStringLiteral("i"));
        reference.setMeta(meta);
        reference.setImplicitRules(QStringLiteral("r"));
        reference.setLanguage(QStringLiteral("l"));
        reference.setIdentifier({Identifier(QStringLiteral("s"), QStringLiteral("v"))});
        reference.setStatus(QStringLiteral("x"));
        reference.setType(type);
        reference.setContent({content(), Content()});
    }
    static void isFull(const DocumentReference &reference, int resourceType)
    {
        QCOMPARE(static_cast<int>(reference.resourceType()), resourceType);
        QCOMPARE(reference.id(), QStringLiteral("i"));
        QCOMPARE(reference.meta().versionId(), QStringLiteral("1"));
        QCOMPARE(reference.implicitRules(), QStringLiteral("r"));
        QCOMPARE(reference.language(), QStringLiteral("l"));
        QCOMPARE(reference.identifier().size(), 1);
        QCOMPARE(reference.identifier().first().value(), QStringLiteral("v"));
        QCOMPARE(reference.status(), QStringLiteral("x"));
        QCOMPARE(reference.type().text(), QStringLiteral("t"));
        QCOMPARE(reference.content().size(), 2);
        isFull(reference.content().first());
    }

private Q_SLOTS:
    void isEmptyWhenNew()
    {
        const DocumentReference reference;
        QCOMPARE(static_cast<int>(reference.resourceType()), 3);
        QVERIFY(reference.id().isEmpty());
        QVERIFY(reference.meta().versionId().isEmpty());
        QVERIFY(reference.implicitRules().isEmpty());
        QVERIFY(reference.language().isEmpty());
        QVERIFY(reference.identifier().isEmpty());
        QVERIFY(reference.status().isEmpty());
        QCOMPARE(static_cast<int>(reference.statusResolved()), 0);
        QVERIFY(reference.type().isEmpty());
        QVERIFY(reference.content().isEmpty());
    }

    void copyHasTheTypeOfANewObject()
    {
        const LogCapture log(category);
        DocumentReference source;
        fill(source);
        const DocumentReference copied(source);
        isFull(copied, 3);
        isFull(source, 12);
        QVERIFY(log.lines().isEmpty());
    }

    void assignmentHasATypeOfItsOwnAndIsLogged()
    {
        const LogCapture log(category);
        DocumentReference source;
        fill(source);
        DocumentReference assigned;
        assigned = source;
        isFull(assigned, 8);
        isFull(source, 12);
        QCOMPARE(log.lines().size(), 1);
        QVERIFY(log.contains(QtDebugMsg, QStringLiteral("Calling assignment operator")));
        DocumentReference &itself = assigned;
        assigned = itself;
        isFull(assigned, 8);
    }

    void assignmentIsLoggedBeforeAnythingIsAssigned()
    {
        static DocumentReference assigned;
        static QStringList seen;
        const auto see = [](QtMsgType, const QMessageLogContext &, const QString &line) {
            seen.append(line + QString::number(static_cast<int>(assigned.resourceType())) + assigned.id()
                        + assigned.status());
        };
        DocumentReference source;
        fill(source);
        QLoggingCategory::setFilterRules(QLatin1String(category) + QStringLiteral("=true"));
        const QtMessageHandler previous = qInstallMessageHandler(see);
        assigned = source;
        qInstallMessageHandler(previous);
        QLoggingCategory::setFilterRules(QString());
        QCOMPARE(seen, QStringList(QStringLiteral("Calling assignment operator3")));
        isFull(assigned, 8);
    }

    void isCopiedWhereItCouldBeMoved()
    {
        const LogCapture log(category);
        DocumentReference source;
        fill(source);
        const DocumentReference constructed(std::move(source));
        isFull(constructed, 3);
        isFull(source, 12);
        QVERIFY(log.lines().isEmpty());
        DocumentReference assigned;
        assigned = std::move(source);
        isFull(assigned, 8);
        isFull(source, 12);
        QCOMPARE(log.lines().size(), 1);
    }

    void cloneIsWholeAndSilent_data()
    {
        QTest::addColumn<QString>("silent");
        QTest::newRow("resource") << QStringLiteral("ch.tessel.vexo-service.fhir.stu3.resource");
        QTest::newRow("document reference") << QString::fromLatin1(category);
    }
    void cloneIsWholeAndSilent()
    {
        QFETCH(QString, silent);
        const QByteArray name = silent.toLatin1();
        const LogCapture log(name.constData());
        DocumentReference source;
        fill(source);
        const Resource *resource = &source;
        const std::unique_ptr<Resource> clone(resource->clone());
        QVERIFY(clone.get() != resource);
        const auto *reference = dynamic_cast<const DocumentReference *>(clone.get());
        QVERIFY(reference != nullptr);
        isFull(*reference, 3);
        QVERIFY(log.lines().isEmpty());
    }

    void contentIsEmptyWhenNew()
    {
        const Content empty;
        QVERIFY(empty.attachment().url().isEmpty());
        QVERIFY(empty.coding().isEmpty());
    }

    void contentIsCopiedAlsoWhereItCouldBeMoved()
    {
        Content source = content();
        const Content copied(source);
        isFull(copied);
        const Content constructed(std::move(source));
        isFull(constructed);
        isFull(source);
        Content assigned;
        assigned = std::move(source);
        isFull(assigned);
        isFull(source);
    }

    void statusIsResolved_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("number");
        QTest::newRow("current") << QStringLiteral("current") << 1;
        QTest::newRow("superseded") << QStringLiteral("superseded") << 2;
        QTest::newRow("entered in error") << QStringLiteral("entered-in-error") << 3;
        QTest::newRow("invalid") << QStringLiteral("invalid") << 0;
        QTest::newRow("nothing") << QString() << 0;
        QTest::newRow("capital letter") << QStringLiteral("Current") << 0;
        QTest::newRow("capital letters") << QStringLiteral("SUPERSEDED") << 0;
        QTest::newRow("blank behind") << QStringLiteral("current ") << 0;
        QTest::newRow("a start of one") << QStringLiteral("entered-in") << 0;
        QTest::newRow("unknown word") << QStringLiteral("preliminary") << 0;
    }
    void statusIsResolved()
    {
        QFETCH(QString, text);
        QFETCH(int, number);
        DocumentReference reference;
        reference.setStatus(Status::Superseded);
        reference.setStatus(text);
        QCOMPARE(reference.status(), text);
        QCOMPARE(static_cast<int>(reference.statusResolved()), number);
    }

    void statusIsSetByNumber_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("text");
        QTest::newRow("0") << 0 << QStringLiteral("invalid");
        QTest::newRow("1") << 1 << QStringLiteral("current");
        QTest::newRow("2") << 2 << QStringLiteral("superseded");
        QTest::newRow("3") << 3 << QStringLiteral("entered-in-error");
        QTest::newRow("4") << 4 << QStringLiteral("invalid");
        QTest::newRow("below") << -1 << QStringLiteral("invalid");
        QTest::newRow("far beyond") << 2147483647 << QStringLiteral("invalid");
    }
    void statusIsSetByNumber()
    {
        QFETCH(int, number);
        QFETCH(QString, text);
        DocumentReference reference;
        reference.setStatus(QStringLiteral("x"));
        reference.setStatus(static_cast<Status>(number));
        QCOMPARE(reference.status(), text);
    }
};

QTEST_GUILESS_MAIN(DocumentReferenceTest)
#include "tst_documentreference.moc"
