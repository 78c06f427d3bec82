#include "addmatchingitemsbehaviour.h"
#include "measuredstore.h"
#include "resourcebundle.h"

#include <benchmark/benchmark.h>

namespace {

QJsonObject bundle(const QJsonArray &resources)
{
    QJsonArray entries;
    for (const QJsonValue &resource : resources)
        entries.append(QJsonObject{{QStringLiteral("resource"), resource}});
    return {{QStringLiteral("entry"), entries}};
}

QJsonValue chunk(const QJsonObject &filter, const QJsonArray &resources)
{
    const QJsonObject body{{QStringLiteral("filter"), filter},
                           {QStringLiteral("matchingItems"), bundle(resources)}};
    return QJsonObject{{QStringLiteral("exchange"), QStringLiteral("vexo-context-add-matching-items")},
                       {QStringLiteral("body"), body}};
}

} // namespace

// One resource, for the one patient that the last of so many contexts is of.
static void overlapOfOneContext(benchmark::State &state)
{
    const int contexts = static_cast<int>(state.range(0));
    MeasuredStore store(contexts);
    AddMatchingItemsBehaviour behaviour(store.contexts());
    const QJsonObject filter{
        {QStringLiteral("patient"), MeasuredStore::context(contexts - 1).value(QLatin1String("patient"))}};
    const QJsonValue addition = chunk(filter, MeasuredStore::resources(0, 1));
    for (auto _ : state)
        behaviour.onChunk(addition);
    state.SetComplexityN(contexts);
}
BENCHMARK(overlapOfOneContext)->Arg(1)->Arg(100)->Arg(1000)->Arg(10000)->Complexity(benchmark::oN);

// One resource, replaced in each of so many contexts that hold so many.
static void additionToEveryContext(benchmark::State &state)
{
    const int contexts = static_cast<int>(state.range(0));
    const int stored = static_cast<int>(state.range(1));
    MeasuredStore store(contexts);
    AddMatchingItemsBehaviour behaviour(store.contexts());
    behaviour.onChunk(chunk({}, MeasuredStore::resources(0, stored)));
    const QJsonValue addition = chunk({}, MeasuredStore::resources(stored / 2, 1));
    for (auto _ : state)
        behaviour.onChunk(addition);
    state.SetComplexityN(contexts);
}
BENCHMARK(additionToEveryContext)
    ->ArgNames({"contexts", "stored"})
    ->ArgsProduct({{1, 100, 1000, 10000}, {0}})
    ->Complexity(benchmark::oN);
BENCHMARK(additionToEveryContext)
    ->ArgNames({"contexts", "stored"})
    ->ArgsProduct({{1, 100, 1000, 10000}, {100}})
    ->Complexity(benchmark::oN);
BENCHMARK(additionToEveryContext)
    ->ArgNames({"contexts", "stored"})
    ->ArgsProduct({{1, 100, 1000}, {1000}})
    ->Complexity(benchmark::oN);

// As many new resources as old ones, half of them replacements.
static void mergeOfAsManyAsStored(benchmark::State &state)
{
    const int count = static_cast<int>(state.range(0));
    const QJsonArray stored = MeasuredStore::resources(0, count);
    const ResourceBundle resources(bundle(MeasuredStore::resources(count / 2, count)));
    for (auto _ : state)
        benchmark::DoNotOptimize(resources.mergedWith(stored));
    state.SetComplexityN(count + 1);
}
BENCHMARK(mergeOfAsManyAsStored)
    ->Arg(0)
    ->Arg(1)
    ->Arg(10)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000)
    ->Complexity(benchmark::oN);

static void mergeOfOneInto(benchmark::State &state)
{
    const int count = static_cast<int>(state.range(0));
    const QJsonArray stored = MeasuredStore::resources(0, count);
    const ResourceBundle resources(bundle(MeasuredStore::resources(count / 2, 1)));
    for (auto _ : state)
        benchmark::DoNotOptimize(resources.mergedWith(stored));
    state.SetComplexityN(count + 1);
}
BENCHMARK(mergeOfOneInto)
    ->Arg(0)
    ->Arg(1)
    ->Arg(10)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000)
    ->Complexity(benchmark::oN);
