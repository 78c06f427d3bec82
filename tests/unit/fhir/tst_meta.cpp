#include "fhir/stu3/meta.h"

#include <QtTest>

#include <type_traits>
#include <utility>

using domain::Coding;
using domain::Meta;

static_assert(std::is_same_v<decltype(&Meta::versionId), const QString &(Meta::*)() const>);
static_assert(std::is_same_v<decltype(&Meta::lastUpdated), const QDateTime &(Meta::*)() const>);
static_assert(std::is_same_v<decltype(&Meta::profile), const QString &(Meta::*)() const>);
static_assert(std::is_same_v<decltype(&Meta::security), const QVector<Coding> &(Meta::*)() const>);
static_assert(std::is_same_v<decltype(&Meta::tag), const QVector<Coding> &(Meta::*)() const>);

static_assert(std::is_same_v<decltype(&Meta::setVersionId), void (Meta::*)(QString)>);
static_assert(std::is_same_v<decltype(&Meta::setLastUpdated), void (Meta::*)(const QDateTime &)>);
static_assert(std::is_same_v<decltype(&Meta::setProfile), void (Meta::*)(const QString &)>);
static_assert(std::is_same_v<decltype(&Meta::setSecurity), void (Meta::*)(QVector<Coding>)>);
static_assert(std::is_same_v<decltype(&Meta::setTag), void (Meta::*)(QVector<Coding>)>);
static_assert(std::is_same_v<decltype(&Meta::appendTag), Coding &(Meta::*)(Coding)>);

class MetaTest : public QObject
{
    Q_OBJECT

    const QDateTime lastUpdated{QDate(2020, 5, 17), QTime(10, 20, 30), Qt::UTC};

    [[nodiscard]] static Coding coding(const QString &code)
    {
        Coding coding;
        coding.setCode(code);
        return coding;
    }
    [[nodiscard]] static QStringList codes(const QVector<Coding> &codings)
    {
        QStringList codes;
        for (const Coding &coding : codings)
            codes.append(coding.code());
        return codes;
    }
    [[nodiscard]] Meta full() const
    {
        Meta meta;
        meta.setVersionId(QStringLiteral("1"));
        meta.setLastUpdated(lastUpdated);
        meta.setProfile(QStringLiteral("p"));
        meta.setSecurity({coding(QStringLiteral("s"))});
        meta.setTag({coding(QStringLiteral("t")), coding(QStringLiteral("u"))});
        return meta;
    }
    void isFull(const Meta &meta) const
    {
        QCOMPARE(meta.versionId(), QStringLiteral("1"));
        QCOMPARE(meta.lastUpdated(), lastUpdated);
        QCOMPARE(meta.profile(), QStringLiteral("p"));
        QCOMPARE(codes(meta.security()), QStringList{QStringLiteral("s")});
        QCOMPARE(codes(meta.tag()), (QStringList{QStringLiteral("t"), QStringLiteral("u")}));
    }

private Q_SLOTS:
    void isEmptyWhenNew()
    {
        const Meta meta;
        QVERIFY(meta.versionId().isEmpty());
        QVERIFY(meta.lastUpdated().isNull());
        QVERIFY(meta.profile().isEmpty());
        QVERIFY(meta.security().isEmpty());
        QVERIFY(meta.tag().isEmpty());
    }

    void tagIsAppendedAndHandedOut()
    {
        Meta meta = full();
        const Meta copy = meta;
        Coding &stored = meta.appendTag(coding(QStringLiteral("v")));
        QCOMPARE(&stored, &meta.tag().last());
        stored.setDisplay(QStringLiteral("d"));
        QCOMPARE(meta.tag().last().display(), QStringLiteral("d"));
        QCOMPARE(codes(meta.tag()),
                 (QStringList{QStringLiteral("t"), QStringLiteral("u"), QStringLiteral("v")}));
        isFull(copy);
    }

    void isCopiedMemberByMember()
    {
        const Meta meta = full();
        const Meta constructed(meta);
        isFull(constructed);
        Meta assigned;
        assigned = meta;
        isFull(assigned);
        isFull(meta);
    }

    void isMoved()
    {
        Meta source = full();
        const Meta constructed(std::move(source));
        isFull(constructed);
        QVERIFY(source.versionId().isEmpty() && source.tag().isEmpty() && source.security().isEmpty());

        source = full();
        Meta assigned;
        assigned = std::move(source);
        isFull(assigned);
        QVERIFY(source.versionId().isEmpty() && source.tag().isEmpty() && source.security().isEmpty());
    }
};

QTEST_GUILESS_MAIN(MetaTest)
#include "tst_meta.moc"
