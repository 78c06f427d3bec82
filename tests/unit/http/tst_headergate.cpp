#include "bytesof.h"

#include <http/server/headergate.h>

#include <QtTest>

using http::server::HeaderGate;
using http::server::Limits;
using Verdict = HeaderGate::Verdict;

namespace {

std::string_view view(const QByteArray &bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

QByteArray get(const QByteArray &fields)
{
    return "GET /context HTTP/1.1\r\nHost: localhost\r\n" + fields + "\r\n";
}

} // namespace

class HeaderGateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void passes_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::newRow("plain") << get("");
        QTest::newRow("empty Host") << QByteArray("GET / HTTP/1.1\r\nHost:\r\n\r\n");
        QTest::newRow("HTTP/1.0 without Host") << QByteArray("GET / HTTP/1.0\r\n\r\n");
        QTest::newRow("one empty line in front") << QByteArray("\r\nGET / HTTP/1.1\r\nHost: a\r\n\r\n");
        QTest::newRow("IPv6 host") << QByteArray("GET / HTTP/1.1\r\nHost: [::1]:8750\r\n\r\n");
        QTest::newRow("tab and UTF-8 in a value") << get("X:\ta\tb \xc3\xa9 \r\n");
        QTest::newRow("empty value") << get("X:\r\n");
        QTest::newRow("length") << get("Content-Length: 5\r\n");
        QTest::newRow("length with zeros in front") << get("Content-Length: 0000000000000000000000005\r\n");
        QTest::newRow("largest length") << get("content-length:67108864\r\n");
        QTest::newRow("chunked") << get("Transfer-Encoding: chunked\r\n");
        QTest::newRow("white space around chunked") << get("transfer-encoding: \tchunked\t \r\n");
        for (const char *method : {"DELETE", "HEAD", "POST", "PUT", "OPTIONS", "TRACE", "PATCH"})
            QTest::newRow(method) << method + QByteArray(" / HTTP/1.1\r\nHost: a\r\n\r\n");
        QTest::newRow("CONNECT") << QByteArray("CONNECT a:80 HTTP/1.1\r\nHost: a\r\n\r\n");
        QTest::newRow("absolute target") << QByteArray("GET http://a/b?c HTTP/1.1\r\nHost: a\r\n\r\n");
    }
    void passes()
    {
        QFETCH(QByteArray, head);
        const Limits limits;
        HeaderGate whole{limits};
        whole.begin(HeaderGate::Section::Head);
        const QByteArray followed = head + "GET";
        QCOMPARE(whole.scan(view(followed)), Verdict::Complete);
        QCOMPARE(static_cast<int>(whole.length()), head.size());

        HeaderGate pieces{limits};
        pieces.begin(HeaderGate::Section::Head);
        for (int size = 1; size < head.size(); ++size)
            QCOMPARE(pieces.scan(view(head.left(size))), Verdict::Incomplete);
        QCOMPARE(pieces.scan(view(head)), Verdict::Complete);
    }

    void refuses_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<int>("status");
        QTest::newRow("bare CR in a value") << get("X: a\rEvil: b\r\n") << 400;
        QTest::newRow("bare CR in the request line")
            << QByteArray("GET /\r HTTP/1.1\r\nHost: a\r\n\r\n") << 400;
        QTest::newRow("bare LF after the request line")
            << QByteArray("GET / HTTP/1.1\nHost: a\r\n\r\n") << 400;
        QTest::newRow("bare LF in a value") << get("X: a\nEvil: b\r\n") << 400;
        QTest::newRow("bare LF as the end") << QByteArray("GET / HTTP/1.1\r\nHost: a\r\n\n") << 400;
        QTest::newRow("CR CR LF") << get("X: a\r\r\n") << 400;
        QTest::newRow("NUL in the target") << bytesOf("GET /a\0b HTTP/1.1\r\nHost: a\r\n\r\n") << 400;
        QTest::newRow("NUL in a value") << get(bytesOf("X: a\0b\r\n")) << 400;
        QTest::newRow("NUL in a name") << get(bytesOf("X\0: a\r\n")) << 400;
        QTest::newRow("escape in a value") << get("X: \x1b[31m\r\n") << 400;
        QTest::newRow("delete in a value") << get("X: \x7f\r\n") << 400;
        QTest::newRow("tab in the request line") << QByteArray("GET\t/ HTTP/1.1\r\nHost: a\r\n\r\n") << 400;
        QTest::newRow("folded with a blank") << get("X: a\r\n b\r\n") << 400;
        QTest::newRow("folded with a tab") << get("X: a\r\n\tb\r\n") << 400;
        QTest::newRow("first field folded") << QByteArray("GET / HTTP/1.1\r\n Host: a\r\n\r\n") << 400;
        QTest::newRow("empty name") << get(": a\r\n") << 400;
        QTest::newRow("no colon") << get("X\r\n") << 400;
        QTest::newRow("blank before the colon") << get("X : a\r\n") << 400;
        QTest::newRow("tab before the colon") << get("X\t: a\r\n") << 400;
        QTest::newRow("name is no token") << get("X(y): a\r\n") << 400;
        QTest::newRow("UTF-8 in a name") << get("\xc3\xa9: a\r\n") << 400;
        QTest::newRow("no Host") << QByteArray("GET / HTTP/1.1\r\nX: a\r\n\r\n") << 400;
        QTest::newRow("second Host") << get("host: other\r\n") << 400;
        QTest::newRow("second Host in HTTP/1.0")
            << QByteArray("GET / HTTP/1.0\r\nHost: a\r\nHost: a\r\n\r\n") << 400;
        QTest::newRow("Host with a slash") << QByteArray("GET / HTTP/1.1\r\nHost: a/b\r\n\r\n") << 400;
        QTest::newRow("Host with a comma") << QByteArray("GET / HTTP/1.1\r\nHost: a, b\r\n\r\n") << 400;
        QTest::newRow("length and coding")
            << get("Content-Length: 5\r\nTransfer-Encoding: chunked\r\n") << 400;
        QTest::newRow("coding and length")
            << get("Transfer-Encoding: chunked\r\nContent-Length: 5\r\n") << 400;
        QTest::newRow("repeated length") << get("Content-Length: 5\r\nContent-Length: 5\r\n") << 400;
        for (const char *length : {"5, 5", "+5", "-5", "0x5", "5 5", "", "five", "5.", "1e1", "5;"}) {
            QTest::addRow("length \"%s\"", length)
                << get(QByteArray("Content-Length: ") + length + "\r\n") << 400;
        }
        for (const char *coding : {"Chunked", "CHUNKED", "gzip", "gzip, chunked", "chunked, chunked",
                                   "chunked;a=b", "\"chunked\"", "identity", "", "chunked,", "xchunked"}) {
            QTest::addRow("coding \"%s\"", coding)
                << get(QByteArray("Transfer-Encoding: ") + coding + "\r\n") << 400;
        }
        QTest::newRow("repeated coding")
            << get("Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n") << 400;
        QTest::newRow("coding in HTTP/1.0")
            << QByteArray("POST / HTTP/1.0\r\nTransfer-Encoding: chunked\r\n\r\n") << 400;
        QTest::newRow("no target") << QByteArray("GET HTTP/1.1\r\nHost: a\r\n\r\n") << 400;
        QTest::newRow("two blanks") << QByteArray("GET  / HTTP/1.1\r\nHost: a\r\n\r\n") << 400;
        QTest::newRow("blank at the end") << QByteArray("GET / HTTP/1.1 \r\nHost: a\r\n\r\n") << 400;
        QTest::newRow("blank in the target") << QByteArray("GET /a b HTTP/1.1\r\nHost: a\r\n\r\n") << 400;
        QTest::newRow("blank in front") << QByteArray(" GET / HTTP/1.1\r\nHost: a\r\n\r\n") << 400;
        QTest::newRow("UTF-8 in the target")
            << QByteArray("GET /\xc3\xa9 HTTP/1.1\r\nHost: a\r\n\r\n") << 400;
        QTest::newRow("fragment in the target") << QByteArray("GET /a#b HTTP/1.1\r\nHost: a\r\n\r\n") << 400;
        QTest::newRow("two empty lines in front")
            << QByteArray("\r\n\r\nGET / HTTP/1.1\r\nHost: a\r\n\r\n") << 400;
        QTest::newRow("HTTP/0.9") << QByteArray("GET /\r\n\r\n") << 400;
        QTest::newRow("version in lower case") << QByteArray("GET / http/1.1\r\nHost: a\r\n\r\n") << 400;
        QTest::newRow("version with two digits") << QByteArray("GET / HTTP/1.10\r\nHost: a\r\n\r\n") << 400;
        QTest::newRow("HTTP/2.0") << QByteArray("GET / HTTP/2.0\r\nHost: a\r\n\r\n") << 505;
        QTest::newRow("HTTP/1.2") << QByteArray("GET / HTTP/1.2\r\nHost: a\r\n\r\n") << 505;
        QTest::newRow("method is no token") << QByteArray("G(T / HTTP/1.1\r\nHost: a\r\n\r\n") << 400;
        QTest::newRow("unknown method") << QByteArray("BREW / HTTP/1.1\r\nHost: a\r\n\r\n") << 501;
        QTest::newRow("method in lower case") << QByteArray("get / HTTP/1.1\r\nHost: a\r\n\r\n") << 501;
        QTest::newRow("method of another protocol")
            << QByteArray("SOURCE / HTTP/1.1\r\nHost: a\r\n\r\n") << 501;
        QTest::newRow("length beyond 64 bits")
            << get("Content-Length: 99999999999999999999999999\r\n") << 413;
    }
    void refuses()
    {
        QFETCH(QByteArray, head);
        QFETCH(int, status);
        const Limits limits;
        HeaderGate whole{limits};
        whole.begin(HeaderGate::Section::Head);
        QCOMPARE(whole.scan(view(head)), Verdict::Refused);
        QCOMPARE(whole.status(), status);
        QVERIFY(qstrlen(whole.reason()) > 0);

        HeaderGate pieces{limits};
        pieces.begin(HeaderGate::Section::Head);
        Verdict verdict = Verdict::Incomplete;
        for (int size = 1; size <= head.size() && verdict == Verdict::Incomplete; ++size)
            verdict = pieces.scan(view(head.left(size)));
        QCOMPARE(verdict, Verdict::Refused);
        QCOMPARE(pieces.status(), status);
    }

    void bodyLimitIsExact_data()
    {
        QTest::addColumn<QByteArray>("field");
        QTest::addColumn<bool>("tooLarge");
        QTest::newRow("none") << QByteArray() << false;
        QTest::newRow("limit") << QByteArray("Content-Length: 67108864\r\n") << false;
        QTest::newRow("limit with zeros")
            << QByteArray("Content-Length: 00000000000000000000067108864\r\n") << false;
        QTest::newRow("one more") << QByteArray("Content-Length: 67108865\r\n") << true;
        QTest::newRow("18 digits") << QByteArray("Content-Length: 922337203685477579\r\n") << true;
    }
    void bodyLimitIsExact()
    {
        QFETCH(QByteArray, field);
        const Limits limits;
        HeaderGate gate{limits};
        for (const bool again : {false, true}) {
            gate.begin(HeaderGate::Section::Head);
            // The head is sound: what else is to be said of it comes first.
            QCOMPARE(gate.scan(view(again ? get({}) : get(field))), Verdict::Complete);
            QFETCH(bool, tooLarge);
            QCOMPARE(gate.isBodyTooLarge(), tooLarge && !again);
        }
    }

    void ofTwoLimitsTheOneMetFirstCounts_data()
    {
        QTest::addColumn<int>("methodLength");
        QTest::addColumn<int>("status");
        QTest::newRow("target") << 29 << 414;
        QTest::newRow("header block") << 30 << 431;
        QTest::newRow("header block, far from the target") << 60 << 431;
    }
    void ofTwoLimitsTheOneMetFirstCounts()
    {
        QFETCH(int, methodLength);
        QFETCH(int, status);
        Limits limits;
        limits.maxTargetBytes = 9;
        limits.maxHeaderBytes = 40;
        const QByteArray head = QByteArray(methodLength, 'M') + " /" + QByteArray(50, 'a');
        HeaderGate whole{limits};
        whole.begin(HeaderGate::Section::Head);
        QCOMPARE(whole.scan(view(head)), Verdict::Refused);
        QCOMPARE(whole.status(), status);
        HeaderGate pieces{limits};
        pieces.begin(HeaderGate::Section::Head);
        for (int size = 1; size <= head.size() && pieces.scan(view(head.left(size))) == Verdict::Incomplete;)
            ++size;
        QCOMPARE(pieces.status(), status);
    }

    void targetLimitIsExact()
    {
        Limits limits;
        limits.maxTargetBytes = 10;
        const auto scan = [&](const QByteArray &bytes) {
            HeaderGate gate{limits};
            gate.begin(HeaderGate::Section::Head);
            const Verdict verdict = gate.scan(view(bytes));
            return verdict == Verdict::Refused ? gate.status() : 0;
        };
        QCOMPARE(scan("GET /123456789 HTTP/1.1\r\nHost: a\r\n\r\n"), 0);
        QCOMPARE(scan("GET /1234567890 HTTP/1.1\r\nHost: a\r\n\r\n"), 414);
        QCOMPARE(scan("GET /123456789"), 0);
        QCOMPARE(scan("GET /1234567890"), 414);
    }

    void headerLimitIsExact()
    {
        Limits limits;
        const QByteArray head = get("X: y\r\n");
        for (const auto &[max, status] : {std::pair{head.size(), 0}, {head.size() - 1, 431}}) {
            limits.maxHeaderBytes = max;
            HeaderGate gate{limits};
            gate.begin(HeaderGate::Section::Head);
            QCOMPARE(gate.scan(view(head + "body")), status == 0 ? Verdict::Complete : Verdict::Refused);
            QCOMPARE(gate.status(), status);
        }
    }

    void headerLimitHoldsWithoutALineEnd()
    {
        Limits limits;
        limits.maxHeaderBytes = 100;
        HeaderGate gate{limits};
        gate.begin(HeaderGate::Section::Head);
        const QByteArray start = "GET / HTTP/1.1\r\nX: ";
        QCOMPARE(gate.scan(view(start + QByteArray(100 - start.size(), 'a'))), Verdict::Incomplete);
        QCOMPARE(gate.scan(view(start + QByteArray(101 - start.size(), 'a'))), Verdict::Refused);
        QCOMPARE(gate.status(), 431);
    }

    void trailersAreCheckedLikeHeaders_data()
    {
        QTest::addColumn<QByteArray>("trailers");
        QTest::addColumn<int>("status");
        QTest::newRow("none") << QByteArray("\r\n") << 0;
        QTest::newRow("two") << QByteArray("A: b\r\nC: d\r\n\r\n") << 0;
        QTest::newRow("framing fields have no effect")
            << QByteArray("Content-Length: x\r\nTransfer-Encoding: y\r\nHost: a\r\nHost: b\r\n\r\n") << 0;
        QTest::newRow("bare CR") << QByteArray("A: b\r\rGET / HTTP/1.1\r\n\r\n") << 400;
        QTest::newRow("bare LF") << QByteArray("A: b\n\r\n") << 400;
        QTest::newRow("no colon") << QByteArray("GET / HTTP/1.1\r\n\r\n") << 400;
        QTest::newRow("folded") << QByteArray(" a\r\n\r\n") << 400;
        QTest::newRow("too large") << "A: " + QByteArray(65536, 'a') + "\r\n\r\n" << 431;
    }
    void trailersAreCheckedLikeHeaders()
    {
        QFETCH(QByteArray, trailers);
        QFETCH(int, status);
        const Limits limits;
        HeaderGate gate{limits};
        gate.begin(HeaderGate::Section::Trailers);
        QCOMPARE(gate.scan(view(trailers)), status == 0 ? Verdict::Complete : Verdict::Refused);
        QCOMPARE(gate.status(), status);
    }
};

QTEST_GUILESS_MAIN(HeaderGateTest)
#include "tst_headergate.moc"
