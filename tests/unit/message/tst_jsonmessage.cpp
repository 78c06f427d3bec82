#include "structure/jsonobject/message.h"

#include "jsontext.h"
#include "logcapture.h"

#include <QtTest>

#include <type_traits>

using Form = structure::jsonobject::Message;
using structure::content::Message;
using structure::content::Timespan;

static_assert(std::is_same_v<decltype(&Form::create), QJsonObject (*)(const Message &)>);
static_assert(std::is_same_v<decltype(&Form::parseAndFind), bool (*)(const QJsonObject &, Message &)>);

namespace {

const char *const category = "ch.tessel.vexo.vexo-service.context.util.structure.jsonobject.message";
const char *const timestampCategory = "ch.tessel.vexo.vexo-service.api.util.structure.qstring.timestamp";

Message fullMessage()
{
    Message message = Message::createEmptyMessage();
    message.setIdentifier(QStringLiteral("i"));
    message.setTitle(QStringLiteral("t"));
    message.setSubtitle(QStringLiteral("s"));
    message.setText(QStringLiteral("x"));
    message.setTimestamp(QDateTime(QDate(2026, 1, 5), QTime(7, 8, 9)));
    return message;
}

// The whole state of a message, as text.
QString described(const Message &message)
{
    const QStringList fields{message.identifier(),
                             message.title(),
                             message.subtitle(),
                             message.text(),
                             message.timestamp().isNull() ? QStringLiteral("null")
                                                          : message.timestamp().toString(Qt::ISODate),
                             QString::number(message.type()),
                             QString::number(message.customLifeTime().seconds())};
    return fields.join(QLatin1Char('|'));
}

} // namespace

class JsonMessageTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writesWhatTheKindAsksFor_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("tail");
        QTest::newRow("momentary") << 0 << QString();
        QTest::newRow("lifetime of its own")
            << 1 << QStringLiteral(R"(,"type":"customlifetime","lifetime":"3600")");
        QTest::newRow("persistent") << 2 << QStringLiteral(R"(,"type":"persistent")");
    }
    void writesWhatTheKindAsksFor()
    {
        QFETCH(int, kind);
        QFETCH(QString, tail);
        Message message = fullMessage();
        // The span stays in a message of any other kind and is not written.
        message.setCustomLifeTime(Timespan(3600));
        if (kind == 0)
            message.setMomentary();
        if (kind == 2)
            message.setPersistent();
        QCOMPARE(QJsonValue(Form::create(message)),
                 json(QStringLiteral(R"({"id":"i","title":"t","subtitle":"s","text":"x",)"
                                     R"("timestamp":"2026-01-05T07:08:09"%1})")
                          .arg(tail)));
    }

    void emptyFieldsAreWritten()
    {
        QCOMPARE(jsonText(Form::create(Message::createEmptyMessage())),
                 QStringLiteral(R"({"id":"","subtitle":"","text":"","timestamp":"","title":""})"));
    }

    void reads_data()
    {
        QTest::addColumn<QString>("object");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, const char *object, const char *message) {
            QTest::newRow(name) << QString::fromUtf8(object) << QString::fromUtf8(message);
        };
        const auto typed = [](const char *name, const char *tail, const char *kind) {
            QTest::newRow(name)
                << QStringLiteral(R"({"id":"i","title":"t","text":"x",%1})").arg(QLatin1String(tail))
                << QStringLiteral("i|t||x|null|%1").arg(QLatin1String(kind));
        };
        row("what is required", R"({"id":"1","title":"t","text":"x"})", "1|t||x|null|0|0");
        row("everything",
            R"({"id":"i","title":"t","subtitle":"s","text":"ä","timestamp":"2026-01-05T07:08:09",
                "type":"customlifetime","lifetime":"3600"})",
            "i|t|s|ä|2026-01-05T07:08:09|1|3600");
        row("empty texts", R"({"id":"","title":"","text":""})", "||||null|0|0");
        row("keys of others", R"({"id":"i","title":"t","text":"x","ID":"j","more":{}})", "i|t||x|null|0|0");
        typed("subtitle of another type", R"("subtitle":5)", "0|0");
        typed("timestamp of another type", R"("timestamp":20260105)", "0|0");
        typed("momentary", R"("type":"momentary","lifetime":"5")", "0|0");
        typed("persistent ignores a lifetime", R"("type":"persistent","lifetime":"5")", "2|0");
        typed("lifetime of its own", R"("type":"customlifetime","lifetime":"5")", "1|5");
        typed("no lifetime", R"("type":"customlifetime")", "0|0");
        typed("lifetime that is a number", R"("type":"customlifetime","lifetime":5)", "0|0");
        typed("lifetime that is null", R"("type":"customlifetime","lifetime":null)", "0|0");
        typed("lifetime that is no number", R"("type":"customlifetime","lifetime":"long")", "1|0");
        typed("empty lifetime", R"("type":"customlifetime","lifetime":"")", "1|0");
        typed("negative lifetime", R"("type":"customlifetime","lifetime":"-5")", "1|-5");
        typed("lifetime alone", R"("lifetime":"5")", "0|0");
        typed("type in capitals", R"("type":"Persistent")", "0|0");
        typed("unknown type", R"("type":"forever")", "0|0");
        typed("empty type", R"("type":"")", "0|0");
        typed("type of another type", R"("type":2,"lifetime":"5")", "0|0");
    }
    void reads()
    {
        QFETCH(QString, object);
        QFETCH(QString, message);
        const LogCapture log(timestampCategory);
        Message read = Message::createEmptyMessage();
        QVERIFY(Form::parseAndFind(json(object).toObject(), read));
        QCOMPARE(described(read), message);
        QVERIFY(log.lines().isEmpty());
    }

    void malformedTimestampIsNoReasonToReject_data()
    {
        QTest::addColumn<QString>("timestamp");
        QTest::newRow("empty") << QString();
        QTest::newRow("trailing Z") << QStringLiteral("2026-01-05T07:08:09Z");
        QTest::newRow("text") << QStringLiteral("now");
    }
    void malformedTimestampIsNoReasonToReject()
    {
        QFETCH(QString, timestamp);
        const LogCapture log(timestampCategory);
        Message read = Message::createEmptyMessage();
        QVERIFY(Form::parseAndFind(json(QStringLiteral(R"({"id":"i","title":"t","text":"x",)"
                                                       R"("timestamp":"%1","type":"persistent"})")
                                            .arg(timestamp))
                                       .toObject(),
                                   read));
        QCOMPARE(described(read), QStringLiteral("i|t||x|null|2|0"));
        QCOMPARE(log.lines().size(), 1);
        QVERIFY(log.contains(QtWarningMsg, QStringLiteral("Unexpected invalid date format found in string: ")
                                               + QStringLiteral(" \"%1\"").arg(timestamp)));
    }

    void refuses_data()
    {
        QTest::addColumn<QString>("object");
        QTest::addColumn<QString>("filled");
        const auto row = [](const char *name, const char *object, const char *filled) {
            QTest::newRow(name) << QString::fromLatin1(object) << QString::fromLatin1(filled);
        };
        // What stands in front of the failing key, in the order of reading, is filled.
        row("empty object", "{}", "||||null|0|0");
        row("no id", R"({"title":"t","subtitle":"s","text":"x"})", "||||null|0|0");
        row("id that is a number", R"({"id":1,"title":"t","text":"x"})", "||||null|0|0");
        row("id that is null", R"({"id":null,"title":"t","text":"x"})", "||||null|0|0");
        row("no title", R"({"id":"i","subtitle":"s","text":"x"})", "i||||null|0|0");
        row("title that is an array", R"({"id":"i","title":["t"],"text":"x"})", "i||||null|0|0");
        row("no text", R"({"id":"i","title":"t","subtitle":"s","type":"persistent"})", "i|t|s||null|0|0");
        row("text that is a number", R"({"id":"i","title":"t","text":1})", "i|t|||null|0|0");
    }
    void refuses()
    {
        QFETCH(QString, object);
        QFETCH(QString, filled);
        const LogCapture log(category);
        Message read = Message::createEmptyMessage();
        QVERIFY(!Form::parseAndFind(json(object).toObject(), read));
        QCOMPARE(described(read), filled);
        QVERIFY(log.lines().isEmpty());
    }

    void keepsWhatTheObjectDoesNotTell()
    {
        Message message = fullMessage();
        message.setCustomLifeTime(Timespan(5));
        const QString before = described(message);
        QVERIFY(Form::parseAndFind(json(QStringLiteral(R"({"id":"i","title":"t","text":"x"})")).toObject(),
                                   message));
        QCOMPARE(described(message), before);
        const LogCapture log(timestampCategory);
        QVERIFY(Form::parseAndFind(
            json(QStringLiteral(R"({"id":"i","title":"t","text":"x","timestamp":"no","type":"momentary"})"))
                .toObject(),
            message));
        QCOMPARE(described(message), QStringLiteral("i|t|s|x|2026-01-05T07:08:09|0|5"));
    }

    void comesBackFromItsForm_data()
    {
        QTest::addColumn<int>("kind");
        for (const int kind : {0, 1, 2})
            QTest::addRow("kind %d", kind) << kind;
    }
    void comesBackFromItsForm()
    {
        QFETCH(int, kind);
        Message message = fullMessage();
        if (kind == 1)
            message.setCustomLifeTime(Timespan(7));
        if (kind == 2)
            message.setPersistent();
        const QJsonObject object = Form::create(message);
        QCOMPARE(object.contains(QLatin1String("type")), kind != 0);
        Message read = Message::createEmptyMessage();
        QVERIFY(Form::parseAndFind(object, read));
        QCOMPARE(described(read), described(message));
    }

    void nullTimestampComesBackWithAWarning()
    {
        const LogCapture log(timestampCategory);
        Message message = fullMessage();
        message.setTimestamp(QDateTime());
        const QJsonObject object = Form::create(message);
        QCOMPARE(object.value(QLatin1String("timestamp")), QJsonValue(QString()));
        Message read = Message::createEmptyMessage();
        QVERIFY(Form::parseAndFind(object, read));
        QCOMPARE(described(read), described(message));
        QCOMPARE(log.lines().size(), 1);
    }

    void categoryIsNamed() { QCOMPARE(structure::jsonobject::MessageLogging().categoryName(), category); }
};

QTEST_GUILESS_MAIN(JsonMessageTest)
#include "tst_jsonmessage.moc"
