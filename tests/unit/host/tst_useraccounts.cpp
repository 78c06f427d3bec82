#include <useraccounts.h>

#include <QtTest>

class UserAccountsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nameBecomesNumberAndBack()
    {
        QString why;
        QCOMPARE(userOfName(QStringLiteral("root"), why), std::optional<uid_t>(0));
        QCOMPARE(why, QString());
        QCOMPARE(nameOfUser(0), QStringLiteral("root"));
        const auto other = userOfName(QStringLiteral("daemon"), why);
        QVERIFY(other);
        QVERIFY(*other != 0);
        QCOMPARE(nameOfUser(*other), QStringLiteral("daemon"));
    }

    void unknownNameTellsWhy()
    {
        QString why;
        QVERIFY(!userOfName(QStringLiteral("no-such-user"), why));
        QCOMPARE(why, QStringLiteral("there is no user \"no-such-user\""));
    }

    void unknownNumberHasNoName() { QVERIFY(nameOfUser(4000000001U).isNull()); }
};

QTEST_GUILESS_MAIN(UserAccountsTest)
#include "tst_useraccounts.moc"
