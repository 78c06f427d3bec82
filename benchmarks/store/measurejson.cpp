#include "measuredstore.h"

#include <QJsonDocument>

#include <benchmark/benchmark.h>

namespace {

QJsonDocument documentOf(int resources)
{
    QJsonObject context = MeasuredStore::context(0);
    context.insert(QStringLiteral("matchingItems"), MeasuredStore::resources(0, resources));
    return QJsonDocument(context);
}

} // namespace

// A context with so many matching items, as a client sends it.
static void jsonIn(benchmark::State &state)
{
    const QByteArray text = documentOf(static_cast<int>(state.range(0))).toJson(QJsonDocument::Compact);
    for (auto _ : state)
        benchmark::DoNotOptimize(QJsonDocument::fromJson(text));
    state.SetBytesProcessed(state.iterations() * text.size());
    state.SetComplexityN(text.size());
}
BENCHMARK(jsonIn)->Arg(0)->Arg(10)->Arg(100)->Arg(1000)->Complexity(benchmark::oN);

static void jsonOut(benchmark::State &state)
{
    const QJsonDocument document = documentOf(static_cast<int>(state.range(0)));
    const int size = document.toJson(QJsonDocument::Compact).size();
    for (auto _ : state)
        benchmark::DoNotOptimize(document.toJson(QJsonDocument::Compact));
    state.SetBytesProcessed(state.iterations() * size);
    state.SetComplexityN(size);
}
BENCHMARK(jsonOut)->Arg(0)->Arg(10)->Arg(100)->Arg(1000)->Complexity(benchmark::oN);
