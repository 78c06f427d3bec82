#include "fhir/stu3/period.h"

#include <QtTest>

#include <type_traits>
#include <utility>

using domain::Period;

static_assert(std::is_same_v<decltype(&Period::start), const QDateTime &(Period::*)() const>);
static_assert(std::is_same_v<decltype(&Period::end), const QDateTime &(Period::*)() const>);
static_assert(std::is_same_v<decltype(&Period::setStart), void (Period::*)(QDateTime)>);
static_assert(std::is_same_v<decltype(&Period::setEnd), void (Period::*)(QDateTime)>);

class PeriodTest : public QObject
{
    Q_OBJECT

    const QDateTime start{QDate(2020, 5, 17), QTime(10, 20, 30), Qt::UTC};
    const QDateTime end{QDate(2021, 6, 18), QTime(11, 21, 31), Qt::OffsetFromUTC, 7200};

    [[nodiscard]] Period full() const
    {
        Period period;
        period.setStart(start);
        period.setEnd(end);
        return period;
    }
    void isFull(const Period &period) const
    {
        QCOMPARE(period.start(), start);
        QCOMPARE(period.end(), end);
    }

private Q_SLOTS:
    void isNullWhenNew()
    {
        const Period period;
        QVERIFY(period.start().isNull());
        QVERIFY(period.end().isNull());
    }

    void isCopiedMemberByMember()
    {
        const Period period = full();
        const Period constructed(period);
        isFull(constructed);
        Period assigned;
        assigned = period;
        isFull(assigned);
        isFull(period);
    }

    void isMoved()
    {
        Period source = full();
        const Period constructed(std::move(source));
        isFull(constructed);
        QVERIFY(source.start() != start && source.end() != end);

        source = full();
        Period assigned;
        assigned = std::move(source);
        isFull(assigned);
        QVERIFY(source.start() != start && source.end() != end);
    }
};

QTEST_GUILESS_MAIN(PeriodTest)
#include "tst_period.moc"
