#include "multipartfiles.h"

#include <benchmark/benchmark.h>

namespace {

const QString boundary = QStringLiteral("--0123456789abcdef");

// A form of 16 MiB in so many parts.
QByteArray formOf(int parts)
{
    constexpr int formBytes = 16 * 1024 * 1024;
    const QByteArray content(formBytes / parts - 128, 'x');
    QByteArray form;
    form.reserve(formBytes);
    for (int part = 0; part < parts; ++part) {
        form += boundary.toLatin1() + "\r\nContent-Disposition: form-data; name=\"file\"; filename=\""
                + QByteArray::number(part) + ".txt\"\r\n\r\n" + content + "\r\n";
    }
    return form + boundary.toLatin1() + "--\r\n";
}

} // namespace

static void multipart(benchmark::State &state)
{
    const QByteArray form = formOf(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(MultipartFiles(boundary, form).getFiles());
    state.SetBytesProcessed(state.iterations() * form.size());
}
BENCHMARK(multipart)->Arg(1)->Arg(10)->Arg(100)->Arg(1000)->Arg(10000);
