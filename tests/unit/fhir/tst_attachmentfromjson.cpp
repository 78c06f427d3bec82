#include "fhir/stu3/serialization/attachmentfromjson.h"

#include "localzone.h"
#include "readerrows.h"

using domain::Attachment;
using domain::AttachmentFromJson;

static_assert(std::is_constructible_v<AttachmentFromJson, Attachment &, const QJsonObject &>);

class AttachmentFromJsonTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onlyKeysThatAreThereAreSet_data()
    {
        addReaderColumns();
        addReaderRow("nothing", QStringLiteral("{}"), QStringLiteral("{}"));
        addReaderRow("keys in other letters", QStringLiteral(R"({"URL":"y","Size":1})"),
                     QStringLiteral("{}"));
        for (const char *name : {"contentType", "language", "data", "url", "hash", "title"}) {
            const QLatin1String key(name);
            const QString one = QStringLiteral(R"({"%1":"y"})").arg(key);
            const QString empty = QStringLiteral(R"({"%1":""})").arg(key);
            addReaderRow(name, one, one);
            addReaderRow(qPrintable(key + QStringLiteral(" is empty")), empty, empty);
            addWrongTypeRows(key, QJsonValue::String, empty);
        }
        addReaderRow("Base64 stays", QStringLiteral(R"({"data":"ZGF0YQ==","hash":"aGFzaA=="})"),
                     QStringLiteral(R"({"data":"ZGF0YQ==","hash":"aGFzaA=="})"));
        addReaderRow("size", QStringLiteral(R"({"size":12})"), QStringLiteral(R"({"size":12})"));
        addReaderRow("negative size", QStringLiteral(R"({"size":-1})"), QStringLiteral(R"({"size":-1})"));
        addReaderRow("largest size", QStringLiteral(R"({"size":2147483647})"),
                     QStringLiteral(R"({"size":2147483647})"));
        addReaderRow("size that is too large", QStringLiteral(R"({"size":2147483648})"),
                     QStringLiteral(R"({"size":0})"));
        addReaderRow("size with a fraction", QStringLiteral(R"({"size":1.5})"),
                     QStringLiteral(R"({"size":0})"));
        addReaderRow("size as text", QStringLiteral(R"({"size":"12"})"), QStringLiteral(R"({"size":0})"));
        addWrongTypeRows(QStringLiteral("size"), QJsonValue::Double, QStringLiteral(R"({"size":0})"));
        addReaderRow("creation", QStringLiteral(R"({"creation":"2020-05-17T10:20:30Z"})"),
                     QStringLiteral(R"({"creation":"2020-05-17T10:20:30.000Z"})"));
        addReaderRow("creation that is invalid, but not null",
                     QStringLiteral(R"({"creation":"2021-03-28T02:30:00"})"),
                     QStringLiteral(R"({"creation":"invalid"})"));
        addWrongTypeRows(QStringLiteral("creation"), QJsonValue::Undefined,
                         QStringLiteral(R"({"creation":null})"));
    }
    void onlyKeysThatAreThereAreSet()
    {
        const LocalZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
        QFETCH(QJsonObject, object);
        QFETCH(QJsonObject, change);
        compareRead<AttachmentFromJson>(fullAttachment(), object, dump(fullAttachment()), change);
    }

    void dataAndHashAreLatin1()
    {
        const QJsonObject object{{QStringLiteral("data"), QString(QChar(0xfc))},
                                 {QStringLiteral("hash"), QString(QChar(0xe9))}};
        Attachment attachment;
        AttachmentFromJson(attachment, object).parse();
        QCOMPARE(attachment.data(), QByteArray("\xfc"));
        QCOMPARE(attachment.hash(), QByteArray("\xe9"));
    }
};

QTEST_GUILESS_MAIN(AttachmentFromJsonTest)
#include "tst_attachmentfromjson.moc"
