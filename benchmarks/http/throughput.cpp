#include "throughput.h"

#include "connection.h"
#include "options.h"
#include "poller.h"
#include "processusage.h"
#include "request.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

namespace {

std::int64_t answersWithin(Seconds time, Poller &poller, Request &request)
{
    std::int64_t answers = 0;
    const auto end = Clock::now() + time;
    while (Clock::now() < end) {
        for (Connection *connection : poller.wait()) {
            if (connection->receive()) {
                ++answers;
                connection->send(request.next());
            }
        }
    }
    return answers;
}

} // namespace

void measureThroughput(const Options &options)
{
    Request request(options.method, options.port, options.path, options.body, options.type);
    std::vector<std::unique_ptr<Connection>> connections;
    Poller poller;
    for (int i = 0; i < options.connections; ++i) {
        connections.push_back(std::make_unique<Connection>(options.port));
        poller.add(*connections.back());
        connections.back()->send(request.next());
    }
    answersWithin(Seconds(options.seconds / 10), poller, request);

    const auto start = Clock::now();
    const Seconds serverBefore = processusage::cpuTime(options.process);
    const Seconds driverBefore = processusage::cpuTime(getpid());
    const auto answers = static_cast<double>(answersWithin(Seconds(options.seconds), poller, request));
    const Seconds driverTime = processusage::cpuTime(getpid()) - driverBefore;
    const Seconds serverTime = processusage::cpuTime(options.process) - serverBefore;
    const Seconds elapsed = Clock::now() - start;

    std::printf("requests_per_second %.0f\n", answers / elapsed.count());
    std::printf("cpu_us_per_request %.1f\n", serverTime.count() * 1e6 / answers);
    std::printf("driver_busy %.2f\n", driverTime.count() / elapsed.count());
}
