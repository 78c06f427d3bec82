#include "fhir/stu3/attachment.h"

#include <QtTest>

#include <type_traits>
#include <utility>

using domain::Attachment;

template <typename Field>
using Getter = const Field &(Attachment::*)() const;
template <typename Field>
using Setter = void (Attachment::*)(const Field &);

static_assert(std::is_same_v<decltype(&Attachment::contentType), Getter<QString>>);
static_assert(std::is_same_v<decltype(&Attachment::language), Getter<QString>>);
static_assert(std::is_same_v<decltype(&Attachment::data), Getter<QByteArray>>);
static_assert(std::is_same_v<decltype(&Attachment::url), Getter<QString>>);
static_assert(std::is_same_v<decltype(&Attachment::size), int (Attachment::*)() const>);
static_assert(std::is_same_v<decltype(&Attachment::hash), Getter<QByteArray>>);
static_assert(std::is_same_v<decltype(&Attachment::title), Getter<QString>>);
static_assert(std::is_same_v<decltype(&Attachment::creation), Getter<QDateTime>>);

static_assert(std::is_same_v<decltype(&Attachment::setContentType), Setter<QString>>);
static_assert(std::is_same_v<decltype(&Attachment::setLanguage), Setter<QString>>);
static_assert(std::is_same_v<decltype(&Attachment::setData), Setter<QByteArray>>);
static_assert(std::is_same_v<decltype(&Attachment::setUrl), Setter<QString>>);
static_assert(std::is_same_v<decltype(&Attachment::setSize), void (Attachment::*)(int)>);
static_assert(std::is_same_v<decltype(&Attachment::setHash), Setter<QByteArray>>);
static_assert(std::is_same_v<decltype(&Attachment::setTitle), Setter<QString>>);
static_assert(std::is_same_v<decltype(&Attachment::setCreation), Setter<QDateTime>>);
static_assert(sizeof(int) == 4);

class AttachmentTest : public QObject
{
    Q_OBJECT

    const QDateTime creation{QDate(2020, 5, 17), QTime(10, 20, 30), Qt::UTC};

    [[nodiscard]] Attachment full() const
    {
        Attachment attachment;
        attachment.setContentType(QStringLiteral("text/plain"));
        attachment.setLanguage(QStringLiteral("de-CH"));
        attachment.setData("ZGF0YQ==");
        attachment.setUrl(QStringLiteral("/context/a/file/b"));
        attachment.setSize(4);
        attachment.setHash("aGFzaA==");
        attachment.setTitle(QStringLiteral("Title"));
        attachment.setCreation(creation);
        return attachment;
    }
    void isFull(const Attachment &attachment) const
    {
        QCOMPARE(attachment.contentType(), QStringLiteral("text/plain"));
        QCOMPARE(attachment.language(), QStringLiteral("de-CH"));
        QCOMPARE(attachment.data(), QByteArray("ZGF0YQ=="));
        QCOMPARE(attachment.url(), QStringLiteral("/context/a/file/b"));
        QCOMPARE(attachment.size(), 4);
        QCOMPARE(attachment.hash(), QByteArray("aGFzaA=="));
        QCOMPARE(attachment.title(), QStringLiteral("Title"));
        QCOMPARE(attachment.creation(), creation);
    }

private Q_SLOTS:
    void isEmptyWhenNew()
    {
        const Attachment attachment;
        QVERIFY(attachment.contentType().isEmpty());
        QVERIFY(attachment.language().isEmpty());
        QVERIFY(attachment.data().isEmpty());
        QVERIFY(attachment.url().isEmpty());
        QCOMPARE(attachment.size(), 0);
        QVERIFY(attachment.hash().isEmpty());
        QVERIFY(attachment.title().isEmpty());
        QVERIFY(attachment.creation().isNull());
    }

    void keepsWhatIsSet() { isFull(full()); }

    void isCopiedMemberByMember()
    {
        const Attachment attachment = full();
        const Attachment constructed(attachment);
        isFull(constructed);
        Attachment assigned;
        assigned = attachment;
        isFull(assigned);
    }

    void isCopiedWhereItCouldBeMoved()
    {
        Attachment source = full();
        const Attachment constructed(std::move(source));
        isFull(constructed);
        isFull(source);
        Attachment assigned;
        assigned = std::move(source);
        isFull(assigned);
        isFull(source);
    }
};

QTEST_GUILESS_MAIN(AttachmentTest)
#include "tst_attachment.moc"
