#include "fhir/stu3/identifier.h"

#include <QtTest>

#include <type_traits>
#include <utility>

using domain::CodableConcept;
using domain::Identifier;
using domain::Period;

static_assert(std::is_same_v<decltype(&Identifier::use), const QString &(Identifier::*)() const>);
static_assert(std::is_same_v<decltype(&Identifier::type), const CodableConcept &(Identifier::*)() const>);
static_assert(std::is_same_v<decltype(&Identifier::system), const QString &(Identifier::*)() const>);
static_assert(std::is_same_v<decltype(&Identifier::value), const QString &(Identifier::*)() const>);
static_assert(std::is_same_v<decltype(&Identifier::period), const Period &(Identifier::*)() const>);

static_assert(std::is_same_v<decltype(&Identifier::setUse), void (Identifier::*)(QString)>);
static_assert(std::is_same_v<decltype(&Identifier::setType), void (Identifier::*)(CodableConcept)>);
static_assert(std::is_same_v<decltype(&Identifier::setSystem), void (Identifier::*)(QString)>);
static_assert(std::is_same_v<decltype(&Identifier::setValue), void (Identifier::*)(QString)>);
static_assert(std::is_same_v<decltype(&Identifier::setPeriod), void (Identifier::*)(Period)>);

using Equality = bool (*)(const Identifier &, const Identifier &);
static_assert(std::is_same_v<decltype(&domain::operator==), Equality>);

class IdentifierTest : public QObject
{
    Q_OBJECT

    const QDateTime start{QDate(2020, 5, 17), QTime(10, 20, 30), Qt::UTC};

    [[nodiscard]] Identifier full() const
    {
        CodableConcept type;
        type.setText(QStringLiteral("t"));
        Period period;
        period.setStart(start);
        Identifier identifier(QStringLiteral("s"), QStringLiteral("v"));
        identifier.setUse(QStringLiteral("u"));
        identifier.setType(type);
        identifier.setPeriod(period);
        return identifier;
    }
    void isFull(const Identifier &identifier) const
    {
        QCOMPARE(identifier.use(), QStringLiteral("u"));
        QCOMPARE(identifier.type().text(), QStringLiteral("t"));
        QCOMPARE(identifier.system(), QStringLiteral("s"));
        QCOMPARE(identifier.value(), QStringLiteral("v"));
        QCOMPARE(identifier.period().start(), start);
    }

private Q_SLOTS:
    void isEmptyWhenNew()
    {
        const Identifier identifier;
        QVERIFY(identifier.use().isEmpty());
        QVERIFY(identifier.type().isEmpty());
        QVERIFY(identifier.system().isEmpty());
        QVERIFY(identifier.value().isEmpty());
        QVERIFY(identifier.period().start().isNull() && identifier.period().end().isNull());
    }

    void isBuiltFromSystemAndValue()
    {
        const Identifier identifier(QStringLiteral("s"), QStringLiteral("v"));
        QCOMPARE(identifier.system(), QStringLiteral("s"));
        QCOMPARE(identifier.value(), QStringLiteral("v"));
        QVERIFY(identifier.use().isEmpty());
        QVERIFY(identifier.type().isEmpty());
        QVERIFY(identifier.period().start().isNull() && identifier.period().end().isNull());
    }

    void keepsWhatIsSet()
    {
        Identifier identifier = full();
        isFull(identifier);
        identifier.setSystem(QStringLiteral("x"));
        identifier.setValue(QStringLiteral("y"));
        QCOMPARE(identifier.system(), QStringLiteral("x"));
        QCOMPARE(identifier.value(), QStringLiteral("y"));
    }

    void isCopiedAlsoWhereItCouldBeMoved()
    {
        Identifier source = full();
        const Identifier copied(source);
        isFull(copied);
        const Identifier constructed(std::move(source));
        isFull(constructed);
        isFull(source);
    }

    void isEqualBySystemAndValueAlone()
    {
        const Identifier bare(QStringLiteral("s"), QStringLiteral("v"));
        QVERIFY(bare == full());
        Identifier one = bare;
        one.setPeriod(full().period());
        QVERIFY(one == bare);
        Identifier other = bare;
        other.setType(full().type());
        other.setUse(QStringLiteral("u"));
        QVERIFY(other == bare);
        QVERIFY(!(Identifier(QStringLiteral("x"), QStringLiteral("v")) == bare));
        QVERIFY(!(Identifier(QStringLiteral("s"), QStringLiteral("x")) == bare));
        QVERIFY(!(Identifier(QStringLiteral("s"), QStringLiteral("V")) == bare));
        QVERIFY(Identifier() == Identifier());
    }
};

QTEST_GUILESS_MAIN(IdentifierTest)
#include "tst_identifier.moc"
