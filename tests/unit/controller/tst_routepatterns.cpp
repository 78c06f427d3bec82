#include "controller/routepatterns.h"

#include <QtTest>

using namespace routepatterns;

class RoutePatternsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // What each admits and refuses is shown by the route table's own test.
    void patternIsExact_data()
    {
        QTest::addColumn<QRegularExpression>("expression");
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<int>("captures");
        const auto row = [](const char *name, const QRegularExpression &expression, const char *pattern,
                            int captures) {
            QTest::newRow(name) << expression << QString::fromLatin1(pattern) << captures;
        };
        row("context", contextRegularExpression(), R"(^\/context\/?$)", 0);
        row("instance", contextInstanceRegularExpression(), R"(^\/context\/([a-zA-Z0-9]+)\/?$)", 1);
        row("event", contextInstanceEventRegularExpression(), R"(^\/context\/([a-zA-Z0-9]+)\/event\/?$)", 1);
        row("file", contextInstanceFileRegularExpression(), R"(^\/context\/([a-zA-Z0-9]+)\/file\/?$)", 1);
        row("file with name", contextInstanceFileWithNameRegularExpression(),
            R"(^\/context\/([a-zA-Z0-9]+)\/file\/([a-zA-Z0-9_\-\.%]+)\/?$)", 2);
        row("form", contextActionFormRegularExpression(), R"(^\/context\/([a-zA-Z0-9]+)\/?\$form$)", 1);
        row("credentials", contextCredentialsRegularExpression(),
            R"(^\/context\/([a-zA-Z0-9]+)\/credentials\/?$)", 1);
        row("message event", messageEventRegularExpression(), R"(^\/message\/event$)", 0);
        row("message", messageRegularExpression(), R"(^\/message$)", 0);
    }
    void patternIsExact()
    {
        QFETCH(QRegularExpression, expression);
        QFETCH(QString, pattern);
        QFETCH(int, captures);
        QVERIFY(expression.isValid());
        QCOMPARE(expression.pattern(), pattern);
        QCOMPARE(expression.captureCount(), captures);
        QCOMPARE(expression.patternOptions(), QRegularExpression::NoPatternOption);
    }
};

QTEST_GUILESS_MAIN(RoutePatternsTest)
#include "tst_routepatterns.moc"
