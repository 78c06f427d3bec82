#include "longpoll.h"
#include "options.h"
#include "throughput.h"

#include <cstdio>
#include <exception>
#include <map>
#include <stdexcept>
#include <string>

int main(int argc, char **argv)
{
    static const std::map<std::string, void (*)(const Options &)> modes = {
        {"throughput", measureThroughput},
        {"wake", measureWake},
        {"fanout", measureFanout},
    };
    try {
        const Options options = parseOptions(argc, argv);
        const auto mode = modes.find(options.mode);
        if (mode == modes.end()) {
            throw std::invalid_argument(options.mode + ": no such mode");
        }
        mode->second(options);
        return 0;
    } catch (const std::invalid_argument &error) {
        std::fprintf(stderr, "http-load: %s\n%s", error.what(), usage());
        return 2;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "http-load: %s\n", error.what());
        return 1;
    }
}
