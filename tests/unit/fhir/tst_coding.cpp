#include "fhir/stu3/coding.h"

#include <QtTest>

#include <type_traits>
#include <utility>

using domain::Coding;

static_assert(std::is_same_v<decltype(&Coding::system), const QString &(Coding::*)() const>);
static_assert(std::is_same_v<decltype(&Coding::version), const QString &(Coding::*)() const>);
static_assert(std::is_same_v<decltype(&Coding::code), const QString &(Coding::*)() const>);
static_assert(std::is_same_v<decltype(&Coding::display), const QString &(Coding::*)() const>);
static_assert(std::is_same_v<decltype(&Coding::userSelected), bool (Coding::*)() const>);
static_assert(std::is_same_v<decltype(&Coding::isEmpty), bool (Coding::*)() const>);

static_assert(std::is_same_v<decltype(&Coding::setSystem), void (Coding::*)(QString)>);
static_assert(std::is_same_v<decltype(&Coding::setVersion), void (Coding::*)(QString)>);
static_assert(std::is_same_v<decltype(&Coding::setCode), void (Coding::*)(QString)>);
static_assert(std::is_same_v<decltype(&Coding::setDisplay), void (Coding::*)(QString)>);
static_assert(std::is_same_v<decltype(&Coding::setUserSelected), void (Coding::*)(bool)>);

static Coding fullCoding()
{
    Coding coding;
    coding.setSystem(QStringLiteral("s"));
    coding.setVersion(QStringLiteral("v"));
    coding.setCode(QStringLiteral("c"));
    coding.setDisplay(QStringLiteral("d"));
    coding.setUserSelected(true);
    return coding;
}

static void isFull(const Coding &coding)
{
    QCOMPARE(coding.system(), QStringLiteral("s"));
    QCOMPARE(coding.version(), QStringLiteral("v"));
    QCOMPARE(coding.code(), QStringLiteral("c"));
    QCOMPARE(coding.display(), QStringLiteral("d"));
    QCOMPARE(coding.userSelected(), true);
}

class TestCoding final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isEmptyWhenNew();
    void isEmptyByItsTextsAlone();
    void isCopiedAlsoWhereItCouldBeMoved();
};

void TestCoding::isEmptyWhenNew()
{
    const Coding coding;
    QVERIFY(coding.isEmpty());
    QVERIFY(!coding.userSelected());
    QVERIFY(coding.system().isEmpty() && coding.version().isEmpty());
    QVERIFY(coding.code().isEmpty() && coding.display().isEmpty());
}

void TestCoding::isEmptyByItsTextsAlone()
{
    Coding coding;
    coding.setUserSelected(true);
    QVERIFY(coding.isEmpty());
    const auto setters = {&Coding::setSystem, &Coding::setVersion, &Coding::setCode, &Coding::setDisplay};
    for (const auto setter : setters) {
        Coding one;
        (one.*setter)(QStringLiteral("x"));
        QVERIFY(!one.isEmpty());
    }
}

void TestCoding::isCopiedAlsoWhereItCouldBeMoved()
{
    Coding source = fullCoding();
    const Coding copied(source);
    isFull(copied);
    const Coding constructed(std::move(source));
    isFull(constructed);
    isFull(source);
    Coding assigned;
    assigned = std::move(source);
    isFull(assigned);
    isFull(source);
}

QTEST_GUILESS_MAIN(TestCoding)
#include "tst_coding.moc"
