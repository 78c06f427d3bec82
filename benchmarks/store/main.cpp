#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QLoggingCategory>

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    // As the host does at its start.
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
