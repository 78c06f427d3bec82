#include "options.h"

#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <stdexcept>

namespace {

std::string contentOf(const std::string &file)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw std::invalid_argument("cannot read " + file);
    }
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::map<std::string, std::function<void(const std::string &)>> setters(Options &options)
{
    return {
        {"--port", [&](auto &value) { options.port = static_cast<std::uint16_t>(std::stoul(value)); }},
        {"--process", [&](auto &value) { options.process = std::stoi(value); }},
        {"--method", [&](auto &value) { options.method = value; }},
        {"--path", [&](auto &value) { options.path = value; }},
        {"--body", [&](auto &value) { options.body = contentOf(value); }},
        {"--type", [&](auto &value) { options.type = value; }},
        {"--sync", [&](auto &value) { options.sync = value; }},
        {"--poll", [&](auto &value) { options.poll = value; }},
        {"--others", [&](auto &value) { options.others = value; }},
        {"--connections", [&](auto &value) { options.connections = std::stoi(value); }},
        {"--parked", [&](auto &value) { options.parked = std::stoi(value); }},
        {"--rounds", [&](auto &value) { options.rounds = std::stoi(value); }},
        {"--seconds", [&](auto &value) { options.seconds = std::stod(value); }},
    };
}

} // namespace

Options parseOptions(int argc, char **argv)
{
    if (argc < 2) {
        throw std::invalid_argument("no mode");
    }
    Options options;
    options.mode = argv[1];
    const auto known = setters(options);
    for (int i = 2; i < argc; i += 2) {
        const auto setter = known.find(argv[i]);
        if (setter == known.end() || i + 1 == argc) {
            throw std::invalid_argument(std::string(argv[i]) + ": unknown, or without a value");
        }
        setter->second(argv[i + 1]);
    }
    return options;
}

const char *usage()
{
    return R"(Usage: http-load throughput|wake|fanout [OPTION VALUE]...

  throughput  keeps one request on its way on each connection
  wake        one poll, one change: how long until the poll is answered
  fanout      many polls on one thing, one change: how long until all are answered, and what they cost

All:
  --port N         where the server listens on 127.0.0.1
  --process PID    whose CPU time and memory are read
  --method, --path, --body FILE
                   the request that is counted, or that changes; "00000000" in the body is a running number
  --type TEXT      the Content-Type of that request
  --seconds N      how long to measure
throughput:
  --connections N
wake and fanout:
  --poll PATH      the long poll that the change answers
  --sync PATH      something answered at once, to know that the server has read everything before it
  --parked N       wake: how many other polls are parked meanwhile; fanout: how many polls there are
wake:
  --others PREFIX  the other polls' path; "*" in it is their number
fanout:
  --rounds N
)";
}
