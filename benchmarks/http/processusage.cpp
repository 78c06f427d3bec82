#include "processusage.h"

#include <unistd.h>

#include <fstream>
#include <limits>
#include <stdexcept>
#include <string>

namespace {

std::ifstream openProc(pid_t process, const char *file)
{
    std::ifstream stream("/proc/" + std::to_string(process) + '/' + file);
    if (!stream) {
        throw std::runtime_error("process " + std::to_string(process) + " is gone");
    }
    return stream;
}

} // namespace

namespace processusage {

std::chrono::duration<double> cpuTime(pid_t process)
{
    std::ifstream stat = openProc(process, "stat");
    stat.ignore(std::numeric_limits<std::streamsize>::max(), ')'); // the name, which may hold blanks
    std::string skipped;
    for (int field = 3; field < 14; ++field) {
        stat >> skipped;
    }
    std::int64_t user = 0;
    std::int64_t system = 0;
    stat >> user >> system;
    return std::chrono::duration<double>(static_cast<double>(user + system)
                                         / static_cast<double>(sysconf(_SC_CLK_TCK)));
}

std::int64_t residentBytes(pid_t process)
{
    std::ifstream statm = openProc(process, "statm");
    std::int64_t total = 0;
    std::int64_t resident = 0;
    statm >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

} // namespace processusage
