#include "fhir/stu3/serialization/resourcefromjson.h"

#include "readerrows.h"

using domain::Resource;
using fhir::stu3::ResourceFromJson;

static_assert(std::is_constructible_v<ResourceFromJson, Resource &, const QJsonObject &>);

class ResourceFromJsonTest : public QObject
{
    Q_OBJECT

    [[nodiscard]] static Resource full()
    {
        Resource resource = fullReference();
        resource.setResourceType(static_cast<Resource::Type>(5));
        return resource;
    }

private Q_SLOTS:
    void everyFieldButTheTypeIsSet_data()
    {
        addReaderColumns();
        addReaderRow("nothing", QStringLiteral("{}"), QStringLiteral("{}"));
        for (const char *key : {"id", "implicitRules", "language"}) {
            const QString one = QStringLiteral(R"({"%1":"y"})").arg(QLatin1String(key));
            addReaderRow(key, one, one);
            addReaderRow(qPrintable(QLatin1String(key) + QStringLiteral(" is empty")),
                         QStringLiteral(R"({"%1":""})").arg(QLatin1String(key)), QStringLiteral("{}"));
            addWrongTypeRows(QLatin1String(key), QJsonValue::String);
        }
        addReaderRow("meta", QStringLiteral(R"({"meta":{"versionId":"2"}})"),
                     QStringLiteral(R"({"meta":{"versionId":"2","lastUpdated":null,"profile":"",)"
                                    R"("security":[],"tag":[]}})"));
        addReaderRow("empty meta", QStringLiteral(R"({"meta":{}})"), QStringLiteral("{}"));
        addWrongTypeRows(QStringLiteral("meta"), QJsonValue::Object);
        addReaderRow("type as text", QStringLiteral(R"({"resourceType":"DocumentReference"})"),
                     QStringLiteral("{}"));
        addReaderRow("type as number", QStringLiteral(R"({"resourceType":3})"), QStringLiteral("{}"));
    }
    void everyFieldButTheTypeIsSet()
    {
        QFETCH(QJsonObject, object);
        QFETCH(QJsonObject, change);
        const QJsonObject nothing{{QStringLiteral("resourceType"), 5},
                                  {QStringLiteral("id"), QString()},
                                  {QStringLiteral("meta"), dump(domain::Meta())},
                                  {QStringLiteral("implicitRules"), QString()},
                                  {QStringLiteral("language"), QString()}};
        compareRead<ResourceFromJson>(full(), object, nothing, change);
    }

    void objectIsLeftAsItIs()
    {
        const QString text = QStringLiteral(R"({"meta":{"profile":"p"}})");
        const QJsonObject object = json(text).toObject();
        Resource resource;
        ResourceFromJson(resource, object).parse();
        QCOMPARE(resource.meta().profile(), QStringLiteral("p"));
        QCOMPARE(jsonText(object), text);
    }
};

QTEST_GUILESS_MAIN(ResourceFromJsonTest)
#include "tst_resourcefromjson.moc"
