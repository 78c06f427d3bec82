#include "measuredstore.h"
#include "rpcupdatecontextbehaviour.h"

#include <benchmark/benchmark.h>

// Each round changes one key of one context, of so many.
static void setContext(benchmark::State &state)
{
    MeasuredStore store(static_cast<int>(state.range(0)));
    const QString id = MeasuredStore::id(0);
    QJsonObject context = MeasuredStore::context(0);
    int round = 0;
    for (auto _ : state) {
        context.insert(QStringLiteral("x"), ++round);
        store.contexts().setContext(id, context);
    }
}
BENCHMARK(setContext)->Arg(1)->Arg(100)->Arg(10000);

static void setContextToTheSame(benchmark::State &state)
{
    MeasuredStore store(1);
    const QString id = MeasuredStore::id(0);
    const QJsonObject context = MeasuredStore::context(0);
    for (auto _ : state)
        store.contexts().setContext(id, context);
}
BENCHMARK(setContextToTheSame);

static void updateContext(benchmark::State &state)
{
    MeasuredStore store(static_cast<int>(state.range(0)));
    const QString id = MeasuredStore::id(0);
    int round = 0;
    for (auto _ : state)
        store.contexts().updateContext(id, QJsonObject{{QStringLiteral("x"), ++round}});
}
BENCHMARK(updateContext)->Arg(1)->Arg(100)->Arg(10000);

static void updateEveryContext(benchmark::State &state)
{
    MeasuredStore store(static_cast<int>(state.range(0)));
    RpcUpdateContextBehaviour behaviour(store.proxy(), store.contexts());
    int round = 0;
    for (auto _ : state) {
        const QJsonObject body{{QStringLiteral("_id"), QStringLiteral("*")}, {QStringLiteral("x"), ++round}};
        behaviour.onChunk(QJsonObject{{QStringLiteral("exchange"), QStringLiteral("vexo-context-rpc-update")},
                                      {QStringLiteral("body"), body}});
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(updateEveryContext)->Arg(1)->Arg(100)->Arg(1000)->Arg(10000)->Complexity(benchmark::oN);
