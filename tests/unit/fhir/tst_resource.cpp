#include "fhir/stu3/resource.h"
#include "logcapture.h"
#include "vtableslot.h"

#include <QtTest>

#include <memory>
#include <type_traits>
#include <utility>

using domain::Meta;
using domain::Resource;

static_assert(std::has_virtual_destructor_v<Resource>);
static_assert(std::is_same_v<std::underlying_type_t<Resource::Type>, qint32>);

static_assert(std::is_same_v<decltype(&Resource::resourceType), Resource::Type (Resource::*)() const>);
static_assert(std::is_same_v<decltype(&Resource::id), QString (Resource::*)() const>);
static_assert(std::is_same_v<decltype(&Resource::meta), const Meta &(Resource::*)() const>);
static_assert(std::is_same_v<decltype(&Resource::implicitRules), QString (Resource::*)() const>);
static_assert(std::is_same_v<decltype(&Resource::language), QString (Resource::*)() const>);
static_assert(std::is_same_v<decltype(&Resource::clone), Resource *(Resource::*)() const>);

static_assert(std::is_same_v<decltype(&Resource::setResourceType), void (Resource::*)(Resource::Type)>);
static_assert(std::is_same_v<decltype(&Resource::setId), void (Resource::*)(QString)>);
static_assert(std::is_same_v<decltype(&Resource::setMeta), void (Resource::*)(Meta)>);
static_assert(std::is_same_v<decltype(&Resource::setImplicitRules), void (Resource::*)(QString)>);
static_assert(std::is_same_v<decltype(&Resource::setLanguage), void (Resource::*)(QString)>);

namespace {

struct Derived final : Resource
{
    int more = 1;
};

} // namespace

class ResourceTest : public QObject
{
    Q_OBJECT

    static constexpr auto someType = static_cast<Resource::Type>(5);

    [[nodiscard]] static Resource full()
    {
        Meta meta;
        meta.setVersionId(QStringLiteral("1"));
        Resource resource;
        resource.setResourceType(someType);
        resource.setId(QStringLiteral("i"));
        resource.setMeta(meta);
        resource.setImplicitRules(QStringLiteral("r"));
        resource.setLanguage(QStringLiteral("l"));
        return resource;
    }
    static void isFull(const Resource &resource)
    {
        QCOMPARE(static_cast<int>(resource.resourceType()), static_cast<int>(someType));
        QCOMPARE(resource.id(), QStringLiteral("i"));
        QCOMPARE(resource.meta().versionId(), QStringLiteral("1"));
        QCOMPARE(resource.implicitRules(), QStringLiteral("r"));
        QCOMPARE(resource.language(), QStringLiteral("l"));
    }

private Q_SLOTS:
    void isEmptyWhenNew()
    {
        const Resource resource;
        QCOMPARE(static_cast<int>(resource.resourceType()), 12);
        QVERIFY(resource.id().isEmpty());
        QVERIFY(resource.meta().versionId().isEmpty());
        QVERIFY(resource.implicitRules().isEmpty());
        QVERIFY(resource.language().isEmpty());
    }

    void isCopiedWithItsType()
    {
        const Resource resource = full();
        const Resource constructed(resource);
        isFull(constructed);
        Resource assigned;
        assigned = resource;
        isFull(assigned);
        isFull(resource);
    }

    void isMovedWithItsType()
    {
        Resource source = full();
        const Resource constructed(std::move(source));
        isFull(constructed);
        QVERIFY(source.id().isEmpty() && source.meta().versionId().isEmpty());

        source = full();
        Resource assigned;
        assigned = std::move(source);
        isFull(assigned);
        QVERIFY(source.id().isEmpty() && source.meta().versionId().isEmpty());
    }

    void cloneIsACopyWithAWarning()
    {
        const LogCapture log("ch.tessel.vexo-service.fhir.stu3.resource");
        const Resource resource = full();
        const std::unique_ptr<Resource> clone(resource.clone());
        QVERIFY(clone.get() != &resource);
        isFull(*clone);
        QCOMPARE(log.lines().size(), 1);
        QVERIFY(log.contains(
            QtWarningMsg, QStringLiteral("Only Resource is copied. Maybe you want to override clone in your "
                                         "derived class.")));
    }

    void cloneSlicesAClassThatDoesNotOverrideIt()
    {
        const LogCapture log("ch.tessel.vexo-service.fhir.stu3.resource");
        Derived derived;
        derived.setId(QStringLiteral("i"));
        const std::unique_ptr<Resource> clone(derived.clone());
        QVERIFY(dynamic_cast<Derived *>(clone.get()) == nullptr);
        QCOMPARE(clone->id(), QStringLiteral("i"));
        QCOMPARE(log.lines().size(), 1);
    }

    void destructorStandsBeforeClone() { QCOMPARE(slotOf(&Resource::clone), 2); }
};

QTEST_GUILESS_MAIN(ResourceTest)
#include "tst_resource.moc"
