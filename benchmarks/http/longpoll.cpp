#include "longpoll.h"

#include "connection.h"
#include "options.h"
#include "poller.h"
#include "processusage.h"
#include "request.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using Clock = std::chrono::steady_clock;
using Connections = std::vector<std::unique_ptr<Connection>>;

namespace {

double quantile(std::vector<double> values, double share)
{
    const auto place =
        values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

template <typename Unit>
double since(Clock::time_point start)
{
    return std::chrono::duration<double, Unit>(Clock::now() - start).count();
}

// The exchange on each connection makes sure that the server has accepted it, so that its queue of new
// connections never overflows.
Connections openConnections(const Options &options, Request &sync)
{
    Connections connections;
    for (int i = 0; i < options.parked; ++i) {
        connections.push_back(std::make_unique<Connection>(options.port));
        connections.back()->exchange(sync.next());
    }
    return connections;
}

std::string otherPath(const Options &options, std::size_t number)
{
    std::string path = options.others;
    const std::size_t place = path.find('*');
    if (place == std::string::npos) {
        throw std::invalid_argument("--others has no \"*\"");
    }
    return path.replace(place, 1, std::to_string(number));
}

// A poll may be answered at once, with a state that nobody has been told yet; the next one then waits.
void parkPoll(Connection &waiting, Connection &control, std::string_view poll, std::string_view sync)
{
    for (int attempt = 0; attempt < 2; ++attempt) {
        waiting.send(poll);
        control.exchange(sync);
        if (!waiting.receive()) {
            return;
        }
    }
    throw std::runtime_error("a poll is answered without a change");
}

double timeToWake(Connection &waiting, Connection &control, Poller &both, std::string_view change)
{
    const auto start = Clock::now();
    double woken = 0;
    control.send(change);
    for (int open = 2; open > 0;) {
        for (Connection *connection : both.wait()) {
            if (connection->receive()) {
                --open;
                woken = connection == &waiting ? since<std::micro>(start) : woken;
            }
        }
    }
    return woken;
}

double timeToAnswerAll(const Connections &polls, Connection &control, Poller &poller, std::string_view change)
{
    const auto start = Clock::now();
    control.send(change);
    for (std::size_t open = polls.size(); open > 0;) {
        for (Connection *connection : poller.wait()) {
            open -= connection->receive() ? 1 : 0;
        }
    }
    const double all = since<std::milli>(start);
    control.awaitAnswer();
    return all;
}

void requireParked(Poller &poller)
{
    if (poller.anyReadable()) {
        throw std::runtime_error("a parked poll was answered without a change");
    }
}

} // namespace

void measureWake(const Options &options)
{
    Request sync("GET", options.port, options.sync);
    Request poll("GET", options.port, options.poll);
    Request change(options.method, options.port, options.path, options.body);
    Connection control(options.port);
    Connection waiting(options.port);
    const Connections others = openConnections(options, sync);
    Poller parked;
    for (std::size_t i = 0; i < others.size(); ++i) {
        others[i]->send(Request("GET", options.port, otherPath(options, i)).next());
        parked.add(*others[i]);
    }
    for (const auto &connection : others) {
        connection->awaitReceipt();
    }
    Poller both;
    both.add(control);
    both.add(waiting);

    std::vector<double> times;
    const auto start = Clock::now();
    while (since<std::ratio<1>>(start) < options.seconds) {
        parkPoll(waiting, control, poll.next(), sync.next());
        times.push_back(timeToWake(waiting, control, both, change.next()));
    }
    requireParked(parked);
    std::printf("p50_us %.0f\n", quantile(times, 0.5));
    std::printf("p99_us %.0f\n", quantile(times, 0.99));
    std::printf("changes %zu\n", times.size());
}

void measureFanout(const Options &options)
{
    Request sync("GET", options.port, options.sync);
    Request poll("GET", options.port, options.poll);
    Request change(options.method, options.port, options.path, options.body);
    Connection control(options.port);
    {
        Connection first(options.port);
        parkPoll(first, control, poll.next(), sync.next());
    }
    control.exchange(sync.next());
    const std::int64_t residentBefore = processusage::residentBytes(options.process);
    const Connections polls = openConnections(options, sync);
    Poller poller;
    for (const auto &connection : polls) {
        poller.add(*connection);
    }

    std::vector<double> times;
    std::int64_t resident = 0;
    std::chrono::duration<double, std::micro> cpu{};
    for (int round = 0; round < options.rounds; ++round) {
        for (const auto &connection : polls) {
            connection->send(poll.next());
        }
        for (const auto &connection : polls) {
            connection->awaitReceipt();
        }
        control.exchange(sync.next());
        requireParked(poller);
        if (round == 0) {
            resident = processusage::residentBytes(options.process) - residentBefore;
        }
        const auto cpuBefore = processusage::cpuTime(options.process);
        times.push_back(timeToAnswerAll(polls, control, poller, change.next()));
        cpu += processusage::cpuTime(options.process) - cpuBefore;
    }
    std::printf("fanout_ms %.1f\n", quantile(times, 0.5));
    std::printf("cpu_us_per_answer %.1f\n", cpu.count() / options.parked / options.rounds);
    std::printf("resident_bytes_per_poll %.0f\n", static_cast<double>(resident) / options.parked);
}
