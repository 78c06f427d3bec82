#include "fhir/stu3/serialization/metafromjson.h"

#include "localzone.h"
#include "readerrows.h"

using domain::Meta;
using fhir::stu3::MetaFromJson;

static_assert(std::is_constructible_v<MetaFromJson, Meta &, QJsonObject &>);
static_assert(!std::is_constructible_v<MetaFromJson, Meta &, const QJsonObject &>);

class MetaFromJsonTest : public QObject
{
    Q_OBJECT

    [[nodiscard]] static QJsonObject nothing()
    {
        return json(QStringLiteral(
                        R"({"versionId":"","lastUpdated":null,"profile":"","security":[],"tag":[]})"))
            .toObject();
    }

private Q_SLOTS:
    void everyFieldIsSet_data()
    {
        addReaderColumns();
        addReaderRow("nothing", QStringLiteral("{}"), QStringLiteral("{}"));
        for (const char *key : {"versionId", "profile"}) {
            const QString one = QStringLiteral(R"({"%1":"y"})").arg(QLatin1String(key));
            addReaderRow(key, one, one);
            addWrongTypeRows(QLatin1String(key), QJsonValue::String);
        }
        addReaderRow("list of profiles", QStringLiteral(R"({"profile":["y"]})"), QStringLiteral("{}"));
        addReaderRow("update", QStringLiteral(R"({"lastUpdated":"2020-05-17T10:20:30Z"})"),
                     QStringLiteral(R"({"lastUpdated":"2020-05-17T10:20:30.000Z"})"));
        addReaderRow("update that cannot be read", QStringLiteral(R"({"lastUpdated":"x"})"),
                     QStringLiteral("{}"));
        addReaderRow("update that is invalid, but not null",
                     QStringLiteral(R"({"lastUpdated":"2021-03-28T02:30:00"})"),
                     QStringLiteral(R"({"lastUpdated":"invalid"})"));
        addWrongTypeRows(QStringLiteral("lastUpdated"), QJsonValue::Undefined);
        const QString empty = jsonText(dump(domain::Coding()));
        const QString coding =
            QStringLiteral(R"({"system":"","version":"","code":"y","display":"","userSelected":false})");
        for (const char *key : {"security", "tag"}) {
            const QString name = QLatin1String(key);
            addReaderRow(qPrintable(name), QStringLiteral(R"({"%1":[{"code":"y"}]})").arg(name),
                         QStringLiteral(R"({"%1":[%2]})").arg(name, coding));
            addReaderRow(qPrintable(name + QStringLiteral(": elements that are no objects")),
                         QStringLiteral(R"({"%1":[1,{"code":"y"},"x",[{"code":"x"}],null,true]})").arg(name),
                         QStringLiteral(R"({"%1":[%2,%3,%2,%2,%2,%2]})").arg(name, empty, coding));
            addReaderRow(qPrintable(name + QStringLiteral(" is empty")),
                         QStringLiteral(R"({"%1":[]})").arg(name), QStringLiteral("{}"));
            addWrongTypeRows(name, QJsonValue::Array);
        }
    }
    void everyFieldIsSet()
    {
        const LocalZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
        QFETCH(QJsonObject, object);
        QFETCH(QJsonObject, change);
        compareRead<MetaFromJson>(fullMeta(), object, nothing(), change);
    }

    void firstOfTwoTagsIsEmpty()
    {
        QJsonObject object = json(QStringLiteral(R"({"tag":[1,{"code":"x"}]})")).toObject();
        Meta meta;
        MetaFromJson(meta, object).parse();
        QCOMPARE(meta.tag().size(), 2);
        QVERIFY(meta.tag().at(0).isEmpty());
        QCOMPARE(meta.tag().at(1).code(), QStringLiteral("x"));
    }

    void missingKeysAreAddedToTheObject()
    {
        QJsonObject object = json(QStringLiteral(R"({"more":1})")).toObject();
        Meta meta;
        MetaFromJson(meta, object).parse();
        QCOMPARE(jsonText(object),
                 QStringLiteral(R"({"lastUpdated":null,"more":1,"profile":null,"security":null,)"
                                R"("tag":null,"versionId":null})"));
    }

    void keysThatAreThereStayInTheObject()
    {
        const QString text =
            QStringLiteral(R"({"lastUpdated":"x","profile":["p"],"security":[1],"tag":{},"versionId":2})");
        QJsonObject object = json(text).toObject();
        Meta meta;
        MetaFromJson(meta, object).parse();
        QCOMPARE(jsonText(object), text);
    }
};

QTEST_GUILESS_MAIN(MetaFromJsonTest)
#include "tst_metafromjson.moc"
