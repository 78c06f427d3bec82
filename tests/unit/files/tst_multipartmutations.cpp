#include "multipartfiles.h"

#include "logcapture.h"
#include "multipartbodies.h"
#include "plainmultipartfiles.h"

#include <QtTest>

/// MultipartFiles against PlainMultipartFiles: files, and the log, which tells where each part begins.
class MultipartMutationsTest : public QObject
{
    Q_OBJECT

    static void compare(const QString &boundary, const QByteArray &body, const PlainMultipartFiles &plain)
    {
        const LogCapture log("ch.tessel.vexo-service.multipartfiles");
        const QMap<QString, QByteArray> files = MultipartFiles(boundary, body).getFiles();
        QStringList lines;
        for (const LogCapture::Line &line : log.lines())
            lines.append(line.text);
        if (files == plain.files() && lines == plain.log())
            return;
        QString text;
        QDebug(&text) << "Boundary" << boundary << "body" << body << "gave" << files << lines << "not"
                      << plain.files() << plain.log();
        QFAIL(qPrintable(text));
    }

private Q_SLOTS:
    void grownBodies()
    {
        constexpr int count = 100000;
        MultipartBodies bodies(20240229);
        int none = 0;
        int several = 0;
        PlainMultipartFiles::Paths paths;
        for (int i = 0; i < count; ++i) {
            const MultipartBodies::Body body = bodies.next();
            const PlainMultipartFiles plain(body.boundary, body.bytes);
            compare(body.boundary, body.bytes, plain);
            if (QTest::currentTestFailed())
                return;
            none += plain.files().isEmpty() ? 1 : 0;
            several += plain.files().size() >= 2 ? 1 : 0;
            paths += plain.paths();
        }
        // They do reach everything.
        QVERIFY2(none >= count / 10 && none <= count / 2, qPrintable(QString::number(none)));
        QVERIFY2(several >= count / 4, qPrintable(QString::number(several)));
        QVERIFY2(paths.unended >= count / 10, qPrintable(QString::number(paths.unended)));
        QVERIFY2(paths.inner >= count / 2, qPrintable(QString::number(paths.inner)));
        QVERIFY2(paths.closing >= count / 4, qPrintable(QString::number(paths.closing)));
        QVERIFY2(paths.oneCut >= count / 10, qPrintable(QString::number(paths.oneCut)));
        QVERIFY2(paths.tooShort >= count / 10, qPrintable(QString::number(paths.tooShort)));
        QVERIFY2(paths.numbered >= count / 4, qPrintable(QString::number(paths.numbered)));
        QVERIFY2(paths.inherited >= count / 20, qPrintable(QString::number(paths.inherited)));
    }

    void cutAtEveryByte_data()
    {
        QTest::addColumn<QByteArray>("body");
        const QByteArray named("Content-Disposition: form-data; name=\"f\"; filename=\"a.pdf\"\r\n");
        const QByteArray type("Content-Type: application/pdf\r\n");
        QTest::newRow("one file") << "--X\r\n" + named + type + "\r\ndata\r\n--X--\r\n";
        QTest::newRow("three parts") << "--X\r\n" + named + "\r\n12\r\n--X\r\n" + type + "\r\n34\r\n--X\r\n"
                                            + "Content-Disposition: form-data\r\n\r\n56\r\n--X--\r\n";
        QTest::newRow("empty files") << "--X\r\n" + named + "\r\n\r\n--X\r\n" + type + "\r\n\r\n--X--\r\n";
        QTest::newRow("text around") << "text\r\n--X\r\n" + named + "\r\ndata\r\n--X--\r\ntext\r\n\r\ntext";
        QTest::newRow("almost") << "--X\r\n" + type + "\r\r\n\r\n" + named
                                       + "\r\n---X\r\n--X-\r\n--X\r\r\n\r\n--X--\r\n";
        QTest::newRow("parts behind the closing delimiter")
            << "--X\r\n" + named + "\r\n1234\r\n--X--" + named + "\r\n56\r\n--X----X\r\n" + type + "\r\n78";
        QTest::newRow("name in a content")
            << "--X\r\n" + type + "\r\nContent-Disposition: a; filename=in\xc3\xa4side\r\n--X\r\n" + type
                   + "\r\n\r\n12--X--\r\n";
    }
    void cutAtEveryByte()
    {
        QFETCH(QByteArray, body);
        for (int size = body.size(); size >= 0; --size) {
            for (const char *boundary : {"--X", "--", "X", ""}) {
                const QString text = QString::fromLatin1(boundary);
                const QByteArray cut = body.left(size);
                compare(text, cut, PlainMultipartFiles(text, cut));
                if (QTest::currentTestFailed())
                    return;
            }
        }
    }
};

QTEST_GUILESS_MAIN(MultipartMutationsTest)
#include "tst_multipartmutations.moc"
