#include <startfailure.h>

#include <QtTest>

class StartFailureTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isPrintedOnOneLine_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("line");
        const auto row = [](const char *name, ushort character) {
            QTest::newRow(name) << QStringLiteral("a%1b: why").arg(QChar(character)) << "a b: why";
        };
        row("line feed", '\n');
        row("carriage return", '\r');
        row("NUL", 0);
        row("escape", 0x1b);
        row("delete", 0x7f);
        row("next line", 0x85);
        row("line separator", 0x2028);
        row("paragraph separator", 0x2029);
        QTest::newRow("several") << "a\r\n\nb"
                                 << "a   b";
        const QString lone = QStringLiteral("%1a").arg(QChar(0xd800));
        QTest::newRow("beside a lone surrogate") << lone + QLatin1Char('\n') << lone + QLatin1Char(' ');
        const QString plain = QString::fromUtf8("b\xc3\xbcro \xf0\x9f\x98\x80 \"x, y\": why");
        QTest::newRow("nothing to replace") << plain << plain;
    }
    void isPrintedOnOneLine()
    {
        QFETCH(QString, text);
        QTEST(StartFailure{text}.line(), "line");
    }
};

QTEST_GUILESS_MAIN(StartFailureTest)
#include "tst_startfailure.moc"
