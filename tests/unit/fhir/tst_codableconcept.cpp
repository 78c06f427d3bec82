#include "fhir/stu3/codableconcept.h"

#include <QtTest>

#include <type_traits>
#include <utility>

using domain::CodableConcept;
using domain::Coding;

static_assert(std::is_same_v<decltype(&CodableConcept::coding), const Coding &(CodableConcept::*)() const>);
static_assert(std::is_same_v<decltype(&CodableConcept::text), const QString &(CodableConcept::*)() const>);
static_assert(std::is_same_v<decltype(&CodableConcept::isEmpty), bool (CodableConcept::*)() const>);
static_assert(std::is_same_v<decltype(&CodableConcept::setCoding), void (CodableConcept::*)(Coding)>);
static_assert(std::is_same_v<decltype(&CodableConcept::setText), void (CodableConcept::*)(QString)>);

class CodableConceptTest : public QObject
{
    Q_OBJECT

    [[nodiscard]] static CodableConcept full()
    {
        Coding coding;
        coding.setCode(QStringLiteral("c"));
        CodableConcept type;
        type.setCoding(coding);
        type.setText(QStringLiteral("t"));
        return type;
    }
    static void isFull(const CodableConcept &type)
    {
        QCOMPARE(type.coding().code(), QStringLiteral("c"));
        QCOMPARE(type.text(), QStringLiteral("t"));
    }

private Q_SLOTS:
    void isEmptyWhenNew()
    {
        const CodableConcept type;
        QVERIFY(type.isEmpty());
        QVERIFY(type.coding().isEmpty());
        QVERIFY(type.text().isEmpty());
    }

    void isNotEmptyWithACode()
    {
        CodableConcept type = full();
        type.setText(QString());
        QVERIFY(!type.isEmpty());
    }

    void isNotEmptyWithAText()
    {
        CodableConcept type = full();
        type.setCoding(Coding());
        QVERIFY(type.coding().isEmpty());
        QVERIFY(!type.isEmpty());
    }

    void isEmptyWithACodingThatIsOnlySelected()
    {
        Coding coding;
        coding.setUserSelected(true);
        CodableConcept type;
        type.setCoding(coding);
        QVERIFY(type.coding().userSelected());
        QVERIFY(type.isEmpty());
    }

    void isCopiedMemberByMember()
    {
        const CodableConcept type = full();
        const CodableConcept constructed(type);
        isFull(constructed);
        CodableConcept assigned;
        assigned = type;
        isFull(assigned);
        isFull(type);
    }

    void moveTakesTheTextAndCopiesTheCoding()
    {
        CodableConcept source = full();
        const CodableConcept constructed(std::move(source));
        isFull(constructed);
        QVERIFY(source.text().isEmpty());
        QCOMPARE(source.coding().code(), QStringLiteral("c"));

        source = full();
        CodableConcept assigned;
        assigned = std::move(source);
        isFull(assigned);
        QVERIFY(source.text().isEmpty());
        QCOMPARE(source.coding().code(), QStringLiteral("c"));
    }
};

QTEST_GUILESS_MAIN(CodableConceptTest)
#include "tst_codableconcept.moc"
