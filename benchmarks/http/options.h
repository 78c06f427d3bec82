#pragma once

#include <cstdint>
#include <string>

#include <sys/types.h>

/// What one run of the driver is to do; see usage() for each option.
struct Options
{
    std::string mode;
    std::uint16_t port = 0;
    pid_t process = 0;
    std::string method = "GET";
    std::string path;
    std::string body;
    std::string type;
    std::string sync;
    std::string poll;
    std::string others;
    int connections = 1;
    int parked = 0;
    int rounds = 1;
    double seconds = 1;
};

/// Reads the command line. Throws std::invalid_argument, whose text names the option.
[[nodiscard]] Options parseOptions(int argc, char **argv);

[[nodiscard]] const char *usage();
